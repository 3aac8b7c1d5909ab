// What one participant event costs as the meeting grows. A join, a leave or
// a change of status touches one participant; its cost should not follow
// the number of the others. The endpoint list is the exception: it names
// everybody, so its cost is given per endpoint.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "harness.h"
#include "orvane/vocabulary.h"
#include "server_events.h"

using namespace orvtest;

namespace {

std::string guidOf(int i) { return std::to_string(16780000 + i); }
std::string deviceOf(int i) { return "ext-" + std::to_string(i); }
std::string nameOf(int i) { return "User " + std::to_string(i); }

ORVANE::AvUserInfo userInfo(int i) {
    ORVANE::AvUserInfo info;
    info.audioMuted = i % 3 == 0;
    info.videoMuted = i % 5 == 0;
    info.isHost = i == 0;
    info.name = nameOf(i);
    return info;
}

json endpointOf(int i) {
    return {{"deviceId", "dev-" + std::to_string(i)}, {"externalGuid", guidOf(i)}, {"externalDeviceId", deviceOf(i)},
            {"name", nameOf(i)},                      {"adminMute", false},        {"videoMute", false}};
}

std::string participantEvent(const char* operation, int i) {
    return serverEvent("confmanager_event", json{{"event", "confmgr_endpoint_change"},
                                                 {"operation", operation},
                                                 {"endpoint", endpointOf(i)}});
}
std::string joinText(int i) { return participantEvent("confmgr_participant_join", i); }
std::string leaveText(int i) { return participantEvent("confmgr_participant_leave", i); }

// A meeting of `n` participants as a participant's client sees it: the
// engine lists them, the cache holds each tied to its device, and the
// engine has reported nothing since the cache last read its users. Ids from
// `n` on are free for newcomers.
class Meeting {
public:
    explicit Meeting(int n) : size(n) {
        h.logs.logger()->set_level(spdlog::level::off);
        h.initMedia("QV");
        for (int i = 0; i < n; ++i) users[guidOf(i)] = userInfo(i);
        h.engine.setUsers(users);
        {
            ORVANE::CallLock lock(h.sdk->callMutex());
            h.sdk->syncAllCacheStatusFromAVSDK();
        }
        for (int i = 0; i < n; ++i) h.sdk->endpoints().tieToDevice(guidOf(i), deviceOf(i), nameOf(i));
        forget();
    }

    void deliver(const std::string& text) { h.trans.deliver(text); }
    void engineEvent(const char* cmd, const json& data) { h.engine.emit("MeetingServiceEvent", cmd, data.dump()); }
    // What the doubles recorded: kept, it would grow with the run.
    void forget() {
        h.app.clear();
        h.trans.clear();
        h.engine.clearCalls();
    }

