// ConfSDK::sendCommand routing, the media service life cycle and the
// identity helpers of the central object.
#include <gtest/gtest.h>

#include "harness.h"
#include "ServerInteraction/orvanecmdtojson.h"
#include "orvane/vocabulary.h"

using namespace orvtest;

namespace {

class RecordingLogic : public OrvaneLogic_Interface {
public:
    void sendCommand(const std::string& type, const std::string& data) override {
        std::lock_guard<std::mutex> lock(mutex);
        commands.emplace_back(type, data);
    }
    void setConfptr(OrvaneSDKPrivate* c) override { conf = c; }
    std::mutex mutex;
    std::vector<std::pair<std::string, std::string>> commands;
    OrvaneSDKPrivate* conf = nullptr;
};

const char* const kNoChannel = "OrvaneControlSDk_private::sendCommand: 没有发送通道,无法处理";

// A central object whose control channel has no transport: everything routed
// to the channel shows as its "no channel" line.
struct NoTransport : ::testing::Test {
    NoTransport() {
        ORVANE::SdkEnv env;
        env.clock = clock;
        env.processWide = false;
        env.logic = &logic;
        sdk = std::make_unique<OrvaneSDKPrivate>("QV", "", env);
        sdk->setListener(&app);
    }
    LogCapture logs;
    std::shared_ptr<ORVANE::ManualClock> clock = std::make_shared<ORVANE::ManualClock>();
    RecordingLogic logic;
    AppListener app;
    std::unique_ptr<OrvaneSDKPrivate> sdk;
};

}  // namespace

TEST_F(NoTransport, RoutesEachCommandClass) {
    EXPECT_EQ(logic.conf, sdk.get());

    // The seven control commands go to the logic object with their data.
    const std::vector<std::string> logicCommands = {
        ORVANE::CONF::MUTEAUDIOLOCAL, ORVANE::CONF::MUTEAUDIO,   ORVANE::CONF::MUTEVIDEO,  ORVANE::CONF::MUTEALL,
        ORVANE::CONF::LOCKMEETING,    ORVANE::CONF::MAKEHOST,    ORVANE::CONF::MAKECOHOST,
    };
    for (const auto& c : logicCommands) sdk->sendCommand(c, R"({"x":1})");
    ASSERT_EQ(logic.commands.size(), logicCommands.size());
    for (size_t i = 0; i < logicCommands.size(); ++i) {
        EXPECT_EQ(logic.commands[i].first, logicCommands[i]);
        EXPECT_EQ(logic.commands[i].second, R"({"x":1})");
    }
    EXPECT_EQ(logs.count(kNoChannel), 0u);

    // REST commands, unknown ones too, reach the control channel unchanged.
    sdk->sendCommand(ORVANE::CONF::PING, "{}");
    sdk->sendCommand("noSuchCommand", "not json at all");
    sdk->sendCommand(ORVANE::CONF::SYNCDATA, "{}");
    EXPECT_EQ(logs.count(kNoChannel), 3u);

    // The state machine's commands do not touch the channel.
    sdk->sendCommand(ORVANE::CONF::REJECTCONF, "ignored");
    EXPECT_TRUE(logs.has("ConfStateMachine: state=AVSTATE_INIT, reject_conf enter"));
    EXPECT_EQ(logs.count(kNoChannel), 3u);
}

TEST_F(NoTransport, EndpointsNeedConfidAndDeviceNameNeedsJson) {
    sdk->sendCommand(ORVANE::CONF::ENDPOINTS, R"({"other":"x"})");
    sdk->sendCommand(ORVANE::CONF::ENDPOINTS, "[1,2]");
    sdk->sendCommand(ORVANE::CONF::ENDPOINTS, "{broken");
    EXPECT_EQ(logs.count(kNoChannel), 0u);
    sdk->sendCommand(ORVANE::CONF::ENDPOINTS, R"({"confid":""})");
    EXPECT_EQ(logs.count(kNoChannel), 1u);
    // A confid that is not a string is the application's error: logged, not sent.
    sdk->sendCommand(ORVANE::CONF::ENDPOINTS, R"({"confid":7})");
    EXPECT_EQ(logs.count(kNoChannel), 1u);
    EXPECT_TRUE(logs.has("json ERROR! confsdk:OrvaneSDKPrivate::sendCommand"));

    logs.clear();
    sdk->sendCommand(ORVANE::CONF::UPDATEDEVICENAME, "{not json");
    EXPECT_EQ(logs.count(kNoChannel), 0u);
    EXPECT_EQ(logs.countAt("json ERROR! confsdk:OrvaneSDKPrivate::sendCommand", spdlog::level::err), 1u);
    sdk->sendCommand(ORVANE::CONF::UPDATEDEVICENAME, R"({"name":"Room 1"})");
    EXPECT_EQ(logs.count(kNoChannel), 1u);
}

