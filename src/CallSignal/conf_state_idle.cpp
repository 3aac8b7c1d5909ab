// Registration and idle: the first three states of a call.
#include "call_lock.h"
#include "conf_states.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

// OK to REGISTER, or ERROR 400 to it, tells the application that the call
// server has the device. A code that cannot be read tells nobody.
int answerToRegister(const char* state, OrvaneSDKPrivate* sdk, const std::string& startline, json& msg) {
    if (startline == SIGNAL::OK) {
        sdk->notifyConf(NOTIFY_CALLSIGNAL_OK, "");
        return STATE_HANDLED;
    }
    try {
        if (msg.at("startLine").at("statusCode").at("code").get<int>() == 400)
            sdk->notifyConf(NOTIFY_CALLSIGNAL_OK, "");
    } catch (const json::exception& e) {
        LOG_JSON_ERROR_AT(state, e.what(), CtrlSDKUtils::dump(msg));
    }
    return STATE_HANDLED;
}

}  // namespace

int ConfStateInit::send_register() {
    LOG_DEBUG("ConfStateInit::send_register() enter\n");
    machine->cur_state = AVSTATE_WAIT_REGISTER_OK;
    machine->sdk()->callserver_register();
    return STATE_HANDLED;
}

int ConfStateWaitRegOK::on_recv_callsignal(const std::string& startline, const std::string& cseq, json& msg) {
    LOG_DEBUG("ConfStateWaitRegOK::on_recv_callsignal, startline={}, cseq={}", startline, cseq);
    if (startline == SIGNAL::OK) machine->cur_state = AVSTATE_IDLE;
    return answerToRegister("ConfStateWaitRegOK::on_recv_callsignal", machine->sdk(), startline, msg);
}

int ConfStateIdle::on_recv_callsignal(const std::string& startline, const std::string&, json& msg) {
    OrvaneSDKPrivate* sdk = machine->sdk();
    if (startline != SIGNAL::INVITE)
        return answerToRegister("ConfStateIdle::on_recv_callsignal", sdk, startline, msg);

    // An incoming call: keep the INVITE as the template of the answers.
    try {
        sdk->_conf.signal = msg;
        sdk->_conf.dialnum = msg.at("signalHeader").at("from").at("dialNumber").get<std::string>();
        const json& body = msg.at("signalBody");
        if (body.contains("conferenceId")) sdk->_conf.confid = body.at("conferenceId").get<std::string>();
        sdk->_conf.ext_dialnum = body.at("externalDialNumber").get<std::string>();
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
        return STATE_JSON_ERROR;
    }
    LOG_DEBUG("recv INVITE on idle, from dialnum={}, ext_dialnum={}, confid={}", sdk->_conf.dialnum,
              sdk->_conf.ext_dialnum, sdk->_conf.confid);
    if (sdk->av) sdk->av->setConfSignal(CtrlSDKUtils::dump(msg));
    machine->cur_state = AVSTATE_PASSIVE_WAITING_CONFINFO;
    sdk->control->sendCommand(CONF::CONFINFO_BY_DIALNUM, CtrlSDKUtils::dump(json{{"dialnum", sdk->_conf.dialnum}}));
    return STATE_HANDLED;
}

int ConfStateIdle::start_conf() {
    OrvaneSDKPrivate* sdk = machine->sdk();
    ConfStateMachine* m = machine;
    machine->cur_state = AVSTATE_ACTIVE_WAITING_INVITE_RESULT;
    machine->set_cur_state_timeout_taskid(sdk->add_timer_task(
        15,
        [sdk, m](std::string) {
            CallLock lock(sdk->callMutex());
            if (m->cur_state != AVSTATE_ACTIVE_WAITING_INVITE_RESULT) return;
            LOG_DEBUG("AVSTATE_ACTIVE_WAITING_INVITE_RESULT timer_task enter");
            sdk->callserver_error(603, "No ACCEPTED was received after 15s of sending the INVITE");
            m->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE,
                                        CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE);
            m->cur_state = AVSTATE_IDLE;
        },
        ""));
    sdk->callserver_invite(sdk->_conf.dialnum);
    return STATE_HANDLED;
}

int ConfStateIdle::leave_conf() {
    OrvaneSDKPrivate* sdk = machine->sdk();
    LOG_DEBUG("---ConfStateIdle::leave_conf [Before]----");
    LOG_DEBUG("-----avsdk is null : {}------", sdk->av == nullptr);
    if (sdk->av) {
        const int ret = sdk->av->leave();
        LOG_DEBUG("ConfStateIdle::leave_conf leave ret={}", ret);
    }
    return STATE_HANDLED;
}
