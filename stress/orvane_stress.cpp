// Many threads against one central object, for a bounded time: the
// application's commands (with a listener that calls back into the library),
// the servers' signals and participant events, the engine's notifications,
// reinit, the UI thread's queue and the time-outs, all at once, on the
// simulated servers, transport and engine. Meant to run under
// ThreadSanitizer (scripts/test.sh --tsan).
//
//   orvane-stress [SECONDS] [SEED]
//
// A watchdog ends the run with exit code 3 when one of the eight threads
// makes no progress for 10 s, or the transport or the engine holds messages
// it does not deliver for as long. After the run the library must come to
// rest and its call machine stand in one of its states. The number of
// operations is printed at the end.
#include <nlohmann/json.hpp>
#include <spdlog/sinks/null_sink.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "call_lock.h"
#include "clock.h"
#include "confsdk_p.h"
#include "lobby/lobby_window.h"
#include "logger.h"
#include "loopback_transport.h"
#include "orvane/vocabulary.h"
#include "sim_engine.h"
#include "sim_servers.h"

namespace {

using json = nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::atomic<bool> g_running{true};
std::atomic<uint64_t> g_ops{0};

// What the watchdog sees of one thread.
struct Progress {
    const char* name = "";
    std::atomic<uint64_t> steps{0};
    std::atomic<const char*> doing{"starting"};
    std::atomic<bool> finished{false};
    std::atomic<uint64_t> operations{0};
};

class Rng {
public:
    explicit Rng(uint64_t seed) : engine_(seed) {}
    int below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(engine_); }
    bool chance(int percent) { return below(100) < percent; }
    template <typename T>
    const T& pick(const std::vector<T>& items) {
        return items[static_cast<size_t>(below(static_cast<int>(items.size())))];
    }
    void pause(int minMs, int maxMs) { std::this_thread::sleep_for(milliseconds(minMs + below(maxMs - minMs + 1))); }

private:
    std::mt19937_64 engine_;
};

// The meeting's other participants come from a small pool, so that joins,
// leaves and commands keep meeting each other.
struct Peer {
    std::string deviceId, name, engineUserId;
};
const std::vector<Peer> kPeers = {{"dev-p1", "Bob", "16778301"},
                                  {"dev-p2", "Cid", "16778302"},
                                  {"dev-p3", "Dee", "16778303"},
                                  {"dev-p4", "Eve", "16778304"}};
const std::vector<std::string> kDialNumbers = {"8001", "8002", "8003", "8004", "8005", "8999"};

std::string serverEvent(const std::string& kind, const json& element) {
    return json{{"msg", "changed"},
                {"collection", "stream-quelmar-notify-device"},
                {"fields", {{"eventName", "0/" + kind}, {"args", json::array({element})}}}}
        .dump();
}

// The engine as the simulator has it, with every notification counted on its
// way into the library: the watchdog's view of the engine's thread.
class CountingEngine : public orvsim::SimEngine {
public:
    explicit CountingEngine(Options o) : SimEngine(o) {}
    // The thread stops before the proxy it delivers through goes.
    ~CountingEngine() override { stop(); }
    int setListener(ORVANE::AVSDK::Listener* l) override {
        library_ = l;
        return SimEngine::setListener(l ? &proxy_ : nullptr);
    }
    std::atomic<uint64_t> delivered{0};

private:
    struct Proxy : ORVANE::AVSDK::Listener {
        CountingEngine* owner;
        explicit Proxy(CountingEngine* o) : owner(o) {}
        void onNotify(std::string group, std::string cmd, std::string data) override {
            ++owner->delivered;
            if (auto* l = owner->library_.load()) l->onNotify(group, cmd, data);
        }
    };
    Proxy proxy_{this};
    std::atomic<ORVANE::AVSDK::Listener*> library_{nullptr};
};

