// The loopback transport and the simulated servers at the wire: the test
// plays the library, sending what it would send and reading what comes back.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "loopback_transport.h"
#include "sim_servers.h"

using json = nlohmann::json;
using namespace std::chrono_literals;
using orvsim::LoopbackTransport;
using orvsim::SimServers;

namespace {

// The library's receiver: what arrived, and on which thread.
struct Recorder : ORVANE::TransSDK::Process {
    void onProcess(const std::string& name, const std::string& data) override {
        std::lock_guard<std::mutex> lock(mutex);
        texts.push_back(name == "textmessage_process" ? data : "?" + name);
        thread = std::this_thread::get_id();
        if (onMessage) onMessage(data);
    }
    std::vector<std::string> all() {
        std::lock_guard<std::mutex> lock(mutex);
        return texts;
    }
    std::mutex mutex;
    std::vector<std::string> texts;
    std::thread::id thread;
    std::function<void(const std::string&)> onMessage;
};

std::string signalWire(const json& signal) {
    const std::string id = signal["startLine"]["command"].get<std::string>() + "_MQ_CALLMASTER";
    return json{{"id", id}, {"method", "quelmar"}, {"msg", "method"},
                {"params", {{{"id", id}, {"payload", signal}, {"type", "MQ_CALLMASTER"}}}}}
        .dump();
}

std::string restWire(const std::string& id, const std::string& url, const std::string& payload = "null") {
    return json{{"id", id}, {"method", "quelmar"}, {"msg", "method"},
                {"params", {{{"payload", payload}, {"type", "get"}, {"url", url}}}}}
        .dump();
}

json invite(const std::string& to, const std::string& callId, const json& body = json::object()) {
    json b = {{"joinPassword", ""}, {"deviceName", "Ann"}, {"force", false}};
    b.update(body);
    return {{"startLine", {{"command", "INVITE"}}},
            {"signalHeader", {{"from", {{"dialNumber", "1001"}}}, {"to", {{"dialNumber", to}}},
                              {"cseq", "123456789 INVITE"}, {"callId", callId}}},
            {"signalBody", b}};
}

json with(json signal, const std::string& command, const std::string& cseq = "") {
    signal["startLine"] = {{"command", command}};
    if (!cseq.empty()) signal["signalHeader"]["cseq"] = "123456789 " + cseq;
    return signal;
}

const std::string kC = "/api/quelmar/confmgr/2.0/";

struct Servers : ::testing::Test {
    Servers() {
        transport.addProcess(&library);
        sims.addConference({"conf-8001", "8001", "99001", "Weekly", "", false, ""});
        sims.addConference({"conf-8003", "8003", "99003", "Board", "1234", false, ""});
        sims.addConference({"conf-8004", "8004", "99004", "Room 4", "", true, "conf-holder"});
    }
    // What reaches the library while `action` runs and the wire drains.
    template <typename F>
    std::vector<json> during(F action) {
        const size_t before = library.all().size();
        action();
        EXPECT_TRUE(transport.idle());
        std::vector<json> out;
        const auto texts = library.all();
        for (size_t i = before; i < texts.size(); ++i) out.push_back(json::parse(texts[i]));
        return out;
    }
    std::vector<json> exchange(const std::string& text) {
        return during([&] { transport.sendTextMessage(text); });
    }
    // The one server event or reply that comes back.
    json one(const std::vector<json>& got) {
        EXPECT_EQ(got.size(), 1u);
        return got.empty() ? json() : got[0];
    }
    static json element(const json& m) { return m.at("fields").at("args").at(0); }
    json answer(const json& signal) { return element(one(exchange(signalWire(signal)))); }
    json rest(const std::string& id, const std::string& url, const std::string& payload = "null") {
        return one(exchange(restWire(id, url, payload)));
    }
    // An outgoing call on 8001, up to "in-call"; returns the ACCEPTED.
    json activeCall(const std::string& callId) {
        json accepted = answer(invite("8001", callId));
        json ack = with(accepted, "ACK", "ACK");
        ack["signalBody"]["externalGuid"] = "16778240";
        EXPECT_TRUE(exchange(signalWire(ack)).empty());
        return accepted;
    }

    Recorder library;
    LoopbackTransport transport;
    SimServers sims{transport};
};

}  // namespace

