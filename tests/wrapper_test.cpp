// The "QV" wrapper: which engine calls wait for the UI thread, and what a
// queued call keeps of its arguments.
#include <gtest/gtest.h>

#include <set>

#include "avsdk_serialization.h"
#include "harness.h"

using namespace orvtest;
using namespace ORVANE;

namespace {

struct Wrapped : ::testing::Test {
    Wrapped() : wrapper(&engine, [this] { ++notified; }) {}
    ~Wrapped() override {
        std::lock_guard<std::mutex> lock(getTaskQueue().mutex);
        getTaskQueue().tasks.clear();
    }
    size_t queued() {
        std::lock_guard<std::mutex> lock(getTaskQueue().mutex);
        return getTaskQueue().tasks.size();
    }
    LogCapture logs;
    FakeEngine engine;
    int notified = 0;
    AVSDKWrapper_QV wrapper;
};

}  // namespace

TEST_F(Wrapped, QueuedAndDirectOperations) {
    // Each operation with arguments of the right types; the expected split
    // comes from the engine's contract, written out here.
    const std::set<std::string> queuedOps = {
        "init", "login", "logout", "leave", "endMeeting", "muteLocalAudio", "muteAllAudio", "unmuteAllAudio",
        "muteAudio", "unmuteAudio", "unmuteVideo", "muteVideo", "lockMeeting", "setHost", "reclaimHost",
        "assignCohost", "revokeCohost", "enableWaitingRoom", "callH323device", "cancelCallH323device",
        "hangupH323device", "passThrough12", "passThrough13", "passThrough14", "passThrough15", "passThrough17",
        "passThrough38", "passThrough39", "passThrough40", "passThrough42", "passThrough43", "passThrough44",
        "passThrough45", "passThrough46", "passThrough47", "passThrough52", "passThrough54", "passThrough56",
        "passThrough58", "passThrough61"};

    std::vector<AvLayoutItem> items(1);
    AvUserMap users;
    std::string s = "x";
    AVSDK& av = wrapper;
    std::vector<std::string> names;
    // One call per operation, in interface order.
    av.setListener(nullptr); names.push_back("setListener");
    av.setOrvaneLogger(nullptr); names.push_back("setOrvaneLogger");
    av.passThrough1(); names.push_back("passThrough1");
    av.init(s); names.push_back("init");
    av.deinit(); names.push_back("deinit");
    av.passThrough2(); names.push_back("passThrough2");
    av.passThrough3(); names.push_back("passThrough3");
    av.passThrough4(); names.push_back("passThrough4");
    av.passThrough5(); names.push_back("passThrough5");
    av.passThrough6(1, 2, 3, 4, 5); names.push_back("passThrough6");
    av.passThrough7(1, 2, 3, 4, 5); names.push_back("passThrough7");
    av.login(s, s); names.push_back("login");
    av.logout(); names.push_back("logout");
    av.join(s, s, s); names.push_back("join");
    av.leave(); names.push_back("leave");
    av.endMeeting(); names.push_back("endMeeting");
    av.passThrough8(); names.push_back("passThrough8");
    av.isHostUser(); names.push_back("isHostUser");
    av.changeUserName(s, s, true); names.push_back("changeUserName");
    av.setLayout(items, 1, 2); names.push_back("setLayout");
    av.getUserList(users); names.push_back("getUserList");
    av.passThrough9(); names.push_back("passThrough9");
    av.muteLocalAudio(); names.push_back("muteLocalAudio");
    av.unmuteLocalAudio(); names.push_back("unmuteLocalAudio");
    av.canUnmuteByMyself(); names.push_back("canUnmuteByMyself");
    av.passThrough10(); names.push_back("passThrough10");
    av.passThrough11(); names.push_back("passThrough11");
    av.passThrough12(); names.push_back("passThrough12");
    av.passThrough13(); names.push_back("passThrough13");
    av.muteAllAudio(true); names.push_back("muteAllAudio");
    av.unmuteAllAudio(); names.push_back("unmuteAllAudio");
    av.passThrough14(s, true); names.push_back("passThrough14");
    av.muteAudio(s, false); names.push_back("muteAudio");
    av.unmuteAudio(s); names.push_back("unmuteAudio");
    av.passThrough15(true); names.push_back("passThrough15");
    av.passThrough16(); names.push_back("passThrough16");
    av.unmuteVideo(s); names.push_back("unmuteVideo");
    av.muteVideo(s); names.push_back("muteVideo");
    av.passThrough17(true); names.push_back("passThrough17");
    av.passThrough18(); names.push_back("passThrough18");
    av.lockMeeting(true); names.push_back("lockMeeting");
    av.passThrough19(); names.push_back("passThrough19");
    av.setHost(s); names.push_back("setHost");
    av.reclaimHost(); names.push_back("reclaimHost");
    av.assignCohost(s); names.push_back("assignCohost");
    av.revokeCohost(s); names.push_back("revokeCohost");
    av.enableWaitingRoom(true); names.push_back("enableWaitingRoom");
    av.passThrough20(); names.push_back("passThrough20");
    av.passThrough21(); names.push_back("passThrough21");
    av.passThrough22(); names.push_back("passThrough22");
    av.passThrough23(); names.push_back("passThrough23");
    av.passThrough24(); names.push_back("passThrough24");
    av.passThrough25(); names.push_back("passThrough25");
    av.passThrough26(); names.push_back("passThrough26");
    av.passThrough27(); names.push_back("passThrough27");
    av.passThrough28(); names.push_back("passThrough28");
    av.passThrough29(); names.push_back("passThrough29");
    av.passThrough30(); names.push_back("passThrough30");
    av.passThrough31(); names.push_back("passThrough31");
    av.passThrough32(); names.push_back("passThrough32");
    av.passThrough33(); names.push_back("passThrough33");
    av.passThrough34(); names.push_back("passThrough34");
    av.passThrough35(); names.push_back("passThrough35");
    av.passThrough36(); names.push_back("passThrough36");
    av.passThrough37(); names.push_back("passThrough37");
    av.passThrough38(nullptr); names.push_back("passThrough38");
    av.passThrough39(3); names.push_back("passThrough39");
    av.passThrough40(); names.push_back("passThrough40");
    av.passThrough41(); names.push_back("passThrough41");
    av.passThrough42(s); names.push_back("passThrough42");
    av.passThrough43(); names.push_back("passThrough43");
    av.passThrough44(); names.push_back("passThrough44");
    av.passThrough45(); names.push_back("passThrough45");
    av.callH323device(s, s, s, s); names.push_back("callH323device");
    av.cancelCallH323device(); names.push_back("cancelCallH323device");
    av.hangupH323device(s, s); names.push_back("hangupH323device");
    av.passThrough46(s, s, s); names.push_back("passThrough46");
    av.passThrough47(s, s); names.push_back("passThrough47");
    av.passThrough48(); names.push_back("passThrough48");
    av.passThrough49(); names.push_back("passThrough49");
    av.passThrough50(); names.push_back("passThrough50");
    av.passThrough51(); names.push_back("passThrough51");
    av.passThrough52(true); names.push_back("passThrough52");
    av.passThrough53(); names.push_back("passThrough53");
    av.passThrough54(true); names.push_back("passThrough54");
    av.passThrough55(); names.push_back("passThrough55");
    av.passThrough56(true); names.push_back("passThrough56");
    av.passThrough57(); names.push_back("passThrough57");
    av.passThrough58(true); names.push_back("passThrough58");
    av.setConfSignal(s); names.push_back("setConfSignal");
    av.passThrough59(); names.push_back("passThrough59");
    av.passThrough60(); names.push_back("passThrough60");
    av.passThrough61(s, s, s); names.push_back("passThrough61");
    av.getInterpretationService(); names.push_back("getInterpretationService");
    av.getUiControlService(); names.push_back("getUiControlService");
    av.passThrough62(); names.push_back("passThrough62");
    av.setZak(s); names.push_back("setZak");
    av.setCustomUIOption(1, true); names.push_back("setCustomUIOption");
    ASSERT_EQ(names.size(), 98u);

    // Direct calls reached the engine at once, in order; queued ones did not.
    std::vector<std::string> direct;
    for (const auto& n : names)
        if (!queuedOps.count(n)) direct.push_back(n);
    std::vector<std::string> seen;
    for (const auto& c : engine.calls()) seen.push_back(c.name);
    EXPECT_EQ(seen, direct);
    EXPECT_EQ(queued(), queuedOps.size());
    EXPECT_EQ(notified, static_cast<int>(queuedOps.size()));

    // The UI thread runs them one at a time, in the order they were queued.
    engine.clearCalls();
    std::vector<std::string> expectQueued;
    for (const auto& n : names)
        if (queuedOps.count(n)) expectQueued.push_back(n);
    wrapper.runTask();
    ASSERT_EQ(engine.calls().size(), 1u);
    EXPECT_EQ(engine.calls()[0].name, "init");
    while (queued() > 0) wrapper.runTask();
    seen.clear();
    for (const auto& c : engine.calls()) seen.push_back(c.name);
    EXPECT_EQ(seen, expectQueued);
    // An empty queue: nothing happens.
    wrapper.runTask();
    EXPECT_EQ(engine.calls().size(), expectQueued.size());
}

