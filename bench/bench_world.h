#pragma once
// The library as an application holds it, on doubles that answer at once
// and do no work of their own: what the benchmarks and the resource probe
// measure is the library's.
#include <nlohmann/json.hpp>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>
#include <tuple>

#include "avsdk_ops.h"
#include "orvane/orvane.h"
#include "server_events.h"

namespace orvbench {

using json = nlohmann::json;

// A transport that keeps only the last text sent and hands the server's
// texts to the library on the caller's thread.
class QuietTransport : public ORVANE::TransSDK {
public:
    int addProcess(Process* p) override {
        process_ = p;
        return 0;
    }
    int sendTextMessage(const std::string& text) override {
        last = text;
        ++sent;
        return 0;
    }
    bool isGuestLogined() override { return false; }
    std::string getErrMsgFromId(std::string id) override { return id; }
    void deliver(const std::string& text) { process_->onProcess("textmessage_process", text); }

    std::string last;
    long sent = 0;

private:
    Process* process_ = nullptr;
};

// An engine that answers every call at once with its neutral result.
class QuietEngine : public ORVANE::AVSDKBase {
public:
#define ORVBENCH_QUIET_OP(RET, NAME, PARAMS, ARGS, KIND, ENTER) \
    RET NAME PARAMS override { return quiet<RET>(std::forward_as_tuple ARGS); }
    ORVANE_AVSDK_OPERATIONS(ORVBENCH_QUIET_OP)
#undef ORVBENCH_QUIET_OP

    void emit(const char* group, const char* cmd, const std::string& data) { listener_->onNotify(group, cmd, data); }

private:
    template <typename R, typename Tuple>
    R quiet(const Tuple& args) {
        if constexpr (std::is_same_v<Tuple, std::tuple<ORVANE::AVSDK::Listener*&>>) listener_ = std::get<0>(args);
        if constexpr (!std::is_void_v<R>) return R{};
    }
    ORVANE::AVSDK::Listener* listener_ = nullptr;
};

class CountingListener : public ORVANE::ConfSDK::Listener {
public:
    void onConfCommand(const std::string&, const std::string& data) override { bytes += data.size(); }
    void onConfNotify(const std::string&, const std::string& data) override { bytes += data.size(); }
    size_t bytes = 0;
};

// The servers' texts, as the tests write them.
using orvtest::callSignal;
using orvtest::serverEvent;

// The exported instance of this process, registered as terminal 1001 on
// platform "QC" and idle.
struct World {
    World() {
        // As an application that keeps standard output to itself.
        ORVANE::ConfSDK::setConsoleOutput(false);
        logger->set_level(spdlog::level::off);
        ORVANE::AVSDK_Factory::setCreator([this](const std::string&, const std::string&) { return &engine; });
        sdk = ORVANE::OrvaneSDK_Factory::createInstance("QC", "");
        sdk->setOrvaneLogger(logger);
        sdk->setListener(&app);
        sdk->setOrvaneTrans(&trans);
        sdk->initMediaService("QC", "");
        trans.deliver(serverEvent("devicemgr_event", {{"event", "device_register"},
                                                      {"deviceId", "dev-1"},
                                                      {"serialNumber", "SN-1"},
                                                      {"dialNumber", "1001"},
                                                      {"deviceName", "Room A"},
                                                      {"deviceType", "terminal"},
                                                      {"regUserId", "u-9"},
                                                      {"regUserName", "Ann"},
                                                      {"isMeetingRoomDevice", true},
                                                      {"mediaPlatform", "QC"}}));
        trans.deliver(registerOk);
    }

    static World& get() {
        static World world;
        return world;
    }

    // The call id of the last signal sent, found as a server would find it
    // in a text it has already parsed for other reasons.
    std::string lastCallId() const {
        static const std::string key = "\"callId\":\"";
        const size_t at = trans.last.find(key) + key.size();
        return trans.last.substr(at, trans.last.find('"', at) - at);
    }

    std::shared_ptr<spdlog::logger> logger =
        std::make_shared<spdlog::logger>("bench", std::make_shared<spdlog::sinks::null_sink_mt>());
    QuietTransport trans;
    QuietEngine engine;
    CountingListener app;
    ORVANE::ConfSDK* sdk = nullptr;
    const std::string registerOk = serverEvent("callmaster_event", callSignal("OK", "REGISTER", "reg"));
};

}  // namespace orvbench
