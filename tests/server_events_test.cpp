// The switchboard of server events: participants with the status merge,
// control commands, the transport's own events, device name changes, H.323
// orders, and what happens to events of the wrong shape.
#include <gtest/gtest.h>

#include "harness.h"
#include "orvane/vocabulary.h"
#include "server_events.h"

using namespace orvtest;
using namespace ORVANE;

namespace {

class RecordingLogic : public OrvaneLogic_Interface {
public:
    void onCtrlNotify(const std::string& type, const std::string& data) override { notes.emplace_back(type, data); }
    std::vector<std::pair<std::string, std::string>> notes;
};

json endpoint(const std::string& deviceId, const std::string& guid, const std::string& extId) {
    return json{{"deviceId", deviceId},     {"externalGuid", guid}, {"externalDeviceId", extId},
                {"name", "Bob " + guid},    {"adminMute", false},   {"videoMute", false},
                {"isOperator", false},      {"userId", "u"}};
}

json participant(const std::string& operation, const json& ep, json extra = json::object()) {
    extra["event"] = "confmgr_endpoint_change";
    extra["operation"] = operation;
    extra["endpoint"] = ep;
    return extra;
}

struct Events : ::testing::Test {
    Events() {
        h.initMedia("QC");
        CallLock lock(h.sdk->callMutex());
        h.sdk->device_id = "dev-me";
    }
    void send(const std::string& kind, const json& element) { deliverEvent(h.trans, kind, element); }
    std::map<std::string, EpStatus> cache() {
        CallLock lock(h.sdk->callMutex());
        return h.sdk->epStatusList;
    }
    Harness h;
};

}  // namespace

TEST_F(Events, JoinMergesTheEnginesViewIntoTheEndpoint) {
    AvUserInfo host;
    host.isHost = true;
    host.audioMuted = true;
    host.name = "Bob";
    h.engine.setUsers({{"16778240", host}});
    send("confmanager_event", participant("confmgr_participant_join", endpoint("dev-b", "16778240", "ext-b")));

    auto joins = h.app.ofType("0/confmanager_event");
    ASSERT_EQ(joins.size(), 1u);
    const json ep = json::parse(joins[0].data)[0]["endpoint"];
    EXPECT_EQ(ep["adminMute"], true);
    EXPECT_EQ(ep["isHost"], true);
    EXPECT_EQ(ep["isCohost"], false);
    EXPECT_EQ(ep["isOperator"], true);
    EXPECT_EQ(ep["videoMute"], false);
    EXPECT_EQ(ep["userId"], "u");  // the server's other keys stay
    auto entry = cache().at("16778240");
    EXPECT_EQ(entry.externalDeviceId, "ext-b");
    EXPECT_EQ(entry.name, "Bob 16778240");
    EXPECT_TRUE(h.logs.has("confsdk: confmgr_participant_join status merged\n"));
}

TEST_F(Events, AParticipantBackUnderANewIdKeepsOneEntry) {
    send("confmanager_event", participant("confmgr_participant_join", endpoint("dev-b", "16778240", "ext-b")));
    send("confmanager_event", participant("confmgr_participant_join", endpoint("dev-b", "16778241", "ext-b")));
    auto c = cache();
    ASSERT_EQ(c.size(), 1u);
    EXPECT_EQ(c.begin()->first, "16778241");
    EXPECT_EQ(h.app.count("0/confmanager_event"), 2u);
}

TEST_F(Events, EmptyGuidAndSimulatedParticipants) {
    // No engine id yet: forwarded with the server's own values, cache untouched.
    json ep = endpoint("dev-b", "", "ext-b");
    ep["adminMute"] = true;
    send("confmanager_event", participant("confmgr_participant_join", ep));
    ASSERT_EQ(h.app.count("0/confmanager_event"), 1u);
    EXPECT_EQ(json::parse(h.app.ofType("0/confmanager_event")[0].data)[0]["endpoint"]["adminMute"], true);
    EXPECT_TRUE(cache().empty());

    // Already reported by simulation: dropped.
    h.sdk->simulatedGuids.push_back("16778242");
    send("confmanager_event", participant("confmgr_participant_join", endpoint("dev-c", "16778242", "ext-c")));
    EXPECT_EQ(h.app.count("0/confmanager_event"), 1u);
}

