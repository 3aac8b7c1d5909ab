// The exported factory and facade, as an application links them.
#include <gtest/gtest.h>
#include <orvane/orvane.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <sstream>

namespace {

class Recorder : public ORVANE::ConfSDK::Listener {
public:
    void onConfCommand(const std::string&, const std::string&) override {}
    void onConfNotify(const std::string& type, const std::string&) override { notes.push_back(type); }
    std::vector<std::string> notes;
};

class CountingEngine : public ORVANE::AVSDKBase {
public:
    int setCustomUIOptionCalls = 0;
    void setCustomUIOption(int, bool) override { ++setCustomUIOptionCalls; }
};

}  // namespace

// One test: the process's single instance is created once.
TEST(Factory, OneInstancePerProcess) {
    // The library and its threads outlive the test: so must the log's stream.
    static std::ostringstream out;
    auto logger = std::make_shared<spdlog::logger>("factory", std::make_shared<spdlog::sinks::ostream_sink_mt>(out));
    logger->set_level(spdlog::level::trace);

    EXPECT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), nullptr);

    ORVANE::ConfSDK* first = ORVANE::OrvaneSDK_Factory::createInstance("QV", "first");
    ASSERT_NE(first, nullptr);
    first->setOrvaneLogger(logger);
    EXPECT_EQ(ORVANE::OrvaneSDK_Factory::getInstance(), first);
    EXPECT_EQ(ORVANE::OrvaneSDK_Factory::createInstance("QC", "second"), first);

    Recorder app;
    first->setListener(&app);

    // Fresh library: nothing runs, no identity, no engine.
    EXPECT_FALSE(first->getConfControlService().isRunning());
    EXPECT_EQ(first->getMyInfo(),
              R"({"av_user":"","device_id":"","device_name":"","device_type":"","is_meeting_room_device":false,)"
              R"("my_dial_num":"","register_user_id":"","register_user_name":"","serial_number":"","user_id":""})");
    EXPECT_EQ(first->getMediaService(), nullptr);
    EXPECT_NE(out.str().find("ERROR! getMediaService return null, please call initMediaService first."),
              std::string::npos);
    EXPECT_EQ(first->cleanMediaService(), 0);
    EXPECT_NE(out.str().find("****** Why do you call this function? ******"), std::string::npos);

    // Without an engine creator there is no engine.
    EXPECT_EQ(first->initMediaService("QC", ""), -1);

    // Visibility calls before the engine exists are not remembered.
    CountingEngine engine;
    first->setChatButtonVisible(false);
    ORVANE::AVSDK_Factory::setCreator([&](const std::string&, const std::string&) { return &engine; });
    EXPECT_EQ(first->initMediaService("QC", ""), 0);
    EXPECT_EQ(engine.setCustomUIOptionCalls, 0);
    first->setChatButtonVisible(true);
    EXPECT_EQ(engine.setCustomUIOptionCalls, 1);
    EXPECT_EQ(first->getMediaService(), &engine);

    // A second initMediaService creates nothing and reports the engine ready.
    CountingEngine other;
    ORVANE::AVSDK_Factory::setCreator([&](const std::string&, const std::string&) { return &other; });
    EXPECT_EQ(first->initMediaService("QV", ""), 0);
    EXPECT_EQ(first->getMediaService(), &engine);

    // Copies of the facade reach the same library.
    ORVANE::ConfSDK copy = *first;
    EXPECT_EQ(copy.getMyInfo(), first->getMyInfo());
    ORVANE::AVSDK_Factory::setCreator(nullptr);
}
