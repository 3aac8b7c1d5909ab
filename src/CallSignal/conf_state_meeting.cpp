// The running meeting (or the lobby): kept in step with the server, ended
// from any of its three sides, and the one report of why it ended.
#include "call_lock.h"
#include "conf_states.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "lobby/lobby_window.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

// A meeting that ends while the client waits in the lobby takes its window
// with it: the window's close action would only end a call that is over.
void closeLobbyOf(ConfStateMachine* machine) {
    if (machine->lobby_join == 1) close_lobby_window(false);
}

}  // namespace

int ConfStateInMeeting::on_recv_callsignal(const std::string& startline, const std::string& cseq, json& msg) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    try {
        if (startline == SIGNAL::BYE || (startline == SIGNAL::ERROR && (cseq == "INVITE" || cseq == "ACK"))) {
            // Ended by the server.
            const json& body = msg.at("signalBody");
            const std::string confid = body.at("conferenceId").get<std::string>();
            const std::string reason = body.at("signalMessage").at("messageCode").get<std::string>();
            if (confid != sdk->_conf.confid) {
                LOG_WARN(
                    "  ConfStateInMeeting::on_recv_callsignal - Warning, confid is NOT match, do nothing. confid in "
                    "recv callsignal={}, cur confid={}",
                    confid, sdk->_conf.confid);
                return STATE_HANDLED;
            }
            if (sdk->av && sdk->av->isHostUser()) {
                // A host who is sent away ends the media meeting for everybody.
                const int ret = sdk->av->endMeeting();
                LOG_DEBUG("endMeeting ret={}\n", ret);
            } else {
                const int ret = sdk->av ? sdk->av->leave() : -1;
                LOG_DEBUG("leave ret={}\n", ret);
            }
            closeLobbyOf(machine);
            machine->cur_state = AVSTATE_IDLE;
            sdk->onCtrlNotify_send_bye_reason(reason, "");
        } else if (startline == SIGNAL::OK && cseq == "REGISTER") {
            sdk->notifyConf(NOTIFY_CALLSIGNAL_OK, "");
        } else if (startline == SIGNAL::ERROR && cseq == "REGISTER") {
            if (msg.at("startLine").at("statusCode").at("code").get<int>() == 400)
                sdk->notifyConf(NOTIFY_CALLSIGNAL_OK, "");
        } else if (startline == SIGNAL::UPDATE && cseq == "UPDATE") {
            // The server moves the call to another media meeting, or out of
            // the lobby.
            const std::string ext = msg.at("signalBody").at("externalDialNumber").get<std::string>();
            sdk->_conf.ext_dialnum = ext;
            sdk->_conf.signal = msg;
            LOG_DEBUG("  UPDATE: ext_dialnum={}", ext);
            if (!ext.empty()) {
                close_lobby_window(false);
                if (sdk->av) sdk->av->join(ext, sdk->_conf.passcode, sdk->_conf.dispname);
            }
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
    }
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_join_ok() {
    OrvaneSDKPrivate* sdk = machine->sdk();
    // The first real join after the lobby is answered with OK, a move between
    // media meetings with UPDATE.
    if (machine->lobby_join == 1)
        sdk->callserver_ok(sdk->_conf.engine_userid);
    else
        sdk->callserver_update(sdk->_conf.engine_userid);
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_call_end() {
    machine->cancel_cur_state_timeout();
    closeLobbyOf(machine);
    machine->cur_state = AVSTATE_IDLE;
    machine->sdk()->callserver_bye(machine->sdk()->_conf.dialnum);
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_call_failed() {
    machine->cancel_cur_state_timeout();
    closeLobbyOf(machine);
    machine->cur_state = AVSTATE_IDLE;
    machine->sdk()->callserver_error(503, "ConfStateInMeeting::on_avsdk_call_failed");
    return STATE_HANDLED;
}

int ConfStateInMeeting::leave_conf() {
    OrvaneSDKPrivate* sdk = machine->sdk();
    closeLobbyOf(machine);
    machine->cur_state = AVSTATE_IDLE;
    const int ret = sdk->av ? sdk->av->leave() : -1;
    LOG_DEBUG("leave ret={}", ret);
    sdk->callserver_bye(sdk->_conf.dialnum);
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_call_reconnecting() {
    OrvaneSDKPrivate* sdk = machine->sdk();
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_IDLE;
    if (sdk->av) sdk->av->leave();
    machine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_COMMUNICATE_FAILED_WITH_AVSERVER,
                                      CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE);
    sdk->callserver_error(503, "ConfStateInMeeting::on_avsdk_call_reconnecting");
    return STATE_HANDLED;
}

int OrvaneSDKPrivate::onCtrlNotify_send_bye_reason(const std::string& server_reason, const std::string& av_reason) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "onCtrlNotify_send_bye_reason");
    LOG_DEBUG("server_reason={}, av_reason={}", server_reason, av_reason);
    if (_conf.is_user_call_leave) {
        LOG_DEBUG("is_user_call_leave==true, do nothing.");
        return 0;
    }
    if (_conf.bye_reason_sent) return 0;

    auto report = [this](const std::string& reason, const std::string& errMsg) {
        _conf.bye_reason_sent = true;
        notifyConf(CONFNOTIFY::CONF_EVENT_REASON,
                   CtrlSDKUtils::dump(json{{"event", "LEAVE_CONF"}, {"reason", reason}, {"errMsg", errMsg}}));
    };
    if (!server_reason.empty()) {
        const std::string errMsg = errMsgFromId(server_reason);
        _conf.bye_reason_sent = true;
        LOG_DEBUG("  onCtrlNotify_send_bye_reason: server_reason={}, errmsg={}", server_reason, errMsg);
        report(server_reason, errMsg);
        return 0;
    }
    if (av_reason.empty() || av_reason == "EndMeetingReason_None") return 0;

    std::string textId;
    if (av_reason == "EndMeetingReason_KickByHost") {
        textId = "HOST_DISCONNECT";
    } else if (av_reason == "EndMeetingReason_JBHTimeOut" || av_reason == "EndMeetingReason_NoAttendee" ||
               av_reason == "EndMeetingReason_FreeMeetingTimeOut" || av_reason == "EndMeetingReason_NetworkBroken") {
        textId = av_reason;
    } else {
        // Left to the server's BYE, which says why.
        LOG_DEBUG("  av_reason={}, wait BYE", av_reason);
        return 0;
    }
    const std::string errMsg = errMsgFromId(textId);
    LOG_DEBUG("  onCtrlNotify_send_bye_reason: send CONF_EVENT_REASON");
    report(av_reason, errMsg);
    return 0;
}
