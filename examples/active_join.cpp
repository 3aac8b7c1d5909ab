// An outgoing call from start to end, on the simulated media engine and a
// transport double that answers like a call server. Prints what crosses
// each side.
#include <orvane/orvane.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <thread>

#include "sim_engine.h"

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

// A transport whose far end is a tiny call server: it registers the device,
// accepts every INVITE into media meeting 99001, and delivers on a thread of
// its own, as a real transport does.
class CallServerDouble : public ORVANE::TransSDK {
public:
    CallServerDouble() : thread_([this] { run(); }) {}
    ~CallServerDouble() override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stop_ = true;
        }
        cv_.notify_all();
        thread_.join();
    }
    int addProcess(Process* p) override {
        std::lock_guard<std::mutex> lock(mutex_);
        process_ = p;
        return 0;
    }
    bool isGuestLogined() override { return false; }
    std::string getErrMsgFromId(std::string id) override { return "(" + id + ")"; }

    int sendTextMessage(const std::string& text) override {
        const json wire = json::parse(text, nullptr, false);
        if (!wire.is_object() || !wire.contains("params")) return 0;
        const json& param = wire["params"][0];
        if (param.value("type", "") != "MQ_CALLMASTER") {
            say("-> server", wire.value("id", "") + " " + param.value("url", ""));
            return 0;
        }
        json signal = param["payload"];
        const std::string command = signal["startLine"]["command"];
        std::string guid = signal["signalBody"].value("externalGuid", "");
        say("-> server", command + (guid.empty() ? "" : " externalGuid=" + guid));
        if (command == "REGISTER") {
            signal["startLine"]["command"] = "OK";
            reply(signal);
        } else if (command == "INVITE") {
            signal["startLine"]["command"] = "ACCEPTED";
            signal["signalHeader"]["contact"] = {{"route", "cm-1"}};
            signal["signalBody"] = {{"externalDialNumber", "99001"}, {"conferenceId", "conf-42"}};
            reply(signal);
        }
        return 0;
    }

    // A server event, delivered from the transport's thread.
    void event(const std::string& kind, const json& element) {
        push(json{{"msg", "changed"},
                  {"collection", "stream-quelmar-notify-device"},
                  {"fields", {{"eventName", "0/" + kind}, {"args", json::array({element})}}}}
                 .dump());
    }

private:
    void reply(const json& signal) {
        say("<- server", signal["startLine"]["command"].get<std::string>());
        event("callmaster_event", signal);
    }
    void push(const std::string& text) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            inbox_.push_back(text);
        }
        cv_.notify_all();
    }
    void run() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            cv_.wait(lock, [this] { return stop_ || (!inbox_.empty() && process_); });
            if (stop_) return;
            const std::string text = inbox_.front();
            inbox_.pop_front();
            Process* p = process_;
            lock.unlock();
            std::this_thread::sleep_for(10ms);  // the network
            p->onProcess("textmessage_process", text);
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable cv_;
    std::deque<std::string> inbox_;
    Process* process_ = nullptr;
    bool stop_ = false;
    std::thread thread_;
};

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
        say("-> engine", op + (detail.empty() ? "" : " " + detail));
    });
    orvsim::SimEngine::install(&engine);
    CallServerDouble server;
    Application app;

    ORVANE::ConfSDK* sdk = ORVANE::OrvaneSDK_Factory::createInstance("QV", "");
    sdk->setOrvaneLogger(std::make_shared<spdlog::logger>("quiet", std::make_shared<spdlog::sinks::null_sink_mt>()));
    sdk->setListener(&app);
    sdk->setMediaServiceListener(&app);
    sdk->setOrvaneTrans(&server);
    sdk->initMediaService("QV", "");
    bool ok = app.runUntil(sdk, "onSdkReady");

    // The server knows the device: identity, media login, registration.
    server.event("devicemgr_event", {{"event", "device_register"},
                                     {"deviceId", "dev-1"},
                                     {"serialNumber", "SN-1"},
                                     {"dialNumber", "1001"},
                                     {"deviceName", "Room A"},
                                     {"deviceType", "terminal"},
                                     {"isMeetingRoomDevice", true},
                                     {"mediaPlatform", "QV"},
                                     {"qvUserName", "room-a"},
                                     {"qvPassword", "c2VjcmV0"}});
    ok = ok && app.runUntil(sdk, "confsdknotify_callsignal_ok");

    say("app", "startconf 8001");
    sdk->sendCommand("startconf", R"({"conferenceDialNumber":"8001","dispname":"Room A"})");
    ok = ok && app.runUntil(sdk, "onCallConnected");
    say("app", std::string("in the meeting: ") + (sdk->getConfControlService().isRunning() ? "yes" : "no"));

    say("app", "leaveconf");
    sdk->sendCommand("leaveconf", "");
    ok = ok && app.runUntil(sdk, "onCallEnd");
    say("app", std::string("in the meeting: ") + (sdk->getConfControlService().isRunning() ? "yes" : "no"));
    orvsim::SimEngine::install(nullptr);
    std::printf(ok ? "done\n" : "the call did not run as expected\n");
    return ok ? 0 : 1;
}
