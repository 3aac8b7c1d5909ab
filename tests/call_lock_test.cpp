// Listener calls made under the call lock run after it is released, in
// order, never nested; a listener may call back into the library, from its
// own thread or from another, without deadlock.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "harness.h"
#include "server_events.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
using namespace std::chrono_literals;

TEST(CallLock, DeliveriesWaitForTheOutermostRelease) {
    std::recursive_mutex mutex;
    std::vector<std::string> seen;
    auto othersMayEnter = [&] {
        return std::async(std::launch::async, [&] {
                   const bool got = mutex.try_lock();
                   if (got) mutex.unlock();
                   return got;
               }).get();
    };
    {
        ORVANE::CallLock outer(mutex);
        EXPECT_FALSE(othersMayEnter());
        {
            ORVANE::CallLock inner(mutex);
            ORVANE::CallLock::deliver([&] { seen.push_back("a"); });
        }
        EXPECT_TRUE(seen.empty());
        ORVANE::CallLock::deliver([&] { seen.push_back("b"); });
        EXPECT_TRUE(ORVANE::CallLock::held());
    }
    EXPECT_FALSE(ORVANE::CallLock::held());
    EXPECT_TRUE(othersMayEnter());
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "b"}));

    // Without a lock: at once.
    ORVANE::CallLock::deliver([&] { seen.push_back("c"); });
    EXPECT_EQ(seen.size(), 3u);
}

// The list of calls kept for later is the thread's own: a thread that kept
// some ends cleanly, after they ran (Windows builds crashed here when the
// list was a thread_local object).
TEST(CallLock, AThreadThatKeptCallsEndsCleanly) {
    std::recursive_mutex mutex;
    std::atomic<int> runs{0};
    for (int i = 0; i < 20; ++i) {
        std::thread([&] {
            ORVANE::CallLock lock(mutex);
            ORVANE::CallLock::deliver([&] { ++runs; });
            ORVANE::CallLock::deliver([&] { ++runs; });
        }).join();
    }
    EXPECT_EQ(runs, 40);
}

TEST(CallLock, CallbacksDoNotNestAndExceptionsStop) {
    LogCapture logs;
    std::recursive_mutex mutex;
    std::vector<std::string> seen;
    int depth = 0;
    {
        ORVANE::CallLock lock(mutex);
        ORVANE::CallLock::deliver([&] {
            ++depth;
            seen.push_back("first");
            // A callback that enters the library and makes another delivery.
            ORVANE::CallLock again(mutex);
            ORVANE::CallLock::deliver([&] {
                EXPECT_EQ(depth, 0);  // runs after "first" has returned
                seen.push_back("third");
            });
            --depth;
        });
        ORVANE::CallLock::deliver([&] {
            seen.push_back("second");
            throw std::runtime_error("listener fault");
        });
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"first", "second", "third"}));
    EXPECT_TRUE(logs.has("listener fault"));
}

TEST(CallLock, ListenerMayCallBackFromAnyThread) {
    Harness h;
    h.initMedia("QC");
    // On a server event, the application leaves: once on the notifying
    // thread, once from a thread of its own that the callback waits for.
    // Neither may deadlock.
    std::atomic<int> calls{0};
    h.app.onNotifyHook = [&](const std::string& type, const std::string&) {
        if (type != "0/confmanager_event" || calls++ > 0) return;
        h.sdk->sendCommand(ORVANE::CONF::LEAVECONF, "");
        std::async(std::launch::async, [&] { h.sdk->sendCommand(ORVANE::CONF::LEAVECONF, ""); }).wait();
    };
    auto server = std::async(std::launch::async,
                             [&] { deliverEvent(h.trans, "confmanager_event", {{"event", "confmgr_other"}}); });
    ASSERT_EQ(server.wait_for(5s), std::future_status::ready);
    EXPECT_EQ(h.logs.count("----ConfState change to idle state---"), 2u);
}
