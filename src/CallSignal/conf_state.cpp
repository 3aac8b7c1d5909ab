#include "CallSignal/conf_state.h"

#include <algorithm>

#include "CallSignal/call_signals.h"

#include "CallSignal/conf_states.h"
#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "timer_task.h"

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

namespace {

// The frame around every event: the log lines before and after, and the
// warning for an event the state does not take.
template <typename Op>
int inFrame(ConfStateMachine& m, const char* opName, const char* enterFormat, Op op) {
    LOG_DEBUG(fmt::runtime(enterFormat), m.cur_state_name(), opName);
    const int ret = op();
    LOG_DEBUG("new state={}\n", m.cur_state_name());
    if (ret == STATE_INVALID) LOG_WARN("Warning: invalid op in current state!\n");
    return ret;
}

const char* const kEnter = "ConfStateMachine: state={}, {} enter\n";

}  // namespace

ConfStateMachine::ConfStateMachine(OrvaneSDKPrivate& core, TimerTaskQueue& timers) : core_(core), timers_(timers) {
    // The states in AvState order, each with the messages it takes; every
    // other message is dropped on arrival.
    states_.emplace_back(std::make_unique<ConfStateInit>(this, ExpectedMessages{}));
    states_.emplace_back(
        std::make_unique<ConfStateWaitRegOK>(this, ExpectedMessages{{"OK", "REGISTER"}, {"ERROR", "REGISTER"}}));
    states_.emplace_back(std::make_unique<ConfStateIdle>(
        this, ExpectedMessages{{"INVITE", "INVITE"}, {"OK", "REGISTER"}, {"ERROR", "REGISTER"}}));
    states_.emplace_back(std::make_unique<ConfStateActive_WaitInviteResult>(
        this, ExpectedMessages{{"ACCEPTED", "INVITE"}, {"ERROR", "INVITE"}}));
    states_.emplace_back(std::make_unique<ConfStateActive_WaitAvUserid>(
        this, ExpectedMessages{{"CANCEL", "CANCEL"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}},
        "ConfStateActive_WaitAvUserid"));
    states_.emplace_back(std::make_unique<ConfStatePassive_WaitConfInfo>(this, ExpectedMessages{{"CANCEL", "CANCEL"}}));
    states_.emplace_back(
        std::make_unique<ConfStatePassive_WaitUserConfirm>(this, ExpectedMessages{{"CANCEL", "CANCEL"}}));
    states_.emplace_back(std::make_unique<ConfStatePassive_WaitAvUserid>(
        this, ExpectedMessages{{"CANCEL", "CANCEL"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}},
        "ConfStatePassive_WaitAvUserid"));
    states_.emplace_back(
        std::make_unique<ConfStatePassive_WaitAck>(this, ExpectedMessages{{"ACK", "ACK"}, {"ERROR", "ACCEPTED"}}));
    states_.emplace_back(std::make_unique<ConfStateInMeeting>(
        this, ExpectedMessages{{"BYE", "BYE"},
                               {"ERROR", "INVITE"},
                               {"ERROR", "ACK"},
                               {"OK", "REGISTER"},
                               {"ERROR", "REGISTER"},
                               {"UPDATE", "UPDATE"}}));
}

ConfStateMachine::~ConfStateMachine() = default;

std::string ConfStateMachine::cur_state_name() const {
    if (cur_state_ < 0 || static_cast<size_t>(cur_state_) >= g_avStateNames.size()) return "AVSTATE_UNKNOWN";
    return g_avStateNames[cur_state_];
}

int ConfStateMachine::send_register() {
    return inFrame(*this, "send_register", kEnter, [this] { return states_[cur_state_]->send_register(); });
}

int ConfStateMachine::start_conf(const std::function<void()>& accept) {
    return inFrame(*this, "start_conf", kEnter, [&] { return states_[cur_state_]->start_conf(accept); });
}

int ConfStateMachine::reject_conf() {
    return inFrame(*this, "reject_conf", kEnter, [this] { return states_[cur_state_]->reject_conf(); });
}

int ConfStateMachine::leave_conf() {
    return inFrame(*this, "leave_conf", kEnter, [this] { return states_[cur_state_]->leave_conf(); });
}

int ConfStateMachine::on_avsdk_join_ok() {
    return inFrame(*this, "on_avsdk_join_ok", kEnter, [this] { return states_[cur_state_]->on_avsdk_join_ok(); });
}

int ConfStateMachine::on_avsdk_call_failed() {
    return inFrame(*this, "on_avsdk_call_failed", kEnter,
                   [this] { return states_[cur_state_]->on_avsdk_call_failed(); });
}

int ConfStateMachine::on_avsdk_call_end() {
    return inFrame(*this, "on_avsdk_call_end", kEnter, [this] { return states_[cur_state_]->on_avsdk_call_end(); });
}

int ConfStateMachine::on_avsdk_call_reconnecting() {
    return inFrame(*this, "on_avsdk_call_reconnecting", kEnter,
                   [this] { return states_[cur_state_]->on_avsdk_call_reconnecting(); });
}

int ConfStateMachine::on_recv_confinfo(const std::string& data) {
    return inFrame(*this, "on_recv_confinfo", "ConfStateMachine: state={}, {} enter;\n",
                   [&] { return states_[cur_state_]->on_recv_confinfo(data); });
}

