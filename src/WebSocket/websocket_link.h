#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "orvane/websocket_transport.h"
#include "websocket_url.h"

namespace ORVANE {
namespace detail {

class Connection;

// The inside of WebSocketTransport. What the I/O thread alone touches sits
// apart from what the callers' threads share with it under mutex_.
class WebSocketLink {
public:
    using Options = WebSocketTransport::Options;
    using State = WebSocketTransport::State;

    explicit WebSocketLink(Options options);
    ~WebSocketLink();

    int start();
    void stop();
    void setStateListener(WebSocketTransport::StateListener* listener);
    State state() const;
    int setUrl(const std::string& url);
    std::size_t pending() const;
    int addProcess(TransSDK::Process* process);
    int send(const std::string& text);
    const Options& options() const { return options_; }
    const std::shared_ptr<spdlog::logger>& logger() const { return log_; }

private:
    // On the I/O thread.
    void connect();
    void connected(std::uint64_t generation);
    void failed(std::uint64_t generation, const std::string& what);
    void read(std::uint64_t generation);
    void writeNext();
    void onFrame(bool text, std::string frame);
    void report(State state, const std::string& detail);
    void shutDown();

    void logJsonError(const std::string& what, const std::string& data);

    const Options options_;
    std::shared_ptr<spdlog::logger> log_;

    boost::asio::io_context io_;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work_;
    boost::asio::ssl::context tls_;
    std::thread thread_;

    // The I/O thread's own.
    boost::asio::steady_timer retry_;
    std::shared_ptr<Connection> connection_;
    std::uint64_t generation_ = 0;  // of connection_: handlers of an older one do nothing
    bool open_ = false;             // connection_ has passed its handshake
    std::string inFlight_;          // the frame being written
    unsigned attempt_ = 0;          // failed attempts since the last connection
    std::minstd_rand random_;

    // Shared with the callers' threads.
    mutable std::mutex mutex_;
    WebSocketUrl url_;
    std::string urlText_;
    State state_ = State::Closed;
    bool started_ = false;
    bool stopped_ = false;
    bool connectedNow_ = false;  // what send() goes by
    bool writing_ = false;       // inFlight_ is being written
    std::deque<std::string> outbox_;
    std::vector<TransSDK::Process*> processes_;
    WebSocketTransport::StateListener* listener_ = nullptr;
};

}  // namespace detail
}  // namespace ORVANE
