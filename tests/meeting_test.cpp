// The running meeting: its three ends, the server's moves, the answers to a
// re-registration, the one report of why it ended, and the engine's call
// events around it.
#include <gtest/gtest.h>

#include "call_fixture.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;
using namespace std::chrono_literals;

namespace {
struct Meeting : ::testing::Test, CallFixture {
    Meeting() {
        startAndAccept("99001", "conf-1");
        connected("16778240");
        h.trans.clear();
        h.app.clear();
        h.engine.clearCalls();
    }
    std::vector<std::string> reasons() {
        std::vector<std::string> out;
        for (const auto& e : h.app.ofType("confsdknotify_event_reason"))
            out.push_back(json::parse(e.data)["reason"]);
        return out;
    }
};
}  // namespace

TEST_F(Meeting, ServerByeLeavesOrEndsByRole) {
    serverSends(byeFor("conf-1", "CONF_END_BY_ADMIN"));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_EQ(h.engine.count("endMeeting"), 0u);
    EXPECT_TRUE(signalsSent().empty());  // no BYE back
    ASSERT_EQ(h.app.count("confsdknotify_event_reason"), 1u);
    EXPECT_EQ(h.app.ofType("confsdknotify_event_reason")[0].data,
              R"({"errMsg":"msg:CONF_END_BY_ADMIN","event":"LEAVE_CONF","reason":"CONF_END_BY_ADMIN"})");
    // The record stays until the engine's end.
    EXPECT_EQ(h.sdk->_conf.confid, "conf-1");
    engineSays("onCallEnd", {{"result", 0}});
    EXPECT_EQ(h.sdk->_conf.confid, "");
    EXPECT_TRUE(signalsSent().empty());  // idle: no second BYE

    CallFixture host;
    host.startAndAccept("99001", "conf-1");
    host.connected("16778240", true);
    host.h.engine.setBool("isHostUser", true);
    host.serverSends(host.byeFor("conf-1"));
    EXPECT_EQ(host.h.engine.count("endMeeting"), 1u);
    EXPECT_EQ(host.h.engine.count("leave"), 0u);
}

TEST_F(Meeting, AnotherConferencesByeIsIgnored) {
    serverSends(byeFor("conf-other"));
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_TRUE(h.logs.has("Warning, confid is NOT match, do nothing. confid in recv callsignal=conf-other, cur "
                           "confid=conf-1"));
    json error = serverSignal("ERROR", "ACK", {{"conferenceId", "conf-1"},
                                               {"signalMessage", {{"messageCode", "MEDIA_LOST"}}}});
    error["startLine"]["statusCode"] = {{"code", 500}, {"message", "m"}};
    serverSends(error);
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(reasons(), (std::vector<std::string>{"MEDIA_LOST"}));
}

TEST_F(Meeting, ABadByeKeepsTheMeeting) {
    serverSends(serverSignal("BYE", "BYE", {{"conferenceId", "conf-1"}}));
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:ConfStateInMeeting::on_recv_callsignal"));
}

TEST_F(Meeting, UserLeaveSendsByeAndNoReason) {
    h.sdk->sendCommand("leaveconf", "");
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    ASSERT_EQ(signalsSent(), (std::vector<std::string>{"BYE"}));
    EXPECT_EQ(lastSignal()["signalHeader"]["to"]["dialNumber"], "8001");
    EXPECT_EQ(lastSignal()["signalHeader"]["contact"], json({{"route", "cm-1"}}));
    engineSays("onEndReason", {{"reason", "EndMeetingReason_KickByHost"}});
    engineSays("onCallEnd", {{"result", 0}});
    // After the reset the flag is gone: a reason that still comes is reported.
    EXPECT_EQ(reasons(), (std::vector<std::string>{"EndMeetingReason_KickByHost"}));
    EXPECT_EQ(signalsSent(), (std::vector<std::string>{"BYE"}));
}

TEST_F(Meeting, EngineEndSendsBye) {
    engineSays("onEndReason", {{"reason", "EndMeetingReason_NetworkBroken"}});
    engineSays("onCallEnd", {{"result", 0}});
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(signalsSent(), (std::vector<std::string>{"BYE"}));
    EXPECT_EQ(h.app.ofType("confsdknotify_event_reason")[0].data,
              R"({"errMsg":"msg:EndMeetingReason_NetworkBroken","event":"LEAVE_CONF",)"
              R"("reason":"EndMeetingReason_NetworkBroken"})");
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onEndReason"), 0u);
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onCallEnd"), 1u);
}

