#include "timer_task.h"

#include <algorithm>

namespace ORVANE {

TimerTaskQueue::TimerTaskQueue(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

uint64_t TimerTaskQueue::add(int64_t seconds, std::function<void(std::string)> callback, std::string arg) {
    TimerTaskItem item;
    item.arg = std::move(arg);
    item.callback = std::move(callback);
    item.due = clock_->systemTicks() + seconds * 10'000'000LL;

    std::lock_guard<std::mutex> lock(mutex);
    item.id = nextId;
    items.push_back(std::move(item));
    std::sort(items.begin(), items.end(),
              [](const TimerTaskItem& a, const TimerTaskItem& b) { return a.due > b.due; });
    // The new task may be earlier than the one the worker sleeps for.
    wakeup.notify_one();
    return nextId++;
}

void TimerTaskQueue::cancel(uint64_t id) {
    std::lock_guard<std::mutex> lock(mutex);
    items.erase(std::remove_if(items.begin(), items.end(), [id](const TimerTaskItem& t) { return t.id == id; }),
                items.end());
}

bool TimerTaskQueue::takeNext(TimerTaskItem& out) {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        if (stopped) return false;
        if (!items.empty()) {
            const int64_t due = items.back().due;
            if (due <= clock_->systemTicks()) break;
            clock_->waitUntilTicks(wakeup, lock, due);
        } else {
            wakeup.wait(lock);
        }
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
    std::lock_guard<std::mutex> lock(mutex);
    items.clear();
    wakeup.notify_all();
}

void TimerTaskQueue::shutdown() {
    std::lock_guard<std::mutex> lock(mutex);
    stopped = true;
    wakeup.notify_all();
}

size_t TimerTaskQueue::size() {
    std::lock_guard<std::mutex> lock(mutex);
    return items.size();
}

}  // namespace ORVANE
