// An incoming call: the conference query, the user's answer, the media join,
// ACCEPTED and ACK, and every way it can end early.
#include <gtest/gtest.h>

#include "call_fixture.h"
#include "lobby/lobby_window.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;
using namespace std::chrono_literals;

namespace {

const char* const kServerCallId = "5e7e0000-1111-4222-8333-444455556666";

// A client the server calls.
struct Callee : CallFixture {
    // The server's INVITE, and its conference data in reply to the query.
    void invite(const std::string& ext = "99007") {
        json inv = callSignal("INVITE", "INVITE", kServerCallId,
                              {{"conferenceId", "conf-7"}, {"externalDialNumber", ext}});
        inv["signalHeader"]["from"]["dialNumber"] = "8007";
        inv["signalHeader"]["to"]["dialNumber"] = "1001";
        serverSends(inv);
    }
    void confinfoReply(const json& data) {
        json msg = {{"msg", "result"}, {"id", "confinfo_by_dialnum"}};
        if (!data.is_null()) msg["data"] = data;
        h.trans.deliver(msg.dump());
    }
    void ring(const std::string& ext = "99007") {
        invite(ext);
        confinfoReply({{"conferenceId", "conf-7"}, {"conferenceDialNumber", "8007"}, {"subject", "Weekly"},
                       {"passcode", "77"}, {"muteAll", true}});
    }
    // Rung and taken with what the application was shown: the media join runs.
    void ringAndTake() {
        ring();
        h.sdk->sendCommand("startconf", json::parse(h.app.ofType("0/confmanager_event").back().data)[0].dump());
    }
    // Registers first: the last REGISTER's call id, the one that passes the
    // filter on ERROR, is returned.
    std::string registered() {
        {
            CallLock lock(h.sdk->callMutex());
            h.sdk->callserver_register();
        }
        h.setState(AVSTATE_IDLE);
        return callid();
    }
    // An ERROR of this call as the server would send it.
    json serverError(const std::string& cseqMethod, const std::string& callId) {
        return errorSignal(cseqMethod, callId, 500);
    }
};

struct PassiveJoin : ::testing::Test, Callee {};

}  // namespace

TEST_F(PassiveJoin, RingingAsksTheApplication) {
    invite();
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_CONFINFO);
    EXPECT_EQ(json::parse(h.trans.last())["params"][0]["url"],
              "/api/quelmar/confmgr/2.0/conference/dialnumber/8007");
    EXPECT_EQ(h.app.count("0/confmanager_event"), 0u);
    // "startconf" before the application has been asked does nothing.
    h.sdk->sendCommand("startconf", "{}");
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_CONFINFO);

    confinfoReply({{"conferenceId", "conf-7"}, {"subject", "Weekly"}, {"passcode", "77"}, {"muteAll", true}});
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_UI_CONFIRM);
    auto asks = h.app.ofType("0/confmanager_event");
    ASSERT_EQ(asks.size(), 1u);
    EXPECT_EQ(json::parse(asks[0].data),
              json::parse(R"([{"conferenceId":"conf-7","dispname":"","event":"confsdknotify_recv_invite",)"
                          R"("muteAll":true,"passcode":"77","subject":"Weekly"}])"));
    EXPECT_EQ(h.sdk->_conf.passcode, "77");
    EXPECT_TRUE(h.sdk->muteAll);
    EXPECT_FALSE(h.sdk->isRunning());
}

TEST_F(PassiveJoin, AReplyWithoutDataStillAsks) {
    {
        CallLock lock(h.sdk->callMutex());
        h.sdk->register_user_name = "Ann";
    }
    invite();
    confinfoReply(nullptr);
    auto asks = h.app.ofType("0/confmanager_event");
    ASSERT_EQ(asks.size(), 1u);
    EXPECT_EQ(asks[0].data, R"([{"dispname":"Ann","event":"confsdknotify_recv_invite"}])");

    // A reply of the wrong shape: logged, the call keeps waiting.
    Callee f;
    f.invite();
    f.h.trans.deliver(R"({"msg":"result","id":"confinfo_by_dialnum","data":[1,2]})");
    EXPECT_EQ(f.h.state(), AVSTATE_PASSIVE_WAITING_CONFINFO);
    EXPECT_TRUE(f.h.logs.has("json ERROR! confsdk:ConfStatePassive_WaitConfInfo::on_recv_confinfo"));
}