TEST_F(Meeting, EndReasonRaces) {
    // The engine's reason, then the server's BYE: the engine's only.
    engineSays("onEndReason", {{"reason", "EndMeetingReason_NetworkBroken"}});
    serverSends(byeFor("conf-1", "CONF_END"));
    EXPECT_EQ(reasons(), (std::vector<std::string>{"EndMeetingReason_NetworkBroken"}));

    // BYE, then the engine's reason: the server's only.
    CallFixture f;
    f.startAndAccept("99001", "conf-1");
    f.connected("1");
    f.serverSends(f.byeFor("conf-1", "CONF_END"));
    f.engineSays("onEndReason", {{"reason", "EndMeetingReason_KickByHost"}});
    std::vector<std::string> got;
    for (const auto& e : f.h.app.ofType("confsdknotify_event_reason")) got.push_back(json::parse(e.data)["reason"]);
    EXPECT_EQ(got, (std::vector<std::string>{"CONF_END"}));

    // "endconf", then the engine's reason: nothing.
    CallFixture g;
    g.startAndAccept("99001", "conf-1");
    g.connected("1");
    g.h.sdk->sendCommand("endconf", "");
    EXPECT_EQ(g.h.engine.count("endMeeting"), 1u);
    g.engineSays("onEndReason", {{"reason", "EndMeetingReason_KickByHost"}});
    EXPECT_EQ(g.h.app.count("confsdknotify_event_reason"), 0u);
}

TEST_F(Meeting, EngineReasonTable) {
    struct Row {
        const char* reason;
        const char* textId;  // null: no report
    };
    const Row rows[] = {
        {"EndMeetingReason_KickByHost", "HOST_DISCONNECT"},
        {"EndMeetingReason_JBHTimeOut", "EndMeetingReason_JBHTimeOut"},
        {"EndMeetingReason_NoAttendee", "EndMeetingReason_NoAttendee"},
        {"EndMeetingReason_FreeMeetingTimeOut", "EndMeetingReason_FreeMeetingTimeOut"},
        {"EndMeetingReason_NetworkBroken", "EndMeetingReason_NetworkBroken"},
        {"EndMeetingReason_None", nullptr},
        {"EndMeetingReason_SomethingNew", nullptr},
    };
    for (const auto& row : rows) {
        CallFixture f;
        f.engineSays("onEndReason", {{"reason", row.reason}});
        auto notes = f.h.app.ofType("confsdknotify_event_reason");
        if (!row.textId) {
            EXPECT_TRUE(notes.empty()) << row.reason;
            EXPECT_EQ(f.h.logs.has(std::string("  av_reason=") + row.reason + ", wait BYE"),
                      std::string(row.reason) != "EndMeetingReason_None");
            continue;
        }
        ASSERT_EQ(notes.size(), 1u) << row.reason;
        EXPECT_EQ(json::parse(notes[0].data)["errMsg"], std::string("msg:") + row.textId);
        f.engineSays("onEndReason", {{"reason", row.reason}});
        EXPECT_EQ(f.h.app.count("confsdknotify_event_reason"), 1u) << "once per meeting";
    }
}

TEST_F(Meeting, UpdateMovesTheMediaMeeting) {
    serverSends(serverSignal("UPDATE", "UPDATE", {{"externalDialNumber", "99002"}}));
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    ASSERT_EQ(h.engine.count("join"), 1u);
    EXPECT_EQ(h.engine.callsOf("join")[0].args, (std::vector<std::string>{"99002", "4711", "Ann"}));
    EXPECT_EQ(h.engine.count("leave"), 0u);
    connected("16778300");
    EXPECT_EQ(lastSignal()["startLine"]["command"], "UPDATE");
    EXPECT_EQ(lastSignal()["signalBody"]["externalGuid"], "16778300");

    // An empty number is stored and joins nothing.
    h.engine.clearCalls();
    serverSends(serverSignal("UPDATE", "UPDATE", {{"externalDialNumber", ""}}));
    EXPECT_EQ(h.sdk->_conf.ext_dialnum, "");
    EXPECT_EQ(h.engine.count("join"), 0u);
}

