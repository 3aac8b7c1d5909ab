#pragma once

#include <orvane/orvane.h>

#include "app_listener.h"

namespace orvtest {

// Plays the application's UI thread: runs one queued engine call for every
// notification that asked for it.
struct UiThread {
    UiThread(ORVANE::ConfSDK* sdk, AppListener& app) : sdk(sdk), app(app) {}
    void pump() {
        size_t asked;
        while (ran < (asked = app.count(ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD))) {
            sdk->DoInternalTaskMustCalledByUIThread();
            ++ran;
        }
    }
    // Pumps until the application has heard `type` or the time is up.
    bool until(const std::string& type, std::chrono::milliseconds timeout = std::chrono::seconds(5)) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        for (;;) {
            pump();
            if (app.count(type) > 0) return true;
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ORVANE::ConfSDK* sdk;
    AppListener& app;
    size_t ran = 0;
};

}  // namespace orvtest
