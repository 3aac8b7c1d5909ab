#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include <nlohmann/json.hpp>

#include "orvane/orvanelogic.h"

// The empty variant: commands routed to the logic are dropped.
class OrvaneLogic_AV : public OrvaneLogic_Interface {
public:
    void setConfptr(OrvaneSDKPrivate* c) override { conf = c; }
    OrvaneSDKPrivate* conf = nullptr;
};

// The queue of the server's control commands: the transport's thread puts
// them in, the control thread takes them out, one at a time. No limit.
class ControlEventQueue {
public:
    void push(const std::string& text);
    // The oldest text; false once stopped.
    bool pop(std::string& out);
    void stop();
    // Waits until every text pushed has been handled; false on time-out.
    bool waitIdle(std::chrono::milliseconds timeout);
    void done();

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable idle_;
    std::deque<std::string> items_;
    size_t unfinished_ = 0;
    bool running_ = true;
};

// The working variant for the media platforms in use: the application's
// control commands carried out on the engine, the server's control commands
// handed to the application on a thread of its own, and the server's
// endpoint list merged with the engine's view.
class OrvaneLogic_QV final : public OrvaneLogic_Interface {
public:
    OrvaneLogic_QV() = default;
    ~OrvaneLogic_QV();
    OrvaneLogic_QV(const OrvaneLogic_QV&) = delete;
    OrvaneLogic_QV& operator=(const OrvaneLogic_QV&) = delete;

    void sendCommand(const std::string& type, const std::string& data) override;
    void onCtrlCommand(const std::string& type, const std::string& data) override;
    void onCtrlNotify(const std::string& type, const std::string& data) override;
    void setConfptr(OrvaneSDKPrivate* c) override;

    // Waits until the control commands received so far have been handled;
    // for whoever drives the library step by step.
    bool waitIdle(std::chrono::milliseconds timeout) { return queue_.waitIdle(timeout); }
    // Ends the control thread; commands still queued are not handled.
    void stop();

    OrvaneSDKPrivate* conf = nullptr;

private:
    void confControlThread();
    void handleControlCommand(const std::string& text);
    void sendControlCommandResp(const std::string& cmdId, const std::string& op, const nlohmann::json& retData);
    void _onConfControlendpoints(const std::string& type, const std::string& data);
    void _onConfControlendpointsExternal(const std::string& type, const std::string& data);

    ControlEventQueue queue_;
    std::mutex threadMutex_;
    std::thread controlThread_;
};