TEST_F(Wrapped, QueuedCallsOwnTheirArgumentsAndAlwaysSucceed) {
    engine.setResult("muteAudio", -7);
    {
        std::string userid = "16778240";
        EXPECT_EQ(wrapper.muteAudio(userid, false), 0);
        userid.assign(100, 'x');  // the caller's string changes and dies
    }
    wrapper.runTask();
    auto calls = engine.callsOf("muteAudio");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].args, (std::vector<std::string>{"16778240", "false"}));

    // Direct calls give the engine's own answer.
    engine.setResult("join", 3);
    EXPECT_EQ(wrapper.join("1", "2", "3"), 3);
    engine.setBool("passThrough14", true);
    EXPECT_FALSE(wrapper.passThrough14("a", true));
}

TEST_F(Wrapped, LogLinesOfTheNamedOperations) {
    wrapper.init("p");
    wrapper.changeUserName("7", "Ann", true);
    wrapper.callH323device("Room", "10.0.0.9", "h323", "cmd-1");
    wrapper.cancelCallH323device();
    wrapper.hangupH323device("9", "cmd-2");
    wrapper.setCustomUIOption(4, false);
    EXPECT_TRUE(logs.has("AVSDKWrapper_QV::init() enter"));
    EXPECT_TRUE(logs.has("AVSDKWrapper_QV::changeUserName enter userid=7, newName=Ann, bSaveUserName=true"));
    EXPECT_TRUE(logs.has(
        "AVSDKWrapper_QV::callH323device deviceName=Room, deviceIp=10.0.0.9, deviceType=h323, cmdId=cmd-1 enter"));
    EXPECT_TRUE(logs.has("AVSDKWrapper_QV::cancelCallH323device enter"));
    EXPECT_TRUE(logs.has("AVSDKWrapper_QV::hangupH323device userId=9, cmdId=cmd-2 enter"));
    EXPECT_TRUE(logs.has("--- AVSDKWrapper_QV : uiType 4, visible false ---"));
}

TEST(WrapperInTheLibrary, DoInternalTaskRunsOneCallPerNotification) {
    Harness h;
    ASSERT_EQ(h.sdk->initMediaService("QV", "para"), 0);
    h.app.clear();
    h.sdk->sendCommand("endconf", "");
    EXPECT_EQ(h.app.count("confsdknotify_do_internal_task_must_in_ui_thread"), 1u);
    EXPECT_EQ(h.engine.count("endMeeting"), 0u);
    h.sdk->runUiTask();  // init
    h.sdk->runUiTask();  // endMeeting
    EXPECT_EQ(h.engine.count("endMeeting"), 1u);
}
