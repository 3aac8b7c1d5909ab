#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "clock.h"

namespace ORVANE {

struct TimerTaskItem {
    uint64_t id = 0;
    std::string arg;
    std::function<void(std::string)> callback;
    int64_t due = 0;  // system clock, 100 ns units
};

// The state machine's time-outs: tasks with a due time, run one after the
// other by the central object's worker thread. Arming and cancelling each
// take the queue's lock once, briefly; the worker is woken only when a new
// task is due before the time it sleeps until. A cancelled task may leave
// the worker to wake at its old due time once, find nothing due, and sleep
// on.
class TimerTaskQueue {
public:
    explicit TimerTaskQueue(std::shared_ptr<Clock> clock);

    // Queues callback(arg) to run `seconds` from now; returns its id (never 0).
    uint64_t add(int64_t seconds, std::function<void(std::string)> callback, std::string arg);
    // Removes the task; an unknown id (ran, never existed, 0) has no effect.
    void cancel(uint64_t id);
    // Blocks until the next task is due and moves it out. False once the
    // queue has been shut down.
    bool takeNext(TimerTaskItem& out);
    // Moves the next task out if it is due now; never blocks.
    bool takeDue(TimerTaskItem& out);
    // Drops every queued task; ids go on counting.
    void clear();
    // Ends every wait in takeNext for good.
    void shutdown();

    size_t size();
    Clock& clock() { return *clock_; }

private:
    std::shared_ptr<Clock> clock_;
    static constexpr int64_t kNever = INT64_MAX;   // waits without a limit
    static constexpr int64_t kAwake = INT64_MIN;   // not waiting: nothing to wake

    std::vector<TimerTaskItem> items;  // latest due first: the next task stands at the back
    std::condition_variable wakeup;
    uint64_t nextId = 1;
    std::mutex mutex;
    bool stopped = false;
    // The due time a worker waiting in takeNext will wake at by itself:
    // kNever when it waits without a limit, kAwake when nobody waits.
    int64_t workerWakesAt = kAwake;
};

}  // namespace ORVANE
