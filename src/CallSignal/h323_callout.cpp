#include "CallSignal/h323_callout.h"

#include "call_lock.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "timer_task.h"

using json = nlohmann::json;

namespace ORVANE {

namespace {

const char* const kRing = "H323Callout_Ring";
const char* const kSuccess = "H323Callout_Success";
const char* const kTimeout = "H323Callout_Timeout";
// The answer for a device that joined under an id the server could not take
// as the number it expects: a failure, so that "OK" always carries a number.
const char* const kInvalidUserId = "H323Callout_InvalidUserId";

}  // namespace

H323Callout::H323Callout(std::recursive_mutex& callMutex, TimerTaskQueue& timers, OrvaneControlSDk_private& control,
                         std::function<AVSDK*()> media)
    : callMutex_(callMutex), timers_(timers), control_(control), media_(std::move(media)) {}

std::string H323Callout::answerText(const std::string& cmdId, const char* retCode, const json& retData) {
    return CtrlSDKUtils::dump(CtrlSDKUtils::methodMessage(
        "MQ_CALLMASTER_CMD_RESP", {{"cmdId", cmdId}, {"operator", "123"}, {"retCode", retCode}, {"retData", retData}}));
}

std::string H323Callout::joinedAnswer(const std::string& cmdId, const std::string& userid, const char* where) {
    if (const auto id = CtrlSDKUtils::userIdNumber(userid)) return answerText(cmdId, "OK", *id);
    LOG_JSON_ERROR_AT(where, "userid is not a decimal number", userid);
    return answerText(cmdId, "FAILED", kInvalidUserId);
}

void H323Callout::send(const std::string& answer) { control_.sendCommand(CONF::CONTROLCOMMANDRESP, answer); }

int H323Callout::callH323device(const std::string& deviceName, const std::string& deviceIp,
                                const std::string& deviceType, const std::string& cmdId) {
    device_vector.push_back({deviceName, deviceIp, deviceType, cmdId});
    LOG_DEBUG("OrvaneSDKPrivate::callH323device start deviceName={}  deviceIp={} deviceType={} cmdId={} "
              "device_vector size={}",
              deviceName, deviceIp, deviceType, cmdId, device_vector.size());
    // Anything more is waiting behind the call under way.
    if (device_vector.size() != 1) return 0;
    current_device = device_vector.front();
    return trueCallH323device(current_device);
}

int H323Callout::trueCallH323device(const H323Device& device) {
    LOG_DEBUG("OrvaneSDKPrivate::trueCallH323device deviceName={}, deviceIp={}, deviceType={}, cmdId={} enter",
              device.deviceName, device.deviceIp, device.deviceType, device.cmdId);
    // The engine's answer is not looked at: a refusal ends by the time-out.
    if (AVSDK* av = media_()) av->callH323device(device.deviceName, device.deviceIp, device.deviceType, device.cmdId);
    h323_call_settled = false;
    stopTimer();
    const uint64_t callout = callout_;
    // The time-out only adds to the worker's queue, so a time-out that goes
    // on to the next device arms its limit from the worker itself.
    h323_timer_id = timers_.add(
        kLimitSeconds,
        [this, callout](std::string) {
            CallLock lock(callMutex_);
            callh323timeoutFunc(callout);
        },
        "");
    LOG_DEBUG("OrvaneSDKPrivate::trueCallH323device h323 test timeout timer start time_id={}", h323_timer_id);
    return 0;
}

void H323Callout::callh323timeoutFunc(uint64_t callout) {
    LOG_DEBUG("AVSDK_Engine::callh323timeoutFunc enter");
    if (callout != callout_ || h323_call_settled) return;
    h323_timer_id = 0;
    LOG_DEBUG("OrvaneSDKPrivate::callh323timeoutFunc start cancelCallH323device");
    if (AVSDK* av = media_()) av->cancelCallH323device();
    if (!current_device.cmdId.empty()) {
        const std::string text = answerText(current_device.cmdId, "FAILED", kTimeout);
        LOG_DEBUG("cmdid is not empty and time out Client SDK ControlCommandResp:= {}\n", text);
        send(text);
    }
    nextDevice();
}

bool H323Callout::nextDevice() {
    if (!device_vector.empty()) {
        device_vector.erase(device_vector.begin());
        current_device = H323Device{};
    }
    if (device_vector.empty()) return false;
    current_device = device_vector.front();
    trueCallH323device(current_device);
    return true;
}

void H323Callout::settle() {
    h323_call_settled = true;
    stopTimer();
}

bool H323Callout::onCalloutStatus(const std::string& status) {
    // The call goes on; only the device's arrival settles it.
    if (status == kRing || status == kSuccess) return false;
    if (!current_device.cmdId.empty()) {
        const std::string text = answerText(current_device.cmdId, "FAILED", status);
        LOG_DEBUG("cmdid is not empty and call h323 failed Client SDK ControlCommandResp:= {}\n", text);
        send(text);
    }
    settle();
    return nextDevice();
}

void H323Callout::onDeviceJoined(const std::string& userid) {
    const H323Device device = current_device;
    if (AVSDK* av = media_()) av->changeUserName(userid, device.deviceName, false);
    const std::string text = joinedAnswer(device.cmdId, userid, "OrvaneSDKPrivate::avfilter_onUserJoin");
    LOG_DEBUG("cmdid is not empty send controlCommandResp to confmgr, data={}", text);
    send(text);
    settle();
    nextDevice();
}

void H323Callout::stopTimer() {
    if (h323_timer_id != 0) timers_.cancel(h323_timer_id);
    h323_timer_id = 0;
    // A time-out the worker has already taken finds its call-out over; the
    // next call counts from here.
    ++callout_;
}

void H323Callout::forgetOrders() {
    device_vector.clear();
    // The call under way goes with the queue: a room system that joins the
    // new meeting is not the success of an order of the last one.
    current_device = H323Device{};
    stopTimer();
    h323_call_settled = false;
}

}  // namespace ORVANE
