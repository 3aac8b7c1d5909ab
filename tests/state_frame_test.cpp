// The frame of the call state machine: log lines, invalid events, the table
// of expected messages, the call identifier filter and the shared failure
// report.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

#include "harness.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;
using json = nlohmann::json;

namespace {

json signal(const std::string& command, const std::string& cseq, const std::string& callId) {
    return json{{"startLine", {{"command", command}}},
                {"signalHeader", {{"callId", callId}, {"cseq", cseq}}},
                {"signalBody", json::object()}};
}

void setCallId(OrvaneSDKPrivate& sdk, const char* id) {
    std::memset(sdk._conf.callid, 0, sizeof sdk._conf.callid);
    std::memcpy(sdk._conf.callid, id, std::min<size_t>(std::strlen(id), 36));
}

}  // namespace

TEST(StateFrame, InvalidEventsAreWarnedAndChangeNothing) {
    Harness h;
    CallLock lock(h.sdk->callMutex());
    ConfStateMachine& m = *h.sdk->stateMachine;
    EXPECT_EQ(m.cur_state, AVSTATE_INIT);

    struct Op {
        const char* name;
        std::function<int()> call;
    };
    std::string data = "{}";
    json msg = signal("BYE", "1 BYE", "");
    const std::vector<Op> ops = {
        {"start_conf", [&] { return m.start_conf(); }},
        {"reject_conf", [&] { return m.reject_conf(); }},
        {"leave_conf", [&] { return m.leave_conf(); }},
        {"on_avsdk_join_ok", [&] { return m.on_avsdk_join_ok(); }},
        {"on_avsdk_call_failed", [&] { return m.on_avsdk_call_failed(); }},
        {"on_avsdk_call_end", [&] { return m.on_avsdk_call_end(); }},
        {"on_avsdk_call_reconnecting", [&] { return m.on_avsdk_call_reconnecting(); }},
        {"on_recv_callsignal", [&] { return m.on_recv_callsignal("BYE", "BYE", msg); }},
    };
    for (const auto& op : ops) {
        h.logs.clear();
        EXPECT_EQ(op.call(), STATE_INVALID) << op.name;
        auto lines = h.logs.lines();
        ASSERT_GE(lines.size(), 3u) << op.name;
        EXPECT_EQ(lines.front().text, std::string("ConfStateMachine: state=AVSTATE_INIT, ") + op.name + " enter\n");
        EXPECT_EQ(lines.front().level, spdlog::level::debug);
        EXPECT_EQ(lines[lines.size() - 2].text, "new state=AVSTATE_INIT\n");
        EXPECT_EQ(lines.back().text, "Warning: invalid op in current state!\n");
        EXPECT_EQ(lines.back().level, spdlog::level::warn);
        EXPECT_EQ(m.cur_state, AVSTATE_INIT);
    }
    // on_recv_confinfo has its own enter line, with a semicolon.
    h.logs.clear();
    EXPECT_EQ(m.on_recv_confinfo(data), STATE_INVALID);
    EXPECT_EQ(h.logs.lines().front().text, "ConfStateMachine: state=AVSTATE_INIT, on_recv_confinfo enter;\n");
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_TRUE(h.app.events().empty());
}