TEST_F(NoTransport, StartconfRunsTheMachineEvenWithBadData) {
    sdk->sendCommand(ORVANE::CONF::STARTCONF, "this is not json");
    EXPECT_TRUE(logs.has("json ERROR! confsdk:OrvaneSDKPrivate::parseConfinfo"));
    EXPECT_TRUE(logs.has("ConfSDK::sendCommand - STARTCONF, json data is null"));
    // A fresh machine stands in AVSTATE_INIT, where start_conf is not valid.
    EXPECT_TRUE(logs.has("ConfStateMachine: state=AVSTATE_INIT, start_conf enter"));
    EXPECT_EQ(logs.countAt("Warning: invalid op in current state!", spdlog::level::warn), 1u);
}

TEST(Dispatch, LeaveconfAlwaysEndsIdle) {
    for (int state : {0, 1, 3, 4, 5, 6, 7, 8, 9}) {
        Harness h;
        h.setState(state);
        h.sdk->sendCommand(ORVANE::CONF::LEAVECONF, "");
        EXPECT_EQ(h.state(), AVSTATE_IDLE) << "from state " << state;
        // In a meeting the BYE closes the record, and the flag with it.
        EXPECT_EQ(h.sdk->_conf.is_user_call_leave, state != AVSTATE_IN_MEETING) << "from state " << state;
        const int leave = h.logs.indexOf("---Call leave conf...--");
        const int done = h.logs.indexOf("---Call leave conf completed...--", leave);
        const int idle = h.logs.indexOf("----ConfState change to idle state---", done);
        EXPECT_TRUE(leave >= 0 && done > leave && idle > done);
    }
}

TEST(Dispatch, EndconfGoesToTheEngineOnly) {
    Harness h;
    ASSERT_EQ(h.initMedia("QC"), 0);
    h.setState(AVSTATE_IN_MEETING);
    h.sdk->sendCommand(ORVANE::CONF::ENDCONF, "ignored");
    EXPECT_EQ(h.engine.count("endMeeting"), 1u);
    EXPECT_TRUE(h.sdk->_conf.is_user_call_leave);
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_FALSE(h.logs.has("ConfStateMachine:"));
}

TEST(MediaService, InitCreatesWrapsAndReportsReady) {
    Harness h;
    // "QV": the engine is wrapped, so init waits for the UI thread.
    EXPECT_EQ(h.sdk->initMediaService("QV", "para"), 0);
    EXPECT_NE(h.sdk->av, nullptr);
    EXPECT_EQ(h.sdk->av, static_cast<ORVANE::AVSDK*>(h.sdk->avWrapper));
    EXPECT_EQ(h.engine.count("init"), 0u);
    EXPECT_EQ(h.app.count("confsdknotify_do_internal_task_must_in_ui_thread"), 1u);
    auto calls = h.engine.calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].name, "setListener");
    EXPECT_EQ(calls[1].name, "setOrvaneLogger");
    EXPECT_EQ(calls[1].args[0], "capture");
    h.runUiTasks();
    ASSERT_EQ(h.engine.count("init"), 1u);
    EXPECT_EQ(h.engine.callsOf("init")[0].args[0], "para");

    // A second call creates nothing and plays the engine's onSdkReady.
    h.app.clear();
    EXPECT_EQ(h.sdk->initMediaService("QC", "other"), 0);
    EXPECT_EQ(h.sdk->av_platform_name, "QV");
    auto media = h.app.ofType("AuthServiceEvent/onSdkReady");
    ASSERT_EQ(media.size(), 1u);
    EXPECT_EQ(media[0].data, R"({"result":0})");
}

