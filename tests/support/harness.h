#pragma once

#include <memory>

#include "app_listener.h"
#include "avsdk_serialization.h"
#include "call_lock.h"
#include "clock.h"
#include "confsdk_p.h"
#include "fake_engine.h"
#include "fake_transport.h"
#include "log_capture.h"

namespace orvtest {

// A central object of its own for one test, on a manual clock, with the
// transport and engine doubles, a recording application and captured logs.
class Harness {
public:
    explicit Harness(const std::string& platform = "QV", ORVANE::SdkEnv env = {}) {
        if (!env.clock) env.clock = clock;
        env.processWide = false;
        sdk = std::make_unique<OrvaneSDKPrivate>(platform, "", env);
        sdk->setListener(&app);
        sdk->setMediaServiceListener(&app);
        sdk->setOrvaneTrans(&trans);
        ORVANE::AVSDK_Factory::setCreator([this](const std::string&, const std::string&) { return &engine; });
    }
    ~Harness() {
        ORVANE::AVSDK_Factory::setCreator(nullptr);
        sdk.reset();
        // The wrapper's queue is the process's: drop calls bound to our engine.
        auto& q = ORVANE::getTaskQueue();
        std::lock_guard<std::mutex> lock(q.mutex);
        q.tasks.clear();
    }

    // Creates the engine and, for "QV", runs what the wrapper queued.
    int initMedia(const std::string& platform = "QV") {
        int r = sdk->initMediaService(platform, "init-para");
        runUiTasks();
        return r;
    }
    // Plays the application's UI thread: runs every queued engine call.
    void runUiTasks() {
        for (;;) {
            bool empty;
            {
                auto& q = ORVANE::getTaskQueue();
                std::lock_guard<std::mutex> lock(q.mutex);
                empty = q.tasks.empty();
            }
            if (empty) return;
            sdk->runUiTask();
        }
    }
    int state() { return sdk->callState(); }
    void advance(std::chrono::nanoseconds by) { clock->advance(by); }

    LogCapture logs;  // first: the library logs from its constructor on
    std::shared_ptr<ORVANE::ManualClock> clock = std::make_shared<ORVANE::ManualClock>();
    FakeTransport trans;
    FakeEngine engine;
    AppListener app;
    std::unique_ptr<OrvaneSDKPrivate> sdk;
};

}  // namespace orvtest
