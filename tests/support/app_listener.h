#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "orvane/avsdk.h"
#include "orvane/confsdk.h"

namespace orvtest {

struct AppEvent {
    std::string kind;  // "command", "notify" or "media"
    std::string type;  // command or notification name; "group/cmd" for media
    std::string data;
};

// The application: records every reply and notification, in order, from
// both of its listeners.
class AppListener : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    void onConfCommand(const std::string& type, const std::string& data) override { add({"command", type, data}); }
    void onConfNotify(const std::string& type, const std::string& data) override {
        add({"notify", type, data});
        if (onNotifyHook) onNotifyHook(type, data);
    }
    void onNotify(std::string group, std::string cmd, std::string data) override {
        add({"media", group + "/" + cmd, data});
    }

    std::vector<AppEvent> events() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    std::vector<AppEvent> ofType(const std::string& type) const {
        std::vector<AppEvent> out;
        for (auto& e : events())
            if (e.type == type) out.push_back(e);
        return out;
    }
    size_t count(const std::string& type) const { return ofType(type).size(); }
    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.clear();
    }

    // Runs inside onConfNotify, after the event is recorded.
    std::function<void(const std::string&, const std::string&)> onNotifyHook;
    // Sees every event as it is recorded; set before the library runs.
    std::function<void(const AppEvent&)> onEvent;

private:
    void add(AppEvent e) {
        if (onEvent) onEvent(e);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            events_.push_back(std::move(e));
        }
    }

    mutable std::mutex mutex_;
    std::vector<AppEvent> events_;
};

// Polls `condition` until it holds or `timeout` of real time has passed.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds timeout = std::chrono::seconds(5)) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace orvtest
