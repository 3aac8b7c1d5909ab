#include "PortalReporter/portalreporter.h"

#include "logger.h"
#include "threads_at_exit.h"
#include "orvane/vocabulary.h"

namespace ORVANE {

void PortalReporter::put_msg(const PortalMsg& msg) {
    LOG_DEBUG("---------PortalReporter::put_msg : type={}, data={}-------------\n", msg.type, msg.data);
    {
        std::lock_guard<std::mutex> lock(threadMutex_);
        if (!running_) return;
        if (!worker_.joinable()) {
            threadsAtExit::add(this, [this] { halt(); });
            worker_ = std::thread(&PortalReporter::run, this);
        }
    }
    {
        std::lock_guard<std::mutex> lock(idleMutex_);
        ++outstanding_;
    }
    queue_.push(msg);
}

void PortalReporter::clear() {
    const size_t dropped = queue_.clear();
    std::lock_guard<std::mutex> lock(idleMutex_);
    outstanding_ -= dropped;
    if (outstanding_ == 0) idle_.notify_all();
}

bool PortalReporter::waitIdle(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(idleMutex_);
    return idle_.wait_for(lock, timeout, [this] { return outstanding_ == 0 || !running_; });
}

void PortalReporter::stop() {
    // Removed first: the stop at exit must not meet a reporter that is gone.
    threadsAtExit::remove(this);
    halt();
}

void PortalReporter::halt() {
    std::lock_guard<std::mutex> lock(threadMutex_);
    running_ = false;
    queue_.stop();
    idle_.notify_all();
    if (worker_.joinable()) worker_.join();
}

void PortalReporter::run() {
    PortalMsg msg;
    // Half a second at a time: a stop is noticed within one wait.
    while (running_ && queue_.pop(msg, std::chrono::milliseconds(500))) {
        if (msg.type == 0) runContained("PortalReporter", [&] { _Server_SyncControlPanel(msg.data); });
        std::lock_guard<std::mutex> lock(idleMutex_);
        if (--outstanding_ == 0) idle_.notify_all();
    }
}

void PortalReporter::_Server_SyncControlPanel(const std::string& data) {
    LOG_DEBUG("PortalReporter::_Server_SyncControlPanel - send command SYNCCONTROLPANEL, data={}", data);
    control_.sendCommand(CONF::SYNCCONTROLPANEL, data);
}

}  // namespace ORVANE
