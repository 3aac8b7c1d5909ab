// The media engine's notifications, one handler per event: each decides what
// the event means here and whether it goes on to the application's engine
// listener.
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>

#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

using AvNotifyHandler = std::function<bool(OrvaneSDKPrivate*, const std::string&, const std::string&, std::string&)>;

// Every engine event the library looks at; others pass untouched.
const std::map<std::string, AvNotifyHandler>& avNotifyHandlers() {
    static const std::map<std::string, AvNotifyHandler> handlers = {
        {"onSdkReady", &OrvaneSDKPrivate::avfilter_onSdkReady},
        {"onLogin", &OrvaneSDKPrivate::avfilter_onLogin},
        {"orvaneavsdk_connect", &OrvaneSDKPrivate::avfilter_ignore},
        {"onCallEnd", &OrvaneSDKPrivate::avfilter_onCallEnd},
        {"onEndReason", &OrvaneSDKPrivate::avfilter_onEndReason},
        {"onCallConnected", &OrvaneSDKPrivate::avfilter_onCallConnected},
        {"onCallFailed", &OrvaneSDKPrivate::avfilter_onCallFailed},
        {"onCallReconnecting", &OrvaneSDKPrivate::avfilter_ignore},
        {"onCallStatusChanged", &OrvaneSDKPrivate::avfilter_onCallStatusChanged},
        {"onUserAudioStatusChange", &OrvaneSDKPrivate::avfilter_onUserAudioStatusChange},
        {"onUserVideoStatusChange", &OrvaneSDKPrivate::avfilter_onUserVideoStatusChange},
        {"onHostChangeNotification", &OrvaneSDKPrivate::avfilter_onHostChangeNotification},
        {"onCoHostChangeNotification", &OrvaneSDKPrivate::avfilter_onCoHostChangeNotification},
        {"onHostRequestStartAudio", &OrvaneSDKPrivate::avfilter_onHostRequestStartAudio},
        {"onHostRequestStartVideo", &OrvaneSDKPrivate::avfilter_onHostRequestStartVideo},
        {"onActiveSpeakerVideoUserChanged", &OrvaneSDKPrivate::avfilter_onActiveSpeakerVideoUserChanged},
        {"onActiveVideoUserChanged", &OrvaneSDKPrivate::avfilter_onActiveVideoUserChanged},
        {"onComputerCamDeviceChanged", &OrvaneSDKPrivate::avfilter_onComputerCamDeviceChanged},
        {"onComputerMicDeviceChanged", &OrvaneSDKPrivate::avfilter_onComputerMicDeviceChanged},
        {"onCloudRecordingStatus", &OrvaneSDKPrivate::avfilter_onCloudRecordingStatus},
        {"onMeetingLocked", &OrvaneSDKPrivate::avfilter_onMeetingLocked},
        {"onSharingStatus", &OrvaneSDKPrivate::avfilter_onSharingStatus},
        {"onUserJoin", &OrvaneSDKPrivate::avfilter_onUserJoin},
        {"onUserLeft", &OrvaneSDKPrivate::avfilter_onUserLeft},
        {"onH323DeviceJoin", &OrvaneSDKPrivate::avfilter_onH323DeviceJoin},
        {"onEndMeetingBtnClicked", &OrvaneSDKPrivate::avfilter_onEndMeetingBtnClicked},
        {"onInviteBtnClicked", &OrvaneSDKPrivate::avfilter_onInviteBtnClicked},
        {"onMeetinginfoButtonClick", &OrvaneSDKPrivate::avfilter_ignore},
        {"onH323CalloutStatusNotifyConfSdk", &OrvaneSDKPrivate::onH323CalloutStatusNotifyConfSdk},
    };
    return handlers;
}

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

}  // namespace

size_t ORVANE::avNotifyHandlerCount() { return avNotifyHandlers().size(); }

char* ORVANE::base64Decode(const char* text, int length) {
    const size_t n = (text && length > 0) ? static_cast<size_t>(length) : 0;
    char* out = static_cast<char*>(std::malloc(n * 3 / 4 + 3));
    if (out == nullptr) return nullptr;
    size_t used = 0;
    unsigned bits = 0;
    int count = 0;
    for (size_t i = 0; i < n; ++i) {
        const int v = base64Value(text[i]);
        if (v < 0) break;  // "=" and anything outside the alphabet end the text
        bits = (bits << 6) | static_cast<unsigned>(v);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out[used++] = static_cast<char>((bits >> count) & 0xff);
        }
    }
    out[used] = '\0';
    return out;
}

