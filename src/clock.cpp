#include "clock.h"

#include <thread>

namespace ORVANE {

namespace {

using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10'000'000>>;

class SystemClock : public Clock {
public:
    int64_t systemTicks() override {
        return std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch()).count();
    }
    int64_t steadyNanos() override {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    void waitUntilTicks(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) override {
        std::chrono::system_clock::time_point deadline{
            std::chrono::duration_cast<std::chrono::system_clock::duration>(Ticks(due))};
        cv.wait_until(lock, deadline);
    }
    void waitUntilSteady(std::condition_variable& cv, std::unique_lock<std::mutex>& lock, int64_t due) override {
        std::chrono::steady_clock::time_point deadline{
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::nanoseconds(due))};
        cv.wait_until(lock, deadline);
    }
    void sleepFor(std::chrono::milliseconds duration) override { std::this_thread::sleep_for(duration); }
};

}  // namespace

std::shared_ptr<Clock> systemClock() {
    static const std::shared_ptr<Clock> clock = std::make_shared<SystemClock>();
    return clock;
}

}  // namespace ORVANE
