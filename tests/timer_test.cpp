// The timed task queue on a manual clock: due order, cancelling, clearing,
// and the wake-up of a worker that waits for a later task.
#include <gtest/gtest.h>

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