// The application. It takes or declines what rings, answers a passcode
// request, carries out the host requests, and asks the library about itself
// from inside its callbacks, whatever thread they arrive on.
class StressApp : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    void onConfCommand(const std::string&, const std::string&) override { ++replies; }
    void onConfNotify(const std::string& type, const std::string& data) override {
        ++notifications;
        if (type == ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD) {
            ++uiTasksAsked;
            return;
        }
        OrvaneSDKPrivate* s = sdk.load();
        if (s == nullptr) return;
        thread_local Rng rng(std::hash<std::thread::id>()(std::this_thread::get_id()));
        if (type == "0/confmanager_event" && data.find(ORVANE::CONFNOTIFY::RECV_INVITE) != std::string::npos) {
            const json shown = json::parse(data, nullptr, false);
            if (!shown.is_array() || shown.empty()) return;
            if (rng.chance(70))
                s->sendCommand(ORVANE::CONF::STARTCONF, shown[0].dump());
            else if (rng.chance(50))
                s->sendCommand(ORVANE::CONF::REJECTCONF, "");
        } else if (type == ORVANE::CONFNOTIFY::EXCEPTION_IN_MEETING && rng.chance(50)) {
            s->sendCommand(ORVANE::CONF::STARTCONF, R"({"conferenceDialNumber":"8003","passcode":"1234","force":true})");
        } else if (type == ORVANE::CONFNOTIFY::HOSTREQUEST) {
            const json r = json::parse(data, nullptr, false);
            const std::string action = r.is_object() ? r.value("action", "") : "";
            if (action == "muteAttendeeAudioAll")
                s->sendCommand(ORVANE::CONF::MUTEALL, json{{"mute", r.value("mute", true)}, {"allowUnmute", true}}.dump());
            else if (action == "lockMeeting")
                s->sendCommand(ORVANE::CONF::LOCKMEETING, json{{"lock", r.value("lock", false)}}.dump());
        } else if (rng.chance(10)) {
            s->getMyInfo();
            s->isRunning();
        }
    }
    void onNotify(std::string, std::string, std::string) override { ++mediaEvents; }

    std::atomic<OrvaneSDKPrivate*> sdk{nullptr};
    std::atomic<uint64_t> uiTasksAsked{0}, replies{0}, notifications{0}, mediaEvents{0};
};

// Everything the threads share.
struct World {
    explicit World(uint64_t seed) : seed(seed) {
        orvsim::SimEngine::Options options;
        options.delay = milliseconds(2);
        engine = std::make_unique<CountingEngine>(options);
        servers = makeServers();
        trans.setTrace([this](bool toServer, const std::string& text) {
            ++crossed;
            std::lock_guard<std::mutex> lock(recentMutex);
            recent[recentNext++ % recent.size()] = (toServer ? "> " : "< ") + text.substr(0, 300);
        });
    }

    std::unique_ptr<orvsim::SimServers> makeServers() {
        auto s = std::make_unique<orvsim::SimServers>(trans);
        s->addConference({"conf-8001", "8001", "99001", "Weekly", "", false, ""});
        s->addConference({"conf-8002", "8002", "LOBBY-99002", "Town hall", "", false, ""});
        s->addConference({"conf-8003", "8003", "99003", "Board", "1234", false, ""});
        s->addConference({"conf-8004", "8004", "99004", "Room 4", "", true, "conf-busy"});
        s->addConference({"ext_qv-8005", "8005", "99005", "Outside", "", false, ""});
        return s;
    }

    // Runs `f` on the servers; a restart of the servers waits for it.
    template <typename F>
    void onServers(F&& f) {
        std::shared_lock<std::shared_mutex> lock(serversMutex);
        f(*servers);
    }
    // The servers start again with nothing of the calls before: they keep
    // everything they received, so a long run needs this, and a client must
    // live through it anyway.
    void restartServers() {
        std::unique_lock<std::shared_mutex> lock(serversMutex);
        servers.reset();
        servers = makeServers();
        servers->attach();
    }

    // The current call's ids, as the library has them.
    std::pair<std::string, std::string> callIds() {
        ORVANE::CallLock lock(sdk->callMutex());
        return {sdk->conf().callid, sdk->conf().confid};
    }

