#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class OrvaneSDKPrivate;
class ConfStateMachine;

namespace ORVANE {
class TimerTaskQueue;
}

enum AvState : int32_t {
    AVSTATE_INIT = 0,
    AVSTATE_WAIT_REGISTER_OK = 1,
    AVSTATE_IDLE = 2,
    AVSTATE_ACTIVE_WAITING_INVITE_RESULT = 3,
    AVSTATE_ACTIVE_WAITING_AV_USERID = 4,
    AVSTATE_PASSIVE_WAITING_CONFINFO = 5,
    AVSTATE_PASSIVE_WAITING_UI_CONFIRM = 6,
    AVSTATE_PASSIVE_WAITING_AV_USERID = 7,
    AVSTATE_PASSIVE_WAITING_ACK = 8,
    AVSTATE_IN_MEETING = 9,
};

// The names of the ten states, by AvState.
extern const std::vector<std::string> g_avStateNames;

// Result of a state operation.
enum StateResult : int { STATE_HANDLED = 0, STATE_INVALID = 1, STATE_JSON_ERROR = -1 };

// (start line, cseq word) pairs of the call signals that may reach a state.
using ExpectedMessages = std::vector<std::pair<std::string, std::string>>;

// A state of the call. Every event is answered with 1 (not valid here)
// unless the state overrides it; a state moves the machine with setState.
class ConfStateBase {
public:
    ConfStateBase(ConfStateMachine* m, ExpectedMessages expected) : expected_msgs(std::move(expected)), machine(m) {}
    virtual ~ConfStateBase() = default;
    virtual int send_register() { return STATE_INVALID; }
    virtual int on_recv_callsignal(const std::string& /*startline*/, const std::string& /*cseq*/,
                                   nlohmann::json& /*msg*/) {
        return STATE_INVALID;
    }
    virtual int on_recv_confinfo(const std::string& /*data*/) { return STATE_INVALID; }
    virtual int on_avsdk_join_ok() { return STATE_INVALID; }
    virtual int on_avsdk_call_failed() { return STATE_INVALID; }
    virtual int on_avsdk_call_reconnecting() { return STATE_INVALID; }
    virtual int on_avsdk_call_end() { return STATE_INVALID; }
    // `accept` commits the application's conference information; a state
    // that takes the start runs it first, one that refuses never does.
    virtual int start_conf(const std::function<void()>& /*accept*/) { return STATE_INVALID; }
    virtual int leave_conf() { return STATE_INVALID; }
    virtual int reject_conf() { return STATE_INVALID; }

    const ExpectedMessages expected_msgs;

protected:
    ConfStateMachine* const machine;
};

// The call state machine: the current state, the ten states, and the
// time-out of the state that waits. Every operation must be called with the
// central object's call lock held.
class ConfStateMachine {
public:
    ConfStateMachine(OrvaneSDKPrivate& core, ORVANE::TimerTaskQueue& timers);
    ~ConfStateMachine();
    ConfStateMachine(const ConfStateMachine&) = delete;
    ConfStateMachine& operator=(const ConfStateMachine&) = delete;

    int send_register();
    int start_conf(const std::function<void()>& accept);
    int reject_conf();
    int leave_conf();
    int on_avsdk_join_ok();
    int on_avsdk_call_failed();
    int on_avsdk_call_end();
    int on_avsdk_call_reconnecting();
    int on_recv_confinfo(const std::string& data);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg);
    bool check_server_msg_is_expect(const std::string& startline, const std::string& cseq);

    int32_t state() const { return cur_state_; }
    std::string cur_state_name() const;
    // The one way the machine moves. Leaving a state cancels the time-out it
    // armed, and leaving idle starts a new call.
    void setState(int32_t next);
    // Arms the limit of the current state: after `seconds`, `onTimeout` runs
    // on the timer worker under the call lock, unless the machine has left
    // this state of this call by then.
    void armTimeout(int64_t seconds, std::function<void()> onTimeout);
    void cancel_cur_state_timeout();

    // 1: the meeting was entered through the lobby, so no media join stands
    // behind AVSTATE_IN_MEETING yet. Belongs to one call.
    int32_t lobby_join = 0;

    // The user left a call whose INVITE was not answered yet: its late
    // ACCEPTED is answered with ERROR, so that the server ends it too.
    void abandonCall(const std::string& callId);
    // True when `msg` answered a call left that way; it has been dealt with.
    bool answerAbandonedCall(const std::string& startline, const nlohmann::json& msg);

    // REGISTER sent and no answer yet: ask again, ever more patiently, and
    // tell the application each time.
    void awaitRegistration();

    // Tells the application that a call failed or was lost.
    void report_meeting_exception(const std::string& type, const std::string& textId);
    // Tells the application once per meeting why it ended, weighing the
    // server's reason against the engine's.
    int onCtrlNotify_send_bye_reason(const std::string& server_reason, const std::string& av_reason);

    OrvaneSDKPrivate& core() const { return core_; }

private:
    uint64_t add_timer_task(int64_t seconds, std::function<void(std::string)> callback);
    void cancel_timer_task(uint64_t id);

    OrvaneSDKPrivate& core_;
    ORVANE::TimerTaskQueue& timers_;
    int32_t cur_state_ = AVSTATE_INIT;
    // Counts the calls: a time-out carries the call it was armed in.
    uint64_t call_ = 0;
    int registerAttempts_ = 0;
    std::vector<std::string> abandonedCalls_;
    uint64_t timeout_taskid_ = 0;
    std::vector<std::unique_ptr<ConfStateBase>> states_;
};
