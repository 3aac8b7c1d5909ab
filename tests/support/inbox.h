#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace orvtest {

// Things that arrive on other threads, kept in order; tests wait for them
// with a limit.
template <class T>
class Inbox {
public:
    void add(T item) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            items_.push_back(std::move(item));
        }
        cv_.notify_all();
    }
    std::vector<T> items() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return items_;
    }
    // Waits until some item satisfies `pred`; false after `limit`.
    bool waitFor(const std::function<bool(const T&)>& pred,
                 std::chrono::milliseconds limit = std::chrono::seconds(10)) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, limit, [&] {
            for (const auto& item : items_)
                if (pred(item)) return true;
            return false;
        });
    }
    // Waits until the whole list satisfies `pred`.
    bool waitUntil(const std::function<bool(const std::vector<T>&)>& pred,
                   std::chrono::milliseconds limit = std::chrono::seconds(10)) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, limit, [&] { return pred(items_); });
    }
    bool waitCount(std::size_t n, std::chrono::milliseconds limit = std::chrono::seconds(10)) const {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, limit, [&] { return items_.size() >= n; });
    }
    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        items_.clear();
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable cv_;
    std::vector<T> items_;
};

}  // namespace orvtest