    const int size;
    Harness h;
    ORVANE::AvUserMap users;
};

// Events per iteration, shown as the time of one.
void perEvent(benchmark::State& state, int events) {
    state.counters["per_event"] = benchmark::Counter(
        events, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// One newcomer's join in a meeting of N; the engine has not listed the
// newcomer yet (the server's join comes first for some).
void BM_JoinSingle(benchmark::State& state) {
    Meeting m(static_cast<int>(state.range(0)));
    int next = m.size;
    std::string join = joinText(next);
    for (auto _ : state) {
        m.deliver(join);
        state.PauseTiming();
        m.deliver(leaveText(next));
        m.forget();
        join = joinText(++next);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_JoinSingle)->RangeMultiplier(10)->Range(10, 10000);

// One newcomer's join in a meeting of N, the engine having announced the
// newcomer first: the announcement carries the engine's view of the
// newcomer, so the engine's whole list need not be read.
void BM_JoinAnnounced(benchmark::State& state) {
    Meeting m(static_cast<int>(state.range(0)));
    int next = m.size;
    auto announce = [&] {
        m.users[guidOf(next)] = userInfo(next);
        m.h.engine.setUsers(m.users);
        m.engineEvent("onUserJoin", {{"userid", guidOf(next)}, {"username", nameOf(next)}, {"participantID", "web"}});
    };
    announce();
    std::string join = joinText(next);
    for (auto _ : state) {
        m.deliver(join);
        state.PauseTiming();
        m.deliver(leaveText(next));
        m.engineEvent("onUserLeft", {{"userid", guidOf(next)}});
        m.users.erase(guidOf(next));
        ++next;
        announce();
        m.forget();
        join = joinText(next);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_JoinAnnounced)->RangeMultiplier(10)->Range(10, 10000);

// A meeting's start: N participants join in a row, the engine's users all
// new to the cache. The engine lists every other one; the media of the rest
// is still connecting, as it is for some at any start.
void BM_JoinBurst(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    Meeting m(0);
    for (int i = 0; i < n; i += 2) m.users[guidOf(i)] = userInfo(i);
    m.h.engine.setUsers(m.users);
    std::vector<std::string> joins;
    for (int i = 0; i < n; ++i) joins.push_back(joinText(i));
    for (auto _ : state) {
        state.PauseTiming();
        m.h.sdk->endpoints().clear();
        {
            ORVANE::CallLock lock(m.h.sdk->callMutex());
            m.h.sdk->engineUsersChanged();
        }
        m.forget();
        state.ResumeTiming();
        for (const std::string& join : joins) {
            m.deliver(join);
            m.h.app.clear();
        }
    }
    perEvent(state, n);
}
BENCHMARK(BM_JoinBurst)->RangeMultiplier(10)->Range(10, 10000);

// A participant's leave from a meeting of N + 1.
void BM_Leave(benchmark::State& state) {
    Meeting m(static_cast<int>(state.range(0)));
    int next = m.size;
    m.h.sdk->endpoints().tieToDevice(guidOf(next), deviceOf(next), nameOf(next));
    std::string leave = leaveText(next);
    for (auto _ : state) {
        m.deliver(leave);
        state.PauseTiming();
        m.forget();
        ++next;
        m.h.sdk->endpoints().tieToDevice(guidOf(next), deviceOf(next), nameOf(next));
        leave = leaveText(next);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_Leave)->RangeMultiplier(10)->Range(10, 10000);

// The engine reports that a participant muted or unmuted.
void BM_AudioStatusChange(benchmark::State& state) {
    Meeting m(static_cast<int>(state.range(0)));
    const std::string who = guidOf(m.size / 2);
    const std::string muted =
        json{{"change_list", json::array({{{"userid", who}, {"audio_status", "Audio_Muted"}}})}}.dump();
    const std::string unmuted =
        json{{"change_list", json::array({{{"userid", who}, {"audio_status", "Audio_UnMuted"}}})}}.dump();
    bool mute = true;
    for (auto _ : state) {
        m.h.engine.emit("MeetingServiceEvent", "onUserAudioStatusChange", mute ? muted : unmuted);
        mute = !mute;
        m.forget();
    }
}
BENCHMARK(BM_AudioStatusChange)->RangeMultiplier(10)->Range(10, 10000);

// The conference manager's endpoint list of N, merged with the engine's
// view of the same N.
void BM_EndpointMerge(benchmark::State& state) {
    Meeting m(static_cast<int>(state.range(0)));
    json endpoints = json::array();
    for (int i = 0; i < m.size; ++i) endpoints.push_back(endpointOf(i));
    const std::string reply =
        json{{"result", {{"type", "SUCCESS"}, {"data", {{"syncing", false}, {"endpoints", endpoints}}}}}}.dump();
    for (auto _ : state) {
        m.h.sdk->onCtrlCommand(ORVANE::CONF::ENDPOINTS, reply);
        m.forget();
    }
    perEvent(state, m.size);
}
BENCHMARK(BM_EndpointMerge)->RangeMultiplier(10)->Range(10, 10000);

}  // namespace
