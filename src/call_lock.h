#pragma once

#include <functional>
#include <mutex>

namespace ORVANE {

// The one lock of the call: the state machine, the conference record and the
// identity are touched only while a CallLock is alive on the thread.
//
// Calls to the application's listeners never run under it. Code that holds
// the lock hands them to CallLock::deliver, which keeps them in a list of the
// thread's own and runs them, in order, when the thread releases its
// outermost CallLock. Listener callbacks therefore run with no library lock
// held, in the order the library produced them, on the thread that produced
// them, and never nested inside one another on one thread: a listener may
// call back into the library at once.
class CallLock {
public:
    explicit CallLock(std::recursive_mutex& mutex);
    ~CallLock();
    CallLock(const CallLock&) = delete;
    CallLock& operator=(const CallLock&) = delete;

    // True while this thread holds a CallLock (of any central object).
    static bool held();
    // Runs `call` now when this thread holds no CallLock and is not already
    // delivering; otherwise after the outermost lock is released. An
    // exception thrown by the call is logged and goes no further.
    static void deliver(std::function<void()> call);

private:
    static void flush();
    std::recursive_mutex& mutex_;
};

}  // namespace ORVANE
