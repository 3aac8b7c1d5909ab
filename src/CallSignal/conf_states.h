#pragma once

#include "conf_state.h"

#include <functional>

// Before the device is registered with the call server.
class ConfStateInit : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int send_register() override;
};

// REGISTER sent, waiting for the call server's answer.
class ConfStateWaitRegOK : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
};

// Registered, no call.
class ConfStateIdle : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int start_conf(const std::function<void()>& accept) override;
    int leave_conf() override;
};

// INVITE sent, waiting for ACCEPTED or ERROR.
class ConfStateActive_WaitInviteResult : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int leave_conf() override;
};

// Waiting for the media join, in either direction. The server's CANCEL or
// ERROR, the engine's failure or end and the user's leave are met alike;
// the directions differ in what the join's success sends.
class ConfStateWaitAvUserid : public ConfStateBase {
public:
    // `name` is the state's class name in log lines and signal texts.
    ConfStateWaitAvUserid(ConfStateMachine* m, ExpectedMessages expected, const char* name)
        : ConfStateBase(m, std::move(expected)), name_(name) {}
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_avsdk_call_failed() override;
    int on_avsdk_call_end() override;
    int leave_conf() override;

protected:
    // After the user's leave: what ends the call on the server.
    virtual void endOnServerAfterLeave() = 0;

private:
    // The engine failed or ended the call before the join was done.
    int endOnEngine(const char* event);
    const char* const name_;
};

// Accepted by the server, waiting for the media join of an outgoing call.
struct ConfStateActive_WaitAvUserid final : ConfStateWaitAvUserid {
    using ConfStateWaitAvUserid::ConfStateWaitAvUserid;
    int on_avsdk_join_ok() override;
    void endOnServerAfterLeave() override;
};

// Taken by the user, waiting for the media join of an incoming call.
struct ConfStatePassive_WaitAvUserid final : ConfStateWaitAvUserid {
    using ConfStateWaitAvUserid::ConfStateWaitAvUserid;
    int on_avsdk_join_ok() override;
    void endOnServerAfterLeave() override;
};

// An INVITE came in, waiting for its conference information.
class ConfStatePassive_WaitConfInfo : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_recv_confinfo(const std::string& data) override;
    int leave_conf() override;
};

// Waiting for the user to take or decline the incoming call.
class ConfStatePassive_WaitUserConfirm : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int start_conf(const std::function<void()>& accept) override;
    int reject_conf() override;
    int leave_conf() override;
};

// In the meeting, or in the lobby waiting for one.
class ConfStateInMeeting : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int on_avsdk_join_ok() override;
    int on_avsdk_call_failed() override;
    int on_avsdk_call_reconnecting() override;
    int on_avsdk_call_end() override;
    int leave_conf() override;
};

// ACCEPTED sent for an incoming call, waiting for ACK.
class ConfStatePassive_WaitAck : public ConfStateBase {
public:
    using ConfStateBase::ConfStateBase;
    int on_recv_callsignal(const std::string& startline, const std::string& cseq, nlohmann::json& msg) override;
    int leave_conf() override;
};

// Whether the server's media meeting number is the lobby's: there is nothing
// to join yet.
bool isLobbyNumber(const std::string& number);

// What a client in the lobby does when the user closes the lobby window:
// end the call as if the engine had ended it, then say BYE.
std::function<void()> lobbyCloseAction(OrvaneSDKPrivate& core);

// The lobby path of either direction: the call stands in the meeting under
// the lobby's pseudo id, `answer` tells the server so, and the lobby window
// opens.
int enterLobby(ConfStateMachine* machine, const std::function<void()>& answer);

// The media join of either direction, from the state `waiting` that has just
// been written: arms its 55-second limit, then joins. A join the engine
// refuses is answered with ERROR 603 and the machine goes back to idle.
int joinMediaUnderLimit(ConfStateMachine* machine, AvState waiting);

// CANCEL from the server while an incoming call rings: ERROR 487 with
// `message`, and the application is told.
int cancelRinging(ConfStateMachine* machine, const char* message);

// OK to REGISTER, or ERROR 400 to it, tells the application that the call
// server has the device. `state` names the handler in a JSON error line.
int answerToRegister(ConfStateMachine* machine, const char* state, const std::string& startline,
                     const nlohmann::json& msg);