int ConfStateMachine::on_recv_callsignal(const std::string& startline, const std::string& cseq, json& msg) {
    LOG_DEBUG(kEnter, cur_state_name(), "on_recv_callsignal");
    LOG_DEBUG("startline={},  cseq={}\n", startline, cseq);
    // Only the newest REGISTER or INVITE may be answered: a late answer to an
    // earlier one must not reach a new call.
    if (startline == "ACCEPTED" || startline == "ERROR") {
        try {
            const std::string recvd = msg.at("signalHeader").at("callId").get<std::string>();
            const std::string current = core_.conf().callid;
            if (recvd != current) {
                LOG_ERROR("Error: CallID dismatch! Skip it! recvd_callid={}, cur_callid={}", recvd, current);
                return STATE_INVALID;
            }
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(msg));
            return STATE_INVALID;
        }
    }
    const int ret = states_[cur_state_]->on_recv_callsignal(startline, cseq, msg);
    LOG_DEBUG("new state={}\n", cur_state_name());
    if (ret == STATE_INVALID) LOG_WARN("Warning: invalid op in current state!\n");
    return ret;
}

bool ConfStateMachine::check_server_msg_is_expect(const std::string& startline, const std::string& cseq) {
    bool ret = false;
    for (const auto& expected : states_[cur_state_]->expected_msgs) {
        if (expected.first == startline && expected.second == cseq) {
            ret = true;
            break;
        }
    }
    LOG_DEBUG("ConfStateMachine: state={}, {} called, ret={}\n", cur_state_name(), "check_server_msg_is_expect",
              ret);
    return ret;
}

void ConfStateMachine::setState(int32_t next) {
    if (next == cur_state_) return;
    if (timeout_taskid_ != 0) cancel_cur_state_timeout();
    if (cur_state_ == AVSTATE_IDLE) {
        // A call begins: nothing of the last one carries over.
        ++call_;
        lobby_join = 0;
        core_.conf().is_user_call_leave = false;
        core_.conf().bye_reason_sent = false;
    }
    if (cur_state_ == AVSTATE_WAIT_REGISTER_OK) registerAttempts_ = 0;
    cur_state_ = next;
}

void ConfStateMachine::abandonCall(const std::string& callId) {
    if (callId.empty()) return;
    // A few are enough: each waits only for a late answer.
    if (abandonedCalls_.size() == 8) abandonedCalls_.erase(abandonedCalls_.begin());
    abandonedCalls_.push_back(callId);
}

bool ConfStateMachine::answerAbandonedCall(const std::string& startline, const json& msg) {
    if (startline != "ACCEPTED" || abandonedCalls_.empty()) return false;
    const json* header = msg.is_object() && msg.contains("signalHeader") ? &msg["signalHeader"] : nullptr;
    if (header == nullptr || !header->is_object() || !header->contains("callId") || !(*header)["callId"].is_string())
        return false;
    auto it = std::find(abandonedCalls_.begin(), abandonedCalls_.end(), (*header)["callId"].get<std::string>());
    if (it == abandonedCalls_.end()) return false;
    abandonedCalls_.erase(it);
    LOG_DEBUG("ACCEPTED for a call the user has left: answered with ERROR");
    core_.signals().callserver_error_to(msg, 603, "The call was left before its INVITE was answered");
    return true;
}

void ConfStateMachine::awaitRegistration() {
    // 10 s, then twice as long each time, at most a minute.
    const int64_t seconds = std::min<int64_t>(60, int64_t(10) << std::min(registerAttempts_, 3));
    armTimeout(seconds, [this, seconds] {
        ++registerAttempts_;
        LOG_WARN("No answer to REGISTER after {}s; sending it again", seconds);
        core_.app().notify(CONFNOTIFY::NOT_REGISTERED,
                           CtrlSDKUtils::dump(json{{"unanswered", registerAttempts_}, {"waitedSeconds", seconds}}));
        core_.signals().callserver_register();
        awaitRegistration();
    });
}

void ConfStateMachine::armTimeout(int64_t seconds, std::function<void()> onTimeout) {
    const int32_t state = cur_state_;
    const uint64_t call = call_;
    const uint64_t id = add_timer_task(seconds, [this, state, call, onTimeout = std::move(onTimeout)](std::string) {
        CallLock lock(core_.callMutex());
        // Cancelling cannot reach a task the worker has already taken: a
        // task of a state or a call that is over does nothing.
        if (state != cur_state_ || call != call_) return;
        timeout_taskid_ = 0;
        onTimeout();
    });
    LOG_DEBUG("ConfStateMachine: state={}, {} enter;\n", cur_state_name(), "set_cur_state_timeout_taskid");
    timeout_taskid_ = id;
}

void ConfStateMachine::cancel_cur_state_timeout() {
    LOG_DEBUG("ConfStateMachine: state={}, {} enter;\n", cur_state_name(), "get_cur_state_timeout_taskid");
    const uint64_t id = timeout_taskid_;
    timeout_taskid_ = 0;
    if (id != 0) cancel_timer_task(id);
}

uint64_t ConfStateMachine::add_timer_task(int64_t seconds, std::function<void(std::string)> callback) {
    LOG_DEBUG("[{}] add_timer_task enter;", cur_state_name());
    return timers_.add(seconds, std::move(callback), "");
}

void ConfStateMachine::cancel_timer_task(uint64_t id) {
    LOG_DEBUG("[{}] cancel_timer_task enter;", cur_state_name());
    timers_.cancel(id);
}

void ConfStateMachine::report_meeting_exception(const std::string& type, const std::string& textId) {
    const json exception = {
        {"type", type},
        {"errMsg", core_.app().errMsgFromId(textId)},
        {"reason", json::array()},
        {"result", 999},
    };
    core_.app().notify(CONFNOTIFY::INTERNAL_EXCEPTION_IN_MEETING, CtrlSDKUtils::dump(exception));
    core_.app().notifyMedia("MeetingServiceEvent", "onCallEnd", CtrlSDKUtils::dump(json{{"result", 0}}));
}
