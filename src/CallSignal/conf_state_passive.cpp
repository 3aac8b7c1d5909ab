// An incoming call: the conference's data, the user's answer, the media join,
// then ACCEPTED and the server's ACK.
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

int ConfStatePassive_WaitConfInfo::on_recv_confinfo(const std::string& data) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    std::string text;
    try {
        // Read on copies with the index operator: a reply without "data"
        // gives a conference of the display name alone.
        json reply = json::parse(data);
        json result = reply["result"];
        json info = result["data"];
        info["dispname"] = sdk->getUniformUserName();
        text = CtrlSDKUtils::dump(info);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
        return STATE_JSON_ERROR;
    }
    json confinfo = sdk->parseConfinfo(text);
    try {
        confinfo["event"] = CONFNOTIFY::RECV_INVITE;
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), text);
    }
    machine->cur_state = AVSTATE_PASSIVE_WAITING_UI_CONFIRM;
    // The user is asked: the application shows the call.
    sdk->notifyConf(std::string("0/") + EVENT::CONFMANAGER, CtrlSDKUtils::dump(json::array({confinfo})));
    return STATE_HANDLED;
}

int ConfStatePassive_WaitConfInfo::on_recv_callsignal(const std::string&, const std::string&, json&) {
    // CANCEL is the one signal this state takes.
    OrvaneSDKPrivate* sdk = machine->sdk();
    sdk->callserver_error(487, "Receive CANCEL from server");
    sdk->notifyConf(CONFNOTIFY::CANCELED, "{}");
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}

int ConfStatePassive_WaitUserConfirm::on_recv_callsignal(const std::string&, const std::string&, json&) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    sdk->callserver_error(487, "WaitUserConfirm: Received CANCEL from server");
    sdk->notifyConf(CONFNOTIFY::CANCELED, "{}");
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}

int ConfStatePassive_WaitUserConfirm::reject_conf() {
    machine->sdk()->callserver_error(603, "WaitUserConfirm: user reject the conf");
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}

int ConfStatePassive_WaitUserConfirm::start_conf() {
    OrvaneSDKPrivate* sdk = machine->sdk();
    machine->cur_state = AVSTATE_PASSIVE_WAITING_AV_USERID;
    if (sdk->_conf.ext_dialnum.find("LOBBY") != std::string::npos) {
        // Taken into the lobby: answer at once with the lobby's pseudo id.
        sdk->_conf.engine_userid = "-3";
        sdk->callserver_accepted(sdk->_conf.dialnum);
        machine->cur_state = AVSTATE_IN_MEETING;
        machine->lobby_join = 1;
        create_lobby_windows(lobbyCloseAction(sdk));
        return STATE_HANDLED;
    }
    ConfStateMachine* m = machine;
    machine->set_cur_state_timeout_taskid(sdk->add_timer_task(
        55,
        [sdk, m](std::string) {
            CallLock lock(sdk->callMutex());
            if (m->cur_state != AVSTATE_PASSIVE_WAITING_AV_USERID) return;
            LOG_DEBUG("AVSTATE_PASSIVE_WAITING_AV_USERID timer_task enter");
            if (sdk->av) sdk->av->leave();
            m->cur_state = AVSTATE_IDLE;
            sdk->callserver_error(503, "No IN_MEETING status after 55s of av.join()");
            m->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN,
                                        CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN);
            LOG_DEBUG("AVSTATE_PASSIVE_WAITING_AV_USERID MeetingServiceEvent onCallEnd {} ",
                      CtrlSDKUtils::dump(json{{"result", 0}}));
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

int ConfStatePassive_WaitAvUserid::on_recv_callsignal(const std::string& startline, const std::string&, json&) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    machine->cancel_cur_state_timeout();
    const int ret = sdk->av ? sdk->av->leave() : -1;
    if (startline == "CANCEL") {
        LOG_DEBUG("ConfStatePassive_WaitAvUserid recv CANCEL, call leave()={}", ret);
        sdk->notifyConf(CONFNOTIFY::CANCELED, "{}");
    } else {
        LOG_DEBUG("leave ret={}\n", ret);
    }
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}

int ConfStatePassive_WaitAvUserid::on_avsdk_join_ok() {
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_PASSIVE_WAITING_ACK;
    machine->sdk()->callserver_accepted(machine->sdk()->_conf.dialnum);
    return STATE_HANDLED;
}

int ConfStatePassive_WaitAvUserid::on_avsdk_call_failed() {
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_IDLE;
    machine->sdk()->callserver_error(503, "ConfStatePassive_WaitAvUserid::on_avsdk_call_failed");
    return STATE_HANDLED;
}

int ConfStatePassive_WaitAvUserid::on_avsdk_call_end() {
    machine->cancel_cur_state_timeout();
    machine->cur_state = AVSTATE_IDLE;
    machine->sdk()->callserver_error(503, "ConfStatePassive_WaitAvUserid::on_avsdk_call_end");
    return STATE_HANDLED;
}

int ConfStatePassive_WaitAvUserid::leave_conf() {
    if (machine->sdk()->av) machine->sdk()->av->leave();
    return STATE_HANDLED;
}

int ConfStatePassive_WaitAck::on_recv_callsignal(const std::string& startline, const std::string&, json&) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    machine->cancel_cur_state_timeout();
    if (startline == SIGNAL::ACK) {
        machine->cur_state = AVSTATE_IN_MEETING;
        return STATE_HANDLED;
    }
    // The server refused the ACCEPTED.
    const int ret = sdk->av ? sdk->av->leave() : -1;
    LOG_DEBUG("ConfStatePassive_WaitAck recv ERROR, call leave()={}", ret);
    machine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_RECV_ERROR_FROM_SERVER,
                                      CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE);
    machine->cur_state = AVSTATE_IDLE;
    return STATE_HANDLED;
}