TEST(StateFrame, ExpectedMessagesPerState) {
    Harness h;
    CallLock lock(h.sdk->callMutex());
    ConfStateMachine& m = *h.sdk->stateMachine;
    // Every (start line, cseq word) pair that some state takes.
    const std::vector<std::pair<std::string, std::string>> all = {
        {"OK", "REGISTER"}, {"ERROR", "REGISTER"}, {"INVITE", "INVITE"}, {"ACCEPTED", "INVITE"},
        {"ERROR", "INVITE"}, {"CANCEL", "CANCEL"}, {"ERROR", "ACK"}, {"ACK", "ACK"},
        {"ERROR", "ACCEPTED"}, {"BYE", "BYE"}, {"UPDATE", "UPDATE"},
    };
    const std::map<int, std::set<std::pair<std::string, std::string>>> expected = {
        {AVSTATE_INIT, {}},
        {AVSTATE_WAIT_REGISTER_OK, {{"OK", "REGISTER"}, {"ERROR", "REGISTER"}}},
        {AVSTATE_IDLE, {{"INVITE", "INVITE"}, {"OK", "REGISTER"}, {"ERROR", "REGISTER"}}},
        {AVSTATE_ACTIVE_WAITING_INVITE_RESULT, {{"ACCEPTED", "INVITE"}, {"ERROR", "INVITE"}}},
        {AVSTATE_ACTIVE_WAITING_AV_USERID, {{"CANCEL", "CANCEL"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}}},
        {AVSTATE_PASSIVE_WAITING_CONFINFO, {{"CANCEL", "CANCEL"}}},
        {AVSTATE_PASSIVE_WAITING_UI_CONFIRM, {{"CANCEL", "CANCEL"}}},
        {AVSTATE_PASSIVE_WAITING_AV_USERID, {{"CANCEL", "CANCEL"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}}},
        {AVSTATE_PASSIVE_WAITING_ACK, {{"ACK", "ACK"}, {"ERROR", "ACCEPTED"}}},
        {AVSTATE_IN_MEETING,
         {{"BYE", "BYE"}, {"ERROR", "INVITE"}, {"ERROR", "ACK"}, {"OK", "REGISTER"}, {"ERROR", "REGISTER"},
          {"UPDATE", "UPDATE"}}},
    };
    for (const auto& [state, pairs] : expected) {
        m.cur_state = state;
        for (const auto& p : all)
            EXPECT_EQ(m.check_server_msg_is_expect(p.first, p.second), pairs.count(p) == 1)
                << g_avStateNames[state] << " " << p.first << "/" << p.second;
        // The start line alone, or the cseq word alone, is not enough.
        EXPECT_FALSE(m.check_server_msg_is_expect("OK", "")) << g_avStateNames[state];
    }
    m.cur_state = AVSTATE_IDLE;
    h.logs.clear();
    m.check_server_msg_is_expect("ERROR", "ACK");
    EXPECT_EQ(h.logs.lines().back().text,
              "ConfStateMachine: state=AVSTATE_IDLE, check_server_msg_is_expect called, ret=false\n");
}

TEST(StateFrame, CallIdFilterOnAcceptedAndError) {
    Harness h;
    CallLock lock(h.sdk->callMutex());
    ConfStateMachine& m = *h.sdk->stateMachine;
    m.cur_state = AVSTATE_ACTIVE_WAITING_INVITE_RESULT;
    setCallId(*h.sdk, "11111111-2222-3333-4444-555555555555");

    for (const char* line : {"ACCEPTED", "ERROR"}) {
        h.logs.clear();
        json msg = signal(line, "5 INVITE", "99999999-2222-3333-4444-555555555555");
        EXPECT_EQ(m.on_recv_callsignal(line, "INVITE", msg), STATE_INVALID);
        EXPECT_EQ(h.logs.countAt("Error: CallID dismatch! Skip it! recvd_callid=99999999-2222-3333-4444-555555555555, "
                                 "cur_callid=11111111-2222-3333-4444-555555555555",
                                 spdlog::level::err),
                  1u);
        // Stopped before the state: no new-state line, no warning.
        EXPECT_FALSE(h.logs.has("new state="));
        EXPECT_FALSE(h.logs.has("Warning: invalid op"));
        EXPECT_EQ(m.cur_state, AVSTATE_ACTIVE_WAITING_INVITE_RESULT);
    }

    // A matching id goes on to the state.
    h.logs.clear();
    json match = signal("ACCEPTED", "5 INVITE", "11111111-2222-3333-4444-555555555555");
    m.on_recv_callsignal("ACCEPTED", "INVITE", match);
    EXPECT_TRUE(h.logs.has("startline=ACCEPTED,  cseq=INVITE\n"));
    EXPECT_TRUE(h.logs.has("new state="));
    EXPECT_FALSE(h.logs.has("dismatch"));

    // Other start lines are not compared.
    h.logs.clear();
    json cancel = signal("CANCEL", "5 CANCEL", "anything");
    m.on_recv_callsignal("CANCEL", "CANCEL", cancel);
    EXPECT_FALSE(h.logs.has("dismatch"));
    EXPECT_TRUE(h.logs.has("new state="));

    // A missing or non-string callId is a JSON error, answered with 1.
    for (json bad : {json{{"startLine", {{"command", "ERROR"}}}},
                     json{{"signalHeader", {{"callId", 12}}}}, json::array()}) {
        h.logs.clear();
        EXPECT_EQ(m.on_recv_callsignal("ERROR", "INVITE", bad), STATE_INVALID);
        EXPECT_EQ(h.logs.countAt("json ERROR! confsdk:ConfStateMachine::on_recv_callsignal, json error=",
                                 spdlog::level::err),
                  1u);
        EXPECT_FALSE(h.logs.has("new state="));
    }
}

