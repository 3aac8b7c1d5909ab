#pragma once

#include "conf_state.h"

#include <functional>

// Before the device is registered with the call server.
class ConfStateInit : public ConfStateBase {
public:
    explicit ConfStateInit(ConfStateMachine* m);
    int send_register() override;
    ConfStateMachine* machine;
};

// REGISTER sent, waiting for the call server's answer.
class ConfStateWaitRegOK : public ConfStateBase {
public:
    explicit ConfStateWaitRegOK(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    ConfStateMachine* machine;
};

// Registered, no call.
class ConfStateIdle : public ConfStateBase {
public:
    explicit ConfStateIdle(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int start_conf() override;
    int leave_conf() override;
    ConfStateMachine* machine;
};

// INVITE sent, waiting for ACCEPTED or ERROR.
class ConfStateActive_WaitInviteResult : public ConfStateBase {
public:
    explicit ConfStateActive_WaitInviteResult(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    ConfStateMachine* machine;
};

// Accepted by the server, waiting for the media join of an outgoing call.
class ConfStateActive_WaitAvUserid : public ConfStateBase {
public:
    explicit ConfStateActive_WaitAvUserid(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_avsdk_join_ok() override;
    int on_avsdk_call_failed() override;
    int on_avsdk_call_end() override;
    int leave_conf() override;
    ConfStateMachine* machine;
};

// An INVITE came in, waiting for its conference information.
class ConfStatePassive_WaitConfInfo : public ConfStateBase {
public:
    explicit ConfStatePassive_WaitConfInfo(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_recv_confinfo(const std::string& data) override;
    ConfStateMachine* machine;
};

// Waiting for the user to take or decline the incoming call.
class ConfStatePassive_WaitUserConfirm : public ConfStateBase {
public:
    explicit ConfStatePassive_WaitUserConfirm(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int start_conf() override;
    int reject_conf() override;
    ConfStateMachine* machine;
};

// Taken by the user, waiting for the media join of an incoming call.
class ConfStatePassive_WaitAvUserid : public ConfStateBase {
public:
    explicit ConfStatePassive_WaitAvUserid(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_avsdk_join_ok() override;
    int on_avsdk_call_failed() override;
    int on_avsdk_call_end() override;
    int leave_conf() override;
    ConfStateMachine* machine;
};

// ACCEPTED sent for an incoming call, waiting for ACK.
class ConfStatePassive_WaitAck : public ConfStateBase {
public:
    explicit ConfStatePassive_WaitAck(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    ConfStateMachine* machine;
};

// In the meeting.
class ConfStateInMeeting : public ConfStateBase {
public:
    explicit ConfStateInMeeting(ConfStateMachine* m);
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_avsdk_join_ok() override;
    int on_avsdk_call_failed() override;
    int on_avsdk_call_reconnecting() override;
    int on_avsdk_call_end() override;
    int leave_conf() override;
    ConfStateMachine* machine;
};


// What a client in the lobby does when the user closes the lobby window:
// end the call as if the engine had ended it, then say BYE.
std::function<void()> lobbyCloseAction(OrvaneSDKPrivate* sdk);

// The media join of either direction, from the state `waiting` that has just
// been written: arms its 55-second limit, then joins. A join the engine
// refuses is answered with ERROR 603 and the machine goes back to idle.
int joinMediaUnderLimit(ConfStateMachine* machine, AvState waiting);

// CANCEL or ERROR from the server while the media join runs: the engine
// leaves and the machine goes back to idle; a CANCEL is told to the
// application. `state` names the state in the log line.
int leaveJoinOnServerSignal(ConfStateMachine* machine, const char* state, const std::string& startline);