TEST(MediaService, QcUsesTheEngineDirectlyAndNullEngineFails) {
    Harness h("QV");
    ORVANE::AVSDK_Factory::setCreator(nullptr);
    EXPECT_EQ(h.sdk->initMediaService("QC", ""), -1);
    EXPECT_EQ(h.sdk->av, nullptr);
    ORVANE::AVSDK_Factory::setCreator([&](const std::string&, const std::string&) { return &h.engine; });
    h.engine.setResult("init", 7);
    EXPECT_EQ(h.sdk->initMediaService("QC", ""), 7);
    EXPECT_EQ(h.sdk->av, &h.engine);
    EXPECT_EQ(h.sdk->avWrapper, nullptr);
    EXPECT_EQ(h.sdk->av_platform_name, "QC");
}

TEST(MediaService, ReinitClearsPerLoginState) {
    Harness h;
    h.initMedia("QC");
    {
        ORVANE::CallLock lock(h.sdk->callMutex());
        h.sdk->_conf.confid = "c1";
        h.sdk->_conf.microphone = false;
        h.sdk->muteAll = h.sdk->locked = true;
        h.sdk->epStatusList["16778240"].externalDeviceId = "dev";
        h.sdk->device_id = "my-device";
        h.sdk->stateMachine->cur_state = AVSTATE_IN_MEETING;
    }
    bool fired = false;
    uint64_t before;
    {
        ORVANE::CallLock lock(h.sdk->callMutex());
        before = h.sdk->add_timer_task(55, [&](std::string) { fired = true; }, "");
    }
    EXPECT_EQ(h.sdk->reinit(), 0);
    auto calls = h.engine.calls();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(calls[calls.size() - 2].name, "logout");
    EXPECT_EQ(calls.back().name, "deinit");
    EXPECT_EQ(h.sdk->_conf.confid, "");
    EXPECT_TRUE(h.sdk->_conf.microphone);
    EXPECT_FALSE(h.sdk->muteAll || h.sdk->locked);
    EXPECT_TRUE(h.sdk->epStatusList.empty());
    // Identity, state and engine stay.
    EXPECT_EQ(h.sdk->device_id, "my-device");
    EXPECT_EQ(h.state(), AVSTATE_IN_MEETING);
    EXPECT_EQ(h.sdk->av, &h.engine);
    // The pending time-out is gone for good, and ids go on counting.
    EXPECT_EQ(h.sdk->timerTasks.size(), 0u);
    h.advance(std::chrono::seconds(60));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(fired);
    ORVANE::CallLock lock(h.sdk->callMutex());
    EXPECT_EQ(h.sdk->add_timer_task(1, [](std::string) {}, ""), before + 1);
}

TEST(Identity, UniformUserAndMyInfo) {
    Harness h;
    {
        ORVANE::CallLock lock(h.sdk->callMutex());
        h.sdk->user_id = "u1";
        h.sdk->device_id = "d1";
        h.sdk->device_name = "Room One";
        h.sdk->_conf.dispname = "Alice";
    }
    EXPECT_EQ(h.sdk->getUniformUserID(), "u1");
    EXPECT_EQ(h.sdk->getUniformUserName(), "Alice");
    h.sdk->register_user_name = "Registered";
    EXPECT_EQ(h.sdk->getUniformUserName(), "Registered");
    h.sdk->is_meeting_room_device = true;
    EXPECT_EQ(h.sdk->getUniformUserID(), "d1");
    EXPECT_EQ(h.sdk->getUniformUserName(), "Room One");
    EXPECT_TRUE(h.sdk->isMeetingRoomDevice());
    const auto info = nlohmann::json::parse(h.sdk->getMyInfo());
    EXPECT_EQ(info["device_name"], "Room One");
    EXPECT_EQ(info["is_meeting_room_device"], true);
    EXPECT_EQ(info.size(), 10u);

    h.sdk->setMediaServiceUIType("customize");
    EXPECT_FALSE(h.sdk->customUiMode);
    h.sdk->setMediaServiceUIType("CUSTOMIZE");
    EXPECT_TRUE(h.sdk->customUiMode);
}

