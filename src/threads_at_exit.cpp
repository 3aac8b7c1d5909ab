#include "threads_at_exit.h"

#include <map>
#include <mutex>

namespace ORVANE {
namespace threadsAtExit {

namespace {

class Running {
public:
    void add(const void* owner, std::function<void()> stop) {
        std::lock_guard<std::mutex> lock(mutex_);
        stops_[owner] = std::move(stop);
    }
    void remove(const void* owner) {
        std::lock_guard<std::mutex> lock(mutex_);
        stops_.erase(owner);
    }
    ~Running() {
        std::map<const void*, std::function<void()>> left;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            left.swap(stops_);
        }
        for (auto& stop : left) stop.second();
    }

private:
    std::mutex mutex_;
    std::map<const void*, std::function<void()>> stops_;
};

// Built with the first thread, so destroyed before what stood before it.
Running& running() {
    static Running all;
    return all;
}

}  // namespace

void add(const void* owner, std::function<void()> stop) { running().add(owner, std::move(stop)); }

void remove(const void* owner) { running().remove(owner); }

}  // namespace threadsAtExit
}  // namespace ORVANE
