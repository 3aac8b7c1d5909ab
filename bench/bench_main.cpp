// Costs on the library's hot paths.
#include <benchmark/benchmark.h>

#include "harness.h"
#include "orvane/vocabulary.h"

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
    Harness h;
    h.logs.logger()->set_level(spdlog::level::off);
    ORVANE::CallLock lock(h.sdk->callMutex());
    for (auto _ : state) {
        auto id = h.sdk->add_timer_task(55, [](std::string) {}, "");
        h.sdk->cancel_timer_task(id);
    }
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
        h.sdk->notifyConf("confsdknotify_endpoint_change", R"([{"externalDeviceId":"d1"}])");
    }
}
BENCHMARK(BM_DeferredNotification);

}  // namespace
