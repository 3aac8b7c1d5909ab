// Server events, registration and idle: the device registration with the
// media login, the answers to REGISTER, an incoming INVITE, an outgoing call
// and its 15-second limit.
#include <gtest/gtest.h>

#include "harness.h"
#include "orvane/vocabulary.h"
#include "server_events.h"

using namespace orvtest;
using namespace ORVANE;

namespace {

// The text of a wire message's call signal, or null.
json signalOf(const std::string& wire) {
    const json j = json::parse(wire, nullptr, false);
    if (!j.is_object() || !j.contains("params")) return json();
    return j["params"][0].value("payload", json());
}

std::vector<std::string> sentCommands(FakeTransport& trans) {
    std::vector<std::string> out;
    for (const auto& text : trans.sent()) {
        const json j = json::parse(text, nullptr, false);
        out.push_back(j.is_object() ? j.value("id", std::string()) : text);
    }
    return out;
}

std::string callIdOf(Harness& h) {
    CallLock lock(h.sdk->callMutex());
    return h.sdk->_conf.callid;
}

}  // namespace

TEST(Registration, CredentialsFirstThenEngineReady) {
    Harness h;
    h.initMedia("QV");
    deliverEvent(h.trans, "devicemgr_event", deviceRegister());
    h.runUiTasks();
    EXPECT_EQ(h.engine.count("login"), 0u);  // the engine is not ready yet
    // Two REGISTERs: one from the machine, one directly; the second is newer.
    EXPECT_EQ(sentCommands(h.trans), (std::vector<std::string>{"REGISTER_MQ_CALLMASTER", "REGISTER_MQ_CALLMASTER"}));
    EXPECT_EQ(signalOf(h.trans.last())["signalHeader"]["callId"], callIdOf(h));
    EXPECT_EQ(h.state(), AVSTATE_WAIT_REGISTER_OK);

    h.engine.emit("AuthServiceEvent", "onSdkReady", R"({"result":0})");
    h.runUiTasks();
    auto logins = h.engine.callsOf("login");
    ASSERT_EQ(logins.size(), 1u);
    EXPECT_EQ(logins[0].args, (std::vector<std::string>{"qvuser", "secret"}));
    EXPECT_TRUE(h.logs.has(" _avsdk->login : usr qvuser, pwd ******"));
    EXPECT_FALSE(h.logs.has("secret"));
}

TEST(Registration, EngineReadyFirstLogsInTwice) {
    Harness h;
    h.initMedia("QV");
    h.engine.emit("AuthServiceEvent", "onSdkReady", R"({"result":0})");
    deliverEvent(h.trans, "devicemgr_event", deviceRegister());
    h.runUiTasks();
    auto logins = h.engine.callsOf("login");
    ASSERT_EQ(logins.size(), 2u);
    EXPECT_EQ(logins[0].args, (std::vector<std::string>{"", ""}));
    EXPECT_EQ(logins[1].args, (std::vector<std::string>{"qvuser", "secret"}));
}

TEST(Registration, IdentityNotificationsComeBeforeTheLogin) {
    Harness h;
    h.initMedia("QC");
    h.engine.emit("AuthServiceEvent", "onSdkReady", R"({"result":0})");
    h.app.clear();
    h.engine.clearCalls();
    std::vector<std::string> order;
    h.app.onNotifyHook = [&](const std::string& type, const std::string&) {
        order.push_back(type + (h.engine.count("login") ? " after login" : ""));
    };
    deliverEvent(h.trans, "devicemgr_event", deviceRegister("QC"));
    EXPECT_EQ(order, (std::vector<std::string>{"confsdknotify_DEVICE_NAME_CHANGED", "REGINFO"}));
    EXPECT_EQ(h.app.ofType("confsdknotify_DEVICE_NAME_CHANGED")[0].data,
              R"({"deviceId":"dev-1","deviceName":"Room A"})");
    EXPECT_EQ(h.app.ofType("REGINFO")[0].data, R"({"deviceid":"dev-1"})");
    EXPECT_EQ(h.engine.count("login"), 1u);
    // "QC" carries no media credentials.
    EXPECT_EQ(h.sdk->av_user, "");
    const auto info = json::parse(h.sdk->getMyInfo());
    EXPECT_EQ(info, json::parse(R"({"av_user":"","device_id":"dev-1","device_name":"Room A","device_type":"terminal",)"
                                R"("is_meeting_room_device":true,"my_dial_num":"1001","register_user_id":"u-9",)"
                                R"("register_user_name":"Ann","serial_number":"SN-1","user_id":""})"));
}