TEST_F(Events, OwnJoinFillsTheRecordOnlyOnce) {
    h.engine.setBool("isHostUser", true);
    json first = participant("confmgr_participant_join", endpoint("dev-me", "16778240", "ext-me"),
                             {{"conferenceId", "conf-1"}, {"conferenceDialNumber", "8001"}, {"waitingRoom", "enable"}});
    send("confmanager_event", first);
    EXPECT_EQ(h.sdk->_conf.confid, "conf-1");
    EXPECT_EQ(h.sdk->_conf.dialnum, "8001");
    EXPECT_EQ(h.engine.callsOf("enableWaitingRoom").size(), 1u);
    // As host: controller twice (own join, then the event), device sync stays home.
    std::vector<std::string> ids;
    for (const auto& t : h.trans.sent()) ids.push_back(json::parse(t)["id"]);
    EXPECT_EQ(ids, (std::vector<std::string>{"turnascontroller", "turnascontroller"}));
    EXPECT_EQ(json::parse(h.trans.last())["params"][0]["url"],
              "/api/quelmar/confmgr/2.0/conference/conf-1/endpoint/dev-me/turnascontroller");

    json second = first;
    second["conferenceId"] = "conf-2";
    send("confmanager_event", second);
    EXPECT_EQ(h.sdk->_conf.confid, "conf-1");
    EXPECT_EQ(h.engine.callsOf("enableWaitingRoom").size(), 1u);
}

TEST_F(Events, LeaveRemovesTheEntryAndIsForwarded) {
    send("confmanager_event", participant("confmgr_participant_join", endpoint("dev-b", "16778240", "ext-b")));
    h.app.clear();
    const json leave = participant("confmgr_participant_leave", endpoint("dev-b", "16778240", "ext-b"));
    send("confmanager_event", leave);
    EXPECT_TRUE(cache().empty());
    send("confmanager_event", leave);  // no entry: still forwarded, still logged
    auto leaves = h.app.ofType("0/confmanager_event");
    ASSERT_EQ(leaves.size(), 2u);
    EXPECT_EQ(json::parse(leaves[1].data), json::array({leave}));
    EXPECT_EQ(h.logs.count("confsdk: confmgr_participant_leave status merged\n"), 2u);
}

TEST_F(Events, OtherConferenceEventsAreForwardedAsTheyCame) {
    const json change = participant("confmgr_participant_update", endpoint("dev-b", "1", "x"));
    send("confmanager_event", change);
    send("confmanager_event", json{{"event", "confmgr_conference_locked"}, {"locked", true}});
    auto events = h.app.ofType("0/confmanager_event");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].data, json::array({change}).dump());
    send("devicemgr_event", json{{"event", "devicemgr_other"}});
    EXPECT_EQ(h.app.count("0/devicemgr_event"), 1u);
}

TEST(ControlCommands, GoToTheLogicInOrderAndNotToTheApplication) {
    RecordingLogic logic;
    SdkEnv env;
    env.logic = &logic;
    Harness h("QV", env);
    for (const char* e : {"ctrl_cmd_mute", "ctrl_cmd_mute_all", "ctrl_cmd_block_video", "ctrl_cmd_lock_meeting",
                          "ctrl_cmd_start_sync_control_panel", "ctrl_cmd_make_host", "ctrl_cmd_make_cohost",
                          "ctrl_cmd_record_meeting"})
        deliverEvent(h.trans, "confmanager_event", json{{"event", e}, {"cmdId", e}});
    ASSERT_EQ(logic.notes.size(), 8u);
    EXPECT_EQ(logic.notes[0].first, "0/confmanager_event");
    EXPECT_EQ(json::parse(logic.notes[0].second)[0]["cmdId"], "ctrl_cmd_mute");
    EXPECT_EQ(json::parse(logic.notes[7].second)[0]["cmdId"], "ctrl_cmd_record_meeting");
    EXPECT_EQ(h.app.count("0/confmanager_event"), 0u);
}

