// An outgoing call from start to end, on the simulated media engine and the
// simulated servers, with only the exported interface in between. Prints what
// crosses each side.
#include <orvane/orvane.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "loopback_transport.h"
#include "sim_engine.h"
#include "sim_servers.h"

using json = nlohmann::json;
using namespace std::chrono_literals;

namespace {

std::mutex g_printMutex;
const auto g_start = std::chrono::steady_clock::now();

void say(const char* who, const std::string& what) {
    std::lock_guard<std::mutex> lock(g_printMutex);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - g_start).count();
    std::printf("%6lld ms  %-12s %s\n", static_cast<long long>(ms), who, what.c_str());
    std::fflush(stdout);
}

// The application: prints what it hears and runs the engine's UI-thread
// calls on its main loop.
class Application : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    void onConfCommand(const std::string& type, const std::string& data) override { say("app reply", type + " " + data); }
    void onConfNotify(const std::string& type, const std::string& data) override {
        if (type == ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD) {
            std::lock_guard<std::mutex> lock(mutex_);
            ++uiTasks_;
            cv_.notify_all();
            return;
        }
        say("app notify", type + (data.empty() ? "" : " " + data));
        std::lock_guard<std::mutex> lock(mutex_);
        heard_.push_back(type);
        cv_.notify_all();
    }
    void onNotify(std::string, std::string cmd, std::string data) override {
        say("app media", cmd + (data.empty() ? "" : " " + data));
        std::lock_guard<std::mutex> lock(mutex_);
        heard_.push_back(cmd);
        cv_.notify_all();
    }
    // The UI thread's loop: runs queued engine calls until `what` is heard.
    bool runUntil(ORVANE::ConfSDK* sdk, const std::string& what, std::chrono::milliseconds timeout = 3s) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            while (uiTasks_ > 0) {
                --uiTasks_;
                lock.unlock();
                sdk->DoInternalTaskMustCalledByUIThread();
                lock.lock();
            }
            for (auto it = heard_.begin(); it != heard_.end(); ++it) {
                if (*it == what) {
                    heard_.erase(heard_.begin(), it + 1);
                    return true;
                }
            }
            if (cv_.wait_until(lock, deadline) == std::cv_status::timeout) return false;
        }
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    int uiTasks_ = 0;
    std::vector<std::string> heard_;
};

}  // namespace

int main() {
    orvsim::SimEngine engine;
    engine.setTrace([](const std::string& op, const std::string& detail) {
        if (op != "setConfSignal") say("-> engine", op + (detail.empty() ? "" : " " + detail));
    });
    orvsim::SimEngine::install(&engine);
    orvsim::LoopbackTransport transport;
    transport.setTrace([](bool toServer, const std::string& text) {
        const json m = json::parse(text, nullptr, false);
        if (!toServer || !m.is_object() || !m.contains("params")) return;
        const json& p = m["params"][0];
        if (p.value("type", "") == "MQ_CALLMASTER")
            say("-> server", p["payload"]["startLine"].value("command", "?"));
        else
            say("-> server", m.value("id", "") + " " + p.value("url", ""));
    });
    orvsim::SimServers servers(transport);
    servers.addConference({"conf-42", "8001", "99001", "Weekly", "", false, ""});
    Application app;

    ORVANE::ConfSDK* sdk = ORVANE::OrvaneSDK_Factory::createInstance("QV", "");
    sdk->setOrvaneLogger(std::make_shared<spdlog::logger>("quiet", std::make_shared<spdlog::sinks::null_sink_mt>()));
    sdk->setListener(&app);
    sdk->setMediaServiceListener(&app);
    sdk->setOrvaneTrans(&transport);
    sdk->initMediaService("QV", "");
    bool ok = app.runUntil(sdk, "onSdkReady");

    // The servers know the device: identity, media login, registration.
    servers.attach();
    ok = ok && app.runUntil(sdk, "confsdknotify_callsignal_ok");

    say("app", "startconf 8001");
    sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001"})");
    ok = ok && app.runUntil(sdk, "onCallConnected");
    say("app", std::string("in the meeting: ") + (sdk->getConfControlService().isRunning() ? "yes" : "no"));

    say("app", "leaveconf");
    sdk->sendCommand("leaveconf", "");
    ok = ok && app.runUntil(sdk, "onCallEnd");
    say("app", std::string("in the meeting: ") + (sdk->getConfControlService().isRunning() ? "yes" : "no"));
    orvsim::SimEngine::install(nullptr);
    std::printf(ok ? "done\n" : "the call did not run as expected\n");
    std::fflush(stdout);
    // The library lives until the process ends; its threads are not joined.
    std::_Exit(ok ? 0 : 1);
}