    const uint64_t seed;
    std::shared_ptr<ORVANE::ManualClock> clock = std::make_shared<ORVANE::ManualClock>();
    orvsim::LoopbackTransport trans;
    std::unique_ptr<CountingEngine> engine;
    std::shared_mutex serversMutex;
    std::unique_ptr<orvsim::SimServers> servers;
    StressApp app;
    std::unique_ptr<OrvaneSDKPrivate> sdk;
    std::atomic<uint64_t> crossed{0};
    // The last messages on the wire, for a run that fails.
    std::mutex recentMutex;
    std::array<std::string, 12> recent;
    size_t recentNext = 0;
    std::string lastOnWire() {
        std::lock_guard<std::mutex> lock(recentMutex);
        std::string out;
        for (size_t i = 0; i < recent.size(); ++i) {
            const std::string& m = recent[(recentNext + i) % recent.size()];
            if (!m.empty()) out += "\n    " + m;
        }
        return out;
    }
    uint64_t uiTasksRun = 0;  // the UI thread's, then main's once it has ended
};

// One step of a thread; false when it found nothing to do (it still counts
// as progress, not as an operation).
using Step = std::function<bool(World&, Rng&, Progress&)>;

// ---- The eight threads' steps ----------------------------------------------

// The threads that feed the transport and the engine wait a little while
// those still have messages to hand over: under ThreadSanitizer the library
// is slower than the feeders, and an ever longer backlog would test nothing
// but the queues.
void throttle(World& w, Progress& p) {
    p.doing = "waiting for the transport and the engine";
    w.trans.idle(milliseconds(20));
    w.engine->idle(milliseconds(20));
}

bool appStep(World& w, Rng& rng, Progress& p) {
    OrvaneSDKPrivate& sdk = *w.sdk;
    const Peer& peer = rng.pick(kPeers);
    switch (rng.below(14)) {
        case 0:
        case 1: {
            p.doing = "startconf";
            json data = {{"conferenceDialNumber", rng.pick(kDialNumbers)}};
            if (rng.chance(30)) data["passcode"] = "1234";
            if (rng.chance(30)) data["force"] = true;
            if (rng.chance(20)) data["extension"] = "ext-1";
            sdk.sendCommand(ORVANE::CONF::STARTCONF, data.dump());
            break;
        }
        case 2:
            p.doing = "leaveconf";
            sdk.sendCommand(ORVANE::CONF::LEAVECONF, "");
            break;
        case 3:
            p.doing = rng.chance(50) ? "rejectconf" : "endconf";
            sdk.sendCommand(rng.chance(50) ? ORVANE::CONF::REJECTCONF : ORVANE::CONF::ENDCONF, "");
            break;
        case 4:
            p.doing = "mute commands";
            sdk.sendCommand(ORVANE::CONF::MUTEAUDIOLOCAL, json{{"mute", rng.chance(50)}}.dump());
            sdk.sendCommand(ORVANE::CONF::MUTEAUDIO, json{{"guid", peer.deviceId}, {"mute", rng.chance(50)}}.dump());
            sdk.sendCommand(ORVANE::CONF::MUTEVIDEO, json{{"guid", peer.deviceId}, {"mute", rng.chance(50)}}.dump());
            break;
        case 5:
            p.doing = "host commands";
            sdk.sendCommand(ORVANE::CONF::MUTEALL, json{{"mute", rng.chance(50)}, {"allowUnmute", rng.chance(50)}}.dump());
            sdk.sendCommand(ORVANE::CONF::LOCKMEETING, json{{"lock", rng.chance(50)}}.dump());
            sdk.sendCommand(ORVANE::CONF::MAKECOHOST,
                            json{{"externalDeviceId", peer.deviceId}, {"bCohost", rng.chance(50)}}.dump());
            if (rng.chance(20)) sdk.sendCommand(ORVANE::CONF::MAKEHOST, json{{"externalDeviceId", peer.deviceId}}.dump());
            break;
        case 6:
            p.doing = "endpoints";
            sdk.sendCommand(ORVANE::CONF::ENDPOINTS, R"({"confid":""})");
            break;
        case 7:
            p.doing = "confSyncdata";
            sdk.sendCommand(ORVANE::CONF::SYNCDATA, json{{"synctype", rng.chance(50) ? "conference" : "device"},
                                                         {"isLock", rng.chance(50)}}
                                                        .dump());
            break;
        case 8:
            p.doing = "rest commands";
            sdk.sendCommand(ORVANE::CONF::INFO, R"({"confid":"conf-8001"})");
            sdk.sendCommand(ORVANE::CONF::SEARCH, R"({"pageSize":10,"pageNum":1})");
            sdk.sendCommand(ORVANE::CONF::UPDATEDEVICENAME, json{{"deviceName", "Room " + peer.name}}.dump());
            break;
        case 9:
            p.doing = "reads";
            sdk.getMyInfo();
            sdk.getUniformUserID();
            sdk.getUniformUserName();
            sdk.isMeetingRoomDevice();
            sdk.isRunning();
            sdk.callState();
            sdk.getMediaService();
            break;
        case 10: {
            p.doing = "setLayout";
            std::vector<ORVANE::LayoutItem> items(2);
            items[0].deviceId = peer.deviceId;
            items[1].deviceId = "dev-1001";
            items[1].type = 1;
            sdk.setLayout(items, 1, 2);
            sdk.getConfInterpretationService();
            sdk.interpretationUserSet(peer.deviceId, 1, 2);
            sdk.getConfUiControlService();
            break;
        }
        case 11:
            p.doing = "ui options";
            sdk.setCustomUIOption("stress", rng.below(4), rng.chance(50));
            sdk.setMediaServiceUIType(rng.chance(20) ? "CUSTOMIZE" : "");
            break;
        case 12:
            p.doing = "confControlcontentshare";
            sdk.sendCommand(ORVANE::CONF::CONTENTSHARE, R"({"confid":"conf-8001","share":true})");
            break;
        default:
            p.doing = "nonsense";
            sdk.sendCommand(rng.chance(50) ? "noSuchCommand" : ORVANE::CONF::JOIN, "{not json");
            break;
    }
    rng.pause(0, 2);
    return true;
}

