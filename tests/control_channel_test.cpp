// The control channel on its own: what leaves for the transport, how replies
// find their request, and how incoming messages are sorted, whatever shape
// they come in.
#include <gtest/gtest.h>

#include "harness.h"
#include "orvane/controlsdk.h"
#include "orvane/vocabulary.h"

using namespace orvtest;

namespace {

struct Received {
    std::string kind, type, json;
};

class RecordingListner : public ORVANE::ControlSDK::Listner {
public:
    void onCtrlCommand(const std::string& type, const std::string& json) override {
        got.push_back({"command", type, json});
    }
    void onCtrlNotify(const std::string& type, const std::string& json) override {
        got.push_back({"notify", type, json});
    }
    std::vector<Received> got;
};

struct Channel : ::testing::Test {
    Channel() {
        channel.setListener(&listener);
        channel.setOrvaneTrans(&trans);
    }
    void receive(const std::string& text) { trans.deliver(text); }
    LogCapture logs;
    FakeTransport trans;
    RecordingListner listener;
    ORVANE::ControlSDK channel;
};

}  // namespace

TEST_F(Channel, RegistersWithTheTransport) { EXPECT_NE(trans.process(), nullptr); }

TEST_F(Channel, WhatGoesOut) {
    // The control-command response leaves exactly as given, id and all.
    channel.sendCommand(ORVANE::CONF::CONTROLCOMMANDRESP, R"({"id":"whatever","not":"checked"})");
    EXPECT_EQ(trans.last(), R"({"id":"whatever","not":"checked"})");

    // Types without an entry send nothing and say nothing.
    trans.clear();
    logs.clear();
    for (const char* type : {"noSuchType", ORVANE::CONF::LAYOUT, ORVANE::CONF::ROOMCREATE, ORVANE::CONF::NOTIFY})
        channel.sendCommand(type, R"({"confid":"1","layout":"x","payload":"{}"})");
    EXPECT_TRUE(trans.sent().empty());
    EXPECT_TRUE(logs.lines().empty());

    // Only conference sync reaches the server.
    channel.sendCommand(ORVANE::CONF::SYNCDATA, R"({"synctype":"device","externaldeviceid":"d","conferenceid":"c"})");
    channel.sendCommand(ORVANE::CONF::SYNCDATA, R"({"conferenceid":"c"})");
    channel.sendCommand(ORVANE::CONF::SYNCDATA, "not json");
    EXPECT_TRUE(trans.sent().empty());
    channel.sendCommand(ORVANE::CONF::SYNCDATA, R"({"synctype":"conference","conferenceid":"c","isLock":true})");
    EXPECT_EQ(trans.sent().size(), 1u);

    // A call signal that is not JSON is dropped with the JSON error line.
    trans.clear();
    channel.sendCommand("INVITE", "{broken");
    EXPECT_TRUE(trans.sent().empty());
    EXPECT_TRUE(logs.has("json ERROR! confsdk:"));
    // Other signal types the channel knows are wrapped alike.
    channel.sendCommand("RINGING", R"({"a":1})");
    EXPECT_EQ(trans.last(),
              R"({"id":"RINGING_MQ_CALLMASTER","method":"quelmar","msg":"method","params":[{"id":"RINGING_MQ_CALLMASTER",)"
              R"("payload":{"a":1},"type":"MQ_CALLMASTER"}]})");
}

TEST_F(Channel, AWrongTypeInTheDataIsStoppedHere) {
    channel.sendCommand(ORVANE::CONF::MUTEALL, R"({"confid":4711,"mute":true})");
    EXPECT_TRUE(trans.sent().empty());
    EXPECT_EQ(logs.countAt("json ERROR! confsdk:ORVANE::OrvaneControlSDk_private::sendCommand", spdlog::level::err),
              1u);
    // A missing required key still hands the (empty) text to the transport.
    channel.sendCommand(ORVANE::CONF::MUTEALL, R"({"mute":true})");
    ASSERT_EQ(trans.sent().size(), 1u);
    EXPECT_EQ(trans.last(), "");
}

