#include "websocket_link.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/ssl.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <nlohmann/json.hpp>
#include <openssl/x509.h>
#include <spdlog/spdlog.h>

#include <exception>
#include <functional>
#include <type_traits>
#include <utility>

namespace ORVANE {
namespace detail {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;

namespace {

// What a log line shows of a frame: enough to recognise it, never megabytes.
std::string shortened(const std::string& data) {
    constexpr std::size_t kShown = 200;
    if (data.size() <= kShown) return data;
    return data.substr(0, kShown) + "... (" + std::to_string(data.size()) + " bytes)";
}

// The type a refusal names: the message's "id" up to any "@" (the REST
// command, or the signal as "INVITE_MQ_CALLMASTER"), else its "msg".
std::string typeOf(const std::string& text) {
    const nlohmann::json message = nlohmann::json::parse(text, nullptr, false);
    if (message.is_object()) {
        for (const char* key : {"id", "msg"}) {
            auto it = message.find(key);
            if (it != message.end() && it->is_string()) {
                const std::string value = it->get<std::string>();
                return value.substr(0, value.find('@'));
            }
        }
    }
    return "(not JSON)";
}

bool isAddress(const std::string& host) {
    boost::system::error_code ec;
    asio::ip::make_address(host, ec);
    return !ec;
}

}  // namespace

// One connection attempt and, once it has passed the handshakes, the open
// connection. Every operation runs on the I/O thread.
class Connection {
public:
    // Empty on success, else what failed.
    using Done = std::function<void(const std::string& error)>;
    using ReadDone = std::function<void(beast::error_code, bool text, std::string frame)>;
    using WriteDone = std::function<void(beast::error_code)>;

    virtual ~Connection() = default;
    virtual void open(const tcp::resolver::results_type& endpoints, const WebSocketUrl& url, Done done) = 0;
    virtual void read(ReadDone done) = 0;
    // `text` must stay as it is until `done` runs.
    virtual void write(const std::string& text, WriteDone done) = 0;
    // At once: what is under way ends with operation_aborted.
    virtual void abort() = 0;
    // With a close frame, within the handshake limit.
    virtual void close(std::function<void()> done) = 0;
};

namespace {

template <class Next>
class ConnectionOf : public Connection, public std::enable_shared_from_this<ConnectionOf<Next>> {
public:
    static constexpr bool kTls = !std::is_same<Next, beast::tcp_stream>::value;

    template <class... Args>
    ConnectionOf(std::chrono::milliseconds timeout, std::size_t maxBytes, Args&&... args)
        : ws_(std::forward<Args>(args)...), timeout_(timeout) {
        ws_.read_message_max(maxBytes);
    }

    void open(const tcp::resolver::results_type& endpoints, const WebSocketUrl& url, Done done) override {
        auto self = this->shared_from_this();
        beast::get_lowest_layer(ws_).expires_after(timeout_);
        beast::get_lowest_layer(ws_).async_connect(
            endpoints, [self, url, done](beast::error_code ec, const tcp::endpoint&) {
                if (ec) return done("connect to " + url.host + ":" + url.port + ": " + ec.message());
                self->secure(url, done);
            });
    }

    void read(ReadDone done) override {
        auto self = this->shared_from_this();
        ws_.async_read(buffer_, [self, done](beast::error_code ec, std::size_t) {
            if (ec) return done(ec, false, std::string());
            std::string frame = beast::buffers_to_string(self->buffer_.data());
            self->buffer_.consume(self->buffer_.size());
            done(ec, self->ws_.got_text(), std::move(frame));
        });
    }

    void write(const std::string& text, WriteDone done) override {
        auto self = this->shared_from_this();
        ws_.text(true);
        ws_.async_write(asio::buffer(text), [self, done](beast::error_code ec, std::size_t) { done(ec); });
    }

    void abort() override {
        beast::error_code ignored;
        beast::get_lowest_layer(ws_).socket().close(ignored);
    }

    void close(std::function<void()> done) override {
        auto self = this->shared_from_this();
        ws_.async_close(websocket::close_code::normal, [self, done](beast::error_code) {
            self->abort();
            done();
        });
    }

private:
    void secure(const WebSocketUrl& url, const Done& done) {
        if constexpr (kTls) {
            auto& tls = ws_.next_layer();
            // A name goes in the handshake for the server to pick its
            // certificate; an address may not.
            if (!isAddress(url.host)) SSL_set_tlsext_host_name(tls.native_handle(), url.host.c_str());
            tls.set_verify_callback(asio::ssl::host_name_verification(url.host));
            auto self = this->shared_from_this();
            beast::get_lowest_layer(ws_).expires_after(timeout_);
            tls.async_handshake(asio::ssl::stream_base::client, [self, url, done](beast::error_code ec) {
                if (ec) return done("TLS handshake with " + url.host + ": " + self->tlsError(ec));
                self->upgrade(url, done);
            });
        } else {
            upgrade(url, done);
        }
    }

