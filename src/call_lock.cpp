#include "call_lock.h"

#include <deque>

#include "logger.h"

namespace ORVANE {

namespace {
thread_local int t_depth = 0;
thread_local bool t_delivering = false;
thread_local std::deque<std::function<void()>> t_pending;

void runGuarded(const std::function<void()>& call) { runContained("an application callback threw", call); }
}  // namespace

CallLock::CallLock(std::recursive_mutex& mutex) : mutex_(mutex) {
    // The outermost lock marks an entry from outside: the moment to look at
    // the application's log level again.
    if (t_depth == 0) refreshLogLevel();
    mutex_.lock();
    ++t_depth;
}

CallLock::~CallLock() {
    --t_depth;
    mutex_.unlock();
    if (t_depth == 0 && !t_delivering) flush();
}

bool CallLock::held() { return t_depth > 0; }

void CallLock::deliver(std::function<void()> call) {
    if (t_depth > 0 || t_delivering) {
        t_pending.push_back(std::move(call));
        return;
    }
    t_delivering = true;
    runGuarded(call);
    t_delivering = false;
    flush();
}

void CallLock::flush() {
    t_delivering = true;
    while (!t_pending.empty()) {
        auto call = std::move(t_pending.front());
        t_pending.pop_front();
        runGuarded(call);
    }
    t_delivering = false;
}

}  // namespace ORVANE

