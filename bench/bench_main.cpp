// Costs on the library's hot paths.
#include <benchmark/benchmark.h>

#include "harness.h"
#include "orvane/vocabulary.h"
#include "server_events.h"

using namespace orvtest;

namespace {

// A command routed to the logic object: the dispatch itself and the call lock.
void BM_SendCommandToLogic(benchmark::State& state) {
    Harness h;
    h.logs.logger()->set_level(spdlog::level::off);
    for (auto _ : state) h.sdk->sendCommand(ORVANE::CONF::MUTEALL, R"({"mute":true})");
}
BENCHMARK(BM_SendCommandToLogic);

// Adding and cancelling a state time-out.
void BM_TimerAddCancel(benchmark::State& state) {
    ORVANE::TimerTaskQueue queue(ORVANE::systemClock());
    for (auto _ : state) queue.cancel(queue.add(55, [](std::string) {}, ""));
}
BENCHMARK(BM_TimerAddCancel);

// A notification to the application made under the call lock.
void BM_DeferredNotification(benchmark::State& state) {
    Harness h;
    h.logs.logger()->set_level(spdlog::level::off);
    h.sdk->setListener(nullptr);
    struct Null : ORVANE::ConfSDK::Listener {
        void onConfCommand(const std::string&, const std::string&) override {}
        void onConfNotify(const std::string&, const std::string&) override {}
    } null;
    h.sdk->setListener(&null);
    for (auto _ : state) {
        ORVANE::CallLock lock(h.sdk->callMutex());
        h.sdk->app().notify("confsdknotify_endpoint_change", R"([{"externalDeviceId":"d1"}])");
    }
}
BENCHMARK(BM_DeferredNotification);

// One REST command from its JSON text to its wire text on the transport.
void BM_RestBuilder(benchmark::State& state) {
    LogCapture logs;
    logs.logger()->set_level(spdlog::level::off);
    FakeTransport trans;
    ORVANE::ControlSDK control;
    control.setOrvaneTrans(&trans);
    const std::string data = R"({"confid":"4711","mute":true})";
    for (auto _ : state) {
        control.sendCommand(ORVANE::CONF::MUTEALL, data);
        trans.clear();
    }
}
BENCHMARK(BM_RestBuilder);

// A participant's join from the server: through the control channel, the
// switchboard, the status merge, to the application.
void BM_ParticipantJoinEvent(benchmark::State& state) {
    Harness h;
    h.logs.logger()->set_level(spdlog::level::off);
    h.initMedia("QC");
    const std::string text = serverEvent(
        "confmanager_event",
        json{{"event", "confmgr_endpoint_change"},
             {"operation", "confmgr_participant_join"},
             {"endpoint", {{"deviceId", "dev-b"}, {"externalGuid", "16778240"}, {"externalDeviceId", "ext-b"},
                           {"name", "Bob"}, {"adminMute", false}, {"videoMute", false}}}});
    for (auto _ : state) {
        h.trans.deliver(text);
        h.app.clear();
    }
}
BENCHMARK(BM_ParticipantJoinEvent);

}  // namespace
