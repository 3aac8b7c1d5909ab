#include "conf_state.h"

#include "conf_states.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

using namespace ORVANE;
using json = nlohmann::json;

const std::vector<std::string> g_avStateNames = {
    "AVSTATE_INIT",
    "AVSTATE_WAIT_REGISTER_OK",
    "AVSTATE_IDLE",
    "AVSTATE_ACTIVE_WAITING_INVITE_RESULT",
    "AVSTATE_ACTIVE_WAITING_AV_USERID",
    "AVSTATE_PASSIVE_WAITING_CONFINFO",
    "AVSTATE_PASSIVE_WAITING_UI_CONFIRM",
    "AVSTATE_PASSIVE_WAITING_AV_USERID",
    "AVSTATE_PASSIVE_WAITING_ACK",
    "AVSTATE_IN_MEETING",
};

ConfStateMachine::ConfStateMachine(OrvaneSDKPrivate* sdk) : sdk_(sdk) {
    states.emplace_back(std::make_unique<ConfStateInit>(this));
    states.emplace_back(std::make_unique<ConfStateWaitRegOK>(this));
    states.emplace_back(std::make_unique<ConfStateIdle>(this));
    states.emplace_back(std::make_unique<ConfStateActive_WaitInviteResult>(this));
    states.emplace_back(std::make_unique<ConfStateActive_WaitAvUserid>(this));
    states.emplace_back(std::make_unique<ConfStatePassive_WaitConfInfo>(this));
    states.emplace_back(std::make_unique<ConfStatePassive_WaitUserConfirm>(this));
    states.emplace_back(std::make_unique<ConfStatePassive_WaitAvUserid>(this));
    states.emplace_back(std::make_unique<ConfStatePassive_WaitAck>(this));
    states.emplace_back(std::make_unique<ConfStateInMeeting>(this));
}

ConfStateMachine::~ConfStateMachine() = default;

std::string ConfStateMachine::cur_state_name() const {
    if (cur_state < 0 || static_cast<size_t>(cur_state) >= g_avStateNames.size()) return "AVSTATE_UNKNOWN";
    return g_avStateNames[cur_state];
}

// The frame around every event: the log lines before and after, and the
// warning for an event the state does not take.
#define CONF_STATE_FRAME(ENTER_FORMAT, OPNAME, CALL)                                     \
    LOG_DEBUG(ENTER_FORMAT, cur_state_name(), OPNAME);                                   \
    const int ret = states[cur_state]->CALL;                                             \
    LOG_DEBUG("new state={}\n", cur_state_name());                                       \
    if (ret == STATE_INVALID) LOG_WARN("Warning: invalid op in current state!\n");       \
    return ret

int ConfStateMachine::send_register() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "send_register", send_register());
}

int ConfStateMachine::start_conf() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "start_conf", start_conf());
}

int ConfStateMachine::reject_conf() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "reject_conf", reject_conf());
}

int ConfStateMachine::leave_conf() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "leave_conf", leave_conf());
}

int ConfStateMachine::on_avsdk_join_ok() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "on_avsdk_join_ok", on_avsdk_join_ok());
}

int ConfStateMachine::on_avsdk_call_failed() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "on_avsdk_call_failed", on_avsdk_call_failed());
}

int ConfStateMachine::on_avsdk_call_end() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "on_avsdk_call_end", on_avsdk_call_end());
}

int ConfStateMachine::on_avsdk_call_reconnecting() {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter\n", "on_avsdk_call_reconnecting",
                     on_avsdk_call_reconnecting());
}

int ConfStateMachine::on_recv_confinfo(const std::string& data) {
    CONF_STATE_FRAME("ConfStateMachine: state={}, {} enter;\n", "on_recv_confinfo", on_recv_confinfo(data));
}