    // The OpenSSL error says that the check failed; the verify result says why.
    std::string tlsError(const beast::error_code& ec) {
        std::string text = ec.message();
        if constexpr (kTls) {
            const long result = SSL_get_verify_result(ws_.next_layer().native_handle());
            if (result != X509_V_OK) text += " (" + std::string(X509_verify_cert_error_string(result)) + ")";
        }
        return text;
    }

    void upgrade(const WebSocketUrl& url, const Done& done) {
        beast::get_lowest_layer(ws_).expires_never();
        auto limits = websocket::stream_base::timeout::suggested(beast::role_type::client);
        limits.handshake_timeout = timeout_;
        ws_.set_option(limits);
        const bool defaultPort = url.port == (url.tls ? "443" : "80");
        const std::string host = (url.host.find(':') != std::string::npos ? "[" + url.host + "]" : url.host) +
                                 (defaultPort ? "" : ":" + url.port);
        auto self = this->shared_from_this();
        ws_.async_handshake(host, url.target, [self, done](beast::error_code ec) {
            if (ec) return done("WebSocket handshake: " + ec.message());
            done(std::string());
        });
    }

    websocket::stream<Next> ws_;
    beast::flat_buffer buffer_;
    std::chrono::milliseconds timeout_;
};

}  // namespace

WebSocketLink::WebSocketLink(Options options)
    : options_(std::move(options)),
      log_(options_.logger ? options_.logger : spdlog::default_logger()),
      work_(asio::make_work_guard(io_)),
      tls_(asio::ssl::context::tls_client),
      retry_(io_),
      random_(std::random_device{}()),
      urlText_(options_.url) {}

WebSocketLink::~WebSocketLink() { stop(); }

int WebSocketLink::start() {
    WebSocketUrl url;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (started_ || stopped_) {
            log_->error("WebSocketTransport: start refused: the transport was started before");
            return -1;
        }
    }
    if (!parseWebSocketUrl(options_.url, url)) {
        log_->error("WebSocketTransport: cannot read the URL \"{}\" (ws://HOST:PORT/PATH or wss://...)", options_.url);
        return -1;
    }
    // The context serves every later connection, ws:// URLs set later too.
    boost::system::error_code ec;
    tls_.set_default_verify_paths(ec);
    if (!options_.caFile.empty()) {
        tls_.load_verify_file(options_.caFile, ec);
        if (ec) {
            log_->error("WebSocketTransport: cannot load the CA file {}: {}", options_.caFile, ec.message());
            return -1;
        }
    }
    tls_.set_verify_mode(options_.verifyPeer ? asio::ssl::verify_peer : asio::ssl::verify_none);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        url_ = url;
        started_ = true;
        state_ = State::Connecting;
    }
    thread_ = std::thread([this] {
        // A handler that throws must not end the thread: the connection
        // would be left without anyone to serve it.
        for (;;) {
            try {
                io_.run();
                return;
            } catch (const std::exception& e) {
                log_->error("WebSocketTransport: {}", e.what());
            } catch (...) {
                log_->error("WebSocketTransport: unknown exception");
            }
        }
    });
    asio::post(io_, [this] {
        std::string url;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            url = urlText_;
        }
        report(State::Connecting, url);
        connect();
    });
    return 0;
}

void WebSocketLink::stop() {
    bool started;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        started = started_ && !stopped_;
        stopped_ = true;
        connectedNow_ = false;
        outbox_.clear();
        if (!started) state_ = State::Closed;
    }
    if (!started) return;
    if (std::this_thread::get_id() == thread_.get_id()) {
        // It cannot wait for itself; the thread ends once the close is done.
        log_->error("WebSocketTransport: stop called on the transport's own thread");
        asio::post(io_, [this] { shutDown(); });
        thread_.detach();
        return;
    }
    asio::post(io_, [this] { shutDown(); });
    if (thread_.joinable()) thread_.join();
}

void WebSocketLink::setStateListener(WebSocketTransport::StateListener* listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    listener_ = listener;
}

WebSocketLink::State WebSocketLink::state() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return state_;
}