void OrvaneSDKPrivate::onNotify(std::string group, std::string cmd, std::string data) {
    CallLock lock(callMutex_);
    std::string copy = data;
    LOG_DEBUG("--------{} : group {}, cmd {}, data {}-------", "onNotify", group, cmd, data);
    bool pass = false;
    // Nothing the engine sends may throw back into its thread.
    try {
        pass = av_notification_filter(group, cmd, copy);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
    } catch (const std::exception& e) {
        LOG_ERROR("onNotify: handler of {} failed: {}", cmd, e.what());
    }
    if (pass) notifyAvListener(group, cmd, copy);
}

bool OrvaneSDKPrivate::av_notification_filter(const std::string& group, const std::string& cmd, std::string& data) {
    const auto& handlers = avNotifyHandlers();
    auto it = handlers.find(cmd);
    if (it == handlers.end()) {
        LOG_DEBUG("av_notification_filter : ignore - group={}, cmd={}, data={}", group, cmd, data);
        return true;
    }
    return it->second(this, group, cmd, data);
}

bool OrvaneSDKPrivate::avfilter_ignore(const std::string&, const std::string&, std::string&) { return true; }

bool OrvaneSDKPrivate::avfilter_onSdkReady(const std::string&, const std::string&, std::string& data) {
    try {
        const int result = json::parse(data).at("result").get<int>();
        if (result != 0) {
            LOG_ERROR("avfilter_onSdkReady, ret={}", result);
            return true;
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
        return false;
    }
    sdkReady.store(true);
    if (av == nullptr) {
        LOG_ERROR("Error: {} avsdk instance is null", "avfilter_onSdkReady");
        return true;
    }
    _av_login();
    return true;
}

void OrvaneSDKPrivate::_av_login() {
    LOG_DEBUG("_av_login enter");
    std::unique_ptr<char, decltype(&std::free)> password(
        base64Decode(av_password.c_str(), static_cast<int>(av_password.size())), &std::free);
    // The clear password is not written to the log.
    LOG_INFO(" _avsdk->login : usr {}, pwd {}", av_user, password && *password ? "******" : "");
    if (av && sdkReady.load()) av->login(av_user, password ? password.get() : "");
}

bool OrvaneSDKPrivate::avfilter_onLogin(const std::string&, const std::string&, std::string& data) {
    try {
        json j = json::parse(data);
        const int result = j.at("result").get<int>();
        std::string errMsg;
        if (result != 0) errMsg = errMsgFromId("AVSDK_AVSERVER_LOGIN_FAILED");
        j["errMsg"] = errMsg;
        data = CtrlSDKUtils::dump(j);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
        return false;
    }
    LOG_DEBUG("--------- onLogin result {}------------", data);
    return true;
}

// Handlers whose work is done by other parts of the library as they come:
// until then the event passes on unchanged.
#define ORVANE_PASSING_HANDLER(NAME) \
    bool OrvaneSDKPrivate::NAME(const std::string&, const std::string&, std::string&) { return true; }
ORVANE_PASSING_HANDLER(avfilter_onUserAudioStatusChange)
ORVANE_PASSING_HANDLER(avfilter_onUserVideoStatusChange)
ORVANE_PASSING_HANDLER(avfilter_onHostChangeNotification)
ORVANE_PASSING_HANDLER(avfilter_onCoHostChangeNotification)
ORVANE_PASSING_HANDLER(avfilter_onHostRequestStartAudio)
ORVANE_PASSING_HANDLER(avfilter_onHostRequestStartVideo)
ORVANE_PASSING_HANDLER(avfilter_onActiveSpeakerVideoUserChanged)
ORVANE_PASSING_HANDLER(avfilter_onActiveVideoUserChanged)
ORVANE_PASSING_HANDLER(avfilter_onComputerCamDeviceChanged)
ORVANE_PASSING_HANDLER(avfilter_onComputerMicDeviceChanged)
ORVANE_PASSING_HANDLER(avfilter_onCloudRecordingStatus)
ORVANE_PASSING_HANDLER(avfilter_onMeetingLocked)
ORVANE_PASSING_HANDLER(avfilter_onSharingStatus)
ORVANE_PASSING_HANDLER(avfilter_onUserJoin)
ORVANE_PASSING_HANDLER(avfilter_onUserLeft)
ORVANE_PASSING_HANDLER(avfilter_onH323DeviceJoin)
ORVANE_PASSING_HANDLER(onH323CalloutStatusNotifyConfSdk)
#undef ORVANE_PASSING_HANDLER
