// The library against the simulated servers and engine, through the exported
// interface only: both call directions and the ways a call ends or fails.
// Each test needs a process of its own (one library instance per process);
// ctest runs them so.
#include <gtest/gtest.h>
#include <orvane/orvane.h>

#include <nlohmann/json.hpp>

#include "app_listener.h"
#include "public_client.h"
#include "loopback_transport.h"
#include "sim_engine.h"
#include "sim_servers.h"
#include "ui_thread.h"

using namespace orvtest;
using json = nlohmann::json;

namespace {

struct World : PublicClient<orvsim::LoopbackTransport> {
    World() : servers(trans) {
        servers.addConference({"conf-8001", "8001", "99001", "Weekly", "", false, ""});
        servers.addConference({"conf-8002", "8002", "LOBBY-99002", "Town hall", "", false, ""});
        start();
        servers.attach();
        EXPECT_TRUE(until("confsdknotify_callsignal_ok"));
        settle();
    }
    bool until(const std::string& type) { return ui.until(type); }
    // Lets the wire, the engine and the UI thread come to rest.
    void settle() {
        for (int quiet = 0; quiet < 3;) {
            ui.pump();
            const bool busy = !trans.idle(std::chrono::milliseconds(0)) || !engine.idle(std::chrono::milliseconds(0));
            quiet = busy ? 0 : quiet + 1;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    void call(const json& data) { sdk->sendCommand("startconf", data.dump()); }
    bool inMeeting() { return sdk->getConfControlService().isRunning(); }
    size_t signalsFromClient(const std::string& command) { return servers.signals(command).size(); }

    orvsim::SimServers servers;
};

#define FRESH_PROCESS() \
    ASSERT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr) << "each test needs a process of its own"

}  // namespace

TEST(WithSimServers, OutgoingCallEndedByTheServer) {
    FRESH_PROCESS();
    World w;
    w.call({{"conferenceDialNumber", "8001"}});
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallConnected"));
    w.settle();
    EXPECT_TRUE(w.inMeeting());
    EXPECT_EQ(w.servers.callState(), "in-call");
    EXPECT_EQ(w.engine.meetingNumber(), "99001");
    EXPECT_EQ(w.servers.signals("ACK").back()["signalBody"]["externalGuid"], w.engine.myUserId());

    w.servers.endCall("CONF_END_BY_HOST");
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallEnd"));
    w.settle();
    EXPECT_FALSE(w.inMeeting());
    EXPECT_EQ(w.signalsFromClient("BYE"), 0u);  // the server's BYE gets none back
    ASSERT_EQ(w.app.count("confsdknotify_event_reason"), 1u);
    EXPECT_EQ(json::parse(w.app.ofType("confsdknotify_event_reason")[0].data)["reason"], "CONF_END_BY_HOST");
}

TEST(WithSimServers, UserLeaveSendsBye) {
    FRESH_PROCESS();
    World w;
    w.call({{"conferenceDialNumber", "8001"}});
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallConnected"));
    w.sdk->sendCommand("leaveconf", "");
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallEnd"));
    w.settle();
    EXPECT_EQ(w.signalsFromClient("BYE"), 1u);
    EXPECT_EQ(w.servers.callState(), "ended");
    EXPECT_EQ(w.app.count("confsdknotify_event_reason"), 0u);
}

TEST(WithSimServers, IncomingCallAnsweredAndCancelledWhileRinging) {
    FRESH_PROCESS();
    World w;
    w.servers.incomingCall("8001");
    ASSERT_TRUE(w.until("0/confmanager_event"));
    const json shown = json::parse(w.app.ofType("0/confmanager_event")[0].data)[0];
    EXPECT_EQ(shown["event"], "confsdknotify_recv_invite");
    w.call(shown);
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallConnected"));
    w.settle();
    EXPECT_EQ(w.servers.callState(), "in-call");  // ACCEPTED, then the server's ACK
    EXPECT_TRUE(w.inMeeting());
    EXPECT_EQ(w.servers.signals("ACCEPTED").back()["signalBody"]["externalGuid"], w.engine.myUserId());
    w.servers.endCall();
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallEnd"));
    w.settle();

    // The next one is cancelled while it rings.
    w.app.clear();
    w.ui.ran = 0;
    w.servers.incomingCall("8001");
    ASSERT_TRUE(w.until("0/confmanager_event"));
    w.servers.cancelCall();
    ASSERT_TRUE(w.until("confsdknotify_canceled"));
    w.settle();
    const json error = w.servers.signals("ERROR").back();
    EXPECT_EQ(error["startLine"]["statusCode"]["code"], 487);
    EXPECT_FALSE(w.inMeeting());
    EXPECT_FALSE(w.engine.inMeeting());
}

TEST(WithSimServers, TheLobbyAndAMoveOutOfIt) {
    FRESH_PROCESS();
    World w;
    w.call({{"conferenceDialNumber", "8002"}});
    w.settle();
    EXPECT_TRUE(w.inMeeting());
    EXPECT_FALSE(w.engine.inMeeting());
    EXPECT_EQ(w.servers.signals("ACK").back()["signalBody"]["externalGuid"], "-3");
    w.servers.moveCall("99022");
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallConnected"));
    w.settle();
    EXPECT_EQ(w.engine.meetingNumber(), "99022");
    EXPECT_EQ(w.servers.signals("OK").back()["signalBody"]["externalGuid"], w.engine.myUserId());
}

// Through the exported interface: a second start during a meeting is told
// to an application that asked, and the servers and the engine turn down
// orders that cannot be, saying why.
TEST(WithSimServers, RefusalsAreToldNotActedOn) {
    FRESH_PROCESS();
    World w;
    std::vector<std::string> serverLog;
    w.servers.setLog([&](const std::string& line) { serverLog.push_back(line); });
    w.sdk->setRefusalNotify(true);

    // Idle: the engine does not lock a meeting it is not in; the conference
    // manager does not end a conference that is not under way.
    EXPECT_EQ(w.engine.lockMeeting(true), orvsim::SimEngine::kNoMeeting);
    EXPECT_FALSE(w.engine.locked());
    w.sdk->sendCommand("confControlterminate", R"({"confid":"conf-8001"})");
    ASSERT_TRUE(w.until("confControlterminate"));
    EXPECT_EQ(json::parse(w.app.ofType("confControlterminate")[0].data)["result"]["data"]["type"],
              "CONFERENCE_NOT_ONGOING");
    EXPECT_EQ(w.servers.endCall(), "there is no call");

    w.call({{"conferenceDialNumber", "8001"}});
    ASSERT_TRUE(w.until("MeetingServiceEvent/onCallConnected"));
    w.settle();
    w.call({{"conferenceDialNumber", "8002"}});
    ASSERT_EQ(w.app.count("confsdknotify_command_refused"), 1u);
    EXPECT_EQ(json::parse(w.app.ofType("confsdknotify_command_refused")[0].data),
              (json{{"command", "startconf"}, {"reason", "wrong_state"}}));
    EXPECT_EQ(w.servers.callState(), "in-call");

    // In the meeting: nobody called dev-nobody is there to disconnect.
    w.sdk->sendCommand("confControldisconnectparticipant", R"({"confid":"conf-8001","externalDeviceId":"dev-nobody"})");
    ASSERT_TRUE(w.until("confControldisconnectparticipant"));
    EXPECT_EQ(json::parse(w.app.ofType("confControldisconnectparticipant")[0].data)["result"]["data"]["type"],
              "ENDPOINT_NOT_EXIST");
    EXPECT_EQ(w.servers.participantLeaves("dev-nobody"), "dev-nobody is not in the conference");
    EXPECT_EQ(w.engine.lockMeeting(true), 0);
    ASSERT_EQ(serverLog.size(), 4u);
    EXPECT_EQ(serverLog[0], "refused confControlterminate: conference conf-8001 is not under way");
    EXPECT_EQ(serverLog[3], "refused leave of dev-nobody: dev-nobody is not in the conference");
}

// A passcode that is wrong is answered as wrong, not as missing.
TEST(WithSimServers, WrongPasscodeIsNotAMissingOne) {
    FRESH_PROCESS();
    World w;
    w.servers.addConference({"conf-8003", "8003", "99003", "Board", "1234", false, ""});
    w.call({{"conferenceDialNumber", "8003"}, {"passcode", "9999"}});
    ASSERT_TRUE(w.until("confsdknotify_exception_in_meeting"));
    EXPECT_EQ(json::parse(w.app.ofType("confsdknotify_exception_in_meeting")[0].data)["type"],
              "CONFERENCE_JOIN_FAIL_INVALID_PASSCODE");
    EXPECT_EQ(w.app.count("confsdknotify_need_passcode"), 0u);

    w.call({{"conferenceDialNumber", "8003"}});
    ASSERT_TRUE(w.until("confsdknotify_need_passcode"));
    EXPECT_EQ(json::parse(w.app.ofType("confsdknotify_exception_in_meeting")[1].data)["type"],
              "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE");
}
