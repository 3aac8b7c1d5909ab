#include "ws_server.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>

#include <cstdio>
#include <deque>
#include <exception>
#include <map>
#include <thread>
#include <type_traits>
#include <utility>

namespace orvsim {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;

namespace {

// One client, from the accepted socket to the end. Runs on the server's
// thread only.
class Session {
public:
    virtual ~Session() = default;
    virtual void begin() = 0;
    virtual void write(std::string frame, bool text) = 0;
    virtual void close() = 0;
    virtual void drop() = 0;
};

}  // namespace

class WsServer::Impl {
public:
    Impl(Options options, Handlers handlers)
        : options_(std::move(options)), handlers_(std::move(handlers)), work_(asio::make_work_guard(io_)),
          acceptor_(io_), tls_(asio::ssl::context::tls_server) {}

    bool start(std::string* error);
    void post(std::function<void()> f) { asio::post(io_, std::move(f)); }
    void stop();

    void accept();
    void opened(int id, const std::string& target) {
        if (handlers_.opened) handlers_.opened(id, target);
    }
    void text(int id, const std::string& frame) {
        if (handlers_.text) handlers_.text(id, frame);
    }
    void ended(int id) {
        if (sessions_.erase(id) && handlers_.closed) handlers_.closed(id);
    }
    // Shared, so that a session that ends inside the call outlives it.
    std::shared_ptr<Session> find(int id) {
        auto it = sessions_.find(id);
        return it == sessions_.end() ? nullptr : it->second;
    }

    Options options_;
    Handlers handlers_;
    asio::io_context io_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    tcp::acceptor acceptor_;
    asio::ssl::context tls_;
    bool useTls_ = false;
    unsigned short port_ = 0;
    std::map<int, std::shared_ptr<Session>> sessions_;
    int nextId_ = 1;
    std::thread thread_;
};

namespace {

template <class Next>
class SessionOf : public Session, public std::enable_shared_from_this<SessionOf<Next>> {
public:
    static constexpr bool kTls = !std::is_same<Next, beast::tcp_stream>::value;

    template <class... Args>
    SessionOf(WsServer::Impl& server, int id, Args&&... args)
        : server_(server), id_(id), ws_(std::forward<Args>(args)...) {
        ws_.read_message_max(server.options_.maxMessageBytes);
    }

    void begin() override {
        auto self = this->shared_from_this();
        beast::get_lowest_layer(ws_).expires_after(std::chrono::seconds(10));
        if constexpr (kTls) {
            ws_.next_layer().async_handshake(asio::ssl::stream_base::server, [self](beast::error_code ec) {
                if (ec) return self->end();
                self->readRequest();
            });
        } else {
            readRequest();
        }
    }

    void write(std::string frame, bool text) override {
        queue_.push_back({std::move(frame), text});
        if (queue_.size() == 1 && open_) writeNext();
    }

    void close() override {
        if (!open_) return drop();
        auto self = this->shared_from_this();
        ws_.async_close(websocket::close_code::normal, [self](beast::error_code) { self->end(); });
    }

    void drop() override {
        beast::error_code ignored;
        beast::get_lowest_layer(ws_).socket().shutdown(tcp::socket::shutdown_both, ignored);
        beast::get_lowest_layer(ws_).socket().close(ignored);
        end();
    }

private:
    void readRequest() {
        auto self = this->shared_from_this();
        http::async_read(ws_.next_layer(), buffer_, request_, [self](beast::error_code ec, std::size_t) {
            if (ec || !websocket::is_upgrade(self->request_)) return self->end();
            beast::get_lowest_layer(self->ws_).expires_never();
            self->ws_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
            self->ws_.async_accept(self->request_, [self](beast::error_code ec) {
                if (ec) return self->end();
                self->open_ = true;
                self->server_.opened(self->id_, std::string(self->request_.target()));
                self->read();
                if (!self->queue_.empty()) self->writeNext();
            });
        });
    }

    void read() {
        auto self = this->shared_from_this();
        ws_.async_read(buffer_, [self](beast::error_code ec, std::size_t) {
            if (ec) return self->end();
            const std::string frame = beast::buffers_to_string(self->buffer_.data());
            self->buffer_.consume(self->buffer_.size());
            self->server_.text(self->id_, frame);
            if (!self->ended_) self->read();
        });
    }

