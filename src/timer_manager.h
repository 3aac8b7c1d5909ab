#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "clock.h"

namespace timer {

// A small periodic timer with a ticking thread of its own. Callbacks run on
// that thread with the manager's mutex held: they may add and remove timers,
// but must not stop the manager's thread, and must not wait for a lock that
// is held by someone who calls into this manager.
class manager {
public:
    explicit manager(std::shared_ptr<ORVANE::Clock> clock = ORVANE::systemClock());
    ~manager();
    manager(const manager&) = delete;
    manager& operator=(const manager&) = delete;

    // times 1: one firing. times n > 1: n firings, periodMs apart. Returns the
    // timer's id, or the value of all bits set when times is below 1.
    uint64_t add(int64_t periodMs, std::function<void()> callback, int times);
    // The timer goes at the end of the next pass; one that is due in that
    // pass fires first. An unknown id has no effect.
    void remove(uint64_t id);
    // The ticking thread's body: one pass per tick until stopped.
    void run(std::chrono::nanoseconds tick);

    // Starts the ticking thread (stopping an old one first).
    void start(std::chrono::nanoseconds tick);
    // Stops the ticking thread and waits for it; not from a callback.
    void stopThread();

    size_t size();

private:
    struct entry {
        std::function<void()> callback;
        int64_t next = 0;    // steady clock, ns
        int64_t period = 0;  // ns
        int count = -1;      // -1: one-shot; else firings left plus one
    };

    uint64_t freshId();
    void pass();

    std::shared_ptr<ORVANE::Clock> clock_;
    uint64_t nextTimerId = 0;
    std::map<uint64_t, std::unique_ptr<entry>> timers;
    std::thread thread;
    std::recursive_mutex mutex;
    bool stop = false;  // guarded by sleepMutex
    std::vector<uint64_t> finished;
    std::mutex sleepMutex;
    std::condition_variable sleepWake;
};

}  // namespace timer
