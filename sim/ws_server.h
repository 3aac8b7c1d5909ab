#pragma once

#include <functional>
#include <memory>
#include <string>

namespace orvsim {

// A WebSocket server for the simulated servers and the tests: it listens on
// one address, plain or with TLS, and serves any number of clients, each a
// session with a number of its own. Everything runs on one thread of its
// own; the handlers are called there, one at a time, and may call any
// member but stop.
class WsServer {
public:
    struct Options {
        std::string host = "127.0.0.1";
        unsigned short port = 0;  // 0: the system picks one; port() tells it
        // Both set: the server speaks wss://, with this PEM certificate
        // (chain) and key.
        std::string certFile;
        std::string keyFile;
        std::size_t maxMessageBytes = 32 * 1024 * 1024;
    };
    struct Handlers {
        // A client has passed the handshake; `target` is the path it asked for.
        std::function<void(int session, const std::string& target)> opened;
        // A text frame from the client.
        std::function<void(int session, const std::string& text)> text;
        // The session has ended, whichever side ended it.
        std::function<void(int session)> closed;
    };

    WsServer(Options options, Handlers handlers);
    ~WsServer();
    WsServer(const WsServer&) = delete;
    WsServer& operator=(const WsServer&) = delete;

    // Binds, listens and starts the thread. False, with the reason in
    // `error`, when the address cannot be bound or the certificate loaded.
    bool start(std::string* error = nullptr);
    unsigned short port() const;
    bool tls() const;
    // "ws://HOST:PORT" or "wss://HOST:PORT".
    std::string url() const;

    // From any thread; a session that has ended is ignored. Frames go out in
    // the order they were given.
    void send(int session, const std::string& text);
    void sendBinary(int session, const std::string& bytes);
    // Ends a session with a close frame, or at once without one.
    void close(int session);
    void drop(int session);
    // Ends every session at once, as a server that dies would; the listener
    // stays.
    void dropAll();
    // Stops listening, ends every session and the thread. Not from a handler.
    void stop();

    class Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace orvsim
