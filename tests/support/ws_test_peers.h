#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "inbox.h"
#include "orvane/websocket_transport.h"
#include "ws_server.h"

namespace orvtest {

// The library's side of the transport: every message and every state.
struct TransportWatcher : ORVANE::TransSDK::Process, ORVANE::WebSocketTransport::StateListener {
    Inbox<std::string> messages;
    Inbox<std::pair<ORVANE::WebSocketTransport::State, std::string>> states;

    void onProcess(const std::string& name, const std::string& data) override {
        if (name == "textmessage_process") messages.add(data);
    }
    void onTransportState(ORVANE::WebSocketTransport::State state, const std::string& detail) override {
        states.add({state, detail});
    }
    // Waits for the `n`th report of `state` (from 1).
    bool waitState(ORVANE::WebSocketTransport::State state, std::size_t n = 1,
                   std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        using Report = std::pair<ORVANE::WebSocketTransport::State, std::string>;
        return states.waitUntil(
            [&](const std::vector<Report>& all) {
                std::size_t seen = 0;
                for (const auto& s : all) seen += s.first == state ? 1 : 0;
                return seen >= n;
            },
            limit);
    }
    std::vector<ORVANE::WebSocketTransport::State> stateList() const {
        std::vector<ORVANE::WebSocketTransport::State> out;
        for (const auto& s : states.items()) out.push_back(s.first);
        return out;
    }
};

// A server on 127.0.0.1 that records what its clients send.
class RecordingServer {
public:
    explicit RecordingServer(unsigned short port = 0, std::string cert = "", std::string key = "") {
        orvsim::WsServer::Options options;
        options.port = port;
        options.certFile = std::move(cert);
        options.keyFile = std::move(key);
        orvsim::WsServer::Handlers handlers;
        handlers.opened = [this](int session, const std::string&) { opened.add(session); };
        handlers.text = [this](int, const std::string& text) { received.add(text); };
        server_ = std::make_unique<orvsim::WsServer>(options, handlers);
    }
    bool start() { return server_->start(); }
    orvsim::WsServer& server() { return *server_; }
    unsigned short port() const { return server_->port(); }
    std::string url() const { return server_->url(); }
    // The session of the `n`th client that connected (from 1): the server
    // may hear of it after the client has; 0 when it does not come.
    int session(std::size_t n = 1, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        if (!opened.waitCount(n, limit)) return 0;
        return opened.items()[n - 1];
    }

    Inbox<int> opened;
    Inbox<std::string> received;

private:
    std::unique_ptr<orvsim::WsServer> server_;
};

}  // namespace orvtest