bool serverStep(World& w, Rng& rng, Progress& p) {
    throttle(w, p);
    switch (rng.below(12)) {
        case 0:
        case 1:
            p.doing = "incoming call";
            w.onServers([&](orvsim::SimServers& s) { s.incomingCall(rng.pick(kDialNumbers)); });
            break;
        case 2:
            p.doing = "cancel";
            w.onServers([](orvsim::SimServers& s) { s.cancelCall(); });
            break;
        case 3:
            p.doing = "bye";
            w.onServers([&](orvsim::SimServers& s) { s.endCall(rng.chance(50) ? "CONF_END_BY_HOST" : "X"); });
            break;
        case 4:
            p.doing = "move";
            w.onServers([&](orvsim::SimServers& s) { s.moveCall(rng.chance(30) ? "LOBBY-7" : "990" + std::to_string(rng.below(90) + 10)); });
            break;
        case 5: {
            p.doing = "control command";
            static const std::vector<std::string> events = {
                "ctrl_cmd_mute", "ctrl_cmd_mute_all", "ctrl_cmd_block_video", "ctrl_cmd_lock_meeting",
                "ctrl_cmd_make_host", "ctrl_cmd_make_cohost", "ctrl_cmd_record_meeting",
                "ctrl_cmd_start_sync_control_panel"};
            const json fields = {{"deviceId", rng.pick(kPeers).deviceId}, {"mute", rng.chance(50)},
                                 {"allowUnmuteBySelf", true}, {"blockVideo", true},
                                 {"deviceIds", json::array({"dev-p1", "dev-p2"})}, {"lock", rng.chance(50)},
                                 {"coHost", true}, {"record", true}, {"syncing", rng.chance(50)}};
            w.onServers([&](orvsim::SimServers& s) { s.controlCommand(rng.pick(events), fields); });
            break;
        }
        case 6:
            p.doing = "h323";
            // The room system answers, fails, or says nothing until the
            // library's limit; the clock thread lets that run out.
            w.engine->setCalloutAnswer(static_cast<orvsim::SimEngine::CalloutAnswer>(rng.below(3)));
            w.onServers([&](orvsim::SimServers& s) {
                if (rng.chance(50))
                    s.h323CallOut("Room X", "10.0.0.1", "h323", "cmd-h");
                else
                    s.h323HangUp(rng.pick(kPeers).engineUserId, "cmd-h");
            });
            break;
        case 7:
            p.doing = "rename";
            w.onServers([&](orvsim::SimServers& s) { s.renameDevice("Room " + std::to_string(rng.below(100))); });
            break;
        case 8:
            p.doing = "registration";
            w.onServers([](orvsim::SimServers& s) { s.attach(); });
            break;
        case 9:
            p.doing = "logout";
            w.onServers([](orvsim::SimServers& s) { s.logout(); });
            break;
        case 10:
            p.doing = "failing commands";
            w.onServers([&](orvsim::SimServers& s) {
                s.failCommand("confinfo_by_dialnum", rng.chance(20) ? "CONFERENCE_NOT_EXIST" : "");
                s.failCommand("confControlendpoints", rng.chance(20) ? "FAILED" : "");
            });
            break;
        default:
            if (rng.chance(5)) {
                p.doing = "servers restart";
                w.restartServers();
            }
            break;
    }
    rng.pause(1, 5);
    return true;
}

