#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "orvane/transsdk.h"

namespace spdlog {
class logger;
}

namespace orvsim {
class LoopbackTransport;
class SimEngine;
}  // namespace orvsim

namespace orvcli {

// The console client's road to the servers: the loopback to the simulated
// servers in this process, or, with --server, a WebSocket connection to
// orvane-simserver. The media engine stays in this process either way.
class ClientLink {
public:
    // A line of the timeline: who, and what happened.
    using Line = std::function<void(const std::string& who, const std::string& what)>;
    // Every message crossing, as it crosses: toServer for the library's.
    using Trace = std::function<void(bool toServer, const std::string& text)>;

    struct Remote {
        std::string url;     // empty: the loopback
        std::string caFile;  // for wss://: a CA to trust besides the system's
    };

    ClientLink(orvsim::LoopbackTransport& loopback, orvsim::SimEngine& engine, Remote remote, Line line);
    ~ClientLink();
    ClientLink(const ClientLink&) = delete;
    ClientLink& operator=(const ClientLink&) = delete;

    bool remote() const;
    // What the library is handed.
    ORVANE::TransSDK& transport();
    void setTrace(Trace trace);
    // Connects to the server and waits, up to `limit`, for the connection
    // and the device's registration; the transport logs through `logger`.
    // False when the server's address cannot be used; a server that cannot
    // be reached is tried again and again.
    bool start(std::shared_ptr<spdlog::logger> logger, std::chrono::milliseconds limit = std::chrono::seconds(5));
    // Nothing of the library's waits to be written.
    bool idle();
    void stop();
    // A command of the simulated servers, which a remote server does not
    // take from this console: the reason, or empty when the command may run.
    std::string refusal(const std::string& command) const;

    class Remote_;

private:
    orvsim::LoopbackTransport& loopback_;
    std::unique_ptr<Remote_> remote_;
};

}  // namespace orvcli
