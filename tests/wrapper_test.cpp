// The "QV" wrapper: which engine calls wait for the UI thread, what a queued
// call keeps of its arguments, and the lines the named operations log.
#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "avsdk_serialization.h"
#include "harness.h"

using namespace orvtest;
using namespace ORVANE;

namespace {

template <typename R, typename... P>
void callWithDefaults(AVSDK& av, R (AVSDK::*op)(P...)) {
    std::tuple<std::decay_t<P>...> args{};
    std::apply([&](auto&... a) { (av.*op)(a...); }, args);
}

std::vector<std::string> namesOf(const std::vector<EngineCall>& calls) {
    std::vector<std::string> names;
    for (const auto& c : calls) names.push_back(c.name);
    return names;
}

}  // namespace

TEST(Wrapper, QueuedAndDirectOperations) {
    // The split as the engine's contract has it, written out apart from the
    // table the wrapper is generated from.
    const std::set<std::string> queuedOps = {
        "init", "login", "logout", "leave", "endMeeting", "muteLocalAudio", "muteAllAudio", "unmuteAllAudio",
        "muteAudio", "unmuteAudio", "unmuteVideo", "muteVideo", "lockMeeting", "setHost", "reclaimHost",
        "assignCohost", "revokeCohost", "enableWaitingRoom", "callH323device", "cancelCallH323device",
        "hangupH323device", "passThrough12", "passThrough13", "passThrough14", "passThrough15", "passThrough17",
        "passThrough38", "passThrough39", "passThrough40", "passThrough42", "passThrough43", "passThrough44",
        "passThrough45", "passThrough46", "passThrough47", "passThrough52", "passThrough54", "passThrough56",
        "passThrough58", "passThrough61"};
    FakeEngine engine;
    int notified = 0;
    AVSDKWrapper_QV wrapper(&engine, [&] { ++notified; });
    std::vector<std::string> names, direct, queued;
#define CALL_OP(RET, NAME, PARAMS, ARGS, KIND, ENTER) \
    callWithDefaults(wrapper, &AVSDK::NAME);          \
    (queuedOps.count(#NAME) ? queued : direct).push_back(#NAME);
    ORVANE_AVSDK_OPERATIONS(CALL_OP)
#undef CALL_OP
    ASSERT_EQ(direct.size() + queued.size(), 98u);
    // Direct calls reached the engine at once, in order; each queued one told
    // the application, and the UI thread runs them one at a time, in order.
    EXPECT_EQ(namesOf(engine.calls()), direct);
    EXPECT_EQ(notified, static_cast<int>(queuedOps.size()));
    engine.clearCalls();
    for (size_t i = 0; i <= queued.size(); ++i) wrapper.runTask();  // one more: an empty queue does nothing
    EXPECT_EQ(namesOf(engine.calls()), queued);
}

TEST(Wrapper, QueuedCallsOwnTheirArgumentsSucceedAndLog) {
    LogCapture logs;
    FakeEngine engine;
    AVSDKWrapper_QV wrapper(&engine, nullptr);
    engine.setResult("muteAudio", -7);
    {
        std::string userid = "16778240";
        EXPECT_EQ(wrapper.muteAudio(userid, false), 0);
        userid.assign(100, 'x');  // the caller's string changes and dies
    }
    wrapper.runTask();
    ASSERT_EQ(engine.callsOf("muteAudio").size(), 1u);
    EXPECT_EQ(engine.callsOf("muteAudio")[0].args, (std::vector<std::string>{"16778240", "false"}));
    // Direct calls give the engine's own answer; a queued bool is false.
    engine.setResult("join", 3);
    EXPECT_EQ(wrapper.join("1", "2", "3"), 3);
    engine.setBool("passThrough14", true);
    EXPECT_FALSE(wrapper.passThrough14("a", true));

    wrapper.init("p");
    wrapper.changeUserName("7", "Ann", true);
    wrapper.callH323device("Room", "10.0.0.9", "h323", "cmd-1");
    wrapper.cancelCallH323device();
    wrapper.hangupH323device("9", "cmd-2");
    wrapper.setCustomUIOption(4, false);
    for (const char* line : {"AVSDKWrapper_QV::init() enter",
                             "AVSDKWrapper_QV::changeUserName enter userid=7, newName=Ann, bSaveUserName=true",
                             "AVSDKWrapper_QV::callH323device deviceName=Room, deviceIp=10.0.0.9, deviceType=h323, "
                             "cmdId=cmd-1 enter",
                             "AVSDKWrapper_QV::cancelCallH323device enter",
                             "AVSDKWrapper_QV::hangupH323device userId=9, cmdId=cmd-2 enter",
                             "--- AVSDKWrapper_QV : uiType 4, visible false ---"})
        EXPECT_TRUE(logs.has(line)) << line;
    std::lock_guard<std::mutex> lock(getTaskQueue().mutex);
    getTaskQueue().tasks.clear();
}