TEST(Identity, IsRunningByState) {
    Harness h;
    const bool expected[10] = {false, false, false, true, true, false, false, true, true, true};
    for (int s = 0; s < 10; ++s) {
        h.setState(s);
        EXPECT_EQ(h.sdk->isRunning(), expected[s]) << g_avStateNames[s];
    }
    EXPECT_TRUE(h.logs.has("  cur sts=AVSTATE_IN_MEETING, return ture;"));
    EXPECT_TRUE(h.logs.has("  cur sts=AVSTATE_IDLE, return false;"));
}

// With a transport, the rewritten commands on the wire.
TEST(DispatchWire, StartconfSendsGuestNameThenExtension) {
    Harness h;
    h.initMedia("QC");
    h.trans.guest = true;
    {
        ORVANE::CallLock lock(h.sdk->callMutex());
        h.sdk->device_id = "dev-9";
        CtrlSDKUtils::OrvaneCmdToJson::setCmdIdentity(false, "dev-9", "", "", "");
    }
    h.sdk->sendCommand(ORVANE::CONF::STARTCONF, R"({"dispname":"Guest Bob","extension":"204"})");
    auto sent = h.trans.sent();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0],
              R"({"id":"confUpdateGuestName","method":"quelmar","msg":"method","params":[{"payload":)"
              R"("{\"deviceName\":\"Guest Bob\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/dev-9/guestname"}]})");
    EXPECT_EQ(sent[1],
              R"({"id":"devicemgr_extension","method":"quelmar","msg":"method","params":[{"payload":)"
              R"("{\"extension\":\"204\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/dev-9/extension"}]})");

    // A meeting-room terminal, or no extension: nothing of the two.
    h.trans.clear();
    h.sdk->is_meeting_room_device = true;
    h.sdk->sendCommand(ORVANE::CONF::STARTCONF, R"({"dispname":"Room"})");
    EXPECT_TRUE(h.trans.sent().empty());
}

TEST(DispatchWire, EndpointsAndDeviceNameAreRewritten) {
    Harness h;
    {
        ORVANE::CallLock lock(h.sdk->callMutex());
        h.sdk->_conf.confid = "conf-7";
        h.sdk->device_id = "dev-1";
    }
    h.sdk->sendCommand(ORVANE::CONF::ENDPOINTS, R"({"confid":"","other":"dropped"})");
    h.sdk->sendCommand(ORVANE::CONF::ENDPOINTS, R"({"confid":"conf-8","version":"9.9"})");
    h.sdk->sendCommand(ORVANE::CONF::UPDATEDEVICENAME, R"({"devicename":"Board room","deviceid":"spoofed"})");
    auto sent = h.trans.sent();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0], R"({"id":"confControlendpoints","method":"quelmar","msg":"method","params":[{"payload":"null",)"
                       R"("type":"get","url":"/api/quelmar/confmgr/2.0/conference/conf-7/controlpanel/"}]})");
    // Every key but "confid" is dropped, "version" too.
    EXPECT_EQ(sent[1], R"({"id":"confControlendpoints","method":"quelmar","msg":"method","params":[{"payload":"null",)"
                       R"("type":"get","url":"/api/quelmar/confmgr/2.0/conference/conf-8/controlpanel/"}]})");
    EXPECT_EQ(sent[2],
              R"({"id":"confUpdatedevicename","method":"quelmar","msg":"method","params":[{"payload":)"
              R"("{\"deviceName\":\"Board room\"}","type":"put","url":"/api/quelmar/devicemgr/1.0/device/dev-1/name"}]})");
}

TEST(DispatchWire, SyncdataFallsBackToTheApplicationsText) {
    Harness h;
    h.sdk->sendCommand(ORVANE::CONF::SYNCDATA, R"({"synctype":"conference","conferenceid":"c1","recordStatus":true})");
    EXPECT_EQ(h.trans.last(),
              R"({"id":"confSyncdata","method":"quelmar","msg":"method","params":[{"payload":"{\"recordStatus\":true}",)"
              R"("type":"put","url":"/api/quelmar/confmgr/2.0/conference/c1/syncdata"}]})");
}