bool participantStep(World& w, Rng& rng, Progress& p) {
    throttle(w, p);
    const Peer& peer = rng.pick(kPeers);
    if (rng.chance(55)) {
        p.doing = "participant joins";
        ORVANE::AvUserInfo info;
        info.name = peer.name;
        info.audioMuted = rng.chance(50);
        w.engine->addUser(peer.engineUserId, info);
        w.onServers([&](orvsim::SimServers& s) { s.participantJoins({peer.deviceId, peer.name, peer.engineUserId}); });
        w.engine->notifyLater("MeetingServiceEvent", "onUserJoin",
                              json{{"userid", peer.engineUserId},
                                   {"username", peer.name},
                                   {"participantID", rng.chance(20) ? "orvane" : "p"},
                                   {"isH323User", rng.chance(20)},
                                   {"isPurePhoneUser", rng.chance(10)}}
                                  .dump(),
                              milliseconds(rng.below(5)));
    } else {
        p.doing = "participant leaves";
        w.engine->removeUser(peer.engineUserId);
        w.onServers([&](orvsim::SimServers& s) { s.participantLeaves(peer.deviceId); });
        w.engine->notifyLater("MeetingServiceEvent", "onUserLeft", json{{"userid", peer.engineUserId}}.dump(),
                              milliseconds(rng.below(5)));
    }
    rng.pause(1, 5);
    return true;
}

bool engineStep(World& w, Rng& rng, Progress& p) {
    throttle(w, p);
    CountingEngine& e = *w.engine;
    const Peer& peer = rng.pick(kPeers);
    const std::string me = e.myUserId();
    auto later = [&](const char* cmd, const json& data) {
        p.doing = cmd;
        e.notifyLater("MeetingServiceEvent", cmd, data.dump(), milliseconds(rng.below(3)));
    };
    switch (rng.below(16)) {
        case 0:
            later("onUserAudioStatusChange",
                  {{"change_list", json::array({{{"userid", rng.chance(50) ? me : peer.engineUserId},
                                                 {"audio_status", rng.chance(50) ? "Audio_Muted" : "Audio_UnMuted"}}})}});
            break;
        case 1:
            later("onUserVideoStatusChange", {{"userid", peer.engineUserId}, {"muted", rng.chance(50)}});
            break;
        case 2:
            later("onHostChangeNotification", {{"new_host_userid", rng.chance(50) ? me : peer.engineUserId}});
            break;
        case 3:
            later("onCoHostChangeNotification", {{"userid", peer.engineUserId}, {"is_cohost", rng.chance(50)}});
            break;
        case 4:
            later(rng.chance(50) ? "onActiveSpeakerVideoUserChanged" : "onActiveVideoUserChanged",
                  {{"userid", peer.engineUserId}});
            break;
        case 5:
            later("onCallStatusChanged",
                  {{"status", rng.chance(50) ? "MEETING_STATUS_IN_WAITING_ROOM" : "MEETING_STATUS_WAITINGFORHOST"}});
            break;
        case 6:
            later("onCallFailed", {{"reason", rng.chance(30) ? "MEETING_FAIL_PASSWORD_ERR" : "MEETING_FAIL_NETWORK_ERR"},
                                   {"result", 3}});
            break;
        case 7:
            later("onCallReconnecting", json::object());
            break;
        case 8:
            p.doing = "engine ends the call";
            e.endCall(rng.chance(50) ? "EndMeetingReason_KickByHost" : "EndMeetingReason_NetworkBroken");
            break;
        case 9:
            later("onMeetingLocked", {{"lock", rng.chance(50)}});
            later("onCloudRecordingStatus", {{"is_cloud_record", rng.chance(50)}});
            break;
        case 10:
            later("onSharingStatus", {{"userid", peer.engineUserId}, {"status", "on"}});
            later(rng.chance(50) ? "onComputerCamDeviceChanged" : "onComputerMicDeviceChanged",
                  {{"camera", true}, {"microphone", false}});
            break;
        case 11:
            later(rng.chance(50) ? "onHostRequestStartAudio" : "onHostRequestStartVideo", json::object());
            later("onInviteBtnClicked", {{"onInviteBtnClicked", rng.chance(50)}});
            later("onEndMeetingBtnClicked", {{"userrole", "host"}});
            break;
        case 12: {
            p.doing = "join plan";
            orvsim::SimEngine::JoinPlan plan;
            switch (rng.below(5)) {
                case 0: plan.refuse = -1; break;
                case 1: plan.silent = true; break;
                case 2: plan.waitingStatus = "MEETING_STATUS_WAITINGFORHOST"; plan.waitFor = milliseconds(5); break;
                case 3: plan.failReason = "MEETING_FAIL_MEETING_OVER"; break;
                default: break;
            }
            e.planNextJoin(plan);
            break;
        }
        case 13:
            p.doing = "host or not";
            e.setHost(rng.chance(50));
            e.setEndReason(rng.chance(50) ? "EndMeetingReason_None" : "EndMeetingReason_NoAttendee");
            break;
        case 14:
            later("onCallConnected", {{"userid", "1677900" + std::to_string(rng.below(10))}, {"is_host", rng.chance(50)}});
            break;
        default:
            later("onSomethingNew", {{"x", 1}});
            break;
    }
    rng.pause(1, 5);
    return true;
}