TEST(LoopbackTransport, CarriesBothDirectionsInOrderOnItsOwnThreadAndTracesThem) {
    Recorder lib;
    LoopbackTransport t;
    std::mutex m;
    std::vector<std::string> atServer, traced;
    t.addProcess(&lib);
    t.setServer([&](const std::string& text) {
        std::lock_guard<std::mutex> lock(m);
        atServer.push_back(text);
    });
    t.setTrace([&](bool toServer, const std::string& text) {
        std::lock_guard<std::mutex> lock(m);
        traced.push_back((toServer ? ">" : "<") + text);
    });
    std::vector<std::string> up, down;
    for (int i = 0; i < 20; ++i) {
        up.push_back("up" + std::to_string(i));
        down.push_back("down" + std::to_string(i));
        t.sendTextMessage(up.back());
        t.deliver(down.back());
    }
    ASSERT_TRUE(t.idle());
    EXPECT_EQ(lib.all(), down);
    EXPECT_EQ(atServer, up);
    EXPECT_NE(lib.thread, std::this_thread::get_id());
    ASSERT_EQ(traced.size(), 40u);
    EXPECT_EQ(traced[0], ">up0");
    EXPECT_EQ(traced[1], "<down0");
}

TEST(LoopbackTransport, ADelayHoldsBackOnlyItsOwnDirection) {
    Recorder lib;
    LoopbackTransport t;
    std::atomic<int> upHandled{0};
    std::atomic<size_t> downBeforeUp{99};
    t.addProcess(&lib);
    t.setServer([&](const std::string&) {
        downBeforeUp = lib.all().size();
        ++upHandled;
    });
    const auto start = std::chrono::steady_clock::now();
    t.deliver("late", 200ms);
    t.deliver("after");
    t.sendTextMessage("up");
    EXPECT_FALSE(t.idle(50ms));
    EXPECT_EQ(upHandled, 1);
    EXPECT_EQ(downBeforeUp, 0u);
    ASSERT_TRUE(t.idle());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_EQ(lib.all(), (std::vector<std::string>{"late", "after"}));
}

TEST(LoopbackTransport, HandlersMaySendAtOnceAndReplacingTheServerWaitsForIt) {
    Recorder lib;
    LoopbackTransport t;
    std::atomic<int> rounds{0};
    t.addProcess(&lib);
    // Ping-pong from inside both handlers: the transport holds no lock there.
    lib.onMessage = [&](const std::string&) {
        if (!t.isGuestLogined() && rounds < 50) t.sendTextMessage("ping");
    };
    t.setServer([&](const std::string&) {
        ++rounds;
        t.deliver("pong");
    });
    t.deliver("start");
    ASSERT_TRUE(t.idle());
    EXPECT_EQ(rounds, 50);

    // The servers' destructor relies on this: no call into the old handler
    // is still running once setServer returns.
    std::atomic<bool> inside{false}, finished{false};
    t.setServer([&](const std::string&) {
        inside = true;
        std::this_thread::sleep_for(100ms);
        finished = true;
    });
    t.sendTextMessage("slow");
    while (!inside) std::this_thread::yield();
    t.setServer(nullptr);
    EXPECT_TRUE(finished);
}

TEST(LoopbackTransport, ErrorTextsGuestFlagAndNoReceiver) {
    LoopbackTransport t;
    for (const char* id : {"CONFERENCE_ROOM_CONFLICT", "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE", "HOST_DISCONNECT",
                           "EndMeetingReason_NetworkBroken", "AVSDK_AVSERVER_LOGIN_FAILED", "CONFSDK_NO_ACCEPTED",
                           "CONFSDK_JOIN_FAIL_MEETING_NOT_EXIST", "CONFSDK_TIMEOUT_ON_JOIN"})
        EXPECT_NE(t.getErrMsgFromId(id).find(' '), std::string::npos) << id;  // a sentence, not the id
    EXPECT_EQ(t.getErrMsgFromId("NO_SUCH_ID"), "NO_SUCH_ID");
    t.setErrMsg("HOST_DISCONNECT", "Bye.");
    EXPECT_EQ(t.getErrMsgFromId("HOST_DISCONNECT"), "Bye.");
    EXPECT_FALSE(t.isGuestLogined());
    t.setGuest(true);
    EXPECT_TRUE(t.isGuestLogined());
    t.deliver("nobody listens");  // lost, and the wire still drains
    EXPECT_TRUE(t.idle());
}

