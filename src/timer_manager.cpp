#include "timer_manager.h"

#include <limits>

#include "logger.h"

namespace timer {

namespace {
constexpr uint64_t kNoId = std::numeric_limits<uint64_t>::max();
}

manager::manager(std::shared_ptr<ORVANE::Clock> clock) : clock_(std::move(clock)) {}

manager::~manager() { stopThread(); }

uint64_t manager::freshId() {
    uint64_t id;
    do {
        id = nextTimerId++;
    } while (id == kNoId || timers.count(id) != 0);
    return id;
}

uint64_t manager::add(int64_t periodMs, std::function<void()> callback, int times) {
    if (times < 1) return kNoId;
    auto item = std::make_unique<entry>();
    item->callback = std::move(callback);
    item->period = periodMs * 1'000'000LL;
    item->count = times == 1 ? -1 : times + 1;

    std::lock_guard<std::recursive_mutex> lock(mutex);
    const uint64_t id = freshId();
    item->next = clock_->steadyNanos() + item->period;
    timers.emplace(id, std::move(item));
    return id;
}

void manager::remove(uint64_t id) {
    if (id == kNoId) return;
    std::lock_guard<std::recursive_mutex> lock(mutex);
    finished.push_back(id);
}

void manager::pass() {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    // Callbacks may add timers while we walk: iterate over the ids of the pass.
    std::vector<uint64_t> ids;
    ids.reserve(timers.size());
    for (const auto& t : timers) ids.push_back(t.first);
    for (uint64_t id : ids) {
        auto it = timers.find(id);
        if (it == timers.end()) continue;
        entry& e = *it->second;
        if (!e.callback) {
            finished.push_back(id);
            continue;
        }
        if (clock_->steadyNanos() < e.next) continue;
        try {
            if (e.count == -1) {
                e.callback();
                e.next += e.period;
                finished.push_back(id);
            } else {
                while (e.count > 1 && clock_->steadyNanos() >= e.next) {
                    e.callback();
                    e.next += e.period;
                    --e.count;
                }
                if (e.count <= 1) finished.push_back(id);
            }
        } catch (const std::exception& ex) {
            LOG_ERROR("timer::manager: callback of timer {} failed: {}", id, ex.what());
            finished.push_back(id);
        }
    }
    for (uint64_t id : finished) timers.erase(id);
    finished.clear();
}

void manager::run(std::chrono::nanoseconds tick) {
    for (;;) {
        const int64_t started = clock_->steadyNanos();
        {
            std::lock_guard<std::mutex> lock(sleepMutex);
            if (stop) return;
        }
        pass();
        const int64_t until = started + tick.count();
        std::unique_lock<std::mutex> lock(sleepMutex);
        while (!stop && clock_->steadyNanos() < until) clock_->waitUntilSteady(sleepWake, lock, until);
        if (stop) return;
    }
}

void manager::start(std::chrono::nanoseconds tick) {
    stopThread();
    {
        std::lock_guard<std::mutex> lock(sleepMutex);
        stop = false;
    }
    thread = std::thread([this, tick] { run(tick); });
}

void manager::stopThread() {
    {
        std::lock_guard<std::mutex> lock(sleepMutex);
        stop = true;
        sleepWake.notify_all();
    }
    if (thread.joinable() && thread.get_id() != std::this_thread::get_id()) thread.join();
}

size_t manager::size() {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    return timers.size();
}

}  // namespace timer
