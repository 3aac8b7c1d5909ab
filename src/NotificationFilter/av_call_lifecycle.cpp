// The engine's reports about the call itself: connected, failed, ended, why
// it ended, and the two buttons of the engine's window that concern it.
#include "CallSignal/conf_state.h"
#include "NotificationFilter/av_event_filter.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using json = nlohmann::json;

namespace ORVANE {

namespace {

struct Mapping {
    const char* reason;
    const char* code;
};

// The engine's failure reasons in the codes the application knows.
const Mapping kMeetingFail[] = {
    {"MEETING_FAIL_NETWORK_ERR", "CONFSDK_JOIN_FAIL_NETWORK_ERR"},
    {"MEETING_FAIL_RECONNECT_ERR", "CONFSDK_JOIN_FAIL_RECONNECT_ERR"},
    {"MEETING_FAIL_MMR_ERR", "CONFSDK_JOIN_FAIL_MMR_ERR"},
    {"MEETING_FAIL_SESSION_ERR", "CONFSDK_JOIN_FAIL_SESSION_ERR"},
    {"MEETING_FAIL_MEETING_OVER", "CONFSDK_JOIN_FAIL_MEETING_OVER"},
    {"MEETING_FAIL_MEETING_NOT_START", "CONFSDK_JOIN_FAIL_MEETING_NOT_START"},
    {"MEETING_FAIL_MEETING_NOT_EXIST", "CONFSDK_JOIN_FAIL_MEETING_NOT_EXIST"},
    {"MEETING_FAIL_MEETING_USER_FULL", "CONFSDK_JOIN_FAILED_USER_FULL"},
    {"MEETING_FAIL_CLIENT_INCOMPATIBLE", "CONFSDK_JOIN_FAIL_CLIENT_INCOMPATIBLE"},
    {"MEETING_FAIL_NO_MMR", "CONFSDK_JOIN_FAIL_NO_MMR"},
    {"MEETING_FAIL_CONFLOCKED", "CONFSDK_JOIN_FAIL_LOCKED_STATUS"},
    {"MEETING_FAIL_MEETING_RESTRICTED", "CONFSDK_JOIN_FAIL_MEETING_RESTRICTED"},
    {"MEETING_FAIL_MEETING_RESTRICTED_JBH", "CONFSDK_JOIN_FAIL_MEETING_RESTRICTED_JBH"},
    {"MEETING_FAIL_CANNOT_EMIT_WEBREQUEST", "CONFSDK_JOIN_FAIL_CANNOT_EMIT_WEBREQUEST"},
    {"MEETING_FAIL_CANNOT_START_TOKENEXPIRE", "CONFSDK_JOIN_FAIL_CANNOT_START_TOKENEXPIRE"},
    {"SESSION_VIDEO_ERR", "CONFSDK_JOIN_FAIL_SESSION_VIDEO_ERR"},
    {"SESSION_AUDIO_AUTOSTARTERR", "CONFSDK_JOIN_FAIL_SESSION_AUDIO_AUTOSTARTERR"},
    {"MEETING_FAIL_REGISTERWEBINAR_FULL", "CONFSDK_JOIN_FAIL_REGISTERWEBINAR_FULL"},
    {"MEETING_FAIL_REGISTERWEBINAR_HOSTREGISTER", "CONFSDK_JOIN_FAIL_REGISTERWEBINAR_HOSTREGISTER"},
    {"MEETING_FAIL_REGISTERWEBINAR_PANELISTREGISTER", "CONFSDK_JOIN_FAIL_REGISTERWEBINAR_PANELISTREGISTER"},
    {"MEETING_FAIL_REGISTERWEBINAR_DENIED_EMAIL", "CONFSDK_JOIN_FAIL_REGISTERWEBINAR_DENIED_EMAIL"},
    {"MEETING_FAIL_ENFORCE_LOGIN", "CONFSDK_JOIN_FAIL_ENFORCE_LOGIN"},
    {"CONF_FAIL_ZC_CERTIFICATE_CHANGED", "CONFSDK_JOIN_FAIL_ZC_CERTIFICATE_CHANGED"},
    {"CONF_FAIL_VANITY_NOT_EXIST", "CONFSDK_JOIN_FAIL_VANITY_NOT_EXIST"},
    {"CONF_FAIL_JOIN_WEBINAR_WITHSAMEEMAIL", "CONFSDK_JOIN_FAIL_JOIN_WEBINAR_WITHSAMEEMAIL"},
    {"CONF_FAIL_DISALLOW_HOST_MEETING", "CONFSDK_JOIN_FAIL_DISALLOW_HOST_MEETING"},
    {"MEETING_FAIL_WRITE_CONFIG_FILE", "CONFSDK_JOIN_FAIL_WRITE_CONFIG_FILE"},
    {"MEETING_FAIL_FORBID_TO_JOIN_INTERNAL_MEETING", "CONFSDK_JOIN_FAIL_FORBID_TO_JOIN_INTERNAL_MEETING"},
    {"CONF_FAIL_REMOVED_BY_HOST", "CONFSDK_JOIN_FAIL_REMOVED_BY_HOST"},
    {"MEETING_FAIL_INVALID_ARGUMENTS", "CONFSDK_JOIN_FAIL_INVALID_ARGUMENTS"},
    {"MEETING_FAIL_INVALID_USERTYPE", "CONFSDK_JOIN_FAIL_INVALID_USERTYPE"},
    {"MEETING_FAIL_IN_ANOTHER_MEETING", "CONFSDK_JOIN_FAIL_IN_ANOTHER_MEETING"},
    {"MEETING_FAIL_TOO_FREQUENCE_CALL", "CONFSDK_JOIN_FAIL_TOO_FREQUENCE_CALL"},
    {"MEETING_FAIL_WRONG_USAGE", "CONFSDK_JOIN_FAIL_WRONG_USAGE"},
    {"MEETING_FAIL_USE_API_FAILED", "CONFSDK_JOIN_FAIL_USE_API_FAILED"},
    {"MEETING_FAIL_VB_BASE", "CONFSDK_JOIN_FAIL_VB_BASE"},
    {"MEETING_FAIL_VB_SETERROR", "CONFSDK_JOIN_FAIL_VB_SETERROR"},
    {"MEETING_FAIL_VB_MAXIMUMNUM", "CONFSDK_JOIN_FAIL_VB_MAXIMUMNUM"},
    {"MEETING_FAIL_VB_SAVEIMAGE", "CONFSDK_JOIN_FAIL_VB_SAVEIMAGE"},
    {"MEETING_FAIL_VB_REMOVENONE", "CONFSDK_JOIN_FAIL_VB_REMOVENONE"},
    {"MEETING_FAIL_VB_NOSUPPORT", "CONFSDK_JOIN_FAIL_VB_NOSUPPORT"},
    {"MEETING_FAIL_VB_GREENSCREEN_NOSUPPORT", "CONFSDK_JOIN_FAIL_VB_GREENSCREEN_NOSUPPORT"},
    {"MEETING_FAIL_INCORRECT_MEETING_NUMBER", "CONFSDK_JOIN_FAIL_INCORRECT_MEETING_NUMBER"},
    {"MEETING_FAIL_TIMEOUT", "CONFSDK_JOIN_FAIL_TIMEOUT"},
    {"MEETING_FAIL_WEBSERVICE_FAILED", "CONFSDK_JOIN_FAIL_WEBSERVICE_FAILED"},
    {"MEETING_FAIL_EXIT_WHEN_WAITING_HOSTSTART", "CONFSDK_JOIN_FAIL_EXIT_WHEN_WAITING_HOSTSTART"},
    {"MEETING_FAIL_INVALID_STATUS", "CONFSDK_JOIN_FAIL_INVALID_STATUS"},
};

json failureObject(const std::string& code, const std::string& errMsg, int result) {
    return json{{"type", code}, {"errMsg", errMsg}, {"result", result}, {"reason", json::array()}};
}

// The engine's failure reason in the code the application knows.
std::string meetingFailCode(const std::string& reason) {
    for (const auto& m : kMeetingFail)
        if (reason == m.reason) return m.code;
    return CONFNOTIFY::EXCPT_REASON_JOIN_MEETING_FAILED;
}

}  // namespace

bool AvEventFilter::avfilter_onCallConnected(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const bool isHost = j.at("is_host").get<bool>();
    OrvaneConference& conf = core_.conf();
    conf.engine_userid = j.at("userid").get<std::string>();
    core_.machine().on_avsdk_join_ok();
    if (!conf.confid.empty()) {
        // A library-drawn meeting asks the server who is in it.
        if (!core_.customUiMode())
            core_.control().sendCommand(CONF::ENDPOINTS, CtrlSDKUtils::dump(json{{"confid", conf.confid}}));
        if (isHost)
            core_.control().sendCommand(CONF::TURNASCONTROLLER,
                                        CtrlSDKUtils::dump(json{{"conferenceid", conf.confid},
                                                                {"externaldeviceid", core_.identity().deviceId()}}));
    }
    // A new meeting, or a new engine user id in it: nothing of the
    // participants or the call-outs of the one before carries over.
    core_.h323().forgetOrders();
    forgetParticipants();
    core_.engineUsersChanged();
    return true;
}

bool AvEventFilter::avfilter_onCallStatusChanged(const std::string& group, const std::string& cmd, std::string& data) {
    const std::string status = json::parse(data).at("status").get<std::string>();
    // Waiting for the host or in the waiting room counts as connected, under
    // a pseudo id, until the engine gives a real one.
    std::string userid;
    if (status == "MEETING_STATUS_IN_WAITING_ROOM")
        userid = PSEUDO_USERID::WAITING_ROOM;
    else if (status == "MEETING_STATUS_WAITINGFORHOST")
        userid = PSEUDO_USERID::WAITING_FOR_HOST;
    if (!userid.empty()) {
        std::string connected = CtrlSDKUtils::dump(json{{"result", 0}, {"userid", userid}, {"is_host", false}});
        avfilter_onCallConnected(group, cmd, connected);
    }
    return false;
}

bool AvEventFilter::avfilter_onCallFailed(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const std::string reason = j.at("reason").get<std::string>();
    const int result = j.contains("result") ? j.at("result").get<int>() : 0;
    AppChannel& app = core_.app();
    if (reason == "MEETING_FAIL_NEED_INPUT_PASSWORD" || reason == "MEETING_FAIL_PASSWORD_ERR") {
        const std::string code = reason == "MEETING_FAIL_PASSWORD_ERR" ? "CONFERENCE_JOIN_FAIL_INVALID_PASSCODE"
                                                                       : "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE";
        if (AVSDK* av = core_.media()) {
            const int ret = av->leave();
            LOG_DEBUG("ConfStateIdle::leave_conf leave ret={}", ret);
        }
        json failure = failureObject(code, app.errMsgFromId(code), result);
        failure["confid"] = core_.conf().confid;
        // An application with its own meeting window asks for the passcode;
        // the engine's window does that itself.
        if (core_.customUiMode()) app.notify(CONFNOTIFY::EXCEPTION_IN_MEETING, CtrlSDKUtils::dump(failure));
    } else {
        const std::string code = meetingFailCode(reason);
        app.notify(CONFNOTIFY::INTERNAL_EXCEPTION_IN_MEETING,
                   CtrlSDKUtils::dump(failureObject(code, app.errMsgFromId(code), result)));
    }
    core_.machine().on_avsdk_call_failed();
    core_.h323().stopTimer();
    return true;
}

bool AvEventFilter::avfilter_onCallEnd(const std::string&, const std::string&, std::string&) {
    core_.machine().on_avsdk_call_end();
    core_.resetConference();
    core_.setSyncing(false);
    // The call-outs ordered in this meeting wait for the next one to connect,
    // which forgets them; no time-out of theirs runs meanwhile.
    core_.h323().stopTimer();
    forgetParticipants();
    return true;
}

bool AvEventFilter::avfilter_onEndReason(const std::string&, const std::string&, std::string& data) {
    const std::string reason = json::parse(data).at("reason").get<std::string>();
    core_.machine().onCtrlNotify_send_bye_reason("", reason);
    return false;
}

bool AvEventFilter::avfilter_onEndMeetingBtnClicked(const std::string&, const std::string&, std::string& data) {
    // The application decides what the button means; it gets the conference.
    const std::string role = json::parse(data).at("userrole").get<std::string>();
    data = CtrlSDKUtils::dump(json{{"userrole", role}, {"confId", core_.conf().confid}});
    return true;
}

bool AvEventFilter::avfilter_onInviteBtnClicked(const std::string&, const std::string&, std::string& data) {
    const json j = CtrlSDKUtils::parseQuiet(data);
    if (j.is_object() && j.contains("onInviteBtnClicked") && j["onInviteBtnClicked"].is_boolean() &&
        !j["onInviteBtnClicked"].get<bool>()) {
        const std::string code = CONFNOTIFY::EXCPT_REASON_CONF_NO_INVITATION_INFORMATION;
        core_.app().notify(CONFNOTIFY::INTERNAL_EXCEPTION_IN_MEETING,
                           CtrlSDKUtils::dump(json{{"type", code}, {"errMsg", core_.app().errMsgFromId(code)},
                                                   {"result", ""}, {"reason", json::array()}}));
        return false;
    }
    return true;
}

}  // namespace ORVANE