TEST_F(Servers, AttachSendsLoginInfoThenTheDeviceRegistration) {
    const auto got = during([&] { sims.attach(); });
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(got[0].value("msg", ""), "internal_info");
    EXPECT_EQ(got[0].value("userid", ""), "u-1001");
    EXPECT_TRUE(got[0].contains("token") && got[0].contains("fileserver"));
    EXPECT_EQ(got[1].at("fields").at("eventName"), "0/devicemgr_event");
    json reg = element(got[1]);
    EXPECT_EQ(reg.value("event", ""), "device_register");
    EXPECT_EQ(reg.value("deviceId", ""), "dev-1001");
    EXPECT_EQ(reg.value("mediaPlatform", ""), "QV");
    EXPECT_EQ(reg.value("qvUserName", ""), "room1001");
    EXPECT_EQ(reg.value("qvPassword", ""), "bWVkaWEtc2VjcmV0");

    // base64 of every length; "QC" carries no media account.
    auto registration = [](const std::string& platform, const std::string& password) {
        Recorder lib;
        LoopbackTransport t;
        t.addProcess(&lib);
        SimServers::Device d;
        d.mediaPlatform = platform;
        d.qvPassword = password;
        SimServers s(t, d);
        s.attach();
        EXPECT_TRUE(t.idle());
        return element(json::parse(lib.all().at(1)));
    };
    EXPECT_EQ(registration("QV", "pass").value("qvPassword", ""), "cGFzcw==");
    EXPECT_EQ(registration("QV", "pass1").value("qvPassword", ""), "cGFzczE=");
    EXPECT_FALSE(registration("QC", "pass").contains("qvPassword"));
}

TEST_F(Servers, RegisterGetsOkAndInviteGetsAcceptedThenAckCompletesTheCall) {
    json reg = {{"startLine", {{"command", "REGISTER"}}},
                      {"signalHeader", {{"from", {{"dialNumber", "1001"}}}, {"to", json::object()},
                                        {"cseq", "123456789 REGISTER"}, {"callId", "r-1"}}},
                      {"signalBody", {{"SdpParameters", json::object()}}}};
    EXPECT_EQ(answer(reg), with(reg, "OK"));

    json sent = invite("8001", "c-1");
    json accepted = answer(sent);
    EXPECT_FALSE(accepted["signalHeader"]["contact"].empty());
    accepted["signalHeader"].erase("contact");
    EXPECT_EQ(accepted["signalHeader"], sent["signalHeader"]);
    EXPECT_EQ(accepted["startLine"], json({{"command", "ACCEPTED"}}));
    EXPECT_EQ(accepted["signalBody"], json({{"externalDialNumber", "99001"}, {"conferenceId", "conf-8001"}}));
    EXPECT_EQ(sims.callState(), "accepted");
    EXPECT_TRUE(exchange(signalWire(with(accepted, "ACK", "ACK"))).empty());
    EXPECT_EQ(sims.callState(), "in-call");
    EXPECT_EQ(sims.signals("INVITE").size(), 1u);
    EXPECT_EQ(sims.signals().size(), 3u);
}

TEST_F(Servers, RefusedInvitesCarryTheInvitesHeader) {
    struct Case {
        std::string to;
        json body;
        int code;
        std::string message;
    };
    int n = 0;
    for (const auto& c : std::vector<Case>{{"7777", json::object(), 404, "CONFERENCE_NOT_EXIST"},
                                           {"8003", json::object(), 403, "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE"},
                                           {"8003", {{"joinPassword", "9"}}, 403, "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE"},
                                           {"8004", json::object(), 409, "CONFERENCE_ROOM_CONFLICT"}}) {
        json sent = invite(c.to, "c-" + std::to_string(++n), c.body);
        json error = answer(sent);
        EXPECT_EQ(error["signalHeader"], sent["signalHeader"]) << c.message;
        EXPECT_EQ(error["startLine"]["command"], "ERROR");
        EXPECT_EQ(error["startLine"]["statusCode"]["code"], c.code);
        EXPECT_EQ(error["startLine"]["statusCode"]["message"], c.message);
        if (c.code == 409) {
            EXPECT_EQ(error["startLine"]["statusCode"]["reason"], json::parse(R"([{"conferenceId":"conf-holder"}])"));
        }
        EXPECT_EQ(sims.callState(), "ended");
    }
    // The right passcode, and force on the busy room, get in.
    EXPECT_EQ(answer(invite("8003", "c-8", {{"joinPassword", "1234"}}))["startLine"]["command"], "ACCEPTED");
    EXPECT_EQ(answer(invite("8004", "c-9", {{"force", true}}))["startLine"]["command"], "ACCEPTED");
}

