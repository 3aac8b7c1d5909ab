// The round trip of one call signal: the client's REGISTER out, the call
// server's OK back. The same simulated call server answers it in-process
// (the loopback transport) and over a WebSocket on 127.0.0.1.
#include <benchmark/benchmark.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "loopback_transport.h"
#include "orvane/websocket_transport.h"
#include "sim_servers.h"
#include "sim_switchboard.h"
#include "ws_server.h"

namespace {

const std::string kRegister =
    R"({"id":"REGISTER_MQ_CALLMASTER","method":"quelmar","msg":"method","params":[{"payload":{"signalBody":)"
    R"({"SdpParameters":{}},"signalHeader":{"callId":"5f0c1a52-3c8e-4d7b-9a61-0e2b7c9d4f10","contact":{},)"
    R"("cseq":"123456789 REGISTER","from":{"dialNumber":"1001"},"to":{}},"startLine":{"command":"REGISTER"}},)"
    R"("type":"MQ_CALLMASTER"}]})";

// Counts the call server's answers.
class Answers : public ORVANE::TransSDK::Process {
public:
    void onProcess(const std::string&, const std::string& data) override {
        if (data.find("callmaster_event") == std::string::npos) return;
        std::lock_guard<std::mutex> lock(mutex_);
        ++count_;
        cv_.notify_all();
    }
    bool waitFor(long n) {
        std::unique_lock<std::mutex> lock(mutex_);
        return cv_.wait_for(lock, std::chrono::seconds(5), [&] { return count_ >= n; });
    }
    long count() {
        std::lock_guard<std::mutex> lock(mutex_);
        return count_;
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    long count_ = 0;
};

template <class Send>
void roundTrips(benchmark::State& state, Answers& answers, Send send) {
    long expected = answers.count();
    for (auto _ : state) {
        send(kRegister);
        if (!answers.waitFor(++expected)) state.SkipWithError("no OK within 5 s");
    }
}

void BM_CallSignalRoundTrip_InProcess(benchmark::State& state) {
    orvsim::LoopbackTransport loop;
    orvsim::SimServers servers(loop);
    Answers answers;
    loop.addProcess(&answers);
    roundTrips(state, answers, [&](const std::string& text) { loop.sendTextMessage(text); });
    loop.stop();
}
// Fixed counts: the simulated servers keep every message they receive.
BENCHMARK(BM_CallSignalRoundTrip_InProcess)->Iterations(3000)->UseRealTime()->Unit(benchmark::kMicrosecond);

void BM_CallSignalRoundTrip_WebSocket(benchmark::State& state) {
    orvsim::Switchboard* board = nullptr;
    orvsim::WsServer::Handlers handlers;
    handlers.opened = [&](int client, const std::string&) { board->open(client); };
    handlers.text = [&](int client, const std::string& text) { board->fromClient(client, text); };
    handlers.closed = [&](int client) { board->close(client); };
    orvsim::WsServer server({}, handlers);
    orvsim::Switchboard switchboard([&](int client, const std::string& text) { server.send(client, text); });
    board = &switchboard;
    if (!server.start()) return state.SkipWithError("cannot listen on 127.0.0.1");

    ORVANE::WebSocketTransport::Options options;
    options.url = server.url();
    options.logger = std::make_shared<spdlog::logger>("quiet");  // no sinks: its lines would break the table
    ORVANE::WebSocketTransport transport(options);
    Answers answers;
    transport.addProcess(&answers);
    transport.start();
    // The first frames are the device's registration; then one round trip
    // to be sure the link is up.
    transport.sendTextMessage(kRegister);
    if (!answers.waitFor(1)) return state.SkipWithError("no connection");
    roundTrips(state, answers, [&](const std::string& text) { transport.sendTextMessage(text); });
    transport.stop();
    server.stop();
}
BENCHMARK(BM_CallSignalRoundTrip_WebSocket)->Iterations(3000)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
