// Calls end to end through the exported interface, on the simulated media
// engine, with the test playing the call server message by message. Each
// test needs a process of its own; ctest runs them so.
#include <gtest/gtest.h>
#include <orvane/orvane.h>

#include "app_listener.h"
#include "fake_transport.h"
#include "public_client.h"
#include "server_events.h"
#include "sim_engine.h"
#include "ui_thread.h"

using namespace orvtest;

namespace {

json signalIn(const std::string& wire) { return json::parse(wire)["params"][0]["payload"]; }

// Registered with the test playing the call server message by message.
struct Client : PublicClient<FakeTransport> {
    Client() {
        start();
        ui.until("AuthServiceEvent/onSdkReady");
        deliverEvent(trans, "devicemgr_event", deviceRegister("QV"));
        ui.pump();
        json ok = signalIn(trans.last());
        ok["startLine"]["command"] = "OK";
        deliverEvent(trans, "callmaster_event", ok);
        ui.pump();
        trans.clear();
        app.clear();
        ui.ran = 0;  // counts against the notifications the application still has
    }
};

}  // namespace

TEST(EndToEndCall, ActiveJoinAndLeave) {
    ASSERT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr) << "each test needs a process of its own";
    Client c;
    c.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001","passcode":"4711","dispname":"Ann"})");

    // INVITE, exactly.
    const json inviteWire = json::parse(c.trans.last());
    const std::string callId = inviteWire["params"][0]["payload"]["signalHeader"]["callId"];
    EXPECT_EQ(c.trans.last(),
              R"({"id":"INVITE_MQ_CALLMASTER","method":"quelmar","msg":"method","params":[{"id":"INVITE_MQ_CALLMASTER",)"
              R"("payload":{"signalBody":{"deviceName":"Ann","force":false,"joinPassword":"4711"},)"
              R"("signalHeader":{"callId":")" +
                  callId +
                  R"(","cseq":"123456789 INVITE","from":{"dialNumber":"1001"},"to":{"dialNumber":"8001"}},)"
                  R"("startLine":{"command":"INVITE"}},"type":"MQ_CALLMASTER"}]})");

    // The server accepts into media meeting 99001.
    json accepted = signalIn(c.trans.last());
    accepted["startLine"]["command"] = "ACCEPTED";
    accepted["signalHeader"]["contact"] = {{"route", "cm-7"}};
    accepted["signalBody"] = {{"externalDialNumber", "99001"}, {"conferenceId", "conf-42"}};
    c.trans.clear();
    deliverEvent(c.trans, "callmaster_event", accepted);
    ASSERT_TRUE(c.ui.until("MeetingServiceEvent/onCallConnected"));
    EXPECT_EQ(c.engine.meetingNumber(), "99001");
    const std::string guid = c.engine.myUserId();
    ASSERT_FALSE(guid.empty());

    // ACK, exactly: the ACCEPTED sent back with the engine's id.
    EXPECT_EQ(c.trans.sent().at(0),
              R"({"id":"ACK_MQ_CALLMASTER","method":"quelmar","msg":"method","params":[{"id":"ACK_MQ_CALLMASTER",)"
              R"("payload":{"signalBody":{"conferenceId":"conf-42","externalDialNumber":"99001","externalGuid":")" +
                  guid +
                  R"("},"signalHeader":{"callId":")" + callId +
                  R"(","contact":{"route":"cm-7"},"cseq":"123456789 ACK","from":{"dialNumber":"1001"},)"
                  R"("to":{"dialNumber":"8001"}},"startLine":{"command":"ACK"}},"type":"MQ_CALLMASTER"}]})");
    EXPECT_TRUE(c.sdk->getConfControlService().isRunning());

    // The user leaves: BYE, the engine leaves and reports the end.
    c.trans.clear();
    c.sdk->sendCommand("leaveconf", "");
    ASSERT_TRUE(c.ui.until("MeetingServiceEvent/onCallEnd"));
    EXPECT_EQ(signalIn(c.trans.sent().at(0))["startLine"]["command"], "BYE");
    EXPECT_EQ(signalIn(c.trans.sent().at(0))["signalHeader"]["contact"], json({{"route", "cm-7"}}));
    EXPECT_FALSE(c.sdk->getConfControlService().isRunning());
    EXPECT_FALSE(c.engine.inMeeting());
    EXPECT_EQ(c.app.count("confsdknotify_event_reason"), 0u);
}

