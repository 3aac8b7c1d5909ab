// The meeting-control threads. The portal reporter: reports leave in the
// order they were put; without a transport they are lost, not kept; clear()
// and stop() drop what waits, and nothing is sent after stop(). The control
// thread: the library is torn down with a full queue of server commands.
#include <gtest/gtest.h>

#include <condition_variable>
#include <future>

#include "PortalReporter/portalreporter.h"
#include "harness.h"
#include "server_events.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace ORVANE;
using namespace std::chrono_literals;

namespace {

std::string payloadOf(const std::string& wire) {
    return nlohmann::json::parse(wire).at("params").at(0).at("payload").get<std::string>();
}

// A transport whose sending can be held, as a slow network would.
struct Gate {
    void hold() {
        std::unique_lock<std::mutex> lock(m);
        ++waiting;
        cv.notify_all();
        cv.wait(lock, [&] { return open; });
    }
    void waitForSender() {
        std::unique_lock<std::mutex> lock(m);
        cv.wait(lock, [&] { return waiting > 0; });
    }
    void release() {
        std::lock_guard<std::mutex> lock(m);
        open = true;
        cv.notify_all();
    }
    std::mutex m;
    std::condition_variable cv;
    int waiting = 0;
    bool open = false;
};

struct Reporter : ::testing::Test {
    Reporter() { control.setOrvaneTrans(&trans); }
    LogCapture logs;
    FakeTransport trans;
    OrvaneControlSDk_private control;
};

}  // namespace

TEST_F(Reporter, ReportsLeaveInOrderAndAreLostWithoutTransport) {
    PortalReporter reporter(control);
    for (int i = 0; i < 50; ++i) reporter.put_msg({0, "{\"n\":" + std::to_string(i) + "}"});
    ASSERT_TRUE(reporter.waitIdle(5s));
    const auto sent = trans.sent();
    ASSERT_EQ(sent.size(), 50u);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(payloadOf(sent[i]), "{\"n\":" + std::to_string(i) + "}");

    // Without a transport the report is dropped with the channel's error
    // line; a later one goes out as usual.
    control.setOrvaneTrans(nullptr);
    reporter.put_msg({0, "{\"lost\":true}"});
    ASSERT_TRUE(reporter.waitIdle(5s));
    control.setOrvaneTrans(&trans);
    reporter.put_msg({0, "{\"n\":50}"});
    ASSERT_TRUE(reporter.waitIdle(5s));
    ASSERT_EQ(trans.sent().size(), 51u);
    EXPECT_EQ(payloadOf(trans.last()), "{\"n\":50}");
}

TEST_F(Reporter, ClearAndStopDropWhatWaits) {
    Gate gate;
    trans.onSend = [&](const std::string&) { gate.hold(); };
    PortalReporter reporter(control);
    reporter.put_msg({0, "{\"n\":0}"});
    gate.waitForSender();  // the thread is busy sending the first
    for (int i = 1; i < 1000; ++i) reporter.put_msg({0, "{\"n\":" + std::to_string(i) + "}"});
    reporter.clear();
    reporter.put_msg({0, "{\"after\":\"clear\"}"});
    gate.release();
    ASSERT_TRUE(reporter.waitIdle(5s));
    const auto sent = trans.sent();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(payloadOf(sent[1]), "{\"after\":\"clear\"}");

    // A full queue at stop(): it returns, and nothing more is sent. The
    // sender is held until stop() has marked the reporter stopped.
    Gate second;
    trans.onSend = [&](const std::string&) {
        second.hold();
        while (!reporter.waitIdle(1ms)) {
        }
    };
    reporter.put_msg({0, "{\"n\":0}"});
    second.waitForSender();
    for (int i = 1; i < 1000; ++i) reporter.put_msg({0, "{\"n\":" + std::to_string(i) + "}"});
    second.release();
    reporter.stop();
    EXPECT_EQ(trans.sent().size(), 3u);
    reporter.put_msg({0, "{\"after\":\"stop\"}"});
    EXPECT_EQ(trans.sent().size(), 3u);
}

TEST(ControlThread, TeardownWithAFullQueue) {
    auto h = std::make_unique<Harness>();
    h->initMedia("QV");
    Gate gate;
    h->app.onNotifyHook = [&](const std::string& type, const std::string&) {
        if (type == CONFNOTIFY::HOSTREQUEST) gate.hold();
    };
    for (int i = 0; i < 200; ++i)
        deliverEvent(h->trans, "confmanager_event",
                     {{"event", "ctrl_cmd_lock_meeting"}, {"cmdId", std::to_string(i)}, {"lock", true}});
    gate.waitForSender();  // the thread is inside the application's listener
    auto teardown = std::async(std::launch::async, [&] { h.reset(); });
    gate.release();
    ASSERT_EQ(teardown.wait_for(10s), std::future_status::ready);
}
