#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

namespace ORVANE {

// The time source of the library's timers. The library runs on the real
// clocks; tests put a manual clock in their place so that a 55 s time-out
// passes in milliseconds.
class Clock {
public:
    virtual ~Clock() = default;
    // The system clock in units of 100 ns.
    virtual int64_t systemTicks() = 0;
    // The steady clock in nanoseconds.
    virtual int64_t steadyNanos() = 0;
    // Waits on cv, with lock held on entry and exit, until it is notified or
    // the system clock reaches due. May return early; callers check again.
    virtual void waitUntilTicks(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) = 0;
    // The same against the steady clock.
    virtual void waitUntilSteady(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) = 0;
    // Lets time pass on this thread.
    virtual void sleepFor(std::chrono::milliseconds duration) = 0;
};

// The process's real clocks.
std::shared_ptr<Clock> systemClock();

// A clock that moves only when told to. Waiters look at it again every few
// milliseconds of real time, so advancing it needs no hand-shake with them.
class ManualClock : public Clock {
public:
    explicit ManualClock(int64_t startTicks = 16'000'000'000'000'000LL) : base_(startTicks) {}

    void advance(std::chrono::nanoseconds by) { nanos_ += by.count(); }

    int64_t systemTicks() override { return base_ + nanos_.load() / 100; }
    int64_t steadyNanos() override { return nanos_.load(); }
    void waitUntilTicks(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) override {
        if (systemTicks() < due) cv.wait_for(lock, kPoll);
    }
    void waitUntilSteady(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) override {
        if (steadyNanos() < due) cv.wait_for(lock, kPoll);
    }
    // Tests do not wait: a pause on a manual clock is over at once.
    void sleepFor(std::chrono::milliseconds) override {}

private:
    static constexpr std::chrono::milliseconds kPoll{2};
    const int64_t base_;
    std::atomic<int64_t> nanos_{0};
};

}  // namespace ORVANE