// Call signals made with the library's own current ids, so that they reach
// the state machine whatever the simulated servers think of the call.
bool signalStep(World& w, Rng& rng, Progress& p) {
    throttle(w, p);
    const auto ids = w.callIds();
    static const std::vector<std::array<const char*, 2>> kinds = {
        {"OK", "REGISTER"}, {"ERROR", "REGISTER"}, {"ACCEPTED", "INVITE"}, {"ERROR", "INVITE"}, {"CANCEL", "CANCEL"},
        {"ACK", "ACK"},     {"BYE", "BYE"},        {"UPDATE", "UPDATE"},   {"ERROR", "ACK"},    {"ERROR", "ACCEPTED"},
        {"INVITE", "INVITE"}};
    const auto& kind = rng.pick(kinds);
    p.doing = kind[0];
    const bool invite = std::string(kind[0]) == "INVITE";
    json s = {{"startLine", {{"command", kind[0]}}},
              {"signalHeader",
               {{"from", {{"dialNumber", "8001"}}},
                {"to", {{"dialNumber", "1001"}}},
                {"cseq", std::string("123456789 ") + kind[1]},
                {"callId", invite ? "srv-" + std::to_string(rng.below(1000)) : ids.first},
                {"contact", {{"route", "cm-x"}}}}},
              {"signalBody",
               {{"conferenceId", invite ? "conf-8001" : ids.second},
                {"externalDialNumber", rng.chance(20) ? "LOBBY-5" : "99001"},
                {"signalMessage", {{"messageCode", "CONF_END_BY_HOST"}}}}}};
    if (std::string(kind[0]) == "ERROR") s["startLine"]["statusCode"] = {{"code", 400 + rng.below(10)}, {"message", "m"}};
    w.trans.deliver(serverEvent("callmaster_event", s), milliseconds(rng.below(3)));
    if (rng.chance(20)) {
        p.doing = "conference information";
        w.trans.deliver(json{{"msg", "result"},
                             {"id", "confinfo_by_dialnum"},
                             {"type", "SUCCESS"},
                             {"data", {{"conferenceId", "conf-8001"}, {"externalDialNumber", "99001"}}}}
                            .dump());
    }
    rng.pause(1, 5);
    return true;
}

