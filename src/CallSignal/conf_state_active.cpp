// An outgoing call: the server's answer to INVITE, then the media join.
// Also the pieces both directions share: the lobby and the media join.
#include <fmt/format.h>

#include "CallSignal/call_signals.h"
#include "CallSignal/conf_states.h"
#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "lobby/lobby_window.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

bool isLobbyNumber(const std::string& number) { return number.find("LOBBY") != std::string::npos; }

std::function<void()> lobbyCloseAction(OrvaneSDKPrivate& core) {
    return [&core] {
        core.onNotify("MeetingServiceEvent", "onCallEnd", CtrlSDKUtils::dump(json{{"result", 0}}));
        CallLock lock(core.callMutex());
        core.signals().callserver_bye(core.conf().dialnum);
    };
}

int enterLobby(ConfStateMachine* machine, const std::function<void()>& answer) {
    OrvaneSDKPrivate& core = machine->core();
    core.conf().engine_userid = PSEUDO_USERID::LOBBY;
    answer();
    machine->setState(AVSTATE_IN_MEETING);
    machine->lobby_join = 1;
    create_lobby_windows(lobbyCloseAction(core));
    return STATE_HANDLED;
}

int joinMediaUnderLimit(ConfStateMachine* machine, AvState waiting) {
    OrvaneSDKPrivate& core = machine->core();
    // The limit is armed before the join, so an engine that answers at once
    // finds everything in place.
    machine->armTimeout(55, [machine, waiting] {
        OrvaneSDKPrivate& c = machine->core();
        const std::string name = g_avStateNames[waiting];
        LOG_DEBUG("{} timer_task enter", name);
        if (AVSDK* av = c.media()) av->leave();
        machine->setState(AVSTATE_IDLE);
        c.signals().callserver_error(503, "No IN_MEETING status after 55s of av.join()");
        machine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN,
                                          CONFNOTIFY::EXCPT_REASON_TIMEOUT_ON_JOIN);
        if (waiting == AVSTATE_PASSIVE_WAITING_AV_USERID)
            LOG_DEBUG("{} MeetingServiceEvent onCallEnd {} ", name, CtrlSDKUtils::dump(json{{"result", 0}}));
    });
    const OrvaneConference& conf = core.conf();
    AVSDK* av = core.media();
    const int ret = av ? av->join(conf.ext_dialnum, conf.passcode, core.getUniformUserName()) : -1;
    if (ret == 0) return STATE_HANDLED;
    LOG_ERROR("  avsdk join failed, ret={}", ret);
    machine->cancel_cur_state_timeout();
    core.signals().callserver_error(603, fmt::format("av.join failed, ret={}", ret));
    machine->setState(AVSTATE_IDLE);
    return STATE_HANDLED;
}

// CANCEL or ERROR from the server while the media join runs.
int ConfStateWaitAvUserid::on_recv_callsignal(const std::string& startline, const std::string&, json&) {
    OrvaneSDKPrivate& core = machine->core();
    AVSDK* av = core.media();
    const int ret = av ? av->leave() : -1;
    if (startline == "CANCEL") {
        LOG_DEBUG("{} recv CANCEL, call leave()={}", name_, ret);
        core.app().notify(CONFNOTIFY::CANCELED, "{}");
    } else {
        LOG_DEBUG("leave ret={}\n", ret);
    }
    machine->setState(AVSTATE_IDLE);
    return STATE_HANDLED;
}

int ConfStateWaitAvUserid::endOnEngine(const char* event) {
    machine->setState(AVSTATE_IDLE);
    machine->core().signals().callserver_error(503, fmt::format("{}::{}", name_, event));
    return STATE_HANDLED;
}

int ConfStateWaitAvUserid::on_avsdk_call_failed() { return endOnEngine("on_avsdk_call_failed"); }

int ConfStateWaitAvUserid::on_avsdk_call_end() { return endOnEngine("on_avsdk_call_end"); }