TEST(EndToEndCall, TheEngineFailsTheJoin) {
    ASSERT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr) << "each test needs a process of its own";
    Client c;
    orvsim::SimEngine::JoinPlan plan;
    plan.failReason = "MEETING_FAIL_MEETING_NOT_EXIST";
    c.engine.planNextJoin(plan);
    c.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
    json accepted = signalIn(c.trans.last());
    accepted["startLine"]["command"] = "ACCEPTED";
    accepted["signalBody"] = {{"externalDialNumber", "99001"}, {"conferenceId", "conf-42"}};
    deliverEvent(c.trans, "callmaster_event", accepted);
    ASSERT_TRUE(c.ui.until("MeetingServiceEvent/onCallFailed"));
    auto notes = c.app.ofType("confsdknotify_internal_exception_in_meeting");
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(json::parse(notes[0].data)["type"], "CONFSDK_JOIN_FAIL_MEETING_NOT_EXIST");
    EXPECT_EQ(signalIn(c.trans.last())["startLine"]["statusCode"]["code"], 503);
    EXPECT_FALSE(c.sdk->getConfControlService().isRunning());
}

TEST(EndToEndCall, IncomingCallTakenAndEndedByTheServer) {
    ASSERT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr) << "each test needs a process of its own";
    Client c;
    // The server calls: INVITE in idle.
    const std::string serverCallId = "5e7e0000-1111-4222-8333-444455556666";
    json invite = callSignal("INVITE", "INVITE", serverCallId, {{"conferenceId", "conf-7"},
                                                                {"externalDialNumber", "99007"}});
    invite["signalHeader"]["from"]["dialNumber"] = "8007";
    deliverEvent(c.trans, "callmaster_event", invite);

    // The conference query on the wire, and its reply.
    EXPECT_EQ(c.trans.last(),
              R"({"id":"confinfo_by_dialnum","method":"quelmar","msg":"method","params":[{"payload":"null",)"
              R"("type":"get","url":"/api/quelmar/confmgr/2.0/conference/dialnumber/8007"}]})");
    c.trans.deliver(R"({"msg":"result","id":"confinfo_by_dialnum","data":{"conferenceId":"conf-7",)"
                    R"("conferenceDialNumber":"8007","subject":"Weekly"}})");

    // The application is asked, and takes the call with what it was shown.
    auto asks = c.app.ofType("0/confmanager_event");
    ASSERT_EQ(asks.size(), 1u);
    const json shown = json::parse(asks[0].data)[0];
    EXPECT_EQ(shown["event"], "confsdknotify_recv_invite");
    EXPECT_EQ(shown["subject"], "Weekly");
    EXPECT_EQ(shown["dispname"], "Room A");
    c.trans.clear();
    c.sdk->sendCommand("startconf", shown.dump());

    // The engine joins; ACCEPTED carries the server's call id and the engine's id.
    ASSERT_TRUE(c.ui.until("MeetingServiceEvent/onCallConnected"));
    EXPECT_EQ(c.engine.meetingNumber(), "99007");
    const json accepted = signalIn(c.trans.sent().at(0));
    EXPECT_EQ(accepted["startLine"]["command"], "ACCEPTED");
    EXPECT_EQ(accepted["signalHeader"]["callId"], serverCallId);
    EXPECT_EQ(accepted["signalBody"]["externalGuid"], c.engine.myUserId());

    // ACK: in the meeting.
    json ack = accepted;
    ack["startLine"]["command"] = "ACK";
    ack["signalHeader"]["cseq"] = "123456789 ACK";
    deliverEvent(c.trans, "callmaster_event", ack);
    EXPECT_TRUE(c.logs.has("new state=AVSTATE_IN_MEETING"));
    EXPECT_TRUE(c.sdk->getConfControlService().isRunning());

    // The server ends it: the engine leaves, the application hears why.
    json bye = callSignal("BYE", "BYE", serverCallId, {{"conferenceId", "conf-7"},
                                                      {"signalMessage", {{"messageCode", "CONF_END_BY_HOST"}}}});
    deliverEvent(c.trans, "callmaster_event", bye);
    ASSERT_TRUE(c.ui.until("MeetingServiceEvent/onCallEnd"));
    ASSERT_EQ(c.app.count("confsdknotify_event_reason"), 1u);
    EXPECT_EQ(json::parse(c.app.ofType("confsdknotify_event_reason")[0].data)["reason"], "CONF_END_BY_HOST");
    EXPECT_FALSE(c.sdk->getConfControlService().isRunning());
    EXPECT_FALSE(c.engine.inMeeting());
}

TEST(EndToEndCall, IncomingCallRejected) {
    ASSERT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr) << "each test needs a process of its own";
    Client c;
    json invite = callSignal("INVITE", "INVITE", "srv-1", {{"externalDialNumber", "99007"}});
    deliverEvent(c.trans, "callmaster_event", invite);
    c.trans.deliver(R"({"msg":"result","id":"confinfo_by_dialnum","data":{}})");
    ASSERT_EQ(c.app.count("0/confmanager_event"), 1u);
    c.sdk->sendCommand("rejectconf", "");
    const json declined = signalIn(c.trans.last());
    EXPECT_EQ(declined["startLine"]["statusCode"]["code"], 603);
    EXPECT_EQ(declined["signalHeader"]["callId"], "srv-1");
    EXPECT_FALSE(c.sdk->getConfControlService().isRunning());
    EXPECT_FALSE(c.engine.inMeeting());
}
