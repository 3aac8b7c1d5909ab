// An incoming call: the conference's data, the user's answer, the media join,
// then ACCEPTED and the server's ACK.
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
    return joinMediaUnderLimit(machine, AVSTATE_PASSIVE_WAITING_AV_USERID);
}

int ConfStatePassive_WaitAvUserid::on_recv_callsignal(const std::string& startline, const std::string&, json&) {
    return leaveJoinOnServerSignal(machine, "ConfStatePassive_WaitAvUserid", startline);
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
