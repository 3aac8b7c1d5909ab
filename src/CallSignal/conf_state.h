#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class OrvaneSDKPrivate;
class ConfStateMachine;

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

// A state of the call. Every event is answered with 1 (not valid here)
// unless the state overrides it; a state moves the machine by writing
// machine->cur_state.
class ConfStateBase {
public:
    virtual ~ConfStateBase() = default;
    virtual int send_register() { return STATE_INVALID; }
    virtual int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) {
        (void)startline;
        (void)cseq;
        (void)msg;
        return STATE_INVALID;
    }
    virtual int on_recv_confinfo(const std::string& data) {
        (void)data;
        return STATE_INVALID;
    }
    virtual int on_avsdk_join_ok() { return STATE_INVALID; }
    virtual int on_avsdk_call_failed() { return STATE_INVALID; }
    virtual int on_avsdk_call_reconnecting() { return STATE_INVALID; }
    virtual int on_avsdk_call_end() { return STATE_INVALID; }
    virtual int start_conf() { return STATE_INVALID; }
    virtual int leave_conf() { return STATE_INVALID; }
    virtual int reject_conf() { return STATE_INVALID; }

    uint64_t timeout_taskid = 0;
    // (start line, cseq word) pairs that may reach this state.
    std::vector<std::pair<std::string, std::string>> expected_msgs;
};

// The call state machine. Every operation must be called with the central
// object's call lock held.
class ConfStateMachine {
public:
    explicit ConfStateMachine(OrvaneSDKPrivate* sdk);
    ~ConfStateMachine();
    ConfStateMachine(const ConfStateMachine&) = delete;
    ConfStateMachine& operator=(const ConfStateMachine&) = delete;

    int send_register();
    int start_conf();
    int reject_conf();
    int leave_conf();
    int on_avsdk_join_ok();
    int on_avsdk_call_failed();
    int on_avsdk_call_end();
    int on_avsdk_call_reconnecting();
    int on_recv_confinfo(const std::string& data);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg);
    bool check_server_msg_is_expect(const std::string& startline, const std::string& cseq);

    void set_cur_state_timeout_taskid(uint64_t id);
    uint64_t get_cur_state_timeout_taskid();
    void cancel_cur_state_timeout();
    std::string cur_state_name() const;

    // Tells the application that a call failed or was lost.
    void report_meeting_exception(const std::string& type, const std::string& textId);

    OrvaneSDKPrivate* sdk() const { return sdk_; }

    int32_t cur_state = AVSTATE_INIT;
    int32_t lobby_join = 0;  // 1: the meeting was entered through the lobby
    std::vector<std::unique_ptr<ConfStateBase>> states;

private:
    template <typename Op>
    int dispatch(const char* opName, Op op, const char* enterFormat = nullptr);

    OrvaneSDKPrivate* sdk_;
};

