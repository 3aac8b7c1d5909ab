#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include "orvane/transsdk.h"

namespace orvsim {

// The readable texts of the error ids the library asks its transport about.
const std::map<std::string, std::string>& builtinErrMsgs();

// A transport whose far side lives in this process. The library's messages
// go to a server handler and the server's messages come back to the library,
// both on the transport's own thread, in order, as a real transport would
// deliver them. Nothing is delivered while the library holds its locks, and
// sendTextMessage never blocks.
class LoopbackTransport : public ORVANE::TransSDK {
public:
    LoopbackTransport();
    ~LoopbackTransport() override;
    // Ends the delivery thread; what is still queued is not delivered.
    void stop();
    LoopbackTransport(const LoopbackTransport&) = delete;
    LoopbackTransport& operator=(const LoopbackTransport&) = delete;

    // TransSDK
    int addProcess(Process* process) override;
    int sendTextMessage(const std::string& text) override;
    bool isGuestLogined() override;
    // A readable text for the ids the library asks about; the id itself for
    // one it does not know.
    std::string getErrMsgFromId(std::string id) override;

    // The server side. `handler` receives every message the library sends,
    // on the transport's thread.
    void setServer(std::function<void(const std::string& text)> handler);
    // Queues a message for the library, delivered on the transport's thread
    // after `delay` (and after everything queued before it).
    void deliver(const std::string& text, std::chrono::milliseconds delay = std::chrono::milliseconds(0));
    // Waits until nothing is queued or being handled in either direction.
    bool idle(std::chrono::milliseconds timeout = std::chrono::seconds(5));

    void setGuest(bool guest);
    void setErrMsg(const std::string& id, const std::string& text);
    // Told of every message crossing, before it is handled: toServer is true
    // for the library's messages.
    void setTrace(std::function<void(bool toServer, const std::string& text)> trace);

private:
    struct Item {
        bool toServer;
        std::string text;
        std::chrono::steady_clock::time_point due;
    };
    void run();

    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<Item> queue_;
    int busy_ = 0;
    bool stop_ = false;
    bool guest_ = false;
    Process* process_ = nullptr;
    std::function<void(const std::string&)> server_;
    std::function<void(bool, const std::string&)> trace_;
    std::map<std::string, std::string> errMsgs_;
    bool inServer_ = false;  // the thread is inside the server handler
    std::thread thread_;     // last: it starts once everything above is set up
};

}  // namespace orvsim