TEST_F(Events, TransportAutonomyAndDeviceNames) {
    send("trans_server_autonomy", json{{"event", "trans_autonomic_action"}, {"action", "BE_LOGOUT"}});
    send("trans_server_autonomy", json{{"event", "trans_autonomic_action"}, {"action", "OTHER"}});
    auto logout = h.app.ofType("trans_server_autonomy");
    ASSERT_EQ(logout.size(), 1u);
    EXPECT_EQ(logout[0].data, R"({"action":"BE_LOGOUT"})");

    send("devicemgr_event", json{{"event", "devicemgr_device_change_device_name"}, {"deviceId", "dev-other"},
                                 {"deviceName", "Stolen"}});
    EXPECT_EQ(h.sdk->device_name, "");
    EXPECT_EQ(h.app.count("confsdknotify_DEVICE_NAME_CHANGED"), 0u);
    EXPECT_TRUE(h.logs.has("Error: recv msg devicemgr_device_change_device_name, but the dev_id is different"));
    send("devicemgr_event", json{{"event", "devicemgr_device_change_device_name"}, {"deviceId", "dev-me"},
                                 {"deviceName", "Board"}});
    EXPECT_EQ(h.sdk->device_name, "Board");
    ASSERT_EQ(h.app.count("confsdknotify_DEVICE_NAME_CHANGED"), 1u);
    EXPECT_EQ(h.app.ofType("confsdknotify_DEVICE_NAME_CHANGED")[0].data,
              R"({"deviceId":"dev-me","deviceName":"Board"})");
}

TEST_F(Events, H323Orders) {
    send("callmaster_ctrl_cmd", json{{"event", "ctrl_cmd_hang_up_h323"}, {"cmdId", "c1"}, {"sdkUserId", "777"}});
    auto hangups = h.engine.callsOf("hangupH323device");
    ASSERT_EQ(hangups.size(), 1u);
    EXPECT_EQ(hangups[0].args, (std::vector<std::string>{"777", "c1"}));
    // A call-out without all five device keys is a JSON error.
    send("callmaster_ctrl_cmd", json{{"event", "ctrl_cmd_call_out_h323"}, {"cmdId", "c2"},
                                     {"h323Device", {{"deviceName", "Room"}, {"dialString", "10.0.0.1"}}}});
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:OrvaneSDKPrivate::onCtrlNotify"));
}

TEST_F(Events, WhatIsNotAnEventNeverReachesTheApplication) {
    const std::vector<std::pair<std::string, std::string>> bad = {
        {"0/confmanager_event", "[null]"},
        {"0/devicemgr_event", "[null]"},
        {"0/unknown_event", "[{}]"},
        {"noslash", "[{}]"},
        {"0/confmanager_event", "{\"event\":\"x\"}"},
        {"0/confmanager_event", "[{\"noevent\":1}]"},
        {"0/confmanager_event", "[{\"event\":5}]"},
        {"0/confmanager_event", "[{\"event\":\"confmgr_endpoint_change\"}]"},
        {"0/confmanager_event", "[{\"event\":\"confmgr_endpoint_change\",\"operation\":\"confmgr_participant_join\"}]"},
        {"0/confmanager_event",
         "[{\"event\":\"confmgr_endpoint_change\",\"operation\":\"confmgr_participant_leave\",\"endpoint\":[]}]"},
        {"0/devicemgr_event", "not json"},
        {"0/callmaster_event", "[]"},
        {"0/callmaster_event", "[{\"startLine\":{}}]"},
        {"0/trans_server_autonomy", "[7]"},
    };
    h.app.clear();
    for (const auto& [type, data] : bad) {
        h.trans.deliver(json{{"msg", "changed"},
                             {"collection", "stream-quelmar-notify-user"},
                             {"fields", {{"eventName", type}, {"args", json::parse(data, nullptr, false).is_discarded()
                                                                              ? json(data)
                                                                              : json::parse(data)}}}}
                            .dump());
    }
    EXPECT_TRUE(h.app.events().empty());
    EXPECT_EQ(h.logs.count("json error, the args from server is null, skipped!!\n"), 2u);
    EXPECT_EQ(h.logs.count("confsdk onCtrlNotify: SKIP type="), 2u);
}