TEST(Registration, QcKeepsEarlierCredentials) {
    Harness h;
    h.initMedia("QC");
    deliverEvent(h.trans, "devicemgr_event", deviceRegister("QV"));
    EXPECT_EQ(h.sdk->av_user, "qvuser");
    json qc = deviceRegister("QC");
    qc["qvUserName"] = "other";
    deliverEvent(h.trans, "devicemgr_event", qc);
    EXPECT_EQ(h.sdk->av_user, "qvuser");
    EXPECT_EQ(h.sdk->av_password, "c2VjcmV0");
}

TEST(Registration, AMissingKeyStillRegisters) {
    Harness h;
    h.initMedia("QC");
    {
        CallLock lock(h.sdk->callMutex());
        h.sdk->device_type = "old";
    }
    json reg = deviceRegister("QV");
    reg.erase("deviceType");
    deliverEvent(h.trans, "devicemgr_event", reg);
    EXPECT_EQ(h.sdk->device_id, "dev-1");
    EXPECT_EQ(h.sdk->device_type, "old");
    EXPECT_EQ(h.sdk->av_user, "");  // never reached
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:OrvaneSDKPrivate::onDeviceRegister"));
    EXPECT_EQ(h.app.count("REGINFO"), 1u);
    EXPECT_EQ(sentCommands(h.trans), (std::vector<std::string>{"REGISTER_MQ_CALLMASTER", "REGISTER_MQ_CALLMASTER"}));
}

TEST(Registration, AnUnknownMediaPlatformStopsBeforeTheCallServer) {
    Harness h;
    h.initMedia("QC");
    deliverEvent(h.trans, "devicemgr_event", deviceRegister("XX"));
    EXPECT_EQ(h.logs.countAt("ERROR! Unknown AV Engine, please developer to add corresponding processing.",
                             spdlog::level::critical),
              1u);
    EXPECT_EQ(h.app.count("REGINFO"), 1u);
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_EQ(h.engine.count("login"), 0u);
    EXPECT_EQ(h.state(), AVSTATE_INIT);
}

TEST(Registration, AnswersToRegisterInEachState) {
    Harness h;
    h.initMedia("QC");
    deliverEvent(h.trans, "devicemgr_event", deviceRegister("QC"));
    const std::string id = callIdOf(h);
    h.app.clear();

    // Waiting for the answer: ERROR 400 tells the application but stays.
    deliverEvent(h.trans, "callmaster_event", errorSignal("REGISTER", id, 400));
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 1u);
    EXPECT_EQ(h.state(), AVSTATE_WAIT_REGISTER_OK);
    deliverEvent(h.trans, "callmaster_event", errorSignal("REGISTER", id, 500));
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 1u);
    // An ERROR whose code can't be read tells nobody.
    json noCode = callSignal("ERROR", "REGISTER", id);
    deliverEvent(h.trans, "callmaster_event", noCode);
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 1u);
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:ConfStateWaitRegOK::on_recv_callsignal"));
    deliverEvent(h.trans, "callmaster_event", callSignal("OK", "REGISTER", id));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 2u);
    EXPECT_EQ(h.app.ofType("confsdknotify_callsignal_ok")[0].data, "");

    // In idle the same answers notify and the state stays.
    deliverEvent(h.trans, "callmaster_event", callSignal("OK", "REGISTER", id));
    deliverEvent(h.trans, "callmaster_event", errorSignal("REGISTER", id, 400));
    deliverEvent(h.trans, "callmaster_event", errorSignal("REGISTER", id, 401));
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 4u);
    EXPECT_EQ(h.state(), AVSTATE_IDLE);

    // What idle does not expect is dropped before any state sees it.
    h.logs.clear();
    deliverEvent(h.trans, "callmaster_event", errorSignal("ACK", id, 400));
    EXPECT_TRUE(h.logs.has("check_server_msg_is_expect return false;\n"));
    EXPECT_EQ(h.app.count("confsdknotify_callsignal_ok"), 4u);
}

