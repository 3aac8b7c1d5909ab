#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "ServerInteraction/orvanecontrolsdk_p.h"

namespace ORVANE {

// A report for the conference manager.
struct PortalMsg {
    int type = 0;      // 0: a control panel; no other type is sent
    std::string data;  // the panel's JSON text
};

// A FIFO whose reader waits; it has no limit on its length.
template <typename T>
class PortalQueue {
public:
    void push(T item) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            items_.push_back(std::move(item));
        }
        wake_.notify_one();
    }
    // The oldest item, waiting up to `wait` at a time for one; false once
    // stopped, even when items are left.
    bool pop(T& out, std::chrono::milliseconds wait) {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            if (!running_) return false;
            if (!items_.empty()) break;
            wake_.wait_for(lock, wait);
        }
        out = std::move(items_.front());
        items_.pop_front();
        return true;
    }
    // Drops every waiting item and tells how many; the reader goes on waiting.
    size_t clear() {
        size_t dropped;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            dropped = items_.size();
            items_.clear();
        }
        wake_.notify_all();
        return dropped;
    }
    void stop() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            running_ = false;
        }
        wake_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<T> items_;
    bool running_ = true;
};

// Sends the control-panel reports to the conference manager from a thread
// of its own, in the order they were put, so that the threads that find the
// changes (the transport's, the engine's) never wait for the network. The
// thread starts with the first report and ends with stop(), at the latest
// when the process exits.
class PortalReporter {
public:
    explicit PortalReporter(OrvaneControlSDk_private& control) : control_(control) {}
    ~PortalReporter() { stop(); }
    PortalReporter(const PortalReporter&) = delete;
    PortalReporter& operator=(const PortalReporter&) = delete;

    // Returns at once, from any thread.
    void put_msg(const PortalMsg& msg);
    // Drops the reports not yet sent.
    void clear();
    // Ends the thread and waits for it; reports still queued are not sent.
    void stop();
    // Waits until every report put so far has been sent or dropped; false on
    // time-out. For whoever drives the library step by step.
    bool waitIdle(std::chrono::milliseconds timeout);

private:
    // stop() without leaving the threads stopped at exit.
    void halt();
    void run();
    void _Server_SyncControlPanel(const std::string& data);

    OrvaneControlSDk_private& control_;
    std::atomic<bool> running_{true};
    PortalQueue<PortalMsg> queue_;
    std::mutex threadMutex_;  // starting and stopping the thread
    std::thread worker_;
    std::mutex idleMutex_;
    std::condition_variable idle_;
    size_t outstanding_ = 0;  // put and not yet sent or dropped
};

}  // namespace ORVANE
