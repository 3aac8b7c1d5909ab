// The whole registration through the exported interface, as an application
// does it, on the simulated media engine. Each test needs a process of its
// own (the library is one instance per process); ctest runs them so.
#include <gtest/gtest.h>
#include <orvane/orvane.h>

#include "app_listener.h"
#include "fake_transport.h"
#include "log_capture_public.h"
#include "server_events.h"
#include "sim_engine.h"
#include "ui_thread.h"

using namespace orvtest;

namespace {

std::vector<std::string> types(const std::vector<AppEvent>& events) {
    std::vector<std::string> out;
    for (const auto& e : events) out.push_back(e.type);
    return out;
}

}  // namespace

TEST(EndToEnd, RegistrationBringsTheMachineToIdle) {
    ASSERT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr) << "each test needs a process of its own";
    PublicLogCapture logs;
    AppListener app;
    FakeTransport trans;
    orvsim::SimEngine engine;
    orvsim::SimEngine::install(&engine);

    ORVANE::ConfSDK* sdk = ORVANE::OrvaneSDK_Factory::createInstance("QV", "");
    ASSERT_NE(sdk, nullptr);
    sdk->setOrvaneLogger(logs.logger());
    sdk->setListener(&app);
    sdk->setMediaServiceListener(&app);
    sdk->setOrvaneTrans(&trans);
    UiThread ui(sdk, app);

    ASSERT_EQ(sdk->initMediaService("QV", "{\"log\":\"off\"}"), 0);
    ui.pump();  // init reaches the engine, which answers onSdkReady from its thread
    ASSERT_TRUE(app.waitFor("AuthServiceEvent/onSdkReady"));
    ui.pump();  // the login that onSdkReady set off
    ASSERT_TRUE(app.waitFor("AuthServiceEvent/onLogin"));

    // The server has the device on record.
    deliverEvent(trans, "devicemgr_event", deviceRegister("QV"));
    ui.pump();
    ASSERT_TRUE(engine.idle());
    EXPECT_EQ(engine.loggedInUser(), "qvuser");

    // Two REGISTERs; the call server answers the newer one.
    auto sent = trans.sent();
    ASSERT_EQ(sent.size(), 2u);
    const json second = json::parse(sent[1])["params"][0]["payload"];
    EXPECT_EQ(second["startLine"]["command"], "REGISTER");
    EXPECT_EQ(second["signalHeader"]["from"]["dialNumber"], "1001");
    json ok = second;
    ok["startLine"]["command"] = "OK";
    deliverEvent(trans, "callmaster_event", ok);

    EXPECT_TRUE(logs.has("new state=AVSTATE_IDLE"));
    EXPECT_FALSE(sdk->getConfControlService().isRunning());
    EXPECT_EQ(app.count("confsdknotify_callsignal_ok"), 1u);

    // The application heard, in this order:
    EXPECT_EQ(types(app.events()),
              (std::vector<std::string>{
                  "confsdknotify_do_internal_task_must_in_ui_thread",  // init
                  "confsdknotify_do_internal_task_must_in_ui_thread",  // the login onSdkReady sets off
                  "AuthServiceEvent/onSdkReady",
                  "AuthServiceEvent/onLogin",
                  "confsdknotify_DEVICE_NAME_CHANGED",
                  "REGINFO",
                  "confsdknotify_do_internal_task_must_in_ui_thread",  // login with them
                  "AuthServiceEvent/onLogin",
                  "confsdknotify_callsignal_ok",
              }));
    const auto myInfo = json::parse(sdk->getMyInfo());
    EXPECT_EQ(myInfo["device_id"], "dev-1");
    EXPECT_EQ(myInfo["av_user"], "qvuser");
    EXPECT_EQ(sdk->getUniformUserID(), "dev-1");
    EXPECT_EQ(sdk->getUniformUserName(), "Room A");

    // Idle takes a call: "startconf" sends INVITE.
    sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
    EXPECT_EQ(json::parse(trans.last())["id"], "INVITE_MQ_CALLMASTER");
    EXPECT_TRUE(sdk->getConfControlService().isRunning());
    orvsim::SimEngine::install(nullptr);
}
