// An outgoing call from "startconf" to the meeting, the lobby path, and every
// way the join can fail.
#include <gtest/gtest.h>

#include "call_fixture.h"
#include "lobby/lobby_window.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;
using namespace std::chrono_literals;

namespace {
struct ActiveJoin : ::testing::Test, CallFixture {};
}  // namespace

TEST_F(ActiveJoin, AcceptedJoinsAndConnectedSendsAck) {
    startAndAccept("99001");
    EXPECT_EQ(h.state(), AVSTATE_ACTIVE_WAITING_AV_USERID);
    auto joins = h.engine.callsOf("join");
    ASSERT_EQ(joins.size(), 1u);
    EXPECT_EQ(joins[0].args, (std::vector<std::string>{"99001", "4711", "Ann"}));
    ASSERT_EQ(h.engine.count("setConfSignal"), 1u);
    EXPECT_EQ(json::parse(h.engine.callsOf("setConfSignal")[0].args[0])["startLine"]["command"], "ACCEPTED");
    EXPECT_EQ(h.sdk->timerTasks.size(), 1u);  // 15 s gone, 55 s armed

    connected("16778240");
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_EQ(h.sdk->timerTasks.size(), 0u);
    // ACK is the ACCEPTED sent back with the engine's id; then the endpoint list is asked for.
    auto sent = h.trans.sent();
    ASSERT_GE(sent.size(), 2u);
    const json ack = signalIn(sent[sent.size() - 2]);
    EXPECT_EQ(ack["startLine"]["command"], "ACK");
    EXPECT_EQ(ack["signalHeader"]["cseq"], "123456789 ACK");
    EXPECT_EQ(ack["signalHeader"]["contact"], json({{"route", "cm-1"}}));
    EXPECT_EQ(ack["signalBody"]["externalGuid"], "16778240");
    EXPECT_EQ(json::parse(sent.back())["id"], "confControlendpoints");
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onCallConnected"), 1u);
}

TEST_F(ActiveJoin, AcceptedWithoutANumberJoinsTheStartconfNumber) {
    h.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001","externalDialNumber":"55555"})");
    accept("");
    ASSERT_EQ(h.engine.count("join"), 1u);
    EXPECT_EQ(h.engine.callsOf("join")[0].args[0], "55555");
}

TEST_F(ActiveJoin, TheLobbyIsEnteredWithoutMedia) {
    startAndAccept("LOBBY-99001");
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_EQ(h.sdk->stateMachine->lobby_join, 1);
    EXPECT_EQ(h.engine.count("join"), 0u);
    EXPECT_EQ(h.engine.count("setConfSignal"), 0u);
    EXPECT_EQ(h.sdk->timerTasks.size(), 0u);
    EXPECT_EQ(lastSignal()["startLine"]["command"], "ACK");
    EXPECT_EQ(lastSignal()["signalBody"]["externalGuid"], "-3");
    EXPECT_TRUE(lobby_is_open());

    // Out of the lobby: UPDATE with the real number, join, then OK.
    serverSends(serverSignal("UPDATE", "UPDATE", {{"externalDialNumber", "99001"}}));
    EXPECT_TRUE(lobby_wait_closed(2s));
    auto joins = h.engine.callsOf("join");
    ASSERT_EQ(joins.size(), 1u);
    EXPECT_EQ(joins[0].args, (std::vector<std::string>{"99001", "4711", "Ann"}));
    connected("16778240");
    EXPECT_EQ(lastSignal()["startLine"]["command"], "OK");
    EXPECT_EQ(lastSignal()["signalBody"]["externalGuid"], "16778240");

    // A second move is answered with OK again: the call came from the lobby.
    serverSends(serverSignal("UPDATE", "UPDATE", {{"externalDialNumber", "99002"}}));
    connected("16778241");
    EXPECT_EQ(lastSignal()["startLine"]["command"], "OK");
    EXPECT_EQ(lastSignal()["signalBody"]["externalGuid"], "16778241");
}

TEST_F(ActiveJoin, LowerCaseLobbyIsAMeetingNumber) {
    startAndAccept("lobby-1");
    EXPECT_EQ(h.state(), AVSTATE_ACTIVE_WAITING_AV_USERID);
    EXPECT_EQ(h.engine.count("join"), 1u);
}