bool reinitStep(World& w, Rng& rng, Progress& p) {
    rng.pause(20, 150);
    if (rng.chance(60)) {
        p.doing = "reinit";
        w.sdk->reinit();
    }
    if (rng.chance(60)) {
        p.doing = "initMediaService";
        w.sdk->initMediaService("QV", "");
    }
    return true;
}

// The application's UI thread: runs the engine calls the library queued for
// it, one for each time it was asked, and now and then closes the lobby as
// its user would.
bool uiStep(World& w, Rng& rng, Progress& p) {
    p.doing = "runUiTask";
    bool worked = false;
    while (w.uiTasksRun < w.app.uiTasksAsked.load()) {
        w.sdk->runUiTask();
        ++w.uiTasksRun;
        worked = true;
    }
    if (rng.chance(2)) {
        p.doing = "the user closes the lobby";
        ORVANE::close_lobby_window(true);
        worked = true;
    }
    rng.pause(0, 1);
    return worked;
}

bool clockStep(World& w, Rng& rng, Progress& p) {
    p.doing = "time passes";
    w.clock->advance(std::chrono::seconds(1 + rng.below(20)));
    rng.pause(2, 10);
    return true;
}

struct Worker {
    const char* name;
    Step step;
};

const std::vector<Worker> kWorkers = {
    {"application", appStep}, {"servers", serverStep}, {"participants", participantStep},
    {"engine", engineStep},   {"signals", signalStep}, {"reinit", reinitStep},
    {"ui", uiStep},           {"clock", clockStep},
};

[[noreturn]] void die(const std::string& why) {
    std::fprintf(stderr, "orvane-stress: FAILED: %s\n", why.c_str());
    std::fflush(stderr);
    std::_Exit(3);
}