TEST_F(Meeting, ReRegistrationAnswers) {
    serverSends(serverSignal("OK", "REGISTER", json::object()));
    json e400 = serverSignal("ERROR", "REGISTER", json::object());
    e400["startLine"]["statusCode"] = {{"code", 400}, {"message", "m"}};
    serverSends(e400);
    json e500 = e400;
    e500["startLine"]["statusCode"]["code"] = 500;
    serverSends(e500);
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 2u);
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    // INVITE has no place in a meeting.
    serverSends(serverSignal("INVITE", "INVITE", {{"externalDialNumber", "1"}}));
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
}

TEST_F(Meeting, EngineFailureInTheMeeting) {
    engineSays("onCallFailed", {{"reason", "MEETING_FAIL_NETWORK_ERR"}});
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"],
              json({{"code", 503}, {"message", "ConfStateInMeeting::on_avsdk_call_failed"}}));
    EXPECT_EQ(h.app.ofType("confsdknotify_internal_exception_in_meeting")[0].data,
              R"({"errMsg":"msg:CONFSDK_JOIN_FAIL_NETWORK_ERR","reason":[],"result":0,)"
              R"("type":"CONFSDK_JOIN_FAIL_NETWORK_ERR"})");
    // A failure leaves the record until the engine's end.
    EXPECT_EQ(h.sdk->_conf.confid, "conf-1");
}

TEST_F(Meeting, ReconnectingChangesNothing) {
    engineSays("onCallReconnecting", nullptr);
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onCallReconnecting"), 1u);
}

// The engine's call events, by themselves.
TEST(CallLifecycle, ConnectionTellsTheServerWhatItNeeds) {
    CallFixture f;
    {
        CallLock lock(f.h.sdk->callMutex());
        f.h.sdk->_conf.confid = "conf-9";
    }
    f.connected("16778240", true);
    std::vector<std::string> ids;
    for (const auto& w : f.h.trans.sent()) ids.push_back(json::parse(w)["id"]);
    EXPECT_EQ(ids, (std::vector<std::string>{"confControlendpoints", "turnascontroller"}));
    EXPECT_EQ(f.h.sdk->_conf.engine_userid, "16778240");

    // Own meeting window: no endpoint list; not host: no controller.
    CallFixture g;
    g.h.sdk->setMediaServiceUIType("CUSTOMIZE");
    {
        CallLock lock(g.h.sdk->callMutex());
        g.h.sdk->_conf.confid = "conf-9";
    }
    g.connected("1", false);
    EXPECT_TRUE(g.h.trans.sent().empty());

    // No conference id: nothing to the server, the machine still hears it.
    CallFixture k;
    k.connected("1", true);
    EXPECT_TRUE(k.h.trans.sent().empty());
    EXPECT_TRUE(k.h.logs.has("ConfStateMachine: state=AVSTATE_IDLE, on_avsdk_join_ok enter"));
}

TEST(CallLifecycle, WaitingStatuses) {
    CallFixture f;
    {
        CallLock lock(f.h.sdk->callMutex());
        f.h.sdk->_conf.confid = "conf-9";
    }
    f.engineSays("onCallStatusChanged", {{"status", "MEETING_STATUS_CONNECTING"}});
    EXPECT_TRUE(f.h.trans.sent().empty());
    EXPECT_EQ(f.h.app.count("MeetingServiceEvent/onCallStatusChanged"), 0u);
    f.engineSays("onCallStatusChanged", {{"status", "MEETING_STATUS_WAITINGFORHOST"}});
    EXPECT_EQ(f.h.sdk->_conf.engine_userid, "-1");
    f.engineSays("onCallStatusChanged", {{"status", "MEETING_STATUS_IN_WAITING_ROOM"}});
    EXPECT_EQ(f.h.sdk->_conf.engine_userid, "-2");
    std::vector<std::string> ids;
    for (const auto& w : f.h.trans.sent()) ids.push_back(json::parse(w)["id"]);
    EXPECT_EQ(ids, (std::vector<std::string>{"confControlendpoints", "confControlendpoints"}));
    EXPECT_EQ(f.h.app.count("MeetingServiceEvent/onCallStatusChanged"), 0u);
}

