// The timed task queue on a manual clock: due order, cancelling, clearing,
// and the wake-up of a worker that waits for a later task.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "clock.h"
#include "timer_task.h"

using namespace ORVANE;
using namespace std::chrono_literals;

namespace {

struct Queue {
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    TimerTaskQueue q{clock};
    std::vector<std::string> ran;

    uint64_t add(int64_t seconds, const std::string& name) {
        return q.add(seconds, [this, name](std::string arg) { ran.push_back(name + arg); }, ":" + name);
    }
    // Runs what is due after `by`, as a worker would.
    void pass(std::chrono::nanoseconds by) {
        clock->advance(by);
        TimerTaskItem task;
        while (q.takeDue(task)) task.callback(task.arg);
    }
};

}  // namespace

TEST(TimerTasks, RunInDueOrderWithTheirArgument) {
    Queue t;
    const uint64_t late = t.add(55, "join");
    const uint64_t early = t.add(15, "invite");
    EXPECT_NE(late, 0u);
    EXPECT_EQ(early, late + 1);
    t.pass(14999ms);
    EXPECT_TRUE(t.ran.empty());
    t.pass(1ms);
    t.pass(40s);
    EXPECT_EQ(t.ran, (std::vector<std::string>{"invite:invite", "join:join"}));
    EXPECT_EQ(t.q.size(), 0u);
}

TEST(TimerTasks, CancelAndClearRemoveOnlyWhatTheyName) {
    Queue t;
    const uint64_t a = t.add(10, "a");
    t.add(20, "b");
    t.q.cancel(a);
    t.q.cancel(a);  // twice: no effect
    t.q.cancel(0);  // never given
    t.q.cancel(999);
    EXPECT_EQ(t.q.size(), 1u);
    t.pass(30s);
    EXPECT_EQ(t.ran, (std::vector<std::string>{"b:b"}));

    const uint64_t before = t.add(1, "c");
    t.q.clear();
    t.pass(5s);
    EXPECT_EQ(t.ran.size(), 1u);
    EXPECT_GT(t.add(1, "d"), before);  // ids go on counting
}

TEST(TimerTasks, AnEarlierTaskWakesAWaitingWorker) {
    // Real time: the worker sleeps for an hour and must be woken.
    TimerTaskQueue q(systemClock());
    q.add(3600, [](std::string) {}, "hour");
    std::promise<std::string> first;
    std::thread worker([&] {
        TimerTaskItem task;
        if (q.takeNext(task)) first.set_value(task.arg);
    });
    std::this_thread::sleep_for(20ms);  // let the worker settle into its wait
    q.add(0, [](std::string) {}, "now");
    auto got = first.get_future();
    ASSERT_EQ(got.wait_for(2s), std::future_status::ready);
    EXPECT_EQ(got.get(), "now");
    q.shutdown();
    worker.join();
}

TEST(TimerTasks, ShutdownEndsEveryWait) {
    TimerTaskQueue q(systemClock());
    auto waiting = std::async(std::launch::async, [&] {
        TimerTaskItem task;
        return q.takeNext(task);
    });
    std::this_thread::sleep_for(10ms);
    q.shutdown();
    ASSERT_EQ(waiting.wait_for(2s), std::future_status::ready);
    EXPECT_FALSE(waiting.get());
}

namespace {

// The real clocks, counting each wait the worker starts: one at first, one
// more after each time it is woken.
class CountingClock : public Clock {
public:
    int64_t systemTicks() override { return real_->systemTicks(); }
    int64_t steadyNanos() override { return real_->steadyNanos(); }
    void waitUntilTicks(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) override {
        ++waits;
        real_->waitUntilTicks(cv, lock, due);
    }
    void waitUntilSteady(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) override {
        real_->waitUntilSteady(cv, lock, due);
    }
    void sleepFor(std::chrono::milliseconds d) override { real_->sleepFor(d); }
    std::atomic<int> waits{0};

private:
    std::shared_ptr<Clock> real_ = systemClock();
};

}  // namespace

TEST(TimerTasks, TheWorkerIsWokenOnlyForAnEarlierTask) {
    auto clock = std::make_shared<CountingClock>();
    TimerTaskQueue q(clock);
    q.add(3600, [](std::string) {}, "hour");
    std::thread worker([&] {
        TimerTaskItem task;
        while (q.takeNext(task)) {
        }
    });
    // The count reached, or the time given for it over.
    auto reaches = [&](int waits) {
        const auto deadline = std::chrono::steady_clock::now() + 2s;
        while (clock->waits < waits && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
        return clock->waits.load();
    };
    ASSERT_EQ(reaches(1), 1);
    // Later tasks and cancels leave it asleep.
    q.add(7200, [](std::string) {}, "two hours");
    q.cancel(q.add(5400, [](std::string) {}, "cancelled"));
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(clock->waits, 1);
    // An earlier one wakes it once, to sleep until the new time.
    q.add(1800, [](std::string) {}, "half an hour");
    EXPECT_EQ(reaches(2), 2);
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(clock->waits, 2);
    q.shutdown();
    worker.join();
}
