#include "call_lock.h"

#include <memory>
#include <vector>

#include "logger.h"

namespace ORVANE {

namespace {
using PendingCalls = std::vector<std::function<void()>>;

// Plain values only: with mingw-w64's thread-local storage, a thread_local
// that has a destructor crashes the thread's exit (its storage is freed
// before the destructor runs). The list of pending calls lives on the heap
// from the first call kept to the end of the delivery that runs it.
thread_local int t_depth = 0;
thread_local bool t_delivering = false;
thread_local PendingCalls* t_pending = nullptr;

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
        if (!t_pending) t_pending = new PendingCalls;
        t_pending->push_back(std::move(call));
        return;
    }
    t_delivering = true;
    runGuarded(call);
    t_delivering = false;
    flush();
}

void CallLock::flush() {
    t_delivering = true;
    // What the calls of one batch cause is kept in a new list, which runs
    // after the whole batch: the order the calls were made in.
    while (t_pending) {
        const std::unique_ptr<PendingCalls> batch(t_pending);
        t_pending = nullptr;
        for (const auto& call : *batch) runGuarded(call);
    }
    t_delivering = false;
}

}  // namespace ORVANE

