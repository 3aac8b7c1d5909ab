#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "orvane/avsdk.h"
#include "ServerInteraction/orvanecontrolsdk_p.h"

namespace ORVANE {

class TimerTaskQueue;

// A room system the server has ordered this client to call.
struct H323Device {
    std::string deviceName;
    std::string deviceIp;    // the order's "dialString"
    std::string deviceType;  // the order's "protocolType"
    std::string cmdId;       // empty: the call is made, but nobody is answered
};

// The H.323 call-out queue. The server's orders are called one at a time
// through the engine, each with 30 s to succeed; how each call went is
// answered to the server under the order's command id.
//
// Every operation runs under the call lock, and so does the time-out, which
// fires on the timer worker. A time-out carries the call-out it was armed
// for: one that the worker had already taken when its call ended does
// nothing, so it can never end a later call.
class H323Callout {
public:
    static constexpr int64_t kLimitSeconds = 30;

    H323Callout(std::recursive_mutex& callMutex, TimerTaskQueue& timers, OrvaneControlSDk_private& control,
                std::function<AVSDK*()> media);

    // Queues an order; calls it at once when no other call is under way.
    int callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType,
                       const std::string& cmdId);
    // The engine's report on the call under way. Ringing or success changes
    // nothing; anything else ends the call as failed. True when a next
    // device was started.
    bool onCalloutStatus(const std::string& status);
    // A room system joined the meeting as `userid` while this call was under
    // way: its success.
    void onDeviceJoined(const std::string& userid);
    // The answer to `cmdId` for a device that joined as `userid`; `where`
    // names the handler in the error line of an id that is not a number.
    static std::string joinedAnswer(const std::string& cmdId, const std::string& userid, const char* where);
    // The answer to an order, as the server takes it.
    static std::string answerText(const std::string& cmdId, const char* retCode, const nlohmann::json& retData);
    void send(const std::string& answer);

    // The meeting failed or ended: the time-out goes, the queue stays.
    void stopTimer();
    // Nothing ordered so far is called: a meeting was connected, or the
    // engine's login ended.
    void forgetOrders();

    // The call under way, or all empty.
    const H323Device& current() const { return current_device; }

private:
    int trueCallH323device(const H323Device& device);
    void callh323timeoutFunc(uint64_t callout);
    // The call under way is over: the next order, if any, is called.
    bool nextDevice();
    void settle();

    std::recursive_mutex& callMutex_;
    TimerTaskQueue& timers_;
    OrvaneControlSDk_private& control_;
    std::function<AVSDK*()> media_;

    // The orders not finished yet, oldest first; the first is under way.
    std::vector<H323Device> device_vector;
    H323Device current_device;
    uint64_t h323_timer_id = 0;
    // The outcome of the call under way is known: its time-out does nothing.
    bool h323_call_settled = false;
    // Moves on whenever a time-out is stopped: a time-out acts only on the call it was armed for.
    uint64_t callout_ = 0;
};

}  // namespace ORVANE