TEST_F(Servers, TheLibrarysByeOrErrorEndsTheCall) {
    activeCall("c-1");
    json bye = {{"startLine", {{"command", "BYE"}}},
                      {"signalHeader", {{"callId", "an-id-of-its-own"}, {"cseq", "123456789 BYE"}}},
                      {"signalBody", json::object()}};
    EXPECT_TRUE(exchange(signalWire(bye)).empty());
    EXPECT_EQ(sims.callState(), "ended");
    EXPECT_TRUE(exchange(signalWire(with(activeCall("c-2"), "ERROR"))).empty());
    EXPECT_EQ(sims.callState(), "ended");
}

TEST_F(Servers, IncomingCallIsAcknowledgedWhenTheLibraryAccepts) {
    EXPECT_TRUE(during([&] { sims.incomingCall("7777"); }).empty());  // unknown numbers do not ring
    json inv = element(one(during([&] { sims.incomingCall("8001"); })));
    EXPECT_EQ(inv["startLine"]["command"], "INVITE");
    EXPECT_EQ(inv["signalHeader"]["cseq"], "123456789 INVITE");
    EXPECT_EQ(inv["signalHeader"]["from"]["dialNumber"], "8001");
    EXPECT_EQ(inv["signalHeader"]["to"]["dialNumber"], "1001");
    const std::string callId = inv["signalHeader"]["callId"];
    ASSERT_EQ(callId.size(), 36u);
    EXPECT_EQ(callId[14], '4');
    EXPECT_EQ(inv["signalBody"], json({{"conferenceId", "conf-8001"}, {"externalDialNumber", "99001"}}));
    EXPECT_EQ(sims.callState(), "ringing");

    json stale = with(inv, "ACCEPTED");
    stale["signalHeader"]["callId"] = "old";
    EXPECT_TRUE(exchange(signalWire(stale)).empty());

    json accepted = with(inv, "ACCEPTED");
    accepted["signalBody"]["externalGuid"] = "16778241";
    EXPECT_EQ(answer(accepted), with(accepted, "ACK", "ACK"));
    EXPECT_EQ(sims.callState(), "in-call");
}

TEST_F(Servers, CancelMoveAndByeBelongToTheCurrentCall) {
    EXPECT_TRUE(during([&] {
                    sims.cancelCall();
                    sims.endCall();
                    sims.moveCall("1");
                }).empty());

    json ringing = element(one(during([&] { sims.incomingCall("8001"); })));
    json cancel = element(one(during([&] { sims.cancelCall(); })));
    json expected = with(ringing, "CANCEL", "CANCEL");
    expected["signalBody"] = {{"conferenceId", "conf-8001"}};
    EXPECT_EQ(cancel, expected);
    EXPECT_EQ(sims.callState(), "ended");

    json accepted = activeCall("c-7");
    json update = element(one(during([&] { sims.moveCall("99011"); })));
    EXPECT_EQ(update["startLine"]["command"], "UPDATE");
    EXPECT_EQ(update["signalHeader"]["cseq"], "123456789 UPDATE");
    for (const char* key : {"callId", "from", "to", "contact"})
        EXPECT_EQ(update["signalHeader"][key], accepted["signalHeader"][key]) << key;
    EXPECT_EQ(update["signalBody"]["externalDialNumber"], "99011");
    EXPECT_EQ(sims.callState(), "in-call");

    json bye = element(one(during([&] { sims.endCall("CONF_END_BY_ADMIN"); })));
    EXPECT_EQ(bye["startLine"]["command"], "BYE");
    EXPECT_EQ(bye["signalHeader"]["callId"], "c-7");
    EXPECT_EQ(bye["signalBody"],
              json::parse(R"({"conferenceId":"conf-8001","signalMessage":{"messageCode":"CONF_END_BY_ADMIN"}})"));
    EXPECT_EQ(sims.callState(), "ended");
    EXPECT_TRUE(during([&] { sims.endCall(); }).empty());
}

