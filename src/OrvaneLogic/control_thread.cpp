// The server's control commands: a portal or a controller asks the client
// that runs the meeting to mute someone, lock the meeting, hand over the
// host role. The application hears each as a host request and carries it
// out; the server is answered at once. A thread of its own does this, so
// that the transport's thread is never held up.
#include "OrvaneLogic/orvanelogic_qv.h"

#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "threads_at_exit.h"

using namespace ORVANE;
using json = nlohmann::json;

void ControlEventQueue::push(const std::string& text) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        items_.push_back(text);
        ++unfinished_;
    }
    wake_.notify_one();
}

bool ControlEventQueue::pop(std::string& out) {
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait(lock, [this] { return !running_ || !items_.empty(); });
    if (!running_) return false;
    out = std::move(items_.front());
    items_.pop_front();
    return true;
}

void ControlEventQueue::done() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (--unfinished_ == 0) idle_.notify_all();
}

void ControlEventQueue::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        running_ = false;
    }
    wake_.notify_all();
    idle_.notify_all();
}

bool ControlEventQueue::waitIdle(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return idle_.wait_for(lock, timeout, [this] { return unfinished_ == 0 || !running_; });
}

OrvaneLogic_QV::~OrvaneLogic_QV() { stop(); }

void OrvaneLogic_QV::stop() {
    // Removed first: the stop at exit must not meet a logic that is gone.
    threadsAtExit::remove(this);
    std::lock_guard<std::mutex> lock(threadMutex_);
    queue_.stop();
    if (controlThread_.joinable()) controlThread_.join();
}

void OrvaneLogic_QV::onCtrlNotify(const std::string& type, const std::string& data) {
    // The core hands the event over under its full name, such as
    // "0/confmanager_event": the kind is what follows the "/".
    const auto slash = type.find('/');
    const std::string kind = slash == std::string::npos ? type : type.substr(slash + 1);
    if (kind != "confmanager_event") return;
    {
        // Started with the first command: a client nobody steers keeps no
        // thread for it.
        std::lock_guard<std::mutex> lock(threadMutex_);
        if (!controlThread_.joinable()) {
            threadsAtExit::add(this, [this] {
                std::lock_guard<std::mutex> guard(threadMutex_);
                queue_.stop();
                if (controlThread_.joinable()) controlThread_.join();
            });
            controlThread_ = std::thread(&OrvaneLogic_QV::confControlThread, this);
        }
    }
    queue_.push(data);
    LOG_DEBUG("OrvaneLogic_QV::onCtrlNotify : type={}, data={}\n", type, data);
}

void OrvaneLogic_QV::confControlThread() {
    std::string text;
    while (queue_.pop(text)) {
        runContained("OrvaneLogic_QV::confControlThread", [&] { handleControlCommand(text); });
        queue_.done();
    }
}

void OrvaneLogic_QV::handleControlCommand(const std::string& text) {
    static const char* const kWhere = "OrvaneLogic_QV::confControlThread";
    const json item = CtrlSDKUtils::parseQuiet(text);
    // An empty item is a fault of the server's, not an order to stop: the
    // commands after it are still carried out.
    if (item.is_null() || ((item.is_array() || item.is_object()) && item.empty())) {
        LOG_JSON_ERROR_AT(kWhere, "an empty control command", text);
        return;
    }
    AppChannel& app = conf->app();
    auto request = [&](const json& r) { app.notify(CONFNOTIFY::HOSTREQUEST, CtrlSDKUtils::dump(r)); };
    try {
        const json& e = item.at(0);
        const std::string event = e.at("event").get<std::string>();
        auto str = [&](const char* key) { return e.at(key).get<std::string>(); };
        auto flag = [&](const char* key) { return e.at(key).get<bool>(); };
        // Everything is read before anything is done: a malformed command
        // does nothing at all.
        if (event == "ctrl_cmd_mute") {
            const json r = {{"action", "muteAttendeeAudio"}, {"deviceId", str("deviceId")}, {"mute", flag("mute")}};
            const std::string cmdId = str("cmdId");
            request(r);
            sendControlCommandResp(cmdId, "123", nullptr);
        } else if (event == "ctrl_cmd_mute_all") {
            const json r = {{"action", "muteAttendeeAudioAll"},
                            {"mute", flag("mute")},
                            {"allowUnmuteBySelf", flag("allowUnmuteBySelf")}};
            const std::string cmdId = str("cmdId");
            request(r);
            sendControlCommandResp(cmdId, "123", nullptr);
        } else if (event == "ctrl_cmd_block_video") {
            const bool block = flag("blockVideo");
            const json& devices = e.at("deviceIds");
            const std::string cmdId = str("cmdId");
            for (const json& device : devices.get<json::array_t>())
                request({{"action", "blockAttendeeVideo"}, {"deviceId", device}, {"isBlock", block}});
            sendControlCommandResp(cmdId, "123", nullptr);
        } else if (event == "ctrl_cmd_lock_meeting") {
            const json r = {{"action", "lockMeeting"}, {"lock", flag("lock")}};
            const std::string cmdId = str("cmdId");
            request(r);
            sendControlCommandResp(cmdId, "123", nullptr);
        } else if (event == "ctrl_cmd_make_host") {
            const json r = {{"action", "makeHost"}, {"deviceId", str("deviceId")}, {"isHost", true}};
            const std::string cmdId = str("cmdId");
            request(r);
            sendControlCommandResp(cmdId, "123", nullptr);
        } else if (event == "ctrl_cmd_make_cohost") {
            const json r = {{"action", "makeCohost"}, {"deviceId", str("deviceId")}, {"isCoHost", flag("coHost")}};
            const std::string cmdId = str("cmdId");
            request(r);
            sendControlCommandResp(cmdId, "123", nullptr);
        } else if (event == "ctrl_cmd_record_meeting") {
            // The server hears first: recording is its business.
            const json r = {{"action", "confRecord"}, {"record", flag("record")}};
            sendControlCommandResp(str("cmdId"), "123", nullptr);
            request(r);
        } else if (event == "ctrl_cmd_start_sync_control_panel") {
            const bool syncing = flag("syncing");
            const std::string cmdId = str("cmdId");
            json panel;
            {
                CallLock lock(conf->callMutex());
                conf->setSyncing(syncing);
                panel = conf->getControlPanel(nullptr);
            }
            sendControlCommandResp(cmdId, "123", panel);
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR_AT(kWhere, e.what(), text);
        return;
    }
    // Holds commands and the application's calls apart.
    conf->clock().sleepFor(std::chrono::milliseconds(10));
}

void OrvaneLogic_QV::sendControlCommandResp(const std::string& cmdId, const std::string& op, const json& retData) {
    const std::string text = CtrlSDKUtils::dump(CtrlSDKUtils::methodMessage(
        "MQ_CONFMGR", {{"cmdId", cmdId}, {"operator", op}, {"retCode", "OK"}, {"retData", retData}}));
    LOG_DEBUG("Client SDK ControlCommandResp:= {}\n", text);
    conf->control().sendCommand(CONF::CONTROLCOMMANDRESP, text);
}
