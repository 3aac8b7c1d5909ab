// The library's hot paths, measured from outside: the exported instance on
// synchronous doubles, the logger off, in CPU time of the calling thread.
// Each path has its floor beside it: one bare parse and dump of the same
// text, the least any JSON-speaking layer could do with it.
// scripts/bench.sh runs these and prints each path against its floor.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench_world.h"
#include "timer_task.h"

namespace {

using namespace orvbench;

// Registers a path or a floor. On a shared machine whatever else runs only
// ever adds time, so besides the usual aggregates each gets the least of its
// repetitions, the figure scripts/bench.sh reads.
#define PATH_BENCHMARK(fn)                                                    \
    BENCHMARK(fn)->ComputeStatistics("min", [](const std::vector<double>& v) { \
        return *std::min_element(v.begin(), v.end());                         \
    })

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
PATH_BENCHMARK(BM_ParticipantJoin);

void BM_ParticipantJoin_Floor(benchmark::State& state) { floorOf(state, participantJoin()); }
PATH_BENCHMARK(BM_ParticipantJoin_Floor);

// ---- Inbound: a call signal ------------------------------------------------

// The call server's answer to a REGISTER: checked against the state and
// told to the application.
void BM_CallSignalIn(benchmark::State& state) {
    World& w = World::get();
    for (auto _ : state) w.trans.deliver(w.registerOk);
    state.SetLabel(std::to_string(w.registerOk.size()) + " B");
}
PATH_BENCHMARK(BM_CallSignalIn);

void BM_CallSignalIn_Floor(benchmark::State& state) { floorOf(state, World::get().registerOk); }
PATH_BENCHMARK(BM_CallSignalIn_Floor);

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
PATH_BENCHMARK(BM_RestSmall);
void BM_RestSmall_Floor(benchmark::State& state) { floorOf(state, kSmallRest); }
PATH_BENCHMARK(BM_RestSmall_Floor);

void BM_RestLarge(benchmark::State& state) { restCommand(state, ORVANE::CONF::CREATE, largeRest()); }
PATH_BENCHMARK(BM_RestLarge);
void BM_RestLarge_Floor(benchmark::State& state) { floorOf(state, largeRest()); }
PATH_BENCHMARK(BM_RestLarge_Floor);

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
PATH_BENCHMARK(BM_ActiveJoinLeave);

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
PATH_BENCHMARK(BM_TimeoutArmCancel);

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
PATH_BENCHMARK(BM_TimeoutArmCancel_Floor);

}  // namespace