TEST(StateFrame, TimeoutAccessorsWorkOnTheCurrentState) {
    Harness h;
    CallLock lock(h.sdk->callMutex());
    ConfStateMachine& m = *h.sdk->stateMachine;
    bool fired = false;
    m.cur_state = AVSTATE_ACTIVE_WAITING_INVITE_RESULT;
    m.set_cur_state_timeout_taskid(h.sdk->add_timer_task(15, [&](std::string) { fired = true; }, ""));
    EXPECT_TRUE(h.logs.has("[AVSTATE_ACTIVE_WAITING_INVITE_RESULT] add_timer_task enter;"));
    EXPECT_TRUE(h.logs.has(
        "ConfStateMachine: state=AVSTATE_ACTIVE_WAITING_INVITE_RESULT, set_cur_state_timeout_taskid enter;\n"));
    EXPECT_NE(m.states[AVSTATE_ACTIVE_WAITING_INVITE_RESULT]->timeout_taskid, 0u);

    // Another state has no id of its own: cancelling there does nothing.
    m.cur_state = AVSTATE_IDLE;
    h.logs.clear();
    m.cancel_cur_state_timeout();
    EXPECT_FALSE(h.logs.has("cancel_timer_task"));
    EXPECT_EQ(h.sdk->timerTasks.size(), 1u);

    m.cur_state = AVSTATE_ACTIVE_WAITING_INVITE_RESULT;
    m.cancel_cur_state_timeout();
    EXPECT_TRUE(h.logs.has("[AVSTATE_ACTIVE_WAITING_INVITE_RESULT] cancel_timer_task enter;"));
    EXPECT_EQ(m.states[AVSTATE_ACTIVE_WAITING_INVITE_RESULT]->timeout_taskid, 0u);
    EXPECT_EQ(h.sdk->timerTasks.size(), 0u);
    EXPECT_FALSE(fired);
}

TEST(StateFrame, ReportMeetingException) {
    Harness h;
    h.trans.errMsgs["CONFSDK_NO_ACCEPTED"] = "The server did not answer";
    {
        CallLock lock(h.sdk->callMutex());
        h.sdk->stateMachine->report_meeting_exception(CONFNOTIFY::EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE,
                                                       "CONFSDK_NO_ACCEPTED");
        // Held back until the call lock is released.
        EXPECT_TRUE(h.app.events().empty());
    }
    auto events = h.app.events();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].type, "confsdknotify_internal_exception_in_meeting");
    EXPECT_EQ(events[0].data,
              R"({"errMsg":"The server did not answer","reason":[],"result":999,"type":"CONFSDK_NO_ACCEPTED"})");
    EXPECT_EQ(events[1].kind, "media");
    EXPECT_EQ(events[1].type, "MeetingServiceEvent/onCallEnd");
    EXPECT_EQ(events[1].data, R"({"result":0})");

    // Without a media listener the second step is skipped.
    h.sdk->setMediaServiceListener(nullptr);
    h.app.clear();
    {
        CallLock lock(h.sdk->callMutex());
        h.sdk->stateMachine->report_meeting_exception("x", "y");
    }
    EXPECT_EQ(h.app.events().size(), 1u);
}
