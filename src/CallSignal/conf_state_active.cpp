// An outgoing call: the server's answer to INVITE, then the media join.
#include <fmt/format.h>

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

std::function<void()> lobbyCloseAction(OrvaneSDKPrivate* sdk) {
    return [sdk] {
        sdk->onNotify("MeetingServiceEvent", "onCallEnd", CtrlSDKUtils::dump(json{{"result", 0}}));
        CallLock lock(sdk->callMutex());
        sdk->callserver_bye(sdk->_conf.dialnum);
    };
}

namespace {

bool isLobby(const std::string& number) { return number.find("LOBBY") != std::string::npos; }

}  // namespace

int joinMediaUnderLimit(ConfStateMachine* machine, AvState waiting) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    // The limit is armed before the join, so an engine that answers at once
    // finds everything in place.
    machine->set_cur_state_timeout_taskid(sdk->add_timer_task(
        55,
        [sdk, machine, waiting](std::string) {
            CallLock lock(sdk->callMutex());
            if (machine->cur_state != waiting) return;
            const std::string name = g_avStateNames[waiting];
            LOG_DEBUG("{} timer_task enter", name);
            if (sdk->av) sdk->av->leave();
            machine->cur_state = AVSTATE_IDLE;
            sdk->callserver_error(503, "No IN_MEETING status after 55s of av.join()");
            machine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN,
                                              CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN);
            if (waiting == AVSTATE_PASSIVE_WAITING_AV_USERID)
                LOG_DEBUG("{} MeetingServiceEvent onCallEnd {} ", name, CtrlSDKUtils::dump(json{{"result", 0}}));
        },
        ""));
    const int ret = sdk->av ? sdk->av->join(sdk->_conf.ext_dialnum, sdk->_conf.passcode, sdk->getUniformUserName())
                            : -1;
    if (ret == 0) return STATE_HANDLED;
    LOG_ERROR("  avsdk join failed, ret={}", ret);
    machine->cancel_cur_state_timeout();
    sdk->callserver_error(603, fmt::format("av.join failed, ret={}", ret));
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}

int leaveJoinOnServerSignal(ConfStateMachine* machine, const char* state, const std::string& startline) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    machine->cancel_cur_state_timeout();
    const int ret = sdk->av ? sdk->av->leave() : -1;
    if (startline == "CANCEL") {
        LOG_DEBUG("{} recv CANCEL, call leave()={}", state, ret);
        sdk->notifyConf(CONFNOTIFY::CANCELED, "{}");
    } else {
        LOG_DEBUG("leave ret={}\n", ret);
    }
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}

int ConfStateActive_WaitInviteResult::on_recv_callsignal(const std::string& startline, const std::string&,
                                                          json& msg) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    machine->cancel_cur_state_timeout();

    if (startline == SIGNAL::ERROR) {
        // The server refused the call: tell the application why and go back
        // to idle. Nothing goes back to the server.
        try {
            const json status = msg.at("startLine").at("statusCode");
            const std::string message = status.at("message").get<std::string>();
            const int code = status.at("code").get<int>();
            LOG_ERROR("Error: ConfStateActive_WaitInviteResult::on_recv_callsignal recv ERROR!");
            LOG_ERROR("    code={}, msg={}", code, message);
            json report = {{"type", message}, {"errMsg", sdk->errMsgFromId(message)}, {"reason", json::array()},
                           {"result", 999}};
            if (message == "CONFERENCE_ROOM_CONFLICT" || message == "CONFERENCE_ADHOC_CONFLICT")
                report["confid"] = status.at("reason").at(0).at("conferenceId").get<std::string>();
            sdk->notifyConf(CONFNOTIFY::EXCEPTION_IN_MEETING, CtrlSDKUtils::dump(report));
            if (message == "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE") sdk->notifyConf(CONFNOTIFY::NEED_PASSCODE, "");
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
        }
        machine->cur_state = AVSTATE_IDLE;
        return STATE_HANDLED;
    }

    // ACCEPTED.
    std::string number;
    bool hasNumber = false;
    try {
        sdk->_conf.signal = msg;
        sdk->_conf.dialnum = msg.at("signalHeader").at("to").at("dialNumber").get<std::string>();
        // A body may be missing altogether; then there is nothing in it to read.
        static const json none;
        auto found = msg.find("signalBody");
        const json& body = found != msg.end() ? *found : none;
        if (body.contains("conferenceId")) sdk->_conf.confid = body.at("conferenceId").get<std::string>();
        if (body.contains("externalDialNumber") && !body.at("externalDialNumber").is_null()) {
            number = body.at("externalDialNumber").get<std::string>();
            hasNumber = true;
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
        return STATE_JSON_ERROR;
    }

    if (hasNumber && isLobby(number)) {
        // Nothing to join yet: stand in the meeting with the lobby's pseudo
        // id until the server moves the call on.
        sdk->_conf.ext_dialnum = number;
        sdk->_conf.engine_userid = "-3";
        sdk->callserver_ack();
        machine->cur_state = AVSTATE_IN_MEETING;
        machine->lobby_join = 1;
        create_lobby_windows(lobbyCloseAction(sdk));
        return STATE_HANDLED;
    }
    if (hasNumber) sdk->_conf.ext_dialnum = number;
    LOG_DEBUG("recv ACCEPTED, to dialnum={}, ext_dialnum={}, confid={}", sdk->_conf.dialnum, sdk->_conf.ext_dialnum,
              sdk->_conf.confid);
    if (sdk->av) sdk->av->setConfSignal(CtrlSDKUtils::dump(msg));

    machine->cur_state = AVSTATE_ACTIVE_WAITING_AV_USERID;
    return joinMediaUnderLimit(machine, AVSTATE_ACTIVE_WAITING_AV_USERID);
}

int ConfStateActive_WaitAvUserid::on_recv_callsignal(const std::string& startline, const std::string&, json&) {
    return leaveJoinOnServerSignal(machine, "ConfStateActive_WaitAvUserid", startline);
}

int ConfStateActive_WaitAvUserid::on_avsdk_join_ok() {
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_IN_MEETING;
    machine->lobby_join = 0;
    machine->sdk()->callserver_ack();
    return STATE_HANDLED;
}

int ConfStateActive_WaitAvUserid::on_avsdk_call_failed() {
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_IDLE;
    machine->sdk()->callserver_error(503, "ConfStateActive_WaitAvUserid::on_avsdk_call_failed");
    return STATE_HANDLED;
}

int ConfStateActive_WaitAvUserid::on_avsdk_call_end() {
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_IDLE;
    machine->sdk()->callserver_error(503, "ConfStateActive_WaitAvUserid::on_avsdk_call_end");
    return STATE_HANDLED;
}

int ConfStateActive_WaitAvUserid::leave_conf() {
    // The caller writes idle; the 55 s task finds itself out of date.
    if (machine->sdk()->av) machine->sdk()->av->leave();
    return STATE_HANDLED;
}