TEST(Idle, IncomingInviteAsksForTheConference) {
    Harness h;
    h.initMedia("QC");
    h.setState(AVSTATE_IDLE);
    testing::internal::CaptureStdout();
    const json invite = callSignal("INVITE", "INVITE", "srv-call-1",
                                   {{"conferenceId", "conf-5"}, {"externalDialNumber", "99005"}});
    deliverEvent(h.trans, "callmaster_event", invite);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("\nonCtrlNotify CSEQ=123456789 INVITE\n"),
              std::string::npos);
    EXPECT_EQ(h.state(), AVSTATE_PASSIVE_WAITING_CONFINFO);
    EXPECT_EQ(h.sdk->_conf.dialnum, "2002");
    EXPECT_EQ(h.sdk->_conf.confid, "conf-5");
    EXPECT_EQ(h.sdk->_conf.ext_dialnum, "99005");
    EXPECT_EQ(h.sdk->_conf.signal, invite);
    ASSERT_EQ(h.engine.count("setConfSignal"), 1u);
    EXPECT_EQ(json::parse(h.engine.callsOf("setConfSignal")[0].args[0]), invite);
    EXPECT_EQ(h.trans.last(),
              R"({"id":"confinfo_by_dialnum","method":"quelmar","msg":"method","params":[{"payload":"null",)"
              R"("type":"get","url":"/api/quelmar/confmgr/2.0/conference/dialnumber/2002"}]})");
    EXPECT_TRUE(h.logs.has("recv INVITE on idle, from dialnum=2002, ext_dialnum=99005, confid=conf-5"));
}

TEST(Idle, AnInviteWithoutItsMeetingNumberIsRefused) {
    Harness h;
    h.initMedia("QC");
    h.setState(AVSTATE_IDLE);
    deliverEvent(h.trans, "callmaster_event", callSignal("INVITE", "INVITE", "c", {{"conferenceId", "conf-5"}}));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:ConfStateIdle::on_recv_callsignal"));
}

TEST(Idle, StartconfSendsInviteUnderFifteenSeconds) {
    Harness h;
    h.initMedia("QC");
    h.setState(AVSTATE_IDLE);
    h.sdk->my_dial_num = "1001";
    h.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001","passcode":"77","dispname":"Ann"})");
    EXPECT_EQ(h.state(), AVSTATE_ACTIVE_WAITING_INVITE_RESULT);
    const json invite = signalOf(h.trans.last());
    EXPECT_EQ(invite["startLine"]["command"], "INVITE");
    EXPECT_EQ(invite["signalHeader"]["to"]["dialNumber"], "8001");
    EXPECT_EQ(invite["signalBody"], json::parse(R"({"deviceName":"Ann","force":false,"joinPassword":"77"})"));
    EXPECT_TRUE(h.sdk->isRunning());

    // A late answer to another call does not stop the clock.
    deliverEvent(h.trans, "callmaster_event", errorSignal("INVITE", "someone-else", 486));
    EXPECT_EQ(h.state(), AVSTATE_ACTIVE_WAITING_INVITE_RESULT);

    h.trans.clear();
    h.advance(std::chrono::seconds(14));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(h.trans.sent().empty());
    h.advance(std::chrono::seconds(1));
    // The application hears of it after the worker has left the call lock.
    ASSERT_TRUE(h.app.waitFor("MeetingServiceEvent/onCallEnd"));
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    const json error = signalOf(h.trans.last());
    EXPECT_EQ(error["startLine"],
              json::parse(R"({"command":"ERROR","statusCode":{"code":603,)"
                          R"("message":"No ACCEPTED was received after 15s of sending the INVITE"}})"));
    auto exceptions = h.app.ofType("confsdknotify_internal_exception_in_meeting");
    ASSERT_EQ(exceptions.size(), 1u);
    EXPECT_EQ(exceptions[0].data,
              R"({"errMsg":"msg:CONFSDK_NO_ACCEPTED","reason":[],"result":999,"type":"CONFSDK_NO_ACCEPTED"})");
    EXPECT_EQ(h.app.count("MeetingServiceEvent/onCallEnd"), 1u);
}

TEST(Idle, AStaleTimeoutDoesNothing) {
    Harness h;
    h.setState(AVSTATE_IDLE);
    h.sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
    h.sdk->sendCommand("leaveconf", "");
    h.trans.clear();
    h.logs.clear();
    h.advance(std::chrono::seconds(20));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_TRUE(h.trans.sent().empty());
    EXPECT_FALSE(h.logs.has("timer_task enter"));
    EXPECT_EQ(h.app.count("confsdknotify_internal_exception_in_meeting"), 0u);
}

TEST(Idle, LeaveconfInIdleLeavesTheEngineOnce) {
    Harness h;
    h.initMedia("QC");
    h.setState(AVSTATE_IDLE);
    h.sdk->sendCommand("leaveconf", "");
    EXPECT_EQ(h.engine.count("leave"), 1u);
    EXPECT_EQ(h.state(), AVSTATE_IDLE);
    EXPECT_TRUE(h.trans.sent().empty());
}
