// The filter's frame: the table of handled events, the way through it, and
// the two events that start the engine.
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

#include "NotificationFilter/av_event_filter.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"

using json = nlohmann::json;

namespace ORVANE {

namespace {

struct Handler {
    bool (AvEventFilter::*handle)(const std::string&, const std::string&, std::string&);
    // The handler's name in a JSON error line, and its result after one.
    const char* name;
    bool resultAfterJsonError;
};

#define ORVANE_HANDLER(NAME) &AvEventFilter::NAME, "OrvaneSDKPrivate::" #NAME

// Every engine event the library looks at; others pass untouched. An event
// with no handler passes as it came.
const std::map<std::string, Handler>& handlers() {
    static const std::map<std::string, Handler> table = {
        {"onSdkReady", {ORVANE_HANDLER(avfilter_onSdkReady), false}},
        {"onLogin", {ORVANE_HANDLER(avfilter_onLogin), false}},
        {"orvaneavsdk_connect", {nullptr, "", true}},
        {"onCallEnd", {ORVANE_HANDLER(avfilter_onCallEnd), false}},
        {"onEndReason", {ORVANE_HANDLER(avfilter_onEndReason), false}},
        {"onCallConnected", {ORVANE_HANDLER(avfilter_onCallConnected), false}},
        {"onCallFailed", {ORVANE_HANDLER(avfilter_onCallFailed), false}},
        {"onCallReconnecting", {nullptr, "", true}},
        {"onCallStatusChanged", {ORVANE_HANDLER(avfilter_onCallStatusChanged), false}},
        {"onEndMeetingBtnClicked", {ORVANE_HANDLER(avfilter_onEndMeetingBtnClicked), false}},
        {"onInviteBtnClicked", {ORVANE_HANDLER(avfilter_onInviteBtnClicked), false}},
        {"onMeetinginfoButtonClick", {nullptr, "", true}},
        {"onUserJoin", {ORVANE_HANDLER(avfilter_onUserJoin), false}},
        {"onUserLeft", {ORVANE_HANDLER(avfilter_onUserLeft), false}},
        {"onH323DeviceJoin", {ORVANE_HANDLER(avfilter_onH323DeviceJoin), false}},
        {"onUserAudioStatusChange", {ORVANE_HANDLER(avfilter_onUserAudioStatusChange), false}},
        {"onUserVideoStatusChange", {ORVANE_HANDLER(avfilter_onUserVideoStatusChange), false}},
        {"onHostChangeNotification", {ORVANE_HANDLER(avfilter_onHostChangeNotification), false}},
        {"onCoHostChangeNotification", {ORVANE_HANDLER(avfilter_onCoHostChangeNotification), false}},
        {"onHostRequestStartAudio", {ORVANE_HANDLER(avfilter_onHostRequestStartAudio), false}},
        {"onHostRequestStartVideo", {ORVANE_HANDLER(avfilter_onHostRequestStartVideo), false}},
        // The speaker goes on unchanged when its data can't be read.
        {"onActiveSpeakerVideoUserChanged", {ORVANE_HANDLER(avfilter_onActiveSpeakerVideoUserChanged), true}},
        {"onActiveVideoUserChanged", {ORVANE_HANDLER(avfilter_onActiveVideoUserChanged), false}},
        {"onComputerCamDeviceChanged", {ORVANE_HANDLER(avfilter_onComputerCamDeviceChanged), false}},
        {"onComputerMicDeviceChanged", {ORVANE_HANDLER(avfilter_onComputerMicDeviceChanged), false}},
        {"onCloudRecordingStatus", {ORVANE_HANDLER(avfilter_onCloudRecordingStatus), false}},
        {"onMeetingLocked", {ORVANE_HANDLER(avfilter_onMeetingLocked), false}},
        {"onSharingStatus", {ORVANE_HANDLER(avfilter_onSharingStatus), false}},
        {"onH323CalloutStatusNotifyConfSdk", {ORVANE_HANDLER(onH323CalloutStatusNotifyConfSdk), false}},
    };
    return table;
}

#undef ORVANE_HANDLER

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

}  // namespace

size_t AvEventFilter::handlerCount() { return handlers().size(); }

char* base64Decode(const char* text, int length) {
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

bool AvEventFilter::av_notification_filter(const std::string& group, const std::string& cmd, std::string& data) {
    const auto& table = handlers();
    auto it = table.find(cmd);
    if (it == table.end()) {
        LOG_DEBUG("av_notification_filter : ignore - group={}, cmd={}, data={}", group, cmd, data);
        return true;
    }
    const Handler& h = it->second;
    if (h.handle == nullptr) return true;
    try {
        return (this->*h.handle)(group, cmd, data);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR_AT(h.name, e.what(), data);
        return h.resultAfterJsonError;
    }
}

bool AvEventFilter::avfilter_onSdkReady(const std::string&, const std::string&, std::string& data) {
    const int result = json::parse(data).at("result").get<int>();
    if (result != 0) {
        LOG_ERROR("avfilter_onSdkReady, ret={}", result);
        return true;
    }
    sdkReady_.store(true);
    if (core_.media() == nullptr) {
        LOG_ERROR("Error: {} avsdk instance is null", "avfilter_onSdkReady");
        return true;
    }
    _av_login();
    return true;
}

void AvEventFilter::_av_login() {
    LOG_DEBUG("_av_login enter");
    const DeviceIdentity& me = core_.identity();
    std::unique_ptr<char, decltype(&std::free)> password(
        base64Decode(me.avPassword().c_str(), static_cast<int>(me.avPassword().size())), &std::free);
    // The clear password is not written to the log.
    LOG_INFO(" _avsdk->login : usr {}, pwd {}", me.avUser(), password && *password ? "******" : "");
    AVSDK* av = core_.media();
    if (av && sdkReady_.load()) av->login(me.avUser(), password ? password.get() : "");
}

bool AvEventFilter::avfilter_onLogin(const std::string&, const std::string&, std::string& data) {
    json j = json::parse(data);
    const int result = j.at("result").get<int>();
    std::string errMsg;
    if (result != 0) errMsg = core_.app().errMsgFromId("AVSDK_AVSERVER_LOGIN_FAILED");
    j["errMsg"] = errMsg;
    data = CtrlSDKUtils::dump(j);
    LOG_DEBUG("--------- onLogin result {}------------", data);
    return true;
}

}  // namespace ORVANE