TEST_F(PassiveJoin, TakenJoinedAcceptedAcked) {
    // The application answers with the conference it was shown.
    ringAndTake();
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_AV_USERID);
    ASSERT_EQ(h.engine.count("join"), 1u);
    EXPECT_EQ(h.engine.callsOf("join")[0].args[0], "99007");
    EXPECT_EQ(h.engine.callsOf("join")[0].args[1], "77");
    h.trans.clear();
    connected("16778240");
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_ACK);
    // ACCEPTED is the server's INVITE sent back with the engine's id.
    const json accepted = lastSignal();
    EXPECT_EQ(accepted["startLine"]["command"], "ACCEPTED");
    EXPECT_EQ(accepted["signalHeader"]["callId"], kServerCallId);
    EXPECT_EQ(accepted["signalHeader"]["cseq"], "123456789 INVITE");
    EXPECT_EQ(accepted["signalHeader"]["from"]["dialNumber"], "8007");
    EXPECT_EQ(accepted["signalBody"]["externalGuid"], "16778240");

    json ack = accepted;
    ack["startLine"]["command"] = "ACK";
    ack["signalHeader"]["cseq"] = "123456789 ACK";
    serverSends(ack);
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_TRUE(h.sdk->isRunning());
}

TEST_F(PassiveJoin, RejectSendsDecline) {
    ring();
    h.trans.clear();
    h.sdk->sendCommand("rejectconf", "");
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"],
              json({{"code", 603}, {"message", "WaitUserConfirm: user reject the conf"}}));
    EXPECT_EQ(lastSignal()["signalHeader"]["callId"], kServerCallId);
    EXPECT_EQ(h.engine.count("join"), 0u);
    // Once more, out of place: the warning, nothing sent.
    h.trans.clear();
    h.sdk->sendCommand("rejectconf", "");
    EXPECT_TRUE(h.trans.sent().empty());
}

TEST_F(PassiveJoin, CancelInEachWaitingState) {
    // Before the conference data.
    invite();
    h.trans.clear();
    serverSends(serverSignal("CANCEL", "CANCEL", json::object()));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"],
              json({{"code", 487}, {"message", "Receive CANCEL from server"}}));
    EXPECT_EQ(h.app.count("confsdknotify_canceled"), 1u);

    // While ringing.
    Callee r;
    r.ring();
    ASSERT_EQ(r.h.state(), AVSTATE_PASSIVE_WAITING_UI_CONFIRM);
    r.h.trans.clear();
    r.serverSends(r.serverSignal("CANCEL", "CANCEL", json::object()));
    EXPECT_EQ(r.h.state(), AVSTATE_IDLE);
    EXPECT_EQ(r.lastSignal()["startLine"]["statusCode"]["code"], 487);
    EXPECT_EQ(r.lastSignal()["startLine"]["statusCode"]["message"], "WaitUserConfirm: Received CANCEL from server");
    ASSERT_EQ(r.h.app.count("confsdknotify_canceled"), 1u);
    EXPECT_EQ(r.h.app.ofType("confsdknotify_canceled")[0].data, "{}");

    // While joining: the engine leaves, nothing goes to the server.
    Callee j;
    j.ringAndTake();
    j.h.trans.clear();
    j.serverSends(j.serverSignal("CANCEL", "CANCEL", json::object()));
    EXPECT_EQ(j.h.state(), AVSTATE_IDLE);
    EXPECT_EQ(j.h.engine.count("leave"), 1u);
    EXPECT_TRUE(j.h.trans.sent().empty());
    EXPECT_EQ(j.h.app.count("confsdknotify_canceled"), 1u);
}