int ConfStateMachine::on_recv_callsignal(const std::string& startline, const std::string& cseq, json& msg) {
    LOG_DEBUG("ConfStateMachine: state={}, {} enter\n", cur_state_name(), "on_recv_callsignal");
    LOG_DEBUG("startline={},  cseq={}\n", startline, cseq);
    // Only the newest REGISTER or INVITE may be answered: a late answer to an
    // earlier one must not reach a new call.
    if (startline == "ACCEPTED" || startline == "ERROR") {
        try {
            const std::string recvd = msg.at("signalHeader").at("callId").get<std::string>();
            const std::string current = sdk_->_conf.callid;
            if (recvd != current) {
                LOG_ERROR("Error: CallID dismatch! Skip it! recvd_callid={}, cur_callid={}", recvd, current);
                return STATE_INVALID;
            }
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
            return STATE_INVALID;
        }
    }
    const int ret = states[cur_state]->on_recv_callsignal(startline, cseq, msg);
    LOG_DEBUG("new state={}\n", cur_state_name());
    if (ret == STATE_INVALID) LOG_WARN("Warning: invalid op in current state!\n");
    return ret;
}

bool ConfStateMachine::check_server_msg_is_expect(const std::string& startline, const std::string& cseq) {
    bool ret = false;
    for (const auto& expected : states[cur_state]->expected_msgs) {
        if (expected.first == startline && expected.second == cseq) {
            ret = true;
            break;
        }
    }
    LOG_DEBUG("ConfStateMachine: state={}, {} called, ret={}\n", cur_state_name(), "check_server_msg_is_expect",
              ret);
    return ret;
}

void ConfStateMachine::set_cur_state_timeout_taskid(uint64_t id) {
    LOG_DEBUG("ConfStateMachine: state={}, {} enter;\n", cur_state_name(), "set_cur_state_timeout_taskid");
    states[cur_state]->timeout_taskid = id;
}

uint64_t ConfStateMachine::get_cur_state_timeout_taskid() {
    LOG_DEBUG("ConfStateMachine: state={}, {} enter;\n", cur_state_name(), "get_cur_state_timeout_taskid");
    return states[cur_state]->timeout_taskid;
}

void ConfStateMachine::cancel_cur_state_timeout() {
    const uint64_t id = get_cur_state_timeout_taskid();
    states[cur_state]->timeout_taskid = 0;
    if (id != 0) sdk_->cancel_timer_task(id);
}

void ConfStateMachine::report_meeting_exception(const std::string& type, const std::string& textId) {
    const json exception = {
        {"type", type},
        {"errMsg", sdk_->errMsgFromId(textId)},
        {"reason", json::array()},
        {"result", 999},
    };
    sdk_->notifyConf(CONFNOTIFY::INTERNAL_EXCEPTION_IN_MEETING, CtrlSDKUtils::dump(exception));
    sdk_->notifyAvListener("MeetingServiceEvent", "onCallEnd", CtrlSDKUtils::dump(json{{"result", 0}}));
}

// The messages each state takes; everything else is dropped on arrival.

ConfStateInit::ConfStateInit(ConfStateMachine* m) : machine(m) {}

ConfStateWaitRegOK::ConfStateWaitRegOK(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"OK", "REGISTER"}, {"ERROR", "REGISTER"}};
}

ConfStateIdle::ConfStateIdle(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"INVITE", "INVITE"}, {"OK", "REGISTER"}, {"ERROR", "REGISTER"}};
}

ConfStateActive_WaitInviteResult::ConfStateActive_WaitInviteResult(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"ACCEPTED", "INVITE"}, {"ERROR", "INVITE"}};
}

ConfStateActive_WaitAvUserid::ConfStateActive_WaitAvUserid(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"CANCEL", "CANCEL"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}};
}

ConfStatePassive_WaitConfInfo::ConfStatePassive_WaitConfInfo(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"CANCEL", "CANCEL"}};
}

ConfStatePassive_WaitUserConfirm::ConfStatePassive_WaitUserConfirm(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"CANCEL", "CANCEL"}};
}

ConfStatePassive_WaitAvUserid::ConfStatePassive_WaitAvUserid(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"CANCEL", "CANCEL"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}};
}

ConfStatePassive_WaitAck::ConfStatePassive_WaitAck(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"ACK", "ACK"}, {"ERROR", "ACCEPTED"}};
}

ConfStateInMeeting::ConfStateInMeeting(ConfStateMachine* m) : machine(m) {
    expected_msgs = {{"BYE", "BYE"},     {"ERROR", "INVITE"},   {"ERROR", "ACK"},
                     {"OK", "REGISTER"}, {"ERROR", "REGISTER"}, {"UPDATE", "UPDATE"}};
}