    void writeNext() {
        auto self = this->shared_from_this();
        ws_.text(queue_.front().second);
        ws_.async_write(asio::buffer(queue_.front().first), [self](beast::error_code ec, std::size_t) {
            if (ec) return self->end();
            self->queue_.pop_front();
            if (!self->queue_.empty()) self->writeNext();
        });
    }

    void end() {
        if (ended_) return;
        ended_ = true;
        open_ = false;
        beast::error_code ignored;
        beast::get_lowest_layer(ws_).socket().close(ignored);
        server_.ended(id_);
    }

    WsServer::Impl& server_;
    const int id_;
    websocket::stream<Next> ws_;
    beast::flat_buffer buffer_;
    http::request<http::string_body> request_;
    std::deque<std::pair<std::string, bool>> queue_;
    bool open_ = false;
    bool ended_ = false;
};

}  // namespace

bool WsServer::Impl::start(std::string* error) {
    auto fail = [error](const std::string& why) {
        if (error) *error = why;
        return false;
    };
    boost::system::error_code ec;
    if (!options_.certFile.empty() || !options_.keyFile.empty()) {
        tls_.use_certificate_chain_file(options_.certFile, ec);
        if (ec) return fail("cannot load the certificate " + options_.certFile + ": " + ec.message());
        tls_.use_private_key_file(options_.keyFile, asio::ssl::context::pem, ec);
        if (ec) return fail("cannot load the key " + options_.keyFile + ": " + ec.message());
        useTls_ = true;
    }
    const auto address = asio::ip::make_address(options_.host, ec);
    if (ec) return fail("not an address: " + options_.host);
    const tcp::endpoint endpoint(address, options_.port);
    acceptor_.open(endpoint.protocol(), ec);
    if (!ec) acceptor_.set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) acceptor_.bind(endpoint, ec);
    if (!ec) acceptor_.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) return fail("cannot listen on " + options_.host + ":" + std::to_string(options_.port) + ": " + ec.message());
    port_ = acceptor_.local_endpoint().port();
    accept();
    thread_ = std::thread([this] {
        for (;;) {
            try {
                io_.run();
                return;
            } catch (const std::exception& e) {
                std::fprintf(stderr, "WsServer: %s\n", e.what());
            }
        }
    });
    return true;
}

void WsServer::Impl::accept() {
    acceptor_.async_accept(io_, [this](beast::error_code ec, tcp::socket socket) {
        if (ec) return;  // closed by stop
        const int id = nextId_++;
        std::shared_ptr<Session> session;
        if (useTls_)
            session = std::make_shared<SessionOf<beast::ssl_stream<beast::tcp_stream>>>(*this, id, std::move(socket),
                                                                                         tls_);
        else
            session = std::make_shared<SessionOf<beast::tcp_stream>>(*this, id, std::move(socket));
        sessions_[id] = session;
        session->begin();
        accept();
    });
}

void WsServer::Impl::stop() {
    if (!thread_.joinable()) return;
    post([this] {
        beast::error_code ignored;
        acceptor_.close(ignored);
        auto sessions = sessions_;
        for (auto& entry : sessions) entry.second->drop();
        work_.reset();
    });
    thread_.join();
}

WsServer::WsServer(Options options, Handlers handlers) : impl_(new Impl(std::move(options), std::move(handlers))) {}

WsServer::~WsServer() { stop(); }

bool WsServer::start(std::string* error) { return impl_->start(error); }
unsigned short WsServer::port() const { return impl_->port_; }
bool WsServer::tls() const { return impl_->useTls_; }

std::string WsServer::url() const {
    return std::string(tls() ? "wss://" : "ws://") + impl_->options_.host + ":" + std::to_string(port());
}

void WsServer::send(int session, const std::string& text) {
    impl_->post([impl = impl_.get(), session, text] {
        if (auto s = impl->find(session)) s->write(text, true);
    });
}

void WsServer::sendBinary(int session, const std::string& bytes) {
    impl_->post([impl = impl_.get(), session, bytes] {
        if (auto s = impl->find(session)) s->write(bytes, false);
    });
}

void WsServer::close(int session) {
    impl_->post([impl = impl_.get(), session] {
        if (auto s = impl->find(session)) s->close();
    });
}

void WsServer::drop(int session) {
    impl_->post([impl = impl_.get(), session] {
        if (auto s = impl->find(session)) s->drop();
    });
}

void WsServer::dropAll() {
    impl_->post([impl = impl_.get()] {
        auto sessions = impl->sessions_;
        for (auto& entry : sessions) entry.second->drop();
    });
}

void WsServer::stop() { impl_->stop(); }

}  // namespace orvsim
