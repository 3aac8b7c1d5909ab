// Registration and idle: the first three states of a call.
#include "CallSignal/call_signals.h"
#include "CallSignal/conf_states.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

int answerToRegister(ConfStateMachine* machine, const char* state, const std::string& startline, const json& msg) {
    AppChannel& app = machine->core().app();
    if (startline == SIGNAL::OK) {
        app.notify(NOTIFY_CALLSIGNAL_OK, "");
        return STATE_HANDLED;
    }
    // A code that cannot be read tells nobody.
    try {
        if (msg.at("startLine").at("statusCode").at("code").get<int>() == 400) app.notify(NOTIFY_CALLSIGNAL_OK, "");
    } catch (const json::exception& e) {
        LOG_JSON_ERROR_AT(state, e.what(), CtrlSDKUtils::dump(msg));
    }
    return STATE_HANDLED;
}

int ConfStateInit::send_register() {
    LOG_DEBUG("ConfStateInit::send_register() enter\n");
    machine->setState(AVSTATE_WAIT_REGISTER_OK);
    machine->core().signals().callserver_register();
    machine->awaitRegistration();
    return STATE_HANDLED;
}

int ConfStateWaitRegOK::on_recv_callsignal(const std::string& startline, const std::string& cseq, json& msg) {
    LOG_DEBUG("ConfStateWaitRegOK::on_recv_callsignal, startline={}, cseq={}", startline, cseq);
    if (startline == SIGNAL::OK) machine->setState(AVSTATE_IDLE);
    return answerToRegister(machine, "ConfStateWaitRegOK::on_recv_callsignal", startline, msg);
}

int ConfStateIdle::on_recv_callsignal(const std::string& startline, const std::string&, json& msg) {
    if (startline != SIGNAL::INVITE)
        return answerToRegister(machine, "ConfStateIdle::on_recv_callsignal", startline, msg);

    // An incoming call: keep the INVITE as the template of the answers.
    OrvaneSDKPrivate& core = machine->core();
    OrvaneConference& conf = core.conf();
    try {
        conf.signal = msg;
        conf.dialnum = msg.at("signalHeader").at("from").at("dialNumber").get<std::string>();
        const json& body = msg.at("signalBody");
        if (body.contains("conferenceId")) conf.confid = body.at("conferenceId").get<std::string>();
        conf.ext_dialnum = body.at("externalDialNumber").get<std::string>();
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
        return STATE_JSON_ERROR;
    }
    LOG_DEBUG("recv INVITE on idle, from dialnum={}, ext_dialnum={}, confid={}", conf.dialnum, conf.ext_dialnum,
              conf.confid);
    if (AVSDK* av = core.media()) av->setConfSignal(CtrlSDKUtils::dump(msg));
    machine->setState(AVSTATE_PASSIVE_WAITING_CONFINFO);
    // Without the conference's data the user cannot be asked: the call is
    // refused rather than left hanging on the server.
    ConfStateMachine* m = machine;
    m->armTimeout(30, [m] {
        LOG_DEBUG("AVSTATE_PASSIVE_WAITING_CONFINFO timer_task enter");
        m->core().signals().callserver_error(503, "No conference information after 30s");
        m->setState(AVSTATE_IDLE);
    });
    core.control().sendCommand(CONF::CONFINFO_BY_DIALNUM, CtrlSDKUtils::dump(json{{"dialnum", conf.dialnum}}));
    return STATE_HANDLED;
}

int ConfStateIdle::start_conf(const std::function<void()>& accept) {
    ConfStateMachine* m = machine;
    accept();
    m->setState(AVSTATE_ACTIVE_WAITING_INVITE_RESULT);
    m->armTimeout(15, [m] {
        LOG_DEBUG("AVSTATE_ACTIVE_WAITING_INVITE_RESULT timer_task enter");
        m->core().signals().callserver_error(603, "No ACCEPTED was received after 15s of sending the INVITE");
        m->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE,
                                    CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE);
        m->setState(AVSTATE_IDLE);
    });
    m->core().signals().callserver_invite(m->core().conf().dialnum);
    return STATE_HANDLED;
}

int ConfStateIdle::leave_conf() {
    AVSDK* av = machine->core().media();
    LOG_DEBUG("---ConfStateIdle::leave_conf [Before]----");
    LOG_DEBUG("-----avsdk is null : {}------", av == nullptr);
    if (av) {
        const int ret = av->leave();
        LOG_DEBUG("ConfStateIdle::leave_conf leave ret={}", ret);
    }
    return STATE_HANDLED;
}
