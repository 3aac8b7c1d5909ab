// Replies to the library's commands: those the library keeps, and those that
// go on to the application as they came.
#include <gtest/gtest.h>

#include "call_fixture.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;

namespace {

class RecordingLogic : public OrvaneLogic_Interface {
public:
    void onCtrlCommand(const std::string& type, const std::string& data) override { replies.emplace_back(type, data); }
    std::vector<std::pair<std::string, std::string>> replies;
};

std::string reply(const std::string& id, const json& data) {
    json msg = {{"msg", "result"}, {"id", id}};
    if (!data.is_null()) msg["data"] = data;
    return msg.dump();
}

}  // namespace

TEST(Replies, LoginInfoGivesTheUserId) {
    Harness h;
    h.trans.deliver(R"({"msg":"internal_info","userid":"u-42","token":"t","fileserver":"wss://f"})");
    EXPECT_EQ(h.sdk->user_id, "u-42");
    EXPECT_EQ(h.app.events().size(), 0u);
    // The identity now reaches the searches.
    h.sdk->sendCommand(CONF::ROOMSEARCH, "{}");
    EXPECT_NE(h.trans.last().find("meetingroom/search?userid=u-42"), std::string::npos);
    // Without a user id it stays.
    h.trans.deliver(R"({"msg":"internal_info"})");
    EXPECT_EQ(h.sdk->user_id, "u-42");
}

TEST(Replies, EndpointListGoesToTheLogicOnQvAndToTheApplicationOnQc) {
    RecordingLogic logic;
    SdkEnv env;
    env.logic = &logic;
    Harness qv("QV", env);
    qv.sdk->sendCommand(CONF::ENDPOINTS, R"({"confid":"c1"})");
    qv.trans.deliver(reply("confControlendpoints", {{"endpoints", json::array()}}));
    ASSERT_EQ(logic.replies.size(), 1u);
    EXPECT_EQ(logic.replies[0].first, "confControlendpoints");
    EXPECT_EQ(qv.app.count("confControlendpoints"), 0u);

    Harness qc("QC");
    qc.initMedia("QC");
    qc.sdk->sendCommand(CONF::ENDPOINTS, R"({"confid":"c1"})");
    qc.trans.deliver(reply("confControlendpoints", {{"endpoints", json::array()}}));
    ASSERT_EQ(qc.app.count("confControlendpoints"), 1u);
    EXPECT_EQ(qc.app.ofType("confControlendpoints")[0].kind, "command");
}

TEST(Replies, DeviceNameReplyUpdatesTheIdentity) {
    Harness h;
    h.sdk->sendCommand(CONF::UPDATEDEVICENAME, R"({"devicename":"Board"})");
    h.trans.deliver(reply("confUpdatedevicename", {{"deviceName", "Board room"}}));
    EXPECT_EQ(h.sdk->device_name, "Board room");
    EXPECT_EQ(h.app.count("confUpdatedevicename"), 1u);

    // The name missing: logged, identity kept, the application hears nothing.
    h.trans.deliver(reply("confUpdatedevicename", {{"other", 1}}));
    EXPECT_EQ(h.sdk->device_name, "Board room");
    EXPECT_EQ(h.app.count("confUpdatedevicename"), 1u);
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:OrvaneSDKPrivate::onCtrlCommand"));
}

TEST(Replies, LegacyListIsDroppedAndOthersPassUnchanged) {
    Harness h;
    h.sdk->sendCommand(CONF::LEGACYS, R"({"type":"h323"})");
    h.trans.deliver(reply("confControllegacys", {{"list", json::array()}}));
    EXPECT_EQ(h.app.count("confControllegacys"), 0u);

    h.sdk->sendCommand(CONF::INFO, R"({"confid":"c9"})");
    const std::string answer = reply("confinfo", {{"subject", "x"}});
    h.trans.deliver(answer);
    auto got = h.app.ofType("confinfo");
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(json::parse(got[0].data), json({{"reqdata", R"({"confid":"c9"})"}, {"result", json::parse(answer)}}));
    // A server failure reaches the application inside the reply.
    h.trans.deliver(R"({"msg":"result","id":"confinfo","error":{"code":404}})");
    EXPECT_EQ(h.app.ofType("confinfo")[1].data, R"({"reqdata":"{\"confid\":\"c9\"}"})");
}
