#include "timer_task.h"

#include <algorithm>

namespace ORVANE {

TimerTaskQueue::TimerTaskQueue(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

uint64_t TimerTaskQueue::add(int64_t seconds, std::function<void(std::string)> callback, std::string arg) {
    TimerTaskItem item;
    item.arg = std::move(arg);
    item.callback = std::move(callback);
    item.due = clock_->systemTicks() + seconds * 10'000'000LL;
    const int64_t due = item.due;

    uint64_t id;
    bool wake = false;
    {
        std::lock_guard<std::mutex> lock(mutex);
        id = item.id = nextId++;
        // Among tasks due at once, the one armed first runs first.
        const auto at = std::lower_bound(items.begin(), items.end(), due,
                                         [](const TimerTaskItem& t, int64_t d) { return t.due > d; });
        items.insert(at, std::move(item));
        if (due < workerWakesAt) {
            workerWakesAt = due;
            wake = true;
        }
    }
    // Woken after the lock is let go, so the worker does not wake only to wait for it.
    if (wake) wakeup.notify_one();
    return id;
}

void TimerTaskQueue::cancel(uint64_t id) {
    std::lock_guard<std::mutex> lock(mutex);
    const auto it = std::find_if(items.begin(), items.end(), [id](const TimerTaskItem& t) { return t.id == id; });
    if (it != items.end()) items.erase(it);
}

bool TimerTaskQueue::takeNext(TimerTaskItem& out) {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        if (stopped) return false;
        if (!items.empty() && items.back().due <= clock_->systemTicks()) break;
        workerWakesAt = items.empty() ? kNever : items.back().due;
        if (items.empty())
            wakeup.wait(lock);
        else
            clock_->waitUntilTicks(wakeup, lock, workerWakesAt);
        workerWakesAt = kAwake;
    }
    out = std::move(items.back());
    items.pop_back();
    return true;
}

bool TimerTaskQueue::takeDue(TimerTaskItem& out) {
    std::lock_guard<std::mutex> lock(mutex);
    if (stopped || items.empty() || items.back().due > clock_->systemTicks()) return false;
    out = std::move(items.back());
    items.pop_back();
    return true;
}

void TimerTaskQueue::clear() {
    // A waiting worker finds nothing due when it wakes, and then waits
    // without a limit: no need to wake it now.
    std::lock_guard<std::mutex> lock(mutex);
    items.clear();
}

void TimerTaskQueue::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopped = true;
    }
    wakeup.notify_all();
}

size_t TimerTaskQueue::size() {
    std::lock_guard<std::mutex> lock(mutex);
    return items.size();
}

}  // namespace ORVANE
