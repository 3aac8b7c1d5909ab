// The timed task queue with its worker, and timer::manager, on a manual clock.
#include <gtest/gtest.h>

#include <atomic>

#include "harness.h"
#include "timer_manager.h"

using namespace orvtest;
using namespace std::chrono_literals;

namespace {

// Tasks in the order they ran on the worker.
struct Ran {
    std::mutex mutex;
    std::vector<std::string> order;
    std::function<void(std::string)> task(const std::string& name) {
        return [this, name](std::string arg) {
            std::lock_guard<std::mutex> lock(mutex);
            order.push_back(name + arg);
        };
    }
    std::vector<std::string> get() {
        std::lock_guard<std::mutex> lock(mutex);
        return order;
    }
};

uint64_t add(Harness& h, int64_t seconds, std::function<void(std::string)> cb, std::string arg = "") {
    ORVANE::CallLock lock(h.sdk->callMutex());
    return h.sdk->add_timer_task(seconds, std::move(cb), std::move(arg));
}

void cancel(Harness& h, uint64_t id) {
    ORVANE::CallLock lock(h.sdk->callMutex());
    h.sdk->cancel_timer_task(id);
}

}  // namespace

TEST(TimerTasks, RunInDueOrderWithTheirArgument) {
    Harness h;
    Ran ran;
    const uint64_t late = add(h, 55, ran.task("join"), ":55");
    const uint64_t early = add(h, 15, ran.task("invite"), ":15");
    EXPECT_EQ(early, late + 1);
    EXPECT_NE(late, 0u);

    h.advance(14s);
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(ran.get().empty());
    h.advance(1s);
    ASSERT_TRUE(eventually([&] { return ran.get().size() == 1; }));
    h.advance(40s);
    ASSERT_TRUE(eventually([&] { return ran.get().size() == 2; }));
    EXPECT_EQ(ran.get(), (std::vector<std::string>{"invite:15", "join:55"}));
}

TEST(TimerTasks, CancelRemovesOnlyThatTask) {
    Harness h;
    Ran ran;
    const uint64_t a = add(h, 10, ran.task("a"));
    add(h, 20, ran.task("b"));
    cancel(h, a);
    cancel(h, a);  // twice: no effect
    cancel(h, 0);  // never given
    cancel(h, 999);
    EXPECT_EQ(h.sdk->timerTasks.size(), 1u);
    h.advance(30s);
    ASSERT_TRUE(eventually([&] { return ran.get().size() == 1; }));
    EXPECT_EQ(ran.get()[0], "b");
    // The worker waits on without a deadline and still takes new work.
    add(h, 0, ran.task("c"));
    ASSERT_TRUE(eventually([&] { return ran.get().size() == 2; }));
}

TEST(TimerTasks, EarlierTaskWakesTheWorker) {
    // Real time here: the worker sleeps for an hour and must be woken.
    Harness h("QV", [] {
        ORVANE::SdkEnv env;
        env.clock = ORVANE::systemClock();
        return env;
    }());
    Ran ran;
    add(h, 3600, ran.task("hour"));
    std::this_thread::sleep_for(20ms);  // let the worker settle into its wait
    add(h, 0, ran.task("now"));
    ASSERT_TRUE(eventually([&] { return ran.get().size() == 1; }, 2s));
    EXPECT_EQ(ran.get()[0], "now");
}

TEST(TimerTasks, AThrowingTaskDoesNotStopTheWorker) {
    Harness h;
    Ran ran;
    add(h, 0, [](std::string) { throw std::runtime_error("boom"); });
    add(h, 0, ran.task("after"));
    ASSERT_TRUE(eventually([&] { return ran.get().size() == 1; }));
    EXPECT_TRUE(h.logs.has("boom"));
}

TEST(TimerTasks, WorkerLogsEnterAndExit) {
    Harness h;
    ASSERT_TRUE(eventually([&] { return h.logs.has("confsdk _timer_task_worker_loop: enter"); }));
    h.sdk.reset();
    EXPECT_TRUE(h.logs.has("confsdk _timer_task_worker_loop: exit"));
}

TEST(TimerManager, OneShotFiresOnceWithinATick) {
    auto clock = std::make_shared<ORVANE::ManualClock>();
    timer::manager m(clock);
    std::atomic<int> fired{0};
    m.add(30000, [&] { ++fired; }, 1);
    m.start(250ms);
    clock->advance(29999ms);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(fired.load(), 0);
    EXPECT_EQ(m.size(), 1u);
    // Due now: the next pass, at most one tick away, fires it.
    clock->advance(1ms);
    clock->advance(250ms);
    ASSERT_TRUE(eventually([&] { return fired.load() == 1; }));
    ASSERT_TRUE(eventually([&] { return m.size() == 0; }));
    clock->advance(60s);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(fired.load(), 1);
    m.stopThread();
}

TEST(TimerManager, RepeatingTimerCatchesUpAndRemoveWaitsForThePass) {
    auto clock = std::make_shared<ORVANE::ManualClock>();
    timer::manager m(clock);
    std::atomic<int> fired{0};
    m.add(100, [&] { ++fired; }, 3);
    EXPECT_EQ(m.add(100, [] {}, 0), UINT64_MAX);
    clock->advance(1s);  // all three firings are late
    m.start(250ms);
    ASSERT_TRUE(eventually([&] { return fired.load() == 3; }));
    ASSERT_TRUE(eventually([&] { return m.size() == 0; }));

    // A removed timer that is due in the pass still fires once.
    std::atomic<int> other{0};
    const uint64_t id = m.add(100, [&] { ++other; }, 5);
    m.stopThread();
    m.remove(id);
    m.remove(UINT64_MAX);
    clock->advance(100ms);
    m.start(250ms);
    ASSERT_TRUE(eventually([&] { return m.size() == 0; }));
    EXPECT_EQ(other.load(), 1);
    m.stopThread();
}

TEST(TimerManager, CallbacksMayAddAndRemove) {
    auto clock = std::make_shared<ORVANE::ManualClock>();
    timer::manager m(clock);
    std::atomic<int> first{0}, second{0};
    m.add(10, [&] {
        m.add(10, [&] { ++second; }, 1);
        ++first;
    }, 1);
    m.start(1ms);
    clock->advance(10ms);
    ASSERT_TRUE(eventually([&] { return first.load() == 1 && m.size() == 1; }));
    clock->advance(10ms);
    ASSERT_TRUE(eventually([&] { return second.load() == 1; }));
    m.stopThread();
}
