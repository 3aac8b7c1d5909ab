// Control commands carried out on the media engine: which engine call each
// becomes, the device-to-engine id translation, and what stops a command.
#include <gtest/gtest.h>

#include "harness.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;

namespace {

struct Commands : ::testing::Test {
    Commands() {
        h.initMedia("QC");
        CallLock lock(h.sdk->callMutex());
        h.sdk->epStatusList["16778240"].externalDeviceId = "dev-b";
    }
    // The engine calls one command made, as "name(arg,arg)".
    std::vector<std::string> run(const std::string& type, const std::string& data) {
        h.engine.clearCalls();
        h.sdk->sendCommand(type, data);
        std::vector<std::string> out;
        for (const auto& c : h.engine.calls()) {
            std::string line = c.name + "(";
            for (size_t i = 0; i < c.args.size(); ++i) line += (i ? "," : "") + c.args[i];
            out.push_back(line + ")");
        }
        return out;
    }
    Harness h{"QC"};
};

using Calls = std::vector<std::string>;

}  // namespace

TEST_F(Commands, EachCommandBecomesItsEngineCall) {
    EXPECT_EQ(run(CONF::MUTEAUDIOLOCAL, R"({"mute":true})"), Calls{"muteLocalAudio()"});
    h.engine.setBool("canUnmuteByMyself", true);
    EXPECT_EQ(run(CONF::MUTEAUDIOLOCAL, R"({"mute":false})"), (Calls{"canUnmuteByMyself()", "unmuteLocalAudio()"}));
    EXPECT_EQ(run(CONF::MUTEAUDIO, R"({"guid":"dev-b","mute":true})"), Calls{"muteAudio(16778240,false)"});
    EXPECT_EQ(run(CONF::MUTEAUDIO, R"({"guid":"dev-b","mute":false})"), Calls{"unmuteAudio(16778240)"});
    EXPECT_EQ(run(CONF::MUTEALL, R"({"mute":true,"allowUnmute":true})"), Calls{"muteAllAudio(true)"});
    EXPECT_EQ(run(CONF::MUTEALL, R"({"mute":false,"allowUnmute":false})"), Calls{"unmuteAllAudio()"});
    EXPECT_EQ(run(CONF::MUTEVIDEO, R"({"guid":"dev-b","mute":true})"), Calls{"muteVideo(16778240)"});
    EXPECT_EQ(run(CONF::MUTEVIDEO, R"({"guid":"dev-b","mute":false})"), Calls{"unmuteVideo(16778240)"});
    EXPECT_EQ(run(CONF::MAKEHOST, R"({"externalDeviceId":"dev-b"})"), Calls{"setHost(16778240)"});
    EXPECT_EQ(run(CONF::MAKECOHOST, R"({"externalDeviceId":"dev-b","bCohost":true})"),
              Calls{"assignCohost(16778240)"});
    EXPECT_EQ(run(CONF::MAKECOHOST, R"({"externalDeviceId":"dev-b","bCohost":false})"),
              Calls{"revokeCohost(16778240)"});
    EXPECT_EQ(run(CONF::LOCKMEETING, R"({"lock":false})"), Calls{"lockMeeting(false)"});
    EXPECT_TRUE(h.logs.has("lock meeting bLock=false, ret=0\n"));
    EXPECT_TRUE(h.logs.has("set 16778240 bCohost=true, ret=0\n"));
}

TEST_F(Commands, AHeldMuteCannotBeLiftedLocally) {
    EXPECT_EQ(run(CONF::MUTEAUDIOLOCAL, R"({"mute":false})"), Calls{"canUnmuteByMyself()"});
    EXPECT_EQ(h.logs.countAt("unmute audio local ret= can not unmute byself\n", spdlog::level::warn), 1u);
}

TEST_F(Commands, IncompleteOrUnknownParticipantsDoNothing) {
    const std::vector<std::pair<const char*, const char*>> nothing = {
        {CONF::MUTEALL, R"({"mute":false})"},                    // both keys needed
        {CONF::MUTEVIDEO, R"({"guid":"dev-unknown","mute":true})"},  // not in the meeting
        {CONF::MUTEAUDIO, R"({"mute":true})"},
        {CONF::MAKEHOST, "not json"},
        {CONF::LOCKMEETING, "{}"},
        {CONF::MAKECOHOST, R"({"externalDeviceId":"dev-b"})"},
    };
    h.logs.clear();
    for (const auto& [type, data] : nothing) EXPECT_TRUE(run(type, data).empty()) << type << " " << data;
    for (const auto& line : h.logs.lines())
        EXPECT_EQ(line.text.find("ret"), std::string::npos) << line.text;

    // A wrong type is the application's error: logged at the command entry.
    EXPECT_TRUE(run(CONF::LOCKMEETING, R"({"lock":"yes"})").empty());
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:OrvaneSDKPrivate::sendCommand"));
}

TEST(CommandsOnQv, GoThroughTheUiThread) {
    Harness h("QV");
    h.initMedia("QV");
    h.engine.clearCalls();
    h.app.clear();
    h.sdk->sendCommand(CONF::MUTEALL, R"({"mute":true,"allowUnmute":false})");
    EXPECT_EQ(h.engine.count("muteAllAudio"), 0u);
    EXPECT_EQ(h.app.count("confsdknotify_do_internal_task_must_in_ui_thread"), 1u);
    h.runUiTasks();
    ASSERT_EQ(h.engine.count("muteAllAudio"), 1u);
    EXPECT_EQ(h.engine.callsOf("muteAllAudio")[0].args[0], "false");
}
