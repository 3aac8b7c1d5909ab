// orvane-simserver: the simulated servers behind a WebSocket endpoint, for
// clients of the library in other processes (orvane-cli --server). Each
// client is a device of its own with its own dial number; calling a device's
// number rings it. Every message each way is logged on standard output.
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "sim_switchboard.h"
#include "ws_server.h"

namespace {

struct Options {
    std::string host = "127.0.0.1";
    unsigned short port = 0;
    std::string certFile;
    std::string keyFile;
};

// The device number a client asks for in its path: "/1002" or "/?dial=1002".
std::string wantedNumber(const std::string& target) {
    const auto dial = target.find("dial=");
    std::string number = dial != std::string::npos ? target.substr(dial + 5) : target.substr(target.rfind('/') + 1);
    return number.substr(0, number.find_first_of("&?/"));
}

class Log {
public:
    Log() : start_(std::chrono::steady_clock::now()) {}
    void line(const std::string& who, const std::string& what) {
        std::lock_guard<std::mutex> lock(mutex_);
        const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
        std::printf("%8.3f  %-8s %s\n", s, who.c_str(), what.c_str());
        std::fflush(stdout);
    }

private:
    std::mutex mutex_;
    std::chrono::steady_clock::time_point start_;
};

std::string shown(const std::string& text) {
    constexpr std::size_t kMax = 4000;
    return text.size() <= kMax ? text : text.substr(0, kMax) + "... (" + std::to_string(text.size()) + " bytes)";
}

int usage(int status) {
    std::printf(
        "usage: orvane-simserver [--host ADDRESS] [--port PORT] [--cert FILE --key FILE]\n"
        "  --host ADDRESS  the address to listen on (127.0.0.1)\n"
        "  --port PORT     the port (0, the default: one the system picks; the first line tells it)\n"
        "  --cert FILE     a PEM certificate chain, and with --key its key: the server speaks wss://\n"
        "Clients get the dial numbers 1001, 1002, ... in the order they connect, or the number\n"
        "they ask for in their path (ws://HOST:PORT/1002). Calling a device's number rings it.\n"
        "SIGINT or SIGTERM stops the server.\n");
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const bool more = i + 1 < argc;
        if (a == "--host" && more) {
            options.host = argv[++i];
        } else if (a == "--port" && more) {
            char* end = nullptr;
            const long port = std::strtol(argv[++i], &end, 10);
            if (*end != '\0' || port < 0 || port > 65535) return usage(2);
            options.port = static_cast<unsigned short>(port);
        } else if (a == "--cert" && more) {
            options.certFile = argv[++i];
        } else if (a == "--key" && more) {
            options.keyFile = argv[++i];
        } else {
            return usage(a == "--help" || a == "-h" ? 0 : 2);
        }
    }
    if (options.certFile.empty() != options.keyFile.empty()) return usage(2);

    // The signals are taken by this thread alone, with sigwait; every thread
    // made from here on inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    Log log;
    // The server outlives the switchboard, whose threads send through it
    // until they are stopped.
    orvsim::Switchboard* board = nullptr;
    orvsim::WsServer::Options serverOptions;
    serverOptions.host = options.host;
    serverOptions.port = options.port;
    serverOptions.certFile = options.certFile;
    serverOptions.keyFile = options.keyFile;
    orvsim::WsServer::Handlers handlers;
    handlers.opened = [&](int client, const std::string& target) {
        const std::string number = board->open(client, wantedNumber(target));
        log.line(number, "connected (client " + std::to_string(client) + ", path " + target + ")");
    };
    handlers.text = [&](int client, const std::string& text) { board->fromClient(client, text); };
    handlers.closed = [&](int client) {
        board->close(client);
        log.line("-", "client " + std::to_string(client) + " disconnected");
    };
    orvsim::WsServer server(serverOptions, handlers);
    orvsim::Switchboard switchboard(
        [&server](int client, const std::string& text) { server.send(client, text); },
        [&log](const std::string& number, bool toClient, const std::string& text) {
            log.line(number + (toClient ? "<" : ">"), shown(text));
        });
    board = &switchboard;
    std::string error;
    if (!server.start(&error)) {
        std::fprintf(stderr, "orvane-simserver: %s\n", error.c_str());
        return 1;
    }
    std::printf("orvane-simserver: listening on %s\n", server.url().c_str());
    std::fflush(stdout);

    int signal = 0;
    sigwait(&stopSignals, &signal);
    log.line("-", std::string("stopping on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM"));
    server.stop();
    std::printf("orvane-simserver: stopped\n");
    std::fflush(stdout);
    return 0;
}
