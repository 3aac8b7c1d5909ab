// The conference record: what conference information fills in, what it
// leaves, where a parse stops, and the two endpoint lookups.
#include <gtest/gtest.h>

#include "ctrlsdk_utils.h"
#include "harness.h"

using namespace orvtest;
using namespace ORVANE;
using json = nlohmann::json;

namespace {
struct Record : ::testing::Test {
    json parse(const std::string& data) {
        CallLock lock(h.sdk->callMutex());
        return h.sdk->parseConfinfo(data);
    }
    OrvaneConference& conf() { return h.sdk->_conf; }
    Harness h;
};
}  // namespace

TEST_F(Record, FillsFromConferenceInformation) {
    h.initMedia("QC");
    const json j = parse(R"({"zak":"tok","conferenceDialNumber":"8001","externalDialNumber":"99001",)"
                         R"("force":true,"dispname":"Alice","passcode":"42","conferenceId":"c1","muteAll":true,)"
                         R"("allowUnmute":true,"hostVideoWhenEntering":true,"participantVideoWhenEntering":false})");
    EXPECT_TRUE(j.is_object());
    EXPECT_EQ(conf().zak, "tok");
    EXPECT_EQ(conf().dialnum, "8001");
    EXPECT_EQ(conf().ext_dialnum, "99001");
    EXPECT_TRUE(conf().force);
    EXPECT_EQ(conf().dispname, "Alice");
    EXPECT_EQ(conf().passcode, "42");
    EXPECT_EQ(conf().confid, "c1");
    EXPECT_TRUE(h.sdk->muteAll && h.sdk->allowUnmute && h.sdk->hostVideoWhenEntering);
    EXPECT_FALSE(h.sdk->participantVideoWhenEntering);
    ASSERT_EQ(h.engine.count("setZak"), 1u);
    EXPECT_EQ(h.engine.callsOf("setZak")[0].args[0], "tok");
    EXPECT_TRUE(h.logs.has("parseConfinfo: dialnum=8001, dispname=Alice\n"));
}

TEST_F(Record, NullAndMissingKeys) {
    h.initMedia("QC");
    parse(R"({"conferenceDialNumber":"8001","externalDialNumber":"99001","force":true,"conferenceId":"c1",)"
          R"("dispname":"Alice","passcode":"42","muteAll":true})");
    // Missing or null keep the dial numbers and force; the others fall back.
    parse(R"({"conferenceDialNumber":null,"force":null,"conferenceId":null,"confId":"x","passcode":null})");
    EXPECT_EQ(conf().dialnum, "8001");
    EXPECT_EQ(conf().ext_dialnum, "99001");
    EXPECT_TRUE(conf().force);
    EXPECT_EQ(conf().confid, "");  // "conferenceId" is there, so "confId" is not read
    EXPECT_EQ(conf().passcode, "");
    EXPECT_FALSE(h.sdk->muteAll);
    EXPECT_EQ(conf().zak, "");
    // An empty display name takes the uniform user name: here the last one.
    EXPECT_EQ(conf().dispname, "Alice");

    parse(R"({"confId":"x"})");
    EXPECT_EQ(conf().confid, "x");
    parse(R"({})");
    EXPECT_EQ(conf().confid, "");
}

TEST_F(Record, ATypeErrorStopsHalfwayAndKeepsWhatWasStored) {
    h.initMedia("QC");
    parse(R"({"conferenceId":"old","dispname":"Old"})");
    const json j = parse(R"({"conferenceDialNumber":"8002","externalDialNumber":5,"dispname":"New"})");
    EXPECT_TRUE(j.is_null());
    EXPECT_EQ(conf().dialnum, "8002");  // before the bad key
    EXPECT_EQ(conf().dispname, "Old");  // after it
    EXPECT_EQ(conf().confid, "old");
    EXPECT_EQ(h.logs.countAt("json ERROR! confsdk:OrvaneSDKPrivate::parseConfinfo, json error=",
                             spdlog::level::err),
              1u);

    // Text that does not parse changes nothing at all.
    EXPECT_TRUE(parse("{oops").is_null());
    EXPECT_EQ(conf().dialnum, "8002");
    // A non-object parses but fills no key.
    EXPECT_TRUE(parse("[1,2]").is_array());
    EXPECT_EQ(conf().dialnum, "8002");
}

TEST_F(Record, ResetKeepsTheSignalTypeAndTheMicrophoneOn) {
    CallLock lock(h.sdk->callMutex());
    for (json value : {json::object({{"a", 1}}), json::array({1}), json("text"), json(5), json(true), json()}) {
        conf().signal = value;
        conf().microphone = false;
        std::strcpy(conf().callid, "abc");
        conf().reset();
        EXPECT_EQ(conf().signal.type(), value.type());
        EXPECT_TRUE(conf().signal.empty() || !conf().signal.is_structured());
        EXPECT_TRUE(conf().microphone);
        EXPECT_EQ(std::string(conf().callid), "");
    }
    conf().signal = 5;
    conf().reset();
    EXPECT_EQ(conf().signal, 0);
}

TEST_F(Record, EndpointLookups) {
    {
        CallLock lock(h.sdk->callMutex());
        h.sdk->epStatusList["16778240"].externalDeviceId = "dev-a";
        h.sdk->epStatusList["16778241"].externalDeviceId = "";
        h.sdk->epStatusList["16778242"].externalDeviceId = "dev-a";
    }
    EXPECT_EQ(h.sdk->getAvUseridFromDeviceID("dev-a"), "16778240");  // the first in key order
    EXPECT_EQ(h.sdk->getAvUseridFromDeviceID(""), "16778241");
    EXPECT_EQ(h.sdk->getAvUseridFromDeviceID("nobody"), "");
    EXPECT_EQ(h.sdk->getDeviceidFromAvUserid("16778242"), "dev-a");
    EXPECT_EQ(h.sdk->getDeviceidFromAvUserid("1"), "");
    EXPECT_TRUE(h.logs.has("OrvaneSDKPrivate::getDeviceidFromAvUserid userid=1, not found"));

    EpStatus host;
    host.externalDeviceId = "d";
    host.isCohost = true;
    host.videoMute = true;
    EXPECT_EQ(CtrlSDKUtils::dump(host.toJson()),
              R"({"adminMute":false,"externalDeviceId":"d","isCohost":true,"isHost":false,"isOperator":true,)"
              R"("videoMute":true})");
}