TEST_F(ActiveJoin, ClosingTheLobbyWindowEndsTheCallWithTwoByes) {
    startAndAccept("99001LOBBY");
    ASSERT_TRUE(lobby_is_open());
    h.trans.clear();
    close_lobby_window(true);  // as the user's close would
    ASSERT_TRUE(eventually([&] { return signalsSent().size() == 2; }));
    EXPECT_EQ(signalsSent(), (std::vector<std::string>{"BYE", "BYE"}));
    const auto sent = h.trans.sent();
    EXPECT_EQ(signalIn(sent[0])["signalHeader"]["to"]["dialNumber"], "8001");
    EXPECT_EQ(signalIn(sent[1])["signalHeader"]["to"]["dialNumber"], "");  // the record is gone by then
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_TRUE(lobby_wait_closed(2s));
}

TEST_F(ActiveJoin, TheWaitingRoomAcksWithMinusTwoThenUpdates) {
    startAndAccept("99001");
    engineSays("onCallStatusChanged", {{"status", "MEETING_STATUS_IN_WAITING_ROOM"}});
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    auto signals = signalsSent();
    ASSERT_EQ(signals.back(), "ACK");
    json ack;
    for (const auto& w : h.trans.sent())
        if (signalIn(w).is_object() && signalIn(w)["startLine"]["command"] == "ACK") ack = signalIn(w);
    EXPECT_EQ(ack["signalBody"]["externalGuid"], "-2");
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onCallStatusChanged"), 0u);

    connected("16778240");
    json update;
    for (const auto& w : h.trans.sent())
        if (signalIn(w).is_object() && signalIn(w)["startLine"]["command"] == "UPDATE") update = signalIn(w);
    EXPECT_EQ(update["signalBody"]["externalGuid"], "16778240");
    EXPECT_EQ(update["signalHeader"]["cseq"], "123456789 UPDATE");
    EXPECT_TRUE(update["startLine"]["statusCode"].is_null());
}

TEST_F(ActiveJoin, FiftyFiveSecondsWithoutTheEngine) {
    startAndAccept("99001");
    h.trans.clear();
    h.advance(54s);
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(h.trans.sent().empty());
    h.advance(1s);
    ASSERT_TRUE(heard("MeetingServiceEvent/onCallEnd"));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"],
              json({{"code", 503}, {"message", "No IN_MEETING status after 55s of av.join()"}}));
    EXPECT_EQ(h.app.ofType("confsdknotify_internal_exception_in_meeting")[0].data,
              R"({"errMsg":"msg:CONFSDK_TIMEOUT_ON_JOIN","reason":[],"result":999,"type":"CONFSDK_TIMEOUT_ON_JOIN"})");

    // A late connection finds the call over.
    connected("16778240");
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
}

TEST_F(ActiveJoin, AConnectionInTimeLeavesTheTimeoutStale) {
    startAndAccept("99001");
    connected("16778240");
    h.trans.clear();
    h.advance(60s);
    std::this_thread::sleep_for(30ms);
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
}

TEST_F(ActiveJoin, ErrorsOnInvite) {
    struct Case {
        std::string message;
        json reason;
        std::vector<std::string> notes;
        std::string report;
    };
    const std::vector<Case> cases = {
        {"CONFERENCE_JOIN_FAIL_MISSING_PASSCODE", nullptr,
         {"confsdknotify_exception_in_meeting", "confsdknotify_need_passcode"},
         R"({"errMsg":"msg:CONFERENCE_JOIN_FAIL_MISSING_PASSCODE","reason":[],"result":999,)"
         R"("type":"CONFERENCE_JOIN_FAIL_MISSING_PASSCODE"})"},
        {"CONFERENCE_ROOM_CONFLICT", json::array({{{"conferenceId", "conf-busy"}}}),
         {"confsdknotify_exception_in_meeting"},
         R"({"confid":"conf-busy","errMsg":"msg:CONFERENCE_ROOM_CONFLICT","reason":[],"result":999,)"
         R"("type":"CONFERENCE_ROOM_CONFLICT"})"},
        {"CONFERENCE_ADHOC_CONFLICT", json::array({{{"conferenceId", "c2"}}, {{"conferenceId", "c3"}}}),
         {"confsdknotify_exception_in_meeting"},
         R"({"confid":"c2","errMsg":"msg:CONFERENCE_ADHOC_CONFLICT","reason":[],"result":999,)"
         R"("type":"CONFERENCE_ADHOC_CONFLICT"})"},
        {"CONFERENCE_NOT_FOUND", nullptr, {"confsdknotify_exception_in_meeting"},
         R"({"errMsg":"msg:CONFERENCE_NOT_FOUND","reason":[],"result":999,"type":"CONFERENCE_NOT_FOUND"})"},
        // A conflict without its conference: logged, nobody told.
        {"CONFERENCE_ROOM_CONFLICT", json::array(), {}, ""},
    };
    for (const auto& c : cases) {
        CallFixture f;
        f.h.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
        json error = f.serverSignal("ERROR", "INVITE", json::object());
        error["startLine"]["statusCode"] = {{"code", 409}, {"message", c.message}};
        if (!c.reason.is_null()) error["startLine"]["statusCode"]["reason"] = c.reason;
        f.h.trans.clear();
        f.serverSends(error);
        EXPECT_EQ(f.h.state(), AVSTATE_IDLE) << c.message;
        EXPECT_TRUE(f.h.trans.sent().empty()) << c.message;
        std::vector<std::string> notes;
        for (const auto& e : f.h.app.events())
            if (e.kind == "notify") notes.push_back(e.type);
        EXPECT_EQ(notes, c.notes) << c.message;
        if (!c.report.empty()) {
            EXPECT_EQ(f.h.app.events()[0].data, c.report);
        }
        if (notes.size() == 2) {
            EXPECT_EQ(f.h.app.events()[1].data, "");
        }
        EXPECT_EQ(f.h.sdk->timerTasks.size(), 0u);
    }
}