int ConfStateWaitAvUserid::leave_conf() {
    // The caller writes idle, which takes the 55 s limit with it.
    if (AVSDK* av = machine->core().media()) av->leave();
    endOnServerAfterLeave();
    return STATE_HANDLED;
}

// The server has accepted the call: hang up.
void ConfStateActive_WaitAvUserid::endOnServerAfterLeave() {
    machine->core().signals().callserver_bye(machine->core().conf().dialnum);
}

int ConfStateActive_WaitInviteResult::leave_conf() {
    // No signal yet: the server has not answered. Its late ACCEPTED is
    // answered so that it ends the call too; the 15 s limit goes with the
    // state.
    machine->abandonCall(machine->core().conf().callid);
    return STATE_HANDLED;
}

int ConfStateActive_WaitInviteResult::on_recv_callsignal(const std::string& startline, const std::string&,
                                                          json& msg) {
    OrvaneSDKPrivate& core = machine->core();
    OrvaneConference& conf = core.conf();

    if (startline == SIGNAL::ERROR) {
        // The server refused the call: tell the application why and go back
        // to idle. Nothing goes back to the server.
        try {
            const json status = msg.at("startLine").at("statusCode");
            const std::string message = status.at("message").get<std::string>();
            const int code = status.at("code").get<int>();
            LOG_ERROR("Error: ConfStateActive_WaitInviteResult::on_recv_callsignal recv ERROR!");
            LOG_ERROR("    code={}, msg={}", code, message);
            json report = {{"type", message}, {"errMsg", core.app().errMsgFromId(message)},
                           {"reason", json::array()}, {"result", 999}};
            if (message == "CONFERENCE_ROOM_CONFLICT" || message == "CONFERENCE_ADHOC_CONFLICT")
                report["confid"] = status.at("reason").at(0).at("conferenceId").get<std::string>();
            core.app().notify(CONFNOTIFY::EXCEPTION_IN_MEETING, CtrlSDKUtils::dump(report));
            if (message == "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE") core.app().notify(CONFNOTIFY::NEED_PASSCODE, "");
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
        }
        machine->setState(AVSTATE_IDLE);
        return STATE_HANDLED;
    }

    // ACCEPTED.
    std::string number;
    bool hasNumber = false;
    // The signal is kept for the answers to come; nothing else needs the
    // server's copy, so it is moved, not copied.
    conf.signal = std::move(msg);
    const json& signal = conf.signal;
    try {
        conf.dialnum = signal.at("signalHeader").at("to").at("dialNumber").get<std::string>();
        // A body may be missing altogether; then there is nothing in it to read.
        static const json none;
        auto found = signal.find("signalBody");
        const json& body = found != signal.end() ? *found : none;
        if (body.contains("conferenceId")) conf.confid = body.at("conferenceId").get<std::string>();
        if (body.contains("externalDialNumber") && !body.at("externalDialNumber").is_null()) {
            number = body.at("externalDialNumber").get<std::string>();
            hasNumber = true;
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(signal));
        return STATE_JSON_ERROR;
    }

    if (hasNumber && isLobbyNumber(number)) {
        conf.ext_dialnum = number;
        return enterLobby(machine, [&core] { core.signals().callserver_ack(); });
    }
    if (hasNumber) conf.ext_dialnum = number;
    LOG_DEBUG("recv ACCEPTED, to dialnum={}, ext_dialnum={}, confid={}", conf.dialnum, conf.ext_dialnum,
              conf.confid);
    if (AVSDK* av = core.media()) av->setConfSignal(CtrlSDKUtils::dump(signal));

    machine->setState(AVSTATE_ACTIVE_WAITING_AV_USERID);
    return joinMediaUnderLimit(machine, AVSTATE_ACTIVE_WAITING_AV_USERID);
}

int ConfStateActive_WaitAvUserid::on_avsdk_join_ok() {
    machine->setState(AVSTATE_IN_MEETING);
    machine->core().signals().callserver_ack();
    return STATE_HANDLED;
}