TEST_F(Servers, ParticipantsComeAndGoWithFullEndpointsAndFillTheEndpointList) {
    activeCall("c-1");
    json join = one(during([&] { sims.participantJoins({"dev-bob", "Bob", "16778300"}); }));
    EXPECT_EQ(join.at("fields").at("eventName"), "0/confmanager_event");
    json event = element(join), ep = event["endpoint"];
    EXPECT_EQ(event["event"], "confmgr_endpoint_change");
    EXPECT_EQ(event["operation"], "confmgr_participant_join");
    EXPECT_EQ(event["conferenceId"], "conf-8001");
    for (const char* key : {"userId", "externalId", "blocked", "reject", "avatarUrl", "username", "name",
                            "dispUserName", "departmentId", "meetingRoomDevice", "type", "deviceId", "deviceName",
                            "serialNumber", "localRoomId", "localRoomTitle", "localRoomDevices", "externalGuid",
                            "externalDeviceId", "adminMute", "localMute", "videoMute", "connection", "handUp",
                            "contentShare", "endpointType", "regUserType", "isOperator", "isLecturer"})
        EXPECT_TRUE(ep.contains(key)) << key;
    EXPECT_EQ(ep["departmentId"], "/");
    EXPECT_EQ((std::vector<json>{ep["name"], ep["externalDeviceId"], ep["externalGuid"]}),
              (std::vector<json>{"Bob", "dev-bob", "16778300"}));

    // The participants, then this device with the engine id its ACK told.
    json list = rest("confControlendpoints", kC + "conference/conf-8001/controlpanel/");
    EXPECT_EQ(list["type"], "SUCCESS");
    json endpoints = list["data"]["endpoints"];
    ASSERT_EQ(endpoints.size(), 2u);
    EXPECT_EQ(endpoints[0]["deviceId"], "dev-bob");
    EXPECT_EQ(endpoints[1]["deviceId"], "dev-1001");
    EXPECT_EQ(endpoints[1]["externalGuid"], "16778240");

    json leave = element(one(during([&] { sims.participantLeaves("dev-bob"); })));
    EXPECT_EQ(leave["operation"], "confmgr_participant_leave");
    EXPECT_EQ(leave["endpoint"]["externalGuid"], "16778300");
    EXPECT_TRUE(sims.participants().empty());
}

TEST_F(Servers, ControlCommandsH323OrdersLogoutAndRename) {
    auto sent = [&](auto action) {
        json m = one(during(action));
        json e = element(m);
        e["kind"] = m.at("fields").at("eventName");
        return e;
    };
    json mute = sent([&] { sims.controlCommand("ctrl_cmd_mute", {{"deviceId", "d"}, {"mute", true}}); });
    EXPECT_TRUE(mute["cmdId"].is_string());
    mute.erase("cmdId");
    EXPECT_EQ(mute, json({{"kind", "0/confmanager_event"}, {"event", "ctrl_cmd_mute"}, {"deviceId", "d"},
                          {"mute", true}, {"conferenceId", ""}}));
    EXPECT_EQ(sent([&] { sims.controlCommand("ctrl_cmd_lock_meeting", {{"cmdId", "k"}}); })["cmdId"], "k");

    json order = sent([&] { sims.h323CallOut("Lab", "10.0.0.9", "h323", "cmd-1"); });
    EXPECT_EQ(order["kind"], "0/callmaster_ctrl_cmd");
    EXPECT_EQ(order["event"], "ctrl_cmd_call_out_h323");
    EXPECT_EQ(order["cmdId"], "cmd-1");
    for (const char* key : {"deviceId", "deviceName", "dialString", "e164Num", "protocolType"})
        EXPECT_TRUE(order["h323Device"][key].is_string()) << key;
    json hangUp = sent([&] { sims.h323HangUp("16778400", "cmd-2"); });
    EXPECT_EQ(hangUp["event"], "ctrl_cmd_hang_up_h323");
    EXPECT_EQ(hangUp["sdkUserId"], "16778400");

    EXPECT_EQ(sent([&] { sims.logout(); }), json({{"kind", "0/trans_server_autonomy"},
                                                  {"event", "trans_autonomic_action"}, {"action", "BE_LOGOUT"}}));
    EXPECT_EQ(sent([&] { sims.renameDevice("Lobby TV"); }),
              json({{"kind", "0/devicemgr_event"}, {"event", "devicemgr_device_change_device_name"},
                    {"deviceId", "dev-1001"}, {"deviceName", "Lobby TV"}}));
}

