// The frame of the engine notification filter and the two events that start
// the engine.
#include <gtest/gtest.h>

#include <cstdlib>

#include "harness.h"

using namespace orvtest;
using namespace ORVANE;

namespace {
std::string decode(const std::string& text) {
    char* out = base64Decode(text.c_str(), static_cast<int>(text.size()));
    std::string s = out;
    std::free(out);
    return s;
}
}  // namespace

TEST(Filter, EveryEngineEventHasAHandler) { EXPECT_EQ(avNotifyHandlerCount(), 29u); }

TEST(Filter, UnknownEventsPassUnchanged) {
    Harness h;
    h.initMedia("QC");
    h.engine.emit("MeetingServiceEvent", "onSomethingNew", "{\"k\": [1, 2]}");
    auto media = h.app.ofType("MeetingServiceEvent/onSomethingNew");
    ASSERT_EQ(media.size(), 1u);
    EXPECT_EQ(media[0].data, "{\"k\": [1, 2]}");
    EXPECT_TRUE(h.logs.has("av_notification_filter : ignore - group=MeetingServiceEvent, cmd=onSomethingNew"));
    EXPECT_TRUE(h.logs.has("--------onNotify : group MeetingServiceEvent, cmd onSomethingNew, data {\"k\": [1, 2]}"));
    for (const char* quiet : {"orvaneavsdk_connect", "onCallReconnecting", "onMeetinginfoButtonClick"}) {
        h.engine.emit("MeetingServiceEvent", quiet, "");
        EXPECT_EQ(h.app.count(std::string("MeetingServiceEvent/") + quiet), 1u) << quiet;
    }
}

TEST(Filter, SdkReadyFailureMeansNoLogin) {
    Harness h;
    h.initMedia("QC");
    h.engine.emit("AuthServiceEvent", "onSdkReady", R"({"result":5})");
    EXPECT_EQ(h.engine.count("login"), 0u);
    EXPECT_FALSE(h.sdk->sdkReady.load());
    EXPECT_EQ(h.logs.countAt("avfilter_onSdkReady, ret=5", spdlog::level::err), 1u);
    EXPECT_EQ(h.app.count("AuthServiceEvent/onSdkReady"), 1u);

    // Not JSON: one error line and the application hears nothing.
    h.engine.emit("AuthServiceEvent", "onSdkReady", "garbage");
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:OrvaneSDKPrivate::avfilter_onSdkReady"));
    EXPECT_EQ(h.app.count("AuthServiceEvent/onSdkReady"), 1u);
}

TEST(Filter, ReadyWithoutAnEngineSaysSo) {
    Harness h;
    h.sdk->onNotify("AuthServiceEvent", "onSdkReady", R"({"result":0})");
    EXPECT_TRUE(h.sdk->sdkReady.load());
    EXPECT_TRUE(h.logs.has("Error: avfilter_onSdkReady avsdk instance is null"));
}

TEST(Filter, LoginResultGetsItsErrorText) {
    Harness h;
    h.initMedia("QC");
    h.trans.errMsgs["AVSDK_AVSERVER_LOGIN_FAILED"] = "Login failed";
    h.engine.emit("AuthServiceEvent", "onLogin", R"({"result":0,"extra":"kept"})");
    h.engine.emit("AuthServiceEvent", "onLogin", R"({"result":3})");
    h.engine.emit("AuthServiceEvent", "onLogin", "[not json");
    h.engine.emit("AuthServiceEvent", "onLogin", R"({"result":"3"})");
    auto logins = h.app.ofType("AuthServiceEvent/onLogin");
    ASSERT_EQ(logins.size(), 2u);
    EXPECT_EQ(logins[0].data, R"({"errMsg":"","extra":"kept","result":0})");
    EXPECT_EQ(logins[1].data, R"({"errMsg":"Login failed","result":3})");
    EXPECT_EQ(h.logs.count("json ERROR! confsdk:OrvaneSDKPrivate::avfilter_onLogin"), 2u);
}

TEST(Filter, WithoutAnEngineListenerOnlyTheLibraryActs) {
    Harness h;
    h.initMedia("QC");
    h.sdk->setMediaServiceListener(nullptr);
    h.engine.emit("AuthServiceEvent", "onSdkReady", R"({"result":0})");
    EXPECT_EQ(h.engine.count("login"), 1u);
    EXPECT_EQ(h.app.count("AuthServiceEvent/onSdkReady"), 0u);
}

TEST(Filter, EngineEventsFromItsOwnThread) {
    Harness h;
    h.initMedia("QC");
    for (int i = 0; i < 50; ++i) h.engine.emitAsync("MeetingServiceEvent", "onTick", std::to_string(i));
    ASSERT_TRUE(h.engine.drain());
    auto ticks = h.app.ofType("MeetingServiceEvent/onTick");
    ASSERT_EQ(ticks.size(), 50u);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(ticks[i].data, std::to_string(i));
}

TEST(Base64, DecodesAndStopsWhereTheAlphabetEnds) {
    EXPECT_EQ(decode("c2VjcmV0"), "secret");
    EXPECT_EQ(decode("cGFzcw=="), "pass");
    EXPECT_EQ(decode("cGFzcw==c2VjcmV0"), "pass");
    EXPECT_EQ(decode("cGF*zcw"), "pa");
    EXPECT_EQ(decode(""), "");
    EXPECT_EQ(decode("YWJjZA"), "abcd");
    char* none = base64Decode(nullptr, 0);
    ASSERT_NE(none, nullptr);
    EXPECT_STREQ(none, "");
    std::free(none);
}