TEST_F(ActiveJoin, JoinRefusedByTheEngine) {
    h.engine.setResult("join", -5);
    startAndAccept("99001");
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"], json({{"code", 603}, {"message", "av.join failed, ret=-5"}}));
    EXPECT_EQ(h.sdk->timerTasks.size(), 0u);
    EXPECT_TRUE(h.logs.has("  avsdk join failed, ret=-5"));
    EXPECT_EQ(h.app.count("confsdknotify_internal_exception_in_meeting"), 0u);
    EXPECT_EQ(h.app.count("confsdknotify_exception_in_meeting"), 0u);
}

TEST_F(ActiveJoin, TheEngineFailsOrEndsBeforeItsId) {
    startAndAccept("99001");
    engineSays("onCallFailed", {{"reason", "MEETING_FAIL_MEETING_OVER"}, {"result", 3124}});
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"],
              json({{"code", 503}, {"message", "ConfStateActive_WaitAvUserid::on_avsdk_call_failed"}}));
    EXPECT_EQ(h.app.ofType("confsdknotify_internal_exception_in_meeting")[0].data,
              R"({"errMsg":"msg:CONFSDK_JOIN_FAIL_MEETING_OVER","reason":[],"result":3124,)"
              R"("type":"CONFSDK_JOIN_FAIL_MEETING_OVER"})");

    CallFixture f;
    f.startAndAccept("99001");
    f.engineSays("onCallEnd", {{"result", 0}});
    EXPECT_EQ(f.h.state(), AVSTATE_IDLE);
    EXPECT_EQ(f.lastSignal()["startLine"]["statusCode"]["message"], "ConfStateActive_WaitAvUserid::on_avsdk_call_end");
}

TEST_F(ActiveJoin, CancelAndErrorFromTheServerWhileJoining) {
    startAndAccept("99001");
    h.trans.clear();
    serverSends(serverSignal("CANCEL", "CANCEL", json::object()));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    ASSERT_EQ(h.app.count("confsdknotify_canceled"), 1u);
    EXPECT_EQ(h.app.ofType("confsdknotify_canceled")[0].data, "{}");
    EXPECT_TRUE(h.trans.sent().empty());

    CallFixture f;
    f.startAndAccept("99001");
    f.h.trans.clear();
    json error = f.serverSignal("ERROR", "INVITE", json::object());
    error["startLine"]["statusCode"] = {{"code", 500}, {"message", "x"}};
    f.serverSends(error);
    EXPECT_EQ(f.h.state(), AVSTATE_IDLE);
    EXPECT_EQ(f.h.engine.count("leave"), 1u);
    EXPECT_TRUE(f.h.trans.sent().empty());
    EXPECT_EQ(f.h.app.count("confsdknotify_canceled"), 0u);
}

TEST_F(ActiveJoin, CancelBeforeTheAnswerIsNotExpected) {
    h.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
    serverSends(serverSignal("CANCEL", "CANCEL", json::object()));
    EXPECT_EQ(h.state(), AVSTATE_ACTIVE_WAITING_INVITE_RESULT);
    EXPECT_TRUE(h.logs.has("check_server_msg_is_expect return false;\n"));
}

TEST_F(ActiveJoin, LeaveWhileJoiningLeavesTheEngine) {
    startAndAccept("99001");
    h.trans.clear();
    h.sdk->sendCommand("leaveconf", "");
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_TRUE(h.trans.sent().empty());
    h.advance(60s);
    std::this_thread::sleep_for(30ms);
    EXPECT_TRUE(h.trans.sent().empty());
}