TEST_F(Servers, RestRepliesCarryTheIdAndPlausibleData) {
    json info = rest("confinfo_by_dialnum", kC + "conference/dialnumber/8003");
    EXPECT_EQ(info["msg"], "result");
    EXPECT_EQ(info["id"], "confinfo_by_dialnum");
    EXPECT_EQ(info["type"], "SUCCESS");
    for (auto [key, value] : {std::pair<const char*, const char*>{"conferenceId", "conf-8003"},
                              {"conferenceDialNumber", "8003"}, {"externalDialNumber", "99003"},
                              {"subject", "Board"}, {"passcode", "1234"}})
        EXPECT_EQ(info["data"][key], value) << key;
    EXPECT_EQ(rest("confinfo", "/api/quelmar/confmgr/1.0/conference/conf-8001?starttime=5")["data"]["subject"],
              "Weekly");
    EXPECT_EQ(rest("confinfo_by_dialnum", kC + "conference/dialnumber/7777")["data"],
              json({{"result", "failure"}, {"type", "CONFERENCE_NOT_EXIST"}}));
    EXPECT_EQ(rest("confsearch", kC + "conference/search?&participantid=dev-1001", "{}")["data"]["conferences"].size(),
              3u);

    // What a search finds can be looked up.
    json room = rest("confRoomsearch", kC + "meetingroom/search?deviceid=dev-1001", "{}")["data"]["rooms"][0];
    EXPECT_EQ(rest("confRoominfo", kC + "meetingroom/" + room["roomId"].get<std::string>())["data"]["dialNumber"],
              room["dialNumber"]);
    json tpl = rest("confTemplatesearch", kC + "conference/template/search?userid=u-1001")["data"]["templates"][0];
    EXPECT_EQ(rest("confTemplatedetail", kC + "conference/template/" + tpl["templateId"].get<std::string>())["data"]
                  ["subject"],
              tpl["subject"]);

    // The device manager keeps a new name.
    const std::string device = "/api/quelmar/devicemgr/1.0/device/dev-1001";
    EXPECT_EQ(rest("confUpdatedevicename", device + "/name", R"({"deviceName":"Hall"})")["data"]["deviceName"], "Hall");
    EXPECT_EQ(rest("confDeviceDetails", device)["data"]["deviceName"], "Hall");

    EXPECT_EQ(rest("confControlmuteAll", kC + "conference/c/control/muteall?mute=1")["data"],
              json({{"result", "success"}}));
    ASSERT_EQ(sims.requests("confinfo_by_dialnum").size(), 2u);
    EXPECT_EQ(sims.requests("confinfo_by_dialnum")[0]["params"][0]["url"], kC + "conference/dialnumber/8003");
}

TEST_F(Servers, ConfiguredFailuresAndMessagesThatGetNoAnswer) {
    sims.failCommand("confControlmuteAll", "CONFERENCE_NOT_HOST");
    json failed = rest("confControlmuteAll", kC + "conference/c/control/muteall?mute=1");
    EXPECT_EQ(failed["id"], "confControlmuteAll");
    EXPECT_EQ(failed["type"], "FAILURE");
    EXPECT_EQ(failed["data"], json({{"result", "failure"}, {"type", "CONFERENCE_NOT_HOST"}}));
    EXPECT_EQ(rest("confping", kC + "conference/c/endpoint/d/ping", "")["type"], "SUCCESS");
    sims.failCommand("confControlmuteAll", "");
    EXPECT_EQ(rest("confControlmuteAll", kC + "x")["type"], "SUCCESS");

    const std::string resp = R"({"id":"id","method":"quelmar","msg":"method","params":[{"payload":)"
                             R"({"cmdId":"k","operator":"123","retCode":"OK","retData":null},"type":"MQ_CONFMGR"}]})";
    EXPECT_TRUE(exchange(resp).empty());
    EXPECT_TRUE(exchange(restWire("confNoSuchThing", kC + "x")).empty());
    EXPECT_TRUE(exchange("not json").empty());
    auto all = sims.received();
    ASSERT_GE(all.size(), 3u);
    EXPECT_EQ(all[all.size() - 3], json::parse(resp));
    EXPECT_EQ(all.back(), json("not json"));
    EXPECT_EQ(sims.requests("confNoSuchThing").size(), 1u);
}
