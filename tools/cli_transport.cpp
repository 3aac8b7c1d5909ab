#include "cli_transport.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

#include "loopback_transport.h"
#include "sim_engine.h"

#ifdef ORVANE_CLI_WEBSOCKET
#include "orvane/websocket_transport.h"
#endif

namespace orvcli {

namespace {

// The console's commands that play the servers: a remote server has its own.
const std::set<std::string>& serverCommands() {
    static const std::set<std::string> commands = {"incoming", "cancel", "bye",  "move",   "join",   "part",
                                                   "portal",   "ctrl",   "logout", "rename", "conference",
                                                   "ignore"};
    return commands;
}

}  // namespace

#ifdef ORVANE_CLI_WEBSOCKET

// Between the library and the WebSocket transport: it shows what crosses,
// tells the state of the connection, and learns the device's number from its
// registration, to ask for it again after a reconnect and to give the local
// engine user ids that no other client of the server has.
class ClientLink::Remote_ : public ORVANE::TransSDK,
                           public ORVANE::TransSDK::Process,
                           public ORVANE::WebSocketTransport::StateListener {
public:
    Remote_(orvsim::SimEngine& engine, const Remote& remote, Line line)
        : engine_(engine), remote_(remote), base_(baseOf(remote.url)), line_(std::move(line)) {}
    ~Remote_() override { stop(); }

    // The transport is made here, when the library's logger is known: its
    // log lines go with the library's.
    bool start(std::shared_ptr<spdlog::logger> logger, std::chrono::milliseconds limit) {
        auto options = optionsFor(remote_);
        options.logger = std::move(logger);
        ws_ = std::make_unique<ORVANE::WebSocketTransport>(options);
        ws_->setStateListener(this);
        ws_->addProcess(this);
        if (ws_->start() != 0) return false;
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait_for(lock, limit, [this] { return registered_; });
        return true;
    }
    bool idle() { return !ws_ || ws_->pending() == 0; }
    void stop() {
        if (ws_) ws_->stop();
    }
    void setTrace(Trace trace) {
        std::lock_guard<std::mutex> lock(mutex_);
        trace_ = std::move(trace);
    }

    int addProcess(ORVANE::TransSDK::Process* process) override {
        std::lock_guard<std::mutex> lock(mutex_);
        library_ = process;
        return 0;
    }
    int sendTextMessage(const std::string& text) override {
        traced(true, text);
        const int result = ws_ ? ws_->sendTextMessage(text) : -1;
        if (result != 0) line_("link", "not sent: the connection is down and the queue is full (see the log)");
        return result;
    }
    bool isGuestLogined() override { return false; }
    std::string getErrMsgFromId(std::string id) override {
        const auto& texts = orvsim::builtinErrMsgs();
        auto it = texts.find(id);
        return it != texts.end() ? it->second : id;
    }

    void onProcess(const std::string& name, const std::string& data) override {
        if (data.find("\"device_register\"") != std::string::npos) learnDevice(data);
        traced(false, data);
        ORVANE::TransSDK::Process* library;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            library = library_;
        }
        if (library) library->onProcess(name, data);
    }

    void onTransportState(ORVANE::WebSocketTransport::State state, const std::string& detail) override {
        line_("link", std::string(ORVANE::WebSocketTransport::stateName(state)) + (detail.empty() ? "" : " " + detail));
    }

private:
    static ORVANE::WebSocketTransport::Options optionsFor(const Remote& remote) {
        ORVANE::WebSocketTransport::Options options;
        options.url = remote.url;
        options.caFile = remote.caFile;
        // Short enough that a restarted server is found again soon.
        options.backoffInitial = std::chrono::milliseconds(200);
        options.backoffMax = std::chrono::milliseconds(3000);
        return options;
    }
    // "ws://HOST:PORT" of "ws://HOST:PORT/PATH".
    static std::string baseOf(const std::string& url) {
        const auto scheme = url.find("://");
        if (scheme == std::string::npos) return url;
        return url.substr(0, url.find_first_of("/?", scheme + 3));
    }

    void traced(bool toServer, const std::string& text) {
        Trace trace;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            trace = trace_;
        }
        if (trace) trace(toServer, text);
    }

    void learnDevice(const std::string& data) {
        const nlohmann::json m = nlohmann::json::parse(data, nullptr, false);
        const nlohmann::json* e = &m;
        for (const char* key : {"fields", "args"}) {
            if (!e->is_object() || !e->contains(key)) return;
            e = &(*e)[key];
        }
        if (!e->is_array() || e->empty() || !(*e)[0].is_object()) return;
        const std::string number = (*e)[0].value("dialNumber", "");
        if (number.empty() || number.find_first_not_of("0123456789") != std::string::npos || number.size() > 6)
            return;
        if (number != number_) {
            number_ = number;
            engine_.setFirstUserId(16000000ULL + std::stoull(number) * 1000ULL);
            ws_->setUrl(base_ + "/" + number);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        registered_ = true;
        cv_.notify_all();
    }

    orvsim::SimEngine& engine_;
    const Remote remote_;
    const std::string base_;
    Line line_;
    std::mutex mutex_;
    std::condition_variable cv_;
    Trace trace_;
    ORVANE::TransSDK::Process* library_ = nullptr;
    bool registered_ = false;
    std::string number_;  // the transport's thread alone
    std::unique_ptr<ORVANE::WebSocketTransport> ws_;  // last: its thread calls into the members above
};

#else

class ClientLink::Remote_ : public ORVANE::TransSDK {
public:
    Remote_(orvsim::SimEngine&, const Remote&, Line line) : line_(std::move(line)) {}
    bool start(std::shared_ptr<spdlog::logger>, std::chrono::milliseconds) {
        line_("link", "this orvane-cli is built without the WebSocket transport");
        return false;
    }
    bool idle() { return true; }
    void stop() {}
    void setTrace(Trace) {}
    int addProcess(Process*) override { return -1; }
    int sendTextMessage(const std::string&) override { return -1; }
    bool isGuestLogined() override { return false; }
    std::string getErrMsgFromId(std::string id) override { return id; }

private:
    Line line_;
};

#endif

ClientLink::ClientLink(orvsim::LoopbackTransport& loopback, orvsim::SimEngine& engine, Remote remote, Line line)
    : loopback_(loopback) {
    if (!remote.url.empty()) remote_ = std::make_unique<Remote_>(engine, remote, std::move(line));
}

ClientLink::~ClientLink() = default;

bool ClientLink::remote() const { return remote_ != nullptr; }

ORVANE::TransSDK& ClientLink::transport() {
    if (remote_) return *remote_;
    return loopback_;
}

void ClientLink::setTrace(Trace trace) {
    if (remote_)
        remote_->setTrace(std::move(trace));
    else
        loopback_.setTrace(std::move(trace));
}

bool ClientLink::start(std::shared_ptr<spdlog::logger> logger, std::chrono::milliseconds limit) {
    return remote_ ? remote_->start(std::move(logger), limit) : true;
}

bool ClientLink::idle() { return remote_ ? remote_->idle() : loopback_.idle(std::chrono::milliseconds(0)); }

void ClientLink::stop() {
    if (remote_) remote_->stop();
    loopback_.stop();
}

std::string ClientLink::refusal(const std::string& command) const {
    if (!remote_ || !serverCommands().count(command)) return {};
    return "  " + command + " plays the simulated servers, which are orvane-simserver's with --server";
}

}  // namespace orvcli