int WebSocketLink::setUrl(const std::string& text) {
    WebSocketUrl url;
    if (!parseWebSocketUrl(text, url)) {
        log_->error("WebSocketTransport: cannot read the URL \"{}\"; the old one stays", text);
        return -1;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    url_ = url;
    urlText_ = text;
    return 0;
}

std::size_t WebSocketLink::pending() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return outbox_.size() + (writing_ ? 1 : 0);
}

int WebSocketLink::addProcess(TransSDK::Process* process) {
    if (process == nullptr) return -1;
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto* p : processes_)
        if (p == process) return 0;
    processes_.push_back(process);
    return 0;
}

int WebSocketLink::send(const std::string& text) {
    std::string refusal;
    bool connected = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopped_ || !started_) {
            refusal = stopped_ ? "the transport is stopped" : "the transport is not started";
        } else if (!connectedNow_ && outbox_.size() >= options_.queueLimit) {
            refusal = "not connected, and the queue holds its bound of " + std::to_string(options_.queueLimit) +
                      " messages";
        } else {
            outbox_.push_back(text);
            connected = connectedNow_;
        }
    }
    if (!refusal.empty()) {
        log_->error("WebSocketTransport: message {} refused: {}", typeOf(text), refusal);
        return -1;
    }
    if (connected) asio::post(io_, [this] { writeNext(); });
    return 0;
}

// --- The I/O thread ---------------------------------------------------------

void WebSocketLink::connect() {
    WebSocketUrl url;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopped_) return;
        url = url_;
    }
    const std::uint64_t generation = ++generation_;
    auto resolver = std::make_shared<tcp::resolver>(io_);
    resolver->async_resolve(
        url.host, url.port,
        [this, generation, url, resolver](beast::error_code ec, tcp::resolver::results_type endpoints) {
            if (generation != generation_) return;
            if (ec) return failed(generation, "name lookup of " + url.host + ": " + ec.message());
            using Tls = beast::ssl_stream<beast::tcp_stream>;
            if (url.tls)
                connection_ = std::make_shared<ConnectionOf<Tls>>(options_.connectTimeout, options_.maxMessageBytes,
                                                                  io_, tls_);
            else
                connection_ = std::make_shared<ConnectionOf<beast::tcp_stream>>(
                    options_.connectTimeout, options_.maxMessageBytes, io_);
            connection_->open(endpoints, url, [this, generation](const std::string& error) {
                if (generation != generation_) return;
                if (!error.empty()) return failed(generation, error);
                connected(generation);
            });
        });
}

void WebSocketLink::connected(std::uint64_t generation) {
    attempt_ = 0;
    open_ = true;
    std::string url;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        connectedNow_ = true;
        url = urlText_;
    }
    report(State::Connected, url);
    if (generation != generation_) return;  // the listener stopped it
    read(generation);
    writeNext();
}

void WebSocketLink::failed(std::uint64_t generation, const std::string& what) {
    if (generation != generation_) return;
    ++generation_;  // what is still under way on the old connection does nothing
    if (connection_) connection_->abort();
    connection_.reset();
    open_ = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        // A frame whose write did not complete is sent again: it may reach
        // the server twice, but it is not lost.
        if (writing_) outbox_.push_front(std::move(inFlight_));
        writing_ = false;
        connectedNow_ = false;
        if (stopped_) return;
    }
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const auto pause = backoffDelay(options_.backoffInitial, options_.backoffMax, options_.backoffJitter,
                                    attempt_++, unit(random_));
    log_->warn("WebSocketTransport: {}; next attempt in {} ms", what, pause.count());
    report(State::Reconnecting, what + "; next attempt in " + std::to_string(pause.count()) + " ms");
    // Cancelled by stop; a wait that ends as stop begins finds it stopped
    // in connect.
    retry_.expires_after(pause);
    retry_.async_wait([this](beast::error_code ec) {
        if (!ec) connect();
    });
}

void WebSocketLink::read(std::uint64_t generation) {
    connection_->read([this, generation](beast::error_code ec, bool text, std::string frame) {
        if (generation != generation_) return;
        if (ec) {
            if (ec == websocket::error::message_too_big)
                logJsonError("a frame longer than " + std::to_string(options_.maxMessageBytes) + " bytes", "");
            const std::string what = ec == websocket::error::closed ? "the server closed the connection"
                                                                     : "connection lost: " + ec.message();
            return failed(generation, what);
        }
        onFrame(text, std::move(frame));
        if (generation == generation_) read(generation);
    });
}

