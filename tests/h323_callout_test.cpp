// H.323 call-outs under load and against the clock: a hundred orders at once,
// answered in every way the engine can, on the simulated servers and engine;
// and a time-out that fires as its call is already over.
#include <gtest/gtest.h>

#include "app_listener.h"
#include "confsdk_p.h"
#include "fake_engine.h"
#include "fake_transport.h"
#include "log_capture.h"
#include "sim_engine.h"
#include "sim_servers.h"

using namespace orvtest;
using namespace std::chrono_literals;
using Answer = orvsim::SimEngine::CalloutAnswer;

namespace {

// Counts the answers to orders as the library sends them.
struct CountingTransport : orvsim::LoopbackTransport {
    int sendTextMessage(const std::string& text) override {
        if (text.find("MQ_CALLMASTER_CMD_RESP") != std::string::npos) ++answersSent;
        return LoopbackTransport::sendTextMessage(text);
    }
    std::atomic<size_t> answersSent{0};
};

// A device hosting a meeting, on a virtual clock that only the test moves.
struct Meeting {
    Meeting() : engine(orvsim::SimEngine::Options{1ms, 0, 0}), servers(trans) {
        servers.addConference({"conf-8001", "8001", "99001", "Weekly", "", false, ""});
        orvsim::SimEngine::install(&engine);
        ORVANE::SdkEnv env{clock, false, nullptr, false};
        sdk = std::make_unique<OrvaneSDKPrivate>("QC", "", env);
        sdk->setListener(&app);
        sdk->setOrvaneTrans(&trans);
        sdk->initMediaService("QC", "");
        servers.attach();
        EXPECT_TRUE(eventually([&] { return app.count("confsdknotify_callsignal_ok") > 0; }));
        sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
        EXPECT_TRUE(eventually([&] { return sdk->callState() == AVSTATE_IN_MEETING; }));
    }
    ~Meeting() {
        trans.stop();
        engine.stop();
        orvsim::SimEngine::install(nullptr);
    }
    // The point of rest: nothing on its way on the wire or from the engine.
    void settle() {
        for (int quiet = 0; quiet < 3; std::this_thread::sleep_for(2ms))
            quiet = !trans.idle(0ms) || !engine.idle(0ms) || !sdk->waitUntilIdle() ? 0 : quiet + 1;
    }

    LogCapture logs;  // first: the library logs from its constructor on
    std::shared_ptr<ORVANE::ManualClock> clock = std::make_shared<ORVANE::ManualClock>();
    AppListener app;
    CountingTransport trans;
    orvsim::SimEngine engine;
    orvsim::SimServers servers;
    std::unique_ptr<OrvaneSDKPrivate> sdk;
};

}  // namespace

TEST(H323Callouts, AHundredOrdersAtOnceAreCalledOneAtATimeInOrderEachAnsweredOnce) {
    Meeting m;
    const Answer kinds[] = {Answer::Success, Answer::Failure, Answer::Silence};
    const char* const failures[] = {"", orvsim::SimEngine::kCalloutFailed, "H323Callout_Timeout"};
    for (int i = 0; i < 100; ++i) m.engine.setCalloutAnswer("Room " + std::to_string(i), kinds[i % 3]);
    std::mutex mutex;
    std::vector<std::string> called;
    int hangups = 0;
    m.engine.setTrace([&](const std::string& op, const std::string& detail) {
        std::lock_guard<std::mutex> lock(mutex);
        hangups += op == "hangupH323device";
        if (op != "callH323device") return;
        // Each device is called only once the one before it was answered.
        EXPECT_EQ(m.trans.answersSent, called.size()) << detail;
        called.push_back(detail);
    });

    for (int i = 0; i < 100; ++i) {
        m.servers.h323CallOut("Room " + std::to_string(i), "10.0.1." + std::to_string(i), "h323",
                              "c-" + std::to_string(i));
        // A hang-up of a device still waiting goes to the engine; the queue
        // stays as it is.
        if (i % 10 == 5) m.servers.h323HangUp("16779999", "h-" + std::to_string(i));
    }
    // At rest, the call under way is a silent one: only its limit ends it.
    for (int round = 0; round < 40 && m.servers.calloutAnswers().size() < 100; ++round) {
        m.settle();
        m.clock->advance(30s);
        m.sdk->runDueTimers();
    }
    m.settle();

    const auto answers = m.servers.calloutAnswers();
    std::lock_guard<std::mutex> lock(mutex);
    ASSERT_EQ(answers.size(), 100u);
    ASSERT_EQ(called.size(), 100u);
    EXPECT_EQ(hangups, 10);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(called[i], "Room " + std::to_string(i) + " at 10.0.1." + std::to_string(i));
        EXPECT_EQ(answers[i]["cmdId"], "c-" + std::to_string(i));
        if (kinds[i % 3] == Answer::Success)
            EXPECT_TRUE(answers[i]["retCode"] == "OK" && answers[i]["retData"].is_number_integer()) << answers[i];
        else
            EXPECT_EQ(answers[i]["retData"], failures[i % 3]) << i;
    }
}

// The worker may have taken a time-out just as its call ended another way;
// it must not end the call that came next, nor act after the meeting.
TEST(H323Callouts, ATimeOutTakenAsItsCallEndedDoesNothing) {
    LogCapture logs;
    std::recursive_mutex callMutex;
    auto clock = std::make_shared<ORVANE::ManualClock>();
    ORVANE::TimerTaskQueue timers(clock);
    FakeTransport trans;
    ORVANE::OrvaneControlSDk_private control;
    control.setOrvaneTrans(&trans);
    FakeEngine engine;
    ORVANE::H323Callout h323(callMutex, timers, control, [&] { return &engine; });
    h323.callH323device("Atrium", "10.0.0.1", "h323", "c-1");
    h323.callH323device("Board", "10.0.0.2", "h323", "c-2");

    ORVANE::TimerTaskItem late;
    clock->advance(30s);
    ASSERT_TRUE(timers.takeDue(late));
    h323.onCalloutStatus("H323Callout_Busy");
    late.callback(late.arg);
    EXPECT_EQ(h323.current().cmdId, "c-2");

    // The last of the queue ends by its failure; then a meeting ends.
    for (auto end : {std::function<void()>([&] { h323.onCalloutStatus("H323Callout_Busy"); }),
                     std::function<void()>([&] { h323.stopTimer(); })}) {
        clock->advance(30s);
        ASSERT_TRUE(timers.takeDue(late));
        end();
        late.callback(late.arg);
        h323.callH323device("Hall", "10.0.0.3", "h323", "");
    }
    EXPECT_EQ(engine.count("cancelCallH323device"), 0u);
    EXPECT_EQ(trans.sent().size(), 2u);  // the two failures alone
}
