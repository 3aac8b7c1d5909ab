// The running meeting (or the lobby): kept in step with the server, ended
// from any of its three sides, and the one report of why it ended.
#include "CallSignal/call_signals.h"
#include "CallSignal/conf_states.h"
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

// The meeting is over on the engine's side: `answer` tells the server.
int endByEngine(ConfStateMachine* machine, const std::function<void()>& answer) {
    closeLobbyOf(machine);
    machine->setState(AVSTATE_IDLE);
    answer();
    return STATE_HANDLED;
}

}  // namespace

int ConfStateInMeeting::on_recv_callsignal(const std::string& startline, const std::string& cseq, json& msg) {
    OrvaneSDKPrivate& core = machine->core();
    OrvaneConference& conf = core.conf();
    AVSDK* av = core.media();
    try {
        if (startline == SIGNAL::BYE || (startline == SIGNAL::ERROR && (cseq == "INVITE" || cseq == "ACK"))) {
            // Ended by the server.
            const json& body = msg.at("signalBody");
            const std::string confid = body.at("conferenceId").get<std::string>();
            const std::string reason = body.at("signalMessage").at("messageCode").get<std::string>();
            if (confid != conf.confid) {
                LOG_WARN(
                    "  ConfStateInMeeting::on_recv_callsignal - Warning, confid is NOT match, do nothing. confid in "
                    "recv callsignal={}, cur confid={}",
                    confid, conf.confid);
                return STATE_HANDLED;
            }
            if (av && av->isHostUser()) {
                // A host who is sent away ends the media meeting for everybody.
                const int ret = av->endMeeting();
                LOG_DEBUG("endMeeting ret={}\n", ret);
            } else {
                const int ret = av ? av->leave() : -1;
                LOG_DEBUG("leave ret={}\n", ret);
            }
            closeLobbyOf(machine);
            machine->setState(AVSTATE_IDLE);
            machine->onCtrlNotify_send_bye_reason(reason, "");
        } else if (cseq == "REGISTER") {
            return answerToRegister(machine, "ConfStateInMeeting::on_recv_callsignal", startline, msg);
        } else if (startline == SIGNAL::UPDATE && cseq == "UPDATE") {
            // The server moves the call to another media meeting, or out of
            // the lobby.
            const std::string ext = msg.at("signalBody").at("externalDialNumber").get<std::string>();
            conf.ext_dialnum = ext;
            conf.signal = msg;
            LOG_DEBUG("  UPDATE: ext_dialnum={}", ext);
            if (!ext.empty()) {
                close_lobby_window(false);
                if (av) av->join(ext, conf.passcode, conf.dispname);
            }
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
    }
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_join_ok() {
    CallSignalSender& signals = machine->core().signals();
    const std::string& userid = machine->core().conf().engine_userid;
    // The first real join after the lobby is answered with OK, a move between
    // media meetings with UPDATE.
    if (machine->lobby_join == 1)
        signals.callserver_ok(userid);
    else
        signals.callserver_update(userid);
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_call_end() {
    OrvaneSDKPrivate& core = machine->core();
    return endByEngine(machine, [&core] { core.signals().callserver_bye(core.conf().dialnum); });
}

int ConfStateInMeeting::on_avsdk_call_failed() {
    OrvaneSDKPrivate& core = machine->core();
    return endByEngine(machine,
                       [&core] { core.signals().callserver_error(503, "ConfStateInMeeting::on_avsdk_call_failed"); });
}

int ConfStateInMeeting::leave_conf() {
    OrvaneSDKPrivate& core = machine->core();
    closeLobbyOf(machine);
    machine->setState(AVSTATE_IDLE);
    AVSDK* av = core.media();
    const int ret = av ? av->leave() : -1;
    LOG_DEBUG("leave ret={}", ret);
    core.signals().callserver_bye(core.conf().dialnum);
    return STATE_HANDLED;
}

int ConfStateInMeeting::on_avsdk_call_reconnecting() {
    OrvaneSDKPrivate& core = machine->core();
    machine->setState(AVSTATE_IDLE);
    if (AVSDK* av = core.media()) av->leave();
    machine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_COMMUNICATE_FAILED_WITH_AVSERVER,
                                      CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE);
    core.signals().callserver_error(503, "ConfStateInMeeting::on_avsdk_call_reconnecting");
    return STATE_HANDLED;
}

int ConfStateMachine::onCtrlNotify_send_bye_reason(const std::string& server_reason, const std::string& av_reason) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "onCtrlNotify_send_bye_reason");
    LOG_DEBUG("server_reason={}, av_reason={}", server_reason, av_reason);
    OrvaneConference& conf = core_.conf();
    if (conf.is_user_call_leave) {
        LOG_DEBUG("is_user_call_leave==true, do nothing.");
        return 0;
    }
    if (conf.bye_reason_sent) return 0;

    AppChannel& app = core_.app();
    auto report = [&](const std::string& reason, const std::string& errMsg) {
        conf.bye_reason_sent = true;
        app.notify(CONFNOTIFY::CONF_EVENT_REASON,
                   CtrlSDKUtils::dump(json{{"event", "LEAVE_CONF"}, {"reason", reason}, {"errMsg", errMsg}}));
    };
    if (!server_reason.empty()) {
        const std::string errMsg = app.errMsgFromId(server_reason);
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
    const std::string errMsg = app.errMsgFromId(textId);
    LOG_DEBUG("  onCtrlNotify_send_bye_reason: send CONF_EVENT_REASON");
    report(av_reason, errMsg);
    return 0;
}
