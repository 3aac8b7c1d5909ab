// An incoming call: the conference's data, the user's answer, the media join,
// then ACCEPTED and the server's ACK.
#include "CallSignal/call_signals.h"
#include "CallSignal/conf_states.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

int cancelRinging(ConfStateMachine* machine, const char* message) {
    machine->core().signals().callserver_error(487, message);
    machine->core().app().notify(CONFNOTIFY::CANCELED, "{}");
    machine->setState(AVSTATE_IDLE);
    return STATE_HANDLED;
}

int ConfStatePassive_WaitConfInfo::on_recv_confinfo(const std::string& data) {
    OrvaneSDKPrivate& core = machine->core();
    std::string text;
    try {
        // Read on copies with the index operator: a reply without "data"
        // gives a conference of the display name alone.
        json reply = json::parse(data);
        json result = reply["result"];
        json info = result["data"];
        info["dispname"] = core.getUniformUserName();
        text = CtrlSDKUtils::dump(info);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
        return STATE_JSON_ERROR;
    }
    json confinfo = core.parseConfinfo(text);
    try {
        confinfo["event"] = CONFNOTIFY::RECV_INVITE;
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), text);
    }
    machine->setState(AVSTATE_PASSIVE_WAITING_UI_CONFIRM);
    // A call nobody answers and the server never cancels ends here.
    ConfStateMachine* m = machine;
    m->armTimeout(60, [m] {
        LOG_DEBUG("AVSTATE_PASSIVE_WAITING_UI_CONFIRM timer_task enter");
        m->core().signals().callserver_error(603, "No answer from the user after 60s");
        m->core().app().notify(CONFNOTIFY::CANCELED, "{}");
        m->setState(AVSTATE_IDLE);
    });
    // The user is asked: the application shows the call.
    core.app().notify(std::string("0/") + EVENT::CONFMANAGER, CtrlSDKUtils::dump(json::array({confinfo})));
    return STATE_HANDLED;
}

int ConfStatePassive_WaitConfInfo::leave_conf() {
    machine->core().signals().callserver_error(603, "WaitConfInfo: user left the call");
    return STATE_HANDLED;
}

int ConfStatePassive_WaitConfInfo::on_recv_callsignal(const std::string&, const std::string&, json&) {
    // CANCEL is the one signal this state takes.
    return cancelRinging(machine, "Receive CANCEL from server");
}

int ConfStatePassive_WaitUserConfirm::on_recv_callsignal(const std::string&, const std::string&, json&) {
    return cancelRinging(machine, "WaitUserConfirm: Received CANCEL from server");
}

int ConfStatePassive_WaitUserConfirm::reject_conf() {
    machine->core().signals().callserver_error(603, "WaitUserConfirm: user reject the conf");
    machine->setState(AVSTATE_IDLE);
    return STATE_HANDLED;
}

// Leaving a ringing call declines it.
int ConfStatePassive_WaitUserConfirm::leave_conf() { return reject_conf(); }

int ConfStatePassive_WaitUserConfirm::start_conf(const std::function<void()>& accept) {
    OrvaneSDKPrivate& core = machine->core();
    accept();
    machine->setState(AVSTATE_PASSIVE_WAITING_AV_USERID);
    if (isLobbyNumber(core.conf().ext_dialnum))
        return enterLobby(machine, [&core] { core.signals().callserver_accepted(core.conf().dialnum); });
    return joinMediaUnderLimit(machine, AVSTATE_PASSIVE_WAITING_AV_USERID);
}

int ConfStatePassive_WaitAvUserid::on_avsdk_join_ok() {
    ConfStateMachine* m = machine;
    m->setState(AVSTATE_PASSIVE_WAITING_ACK);
    // An ACK that never comes ends the call on all three sides.
    m->armTimeout(15, [m] {
        OrvaneSDKPrivate& core = m->core();
        LOG_DEBUG("AVSTATE_PASSIVE_WAITING_ACK timer_task enter");
        if (AVSDK* av = core.media()) av->leave();
        m->setState(AVSTATE_IDLE);
        core.signals().callserver_bye(core.conf().dialnum);
        m->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN, CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN);
    });
    m->core().signals().callserver_accepted(m->core().conf().dialnum);
    return STATE_HANDLED;
}

// The server's INVITE is not answered yet: decline it.
void ConfStatePassive_WaitAvUserid::endOnServerAfterLeave() {
    machine->core().signals().callserver_error(603, "ConfStatePassive_WaitAvUserid::leave_conf");
}

int ConfStatePassive_WaitAck::on_recv_callsignal(const std::string& startline, const std::string&, json&) {
    OrvaneSDKPrivate& core = machine->core();
    if (startline == SIGNAL::ACK) {
        machine->setState(AVSTATE_IN_MEETING);
        return STATE_HANDLED;
    }
    // The server refused the ACCEPTED.
    AVSDK* av = core.media();
    const int ret = av ? av->leave() : -1;
    LOG_DEBUG("ConfStatePassive_WaitAck recv ERROR, call leave()={}", ret);
    machine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_RECV_ERROR_FROM_SERVER,
                                      CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE);
    machine->setState(AVSTATE_IDLE);
    return STATE_HANDLED;
}

int ConfStatePassive_WaitAck::leave_conf() {
    // ACCEPTED is out: hang up.
    OrvaneSDKPrivate& core = machine->core();
    if (AVSDK* av = core.media()) av->leave();
    core.signals().callserver_bye(core.conf().dialnum);
    return STATE_HANDLED;
}