void WebSocketLink::writeNext() {
    if (!open_ || !connection_) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (writing_ || outbox_.empty()) return;
        inFlight_ = std::move(outbox_.front());
        outbox_.pop_front();
        writing_ = true;
    }
    const std::uint64_t generation = generation_;
    connection_->write(inFlight_, [this, generation](beast::error_code ec) {
        if (generation != generation_) return;
        if (ec) return failed(generation, "write: " + ec.message());
        {
            std::lock_guard<std::mutex> lock(mutex_);
            writing_ = false;
            inFlight_.clear();
        }
        writeNext();
    });
}

void WebSocketLink::onFrame(bool text, std::string frame) {
    if (!text) return logJsonError("a binary frame carries no message", frame);
    if (!nlohmann::json::accept(frame)) {
        std::string what = "not JSON";
        try {
            const auto parsed = nlohmann::json::parse(frame);
            (void)parsed;
        } catch (const nlohmann::json::exception& e) {
            what = e.what();
        }
        return logJsonError(what, frame);
    }
    std::vector<TransSDK::Process*> processes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        processes = processes_;
    }
    for (auto* process : processes) {
        try {
            process->onProcess("textmessage_process", frame);
        } catch (const std::exception& e) {
            log_->error("WebSocketTransport: a receiver threw: {}", e.what());
        } catch (...) {
            log_->error("WebSocketTransport: a receiver threw");
        }
    }
}

void WebSocketLink::report(State state, const std::string& detail) {
    WebSocketTransport::StateListener* listener;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        state_ = state;
        listener = listener_;
    }
    log_->info("WebSocketTransport: {} {}", WebSocketTransport::stateName(state), detail);
    if (listener == nullptr) return;
    try {
        listener->onTransportState(state, detail);
    } catch (const std::exception& e) {
        log_->error("WebSocketTransport: the state listener threw: {}", e.what());
    } catch (...) {
        log_->error("WebSocketTransport: the state listener threw");
    }
}

void WebSocketLink::shutDown() {
    retry_.cancel();
    ++generation_;
    auto finish = [this] {
        report(State::Closed, "stopped");
        work_.reset();
    };
    auto connection = std::move(connection_);
    if (connection && open_) {
        open_ = false;
        connection->close(finish);
    } else {
        open_ = false;
        if (connection) connection->abort();
        finish();
    }
}

void WebSocketLink::logJsonError(const std::string& what, const std::string& data) {
    log_->error("json ERROR! confsdk:{}, json error={}, data={}", "WebSocketTransport::onFrame", what,
                shortened(data));
}

}  // namespace detail

// --- The facade ---------------------------------------------------------------

WebSocketTransport::WebSocketTransport(Options options) : link_(new detail::WebSocketLink(std::move(options))) {}

WebSocketTransport::~WebSocketTransport() = default;

namespace {
// The calls that answer with a number answer -1 for what would throw (a
// thread that cannot start, memory that runs out): nothing leaves the
// transport as an exception.
template <typename F>
int guarded(const std::shared_ptr<spdlog::logger>& log, const char* operation, F&& call) {
    try {
        return call();
    } catch (const std::exception& e) {
        log->error("WebSocketTransport::{}: {}", operation, e.what());
    } catch (...) {
        log->error("WebSocketTransport::{}: unknown exception", operation);
    }
    return -1;
}
}  // namespace

int WebSocketTransport::start() { return guarded(link_->logger(), "start", [&] { return link_->start(); }); }
void WebSocketTransport::stop() { link_->stop(); }
void WebSocketTransport::setStateListener(StateListener* listener) { link_->setStateListener(listener); }
WebSocketTransport::State WebSocketTransport::state() const { return link_->state(); }
int WebSocketTransport::setUrl(const std::string& url) { return link_->setUrl(url); }
std::size_t WebSocketTransport::pending() const { return link_->pending(); }
int WebSocketTransport::addProcess(Process* process) { return link_->addProcess(process); }
int WebSocketTransport::sendTextMessage(const std::string& text) {
    return guarded(link_->logger(), "sendTextMessage", [&] { return link_->send(text); });
}
bool WebSocketTransport::isGuestLogined() { return link_->options().guest; }

std::string WebSocketTransport::getErrMsgFromId(std::string id) {
    const auto& texts = link_->options().errorTexts;
    auto it = texts.find(id);
    return it != texts.end() ? it->second : id;
}

const char* WebSocketTransport::stateName(State state) {
    switch (state) {
        case State::Connecting: return "connecting";
        case State::Connected: return "connected";
        case State::Reconnecting: return "reconnecting";
        case State::Closed: return "closed";
    }
    return "?";
}

}  // namespace ORVANE