TEST(CallLifecycle, FailureReasonsAndThePasswordPath) {
    CallFixture f;
    for (const char* reason : {"MEETING_FAIL_CONFLOCKED", "MEETING_FAIL_INVALID_STATUS", "SOMETHING_ELSE"})
        f.engineSays("onCallFailed", {{"reason", reason}});
    std::vector<std::string> codes;
    for (const auto& e : f.h.app.ofType("confsdknotify_internal_exception_in_meeting"))
        codes.push_back(json::parse(e.data)["type"]);
    EXPECT_EQ(codes, (std::vector<std::string>{"CONFSDK_JOIN_FAIL_LOCKED_STATUS", "CONFSDK_JOIN_FAIL_INVALID_STATUS",
                                               "CONFSDK_JOIN_MEETING_FAILED"}));
    EXPECT_EQ(f.h.app.count("MeetingServiceEvent/onCallFailed"), 3u);

    // The engine's own window asks for the passcode: the application hears nothing.
    CallFixture g;
    g.startAndAccept("99001", "conf-1");
    g.engineSays("onCallFailed", {{"reason", "MEETING_FAIL_PASSWORD_ERR"}});
    EXPECT_EQ(g.h.engine.count("leave"), 1u);
    EXPECT_EQ(g.h.app.count("confsdknotify_exception_in_meeting"), 0u);
    EXPECT_EQ(g.h.app.count("confsdknotify_internal_exception_in_meeting"), 0u);
    EXPECT_EQ(g.h.state(), AVSTATE_IDLE);

    // An application with its own window gets it, with the conference.
    CallFixture k;
    k.h.sdk->setMediaServiceUIType("CUSTOMIZE");
    k.startAndAccept("99001", "conf-1");
    k.engineSays("onCallFailed", {{"reason", "MEETING_FAIL_NEED_INPUT_PASSWORD"}, {"result", 7}});
    ASSERT_EQ(k.h.app.count("confsdknotify_exception_in_meeting"), 1u);
    EXPECT_EQ(k.h.app.ofType("confsdknotify_exception_in_meeting")[0].data,
              R"({"confid":"conf-1","errMsg":"msg:CONFERENCE_JOIN_FAIL_MISSING_PASSCODE","reason":[],"result":7,)"
              R"("type":"CONFERENCE_JOIN_FAIL_MISSING_PASSCODE"})");

    // Without a reason nothing moves.
    CallFixture m;
    m.engineSays("onCallFailed", {{"result", 1}});
    EXPECT_TRUE(m.h.logs.has("json ERROR! confsdk:OrvaneSDKPrivate::avfilter_onCallFailed"));
    EXPECT_EQ(m.h.app.count("MeetingServiceEvent/onCallFailed"), 0u);
}

TEST(CallLifecycle, ButtonsOfTheEnginesWindow) {
    CallFixture f;
    {
        CallLock lock(f.h.sdk->callMutex());
        f.h.sdk->_conf.confid = "conf-9";
    }
    f.engineSays("onEndMeetingBtnClicked", {{"userrole", "host"}, {"extra", 1}});
    ASSERT_EQ(f.h.app.count("MeetingServiceEvent/onEndMeetingBtnClicked"), 1u);
    EXPECT_EQ(f.h.app.ofType("MeetingServiceEvent/onEndMeetingBtnClicked")[0].data,
              R"({"confId":"conf-9","userrole":"host"})");

    f.engineSays("onInviteBtnClicked", {{"onInviteBtnClicked", true}});
    f.h.engine.emit("MeetingServiceEvent", "onInviteBtnClicked", "not json");
    EXPECT_EQ(f.h.app.count("MeetingServiceEvent/onInviteBtnClicked"), 2u);
    f.engineSays("onInviteBtnClicked", {{"onInviteBtnClicked", false}});
    EXPECT_EQ(f.h.app.count("MeetingServiceEvent/onInviteBtnClicked"), 2u);
    EXPECT_EQ(f.h.app.ofType("confsdknotify_internal_exception_in_meeting")[0].data,
              R"({"errMsg":"msg:CONFSDK_NO_INVITATION_INFORMATION","reason":[],"result":"",)"
              R"("type":"CONFSDK_NO_INVITATION_INFORMATION"})");
}

TEST(CallLifecycle, HostInMeetingAsksTheEngine) {
    CallFixture f;
    AvUserInfo host;
    host.isHost = true;
    f.h.engine.setUsers({{"2", AvUserInfo{}}, {"3", host}});
    EXPECT_TRUE(f.h.sdk->isHostInMeeting());
    f.h.engine.setUsers({{"2", AvUserInfo{}}});
    EXPECT_FALSE(f.h.sdk->isHostInMeeting());
}
