// The library's hot paths, measured from outside: the exported instance on
// synchronous doubles, the logger off, in CPU time of the calling thread.
// Each path has its floor beside it: one bare parse and dump of the same
// text, the least any JSON-speaking layer could do with it.
// scripts/bench.sh runs these and prints each path against its floor.
#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "avsdk_ops.h"
#include "orvane/orvane.h"
#include "timer_task.h"

namespace {

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

std::string serverEvent(const std::string& kind, const json& element) {
    return json{{"msg", "changed"},
                {"collection", "stream-quelmar-notify-device"},
                {"fields", {{"eventName", "0/" + kind}, {"args", json::array({element})}}}}
        .dump();
}

json callSignal(const std::string& command, const std::string& cseq, const std::string& callId,
                const json& body = json::object()) {
    return {{"startLine", {{"command", command}}},
            {"signalHeader",
             {{"from", {{"dialNumber", "2002"}}},
              {"to", {{"dialNumber", "1001"}}},
              {"cseq", "123456789 " + cseq},
              {"callId", callId},
              {"contact", {{"route", "cm-1"}}}}},
            {"signalBody", body}};
}

// The exported instance of this process, registered as terminal 1001 on
// platform "QC" and idle.
struct World {
    World() {
        std::fflush(stdout);
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

// The least a layer that parses what it gets and writes what it gives can
// spend on `text`.
void floorOf(benchmark::State& state, const std::string& text) {
    size_t bytes = 0;
    for (auto _ : state) {
        const json j = json::parse(text);
        bytes += j.dump().size();
    }
    benchmark::DoNotOptimize(bytes);
}

// ---- Inbound: a participant joins -----------------------------------------

const std::string& participantJoin() {
    static const std::string text = serverEvent(
        "confmanager_event", {{"event", "confmgr_endpoint_change"},
                              {"operation", "confmgr_participant_join"},
                              {"conferenceId", "conf-1"},
                              {"endpoint",
                               {{"deviceId", "dev-b"},
                                {"externalGuid", "16778240"},
                                {"externalDeviceId", "ext-b"},
                                {"name", "Bob Example"},
                                {"deviceType", "terminal"},
                                {"dialNumber", "1002"},
                                {"adminMute", false},
                                {"videoMute", false},
                                {"connection", true}}}});
    return text;
}

void BM_ParticipantJoin(benchmark::State& state) {
    World& w = World::get();
    const std::string& text = participantJoin();
    for (auto _ : state) w.trans.deliver(text);
    state.SetLabel(std::to_string(text.size()) + " B");
}
BENCHMARK(BM_ParticipantJoin);

void BM_ParticipantJoin_Floor(benchmark::State& state) { floorOf(state, participantJoin()); }
BENCHMARK(BM_ParticipantJoin_Floor);

// ---- Inbound: a call signal ------------------------------------------------

// The call server's answer to a REGISTER: checked against the state and
// told to the application.
void BM_CallSignalIn(benchmark::State& state) {
    World& w = World::get();
    for (auto _ : state) w.trans.deliver(w.registerOk);
    state.SetLabel(std::to_string(w.registerOk.size()) + " B");
}
BENCHMARK(BM_CallSignalIn);

void BM_CallSignalIn_Floor(benchmark::State& state) { floorOf(state, World::get().registerOk); }
BENCHMARK(BM_CallSignalIn_Floor);

// ---- Outbound: REST commands -----------------------------------------------

const std::string kSmallRest = R"({"confid":"4711"})";

const std::string& largeRest() {
    static const std::string text =
        json{{"subject", "Quarterly planning, all hands"},
             {"startTime", 1795000000000LL},
             {"endTime", 1795003600000LL},
             {"timezone", "Europe/Berlin"},
             {"joinPassword", "4711"},
             {"waitingRoom", "enable"},
             {"recordMeeting", false},
             {"participants",
              json::array({{{"deviceId", "dev-b"}, {"role", "host"}}, {{"deviceId", "dev-c"}, {"role", "member"}}})},
             {"description", "Numbers for the quarter, hiring, and the roadmap after that."}}
            .dump();
    return text;
}

void restCommand(benchmark::State& state, const char* type, const std::string& data) {
    World& w = World::get();
    for (auto _ : state) w.sdk->sendCommand(type, data);
    state.SetLabel(std::to_string(data.size()) + " B -> " + std::to_string(w.trans.last.size()) + " B");
}

void BM_RestSmall(benchmark::State& state) { restCommand(state, ORVANE::CONF::INFO, kSmallRest); }
BENCHMARK(BM_RestSmall);
void BM_RestSmall_Floor(benchmark::State& state) { floorOf(state, kSmallRest); }
BENCHMARK(BM_RestSmall_Floor);

void BM_RestLarge(benchmark::State& state) { restCommand(state, ORVANE::CONF::CREATE, largeRest()); }
BENCHMARK(BM_RestLarge);
void BM_RestLarge_Floor(benchmark::State& state) { floorOf(state, largeRest()); }
BENCHMARK(BM_RestLarge_Floor);

// ---- Active join and leave --------------------------------------------------

// A whole call from this terminal: the start, the server's ACCEPTED, the
// engine's connection, the user's leave.
void BM_ActiveJoinLeave(benchmark::State& state) {
    World& w = World::get();
    const std::string start = R"({"conferenceDialNumber":"8001","passcode":"4711","conferenceId":"conf-1"})";
    const std::string connected = R"({"userid":"16778240","is_host":false})";
    // The server's ACCEPTED, around the call id it answers.
    const std::string accepted = serverEvent(
        "callmaster_event",
        callSignal("ACCEPTED", "INVITE", "@", {{"conferenceId", "conf-1"}, {"externalDialNumber", "99001"}}));
    const size_t hole = accepted.find("\"@\"") + 1;
    const std::string before = accepted.substr(0, hole), after = accepted.substr(hole + 1);
    for (auto _ : state) {
        w.sdk->sendCommand(ORVANE::CONF::STARTCONF, start);
        w.trans.deliver(before + w.lastCallId() + after);
        w.engine.emit("MeetingServiceEvent", "onCallConnected", connected);
        w.sdk->sendCommand(ORVANE::CONF::LEAVECONF, "");
    }
    if (w.sdk->getConfControlService().isRunning()) state.SkipWithError("the call did not end");
}
BENCHMARK(BM_ActiveJoinLeave);

// ---- Timers -----------------------------------------------------------------

// Arming a 55 s limit and cancelling it, with a worker waiting on the queue
// as the library's does.
void BM_TimeoutArmCancel(benchmark::State& state) {
    ORVANE::TimerTaskQueue queue(ORVANE::systemClock());
    std::thread worker([&] {
        ORVANE::TimerTaskItem item;
        while (queue.takeNext(item)) item.callback(item.arg);
    });
    for (auto _ : state) queue.cancel(queue.add(55, [](std::string) {}, ""));
    queue.shutdown();
    worker.join();
}
BENCHMARK(BM_TimeoutArmCancel);

// Two short critical sections: the least a queue shared with a worker can do.
void BM_TimeoutArmCancel_Floor(benchmark::State& state) {
    std::mutex m;
    int n = 0;
    for (auto _ : state) {
        {
            std::lock_guard<std::mutex> lock(m);
            ++n;
        }
        {
            std::lock_guard<std::mutex> lock(m);
            --n;
        }
    }
    benchmark::DoNotOptimize(n);
}
BENCHMARK(BM_TimeoutArmCancel_Floor);

}  // namespace