// Watches `progress` until `done`; dies when one of them, or the transport or
// the engine, stands still for 10 s.
void watch(World& w, std::vector<Progress>& progress, const std::function<bool()>& done) {
    const auto limit = std::chrono::seconds(10);
    std::vector<uint64_t> last(progress.size());
    std::vector<Clock::time_point> since(progress.size(), Clock::now());
    uint64_t crossed = w.crossed, delivered = w.engine->delivered;
    auto transSince = Clock::now(), engineSince = Clock::now();
    while (!done()) {
        std::this_thread::sleep_for(milliseconds(100));
        const auto now = Clock::now();
        for (size_t i = 0; i < progress.size(); ++i) {
            if (progress[i].finished) continue;
            const uint64_t steps = progress[i].steps;
            if (steps != last[i]) {
                last[i] = steps;
                since[i] = now;
            } else if (now - since[i] > limit) {
                die(std::string("thread \"") + progress[i].name + "\" made no progress for 10 s, in: " +
                    progress[i].doing.load());
            }
        }
        // A module that has messages waiting must be handing them over.
        if (w.crossed != crossed || w.trans.idle(milliseconds(0))) {
            crossed = w.crossed;
            transSince = now;
        } else if (now - transSince > limit) {
            die("the transport delivered nothing for 10 s with messages waiting");
        }
        if (w.engine->delivered != delivered || w.engine->idle(milliseconds(0))) {
            delivered = w.engine->delivered;
            engineSince = now;
        } else if (now - engineSince > limit) {
            die("the engine delivered nothing for 10 s with notifications waiting");
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    const uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10)
                                   : static_cast<uint64_t>(Clock::now().time_since_epoch().count());
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: orvane-stress [SECONDS] [SEED]\n");
        return 2;
    }
    // The library prints a line for every call signal and every lobby: our
    // own lines go to the standard output as it was, the library's nowhere.
    FILE* out = fdopen(dup(STDOUT_FILENO), "w");
    if (out == nullptr || !std::freopen("/dev/null", "w", stdout)) {
        std::fprintf(stderr, "orvane-stress: cannot set up the output\n");
        return 2;
    }
    std::fprintf(out, "orvane-stress: %d s, %zu threads, seed %llu\n", seconds, kWorkers.size(),
                 static_cast<unsigned long long>(seed));
    std::fflush(out);
    // The lobby is shown without a window.
    unsetenv("DISPLAY");
    auto logger = std::make_shared<spdlog::logger>("stress", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger->set_level(spdlog::level::off);
    ORVANE::setOrvaneGlobalLogger(logger);

    World w(seed);
    ORVANE::SdkEnv env;
    env.clock = w.clock;
    env.processWide = false;
    w.sdk = std::make_unique<OrvaneSDKPrivate>("QV", "", env);
    w.app.sdk = w.sdk.get();
    w.sdk->setListener(&w.app);
    w.sdk->setMediaServiceListener(&w.app);
    w.sdk->setOrvaneTrans(&w.trans);
    CountingEngine* engine = w.engine.get();
    ORVANE::AVSDK_Factory::setCreator([engine](const std::string&, const std::string&) { return engine; });
    w.sdk->initMediaService("QV", "");
    w.onServers([](orvsim::SimServers& s) { s.attach(); });

    std::vector<Progress> progress(kWorkers.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < kWorkers.size(); ++i) {
        progress[i].name = kWorkers[i].name;
        threads.emplace_back([&w, &progress, i, seed] {
            Rng rng(seed * 31 + i);
            Progress& p = progress[i];
            while (g_running) {
                if (kWorkers[i].step(w, rng, p)) {
                    ++g_ops;
                    ++p.operations;
                }
                ++p.steps;
            }
            p.finished = true;
        });
    }

    const auto end = Clock::now() + std::chrono::seconds(seconds);
    watch(w, progress, [&] { return Clock::now() >= end; });
    g_running = false;
    // A thread that cannot finish its step shows as one without progress.
    watch(w, progress, [&] {
        for (auto& p : progress)
            if (!p.finished) return false;
        return true;
    });
    for (auto& t : threads) t.join();

    // Everything still on its way is handled, then nothing more may come:
    // the library must keep handing messages over until it rests.
    bool rest = false;
    uint64_t moved = 0;
    auto lastMove = Clock::now();
    const auto giveUp = Clock::now() + std::chrono::seconds(120);
    while (!rest && Clock::now() - lastMove < std::chrono::seconds(10) && Clock::now() < giveUp) {
        if (w.crossed + w.engine->delivered != moved) {
            moved = w.crossed + w.engine->delivered;
            lastMove = Clock::now();
        }
        // The UI thread's part, now that it has ended.
        while (w.uiTasksRun < w.app.uiTasksAsked.load()) {
            w.sdk->runUiTask();
            ++w.uiTasksRun;
        }
        rest = w.trans.idle(milliseconds(200)) && w.engine->idle(milliseconds(200)) && w.sdk->waitUntilIdle();
    }
    if (!rest) {
        die(std::string("the library did not come to rest after the run: ") +
            (w.trans.idle(milliseconds(0)) ? "" : "the transport is busy; ") +
            (w.engine->idle(milliseconds(0)) ? "" : "the engine is busy; ") +
            "the last messages on the wire:" + w.lastOnWire());
    }

    const int state = w.sdk->callState();
    if (state < AVSTATE_INIT || state > AVSTATE_IN_MEETING) die("the call machine is in no state: " + std::to_string(state));

    std::fprintf(out, "orvane-stress: %llu operations in %d s (final state %s)\n",
                static_cast<unsigned long long>(g_ops.load()), seconds, g_avStateNames[state].c_str());
    for (const auto& p : progress)
        std::fprintf(out, "  %-13s %llu\n", p.name, static_cast<unsigned long long>(p.operations.load()));
    std::fprintf(out, "  library: %llu messages on the wire, %llu engine notifications, %llu notifications and %llu replies "
                "to the application\n",
                static_cast<unsigned long long>(w.crossed.load()),
                static_cast<unsigned long long>(w.engine->delivered.load()),
                static_cast<unsigned long long>(w.app.notifications.load()),
                static_cast<unsigned long long>(w.app.replies.load()));
    std::fclose(out);

    // The modules stop reporting before the library goes.
    w.trans.stop();
    w.engine->stop();
    ORVANE::close_lobby_window(false);
    ORVANE::lobby_wait_closed(std::chrono::seconds(5));
    ORVANE::AVSDK_Factory::setCreator(nullptr);
    w.app.sdk = nullptr;
    w.sdk.reset();
    return 0;
}