TEST_F(PassiveJoin, TheLobbyAnswersAtOnce) {
    ring("LOBBY-7");
    h.trans.clear();
    h.sdk->sendCommand("startconf", "{}");
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_EQ(h.engine.count("join"), 0u);
    EXPECT_EQ(lastSignal()["startLine"]["command"], "ACCEPTED");
    EXPECT_EQ(lastSignal()["signalBody"]["externalGuid"], "-3");
    EXPECT_TRUE(lobby_is_open());
    // Out of the lobby.
    serverSends(serverSignal("UPDATE", "UPDATE", {{"externalDialNumber", "99008"}}));
    EXPECT_TRUE(lobby_wait_closed(2s));
    connected("16778250");
    EXPECT_EQ(lastSignal()["startLine"]["command"], "OK");
    EXPECT_EQ(lastSignal()["signalBody"]["externalGuid"], "16778250");
}

TEST_F(PassiveJoin, JoinTimeoutAndRefusal) {
    ringAndTake();
    h.trans.clear();
    h.advance(55s);
    ASSERT_TRUE(heard("MeetingServiceEvent/onCallEnd"));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"]["code"], 503);
    EXPECT_EQ(json::parse(h.app.ofType("confsdknotify_internal_exception_in_meeting")[0].data)["type"],
              "CONFSDK_TIMEOUT_ON_JOIN");
    EXPECT_TRUE(h.logs.has(R"(AVSTATE_PASSIVE_WAITING_AV_USERID MeetingServiceEvent onCallEnd {"result":0} )"));

    Callee f;
    f.h.engine.setResult("join", 9);
    f.ringAndTake();
    EXPECT_EQ(f.h.state(), AVSTATE_IDLE);
    EXPECT_EQ(f.lastSignal()["startLine"]["statusCode"],
              json({{"code", 603}, {"message", "av.join failed, ret=9"}}));
    EXPECT_EQ(f.h.sdk->timerTasks.size(), 0u);
}

TEST_F(PassiveJoin, TheEngineFailsOrEnds) {
    ringAndTake();
    engineSays("onCallFailed", {{"reason", "MEETING_FAIL_NO_MMR"}});
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(lastSignal()["startLine"]["statusCode"]["message"],
              "ConfStatePassive_WaitAvUserid::on_avsdk_call_failed");

    Callee f;
    f.ringAndTake();
    f.engineSays("onCallEnd", {{"result", 0}});
    EXPECT_EQ(f.lastSignal()["startLine"]["statusCode"]["message"], "ConfStatePassive_WaitAvUserid::on_avsdk_call_end");
}

TEST_F(PassiveJoin, ErrorsPassOnlyWithOurOwnCallId) {
    // The last REGISTER's identifier is ours; the server's INVITE id is not.
    const std::string ours = registered();
    ringAndTake();
    connected("16778240");
    ASSERT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_ACK);

    serverSends(serverError("ACCEPTED", kServerCallId));
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_ACK);
    EXPECT_TRUE(h.logs.has("Error: CallID dismatch! Skip it!"));

    serverSends(serverError("ACCEPTED", ours));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    // The report's type and text id differ on purpose.
    EXPECT_EQ(h.app.ofType("confsdknotify_internal_exception_in_meeting")[0].data,
              R"({"errMsg":"msg:CONFSDK_NO_ACCEPTED","reason":[],"result":999,"type":"conf_exception_03"})");
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onCallEnd"), 1u);
}

TEST_F(PassiveJoin, ErrorWhileJoiningLeavesQuietly) {
    const std::string ours = registered();
    ringAndTake();
    h.trans.clear();
    h.app.clear();
    serverSends(serverError("INVITE", ours));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_TRUE(h.app.events().empty());
}

TEST_F(PassiveJoin, LeaveWhileJoiningLeavesTheEngine) {
    ringAndTake();
    h.trans.clear();
    h.sdk->sendCommand("leaveconf", "");
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_TRUE(h.trans.sent().empty());
    // The 55 s task finds its state gone.
    h.advance(60s);
    std::this_thread::sleep_for(30ms);
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_EQ(h.app.count("confsdknotify_internal_exception_in_meeting"), 0u);
}