TEST_F(Channel, RepliesFindTheirLatestRequest) {
    channel.sendCommand(ORVANE::CONF::INFO, R"({"confid":"1"})");
    channel.sendCommand(ORVANE::CONF::INFO, R"({"confid":"2"})");
    EXPECT_EQ(trans.sent().size(), 2u);
    receive(R"({"msg":"result","id":"confinfo","data":{"n":1}})");
    receive(R"({"msg":"result","id":"confinfo","data":{"n":2}})");
    ASSERT_EQ(listener.got.size(), 2u);
    for (const auto& r : listener.got) {
        EXPECT_EQ(r.kind, "command");
        EXPECT_EQ(r.type, "confinfo");
    }
    EXPECT_EQ(listener.got[0].json,
              R"({"reqdata":"{\"confid\":\"2\"}","result":{"data":{"n":1},"id":"confinfo","msg":"result"}})");

    // No "data": the request's data alone.
    listener.got.clear();
    receive(R"({"msg":"result","id":"confinfo"})");
    ASSERT_EQ(listener.got.size(), 1u);
    EXPECT_EQ(listener.got[0].json, R"({"reqdata":"{\"confid\":\"2\"}"})");

    // Unknown ids and replies to call signals end here, silently.
    listener.got.clear();
    logs.clear();
    channel.sendCommand("INVITE", R"({"x":1})");
    receive(R"({"msg":"result","id":"INVITE_MQ_CALLMASTER","data":{}})");
    receive(R"({"msg":"result","id":"confinfo@42","data":{}})");
    EXPECT_TRUE(listener.got.empty());
    EXPECT_FALSE(logs.has("onProcess"));
}

TEST_F(Channel, AnAtInTheIdCutsOnlyTheReportedType) {
    channel.sendCommand("confinfo@42", R"({"k":1})");  // no entry: remembered, not sent
    EXPECT_TRUE(trans.sent().empty());
    receive(R"({"msg":"result","id":"confinfo@42","data":null})");
    ASSERT_EQ(listener.got.size(), 1u);
    EXPECT_EQ(listener.got[0].type, "confinfo");
    EXPECT_EQ(listener.got[0].json,
              R"({"reqdata":"{\"k\":1}","result":{"data":null,"id":"confinfo@42","msg":"result"}})");
}

TEST_F(Channel, MalformedMessagesLeaveTheChannelWorking) {
    channel.sendCommand(ORVANE::CONF::PING, R"({"conferenceid":"c","externaldeviceid":"d"})");
    const std::vector<std::string> bad = {
        "",
        "not json",
        "[1,2,3]",
        "\"msg\"",
        "{}",
        R"({"msg":5})",
        R"({"msg":null})",
        R"({"msg":["result"]})",
        R"({"msg":"result"})",
        R"({"msg":"result","id":7})",
        R"({"msg":"result","id":null,"data":{}})",
        R"({"msg":"changed"})",
        R"({"msg":"changed","collection":"stream-quelmar-notify-user"})",
        R"({"msg":"changed","collection":"stream-quelmar-notify-user","fields":[1]})",
        R"({"msg":"changed","collection":"stream-quelmar-notify-user","fields":{"eventName":"e"}})",
        R"({"msg":"changed","collection":"stream-quelmar-notify-user","fields":{"eventName":1,"args":[]}})",
        R"({"msg":"changed","collection":7,"fields":{"eventName":"e","args":[]}})",
        R"({"msg":"changed","collection":"other","fields":{"eventName":"e","args":[]}})",
        R"({"msg":"somethingelse","id":"confping"})",
        "{\"msg\":\"result\",\"id\":\"confping\",\"data\":\"\xff\xfe\"}",
    };
    for (const auto& text : bad) EXPECT_NO_THROW(receive(text)) << text;
    EXPECT_TRUE(listener.got.empty());
    EXPECT_EQ(logs.count("data does NOT contain msg key!"), 6u);

    // Another receiver name is not looked at.
    trans.deliver("not json", "binary_process");
    EXPECT_EQ(logs.count("data does NOT contain msg key!"), 6u);

    receive(R"({"msg":"result","id":"confping","data":{"ok":true}})");
    ASSERT_EQ(listener.got.size(), 1u);
    EXPECT_EQ(listener.got[0].type, "confping");
}

TEST(ChannelWithoutTransport, SaysSoAndRemembersNothing) {
    LogCapture logs;
    RecordingListner listener;
    FakeTransport trans;
    ORVANE::ControlSDK channel;
    channel.setListener(&listener);
    channel.sendCommand(ORVANE::CONF::INFO, R"({"confid":"1"})");
    EXPECT_EQ(logs.countAt("OrvaneControlSDk_private::sendCommand: 没有发送通道,无法处理\n", spdlog::level::err), 1u);
    channel.setOrvaneTrans(&trans);
    trans.deliver(R"({"msg":"result","id":"confinfo","data":{}})");
    EXPECT_TRUE(listener.got.empty());
}
