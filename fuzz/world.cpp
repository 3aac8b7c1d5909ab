#include "world.h"

#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include "NotificationFilter/av_event_filter.h"
#include "avsdk_serialization.h"
#include "call_lock.h"
#include "lobby/lobby_window.h"
#include "logger.h"
#include "orvane/vocabulary.h"

// Allocations keep no stack: recording one costs a fifth of a run. A report
// then says where the bad access was but not where the memory came from;
// ASAN_OPTIONS=malloc_context_size=30 brings that back for a crash being
// looked at.
extern "C" const char* __asan_default_options() { return "malloc_context_size=0"; }

namespace orvfuzz {

using json = nlohmann::json;

namespace {

#include "fuzz_tables.inc"

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "orvane fuzz: %s\n", what.c_str());
    std::abort();
}

const char* const kRegistration =
    R"({"event":"device_register","deviceId":"dev-1","serialNumber":"SN-1","dialNumber":"1001",)"
    R"("deviceName":"Room A","deviceType":"terminal","regUserId":"u-9","regUserName":"Ann",)"
    R"("isMeetingRoomDevice":true,"qvUserName":"qvuser","qvPassword":"c2VjcmV0","qvHostAddress":"h","qvJwt":"j",)"
    R"("mediaPlatform":")";

const char* const kHostUserId = "16778240";

// The library's log: silent, unless ORVANE_FUZZ_LOG is set (for looking at
// one input), when everything goes to standard error.
void setUpProcess() {
    static std::once_flag once;
    std::call_once(once, [] {
        const bool verbose = std::getenv("ORVANE_FUZZ_LOG") != nullptr;
        std::shared_ptr<spdlog::logger> logger;
        if (verbose) {
            logger = std::make_shared<spdlog::logger>("fuzz", std::make_shared<spdlog::sinks::stderr_sink_mt>());
            logger->set_level(spdlog::level::trace);
        } else {
            logger = std::make_shared<spdlog::logger>("fuzz", std::make_shared<spdlog::sinks::null_sink_mt>());
            logger->set_level(spdlog::level::off);
            // The library prints a line for every call signal and every lobby.
            if (!std::freopen("/dev/null", "w", stdout)) fail("cannot silence standard output");
        }
        ORVANE::setOrvaneGlobalLogger(logger);
        // The lobby takes its headless path.
        unsetenv("DISPLAY");
        if (engineEvents().size() != ORVANE::AvEventFilter::handlerCount())
            fail("the engine events read from the filter's table (" + std::to_string(engineEvents().size()) +
                 ") are not the filter's " + std::to_string(ORVANE::AvEventFilter::handlerCount()));
    });
}

}  // namespace

// An engine that answers as told and reports nothing by itself: the input
// speaks for it.
class FuzzEngine : public ORVANE::AVSDKBase {
public:
    int setListener(ORVANE::AVSDK::Listener* l) override {
        listener = l;
        return 0;
    }
    int join(const std::string&, const std::string&, const std::string&) override { return joinResult; }
    bool isHostUser() override { return host; }
    bool canUnmuteByMyself() override { return true; }
    int getUserList(ORVANE::AvUserMap& out) override {
        out = users;
        return 0;
    }
    void reset() {
        joinResult = 0;
        host = false;
        users.clear();
    }

    ORVANE::AVSDK::Listener* listener = nullptr;
    int joinResult = 0;
    bool host = false;
    ORVANE::AvUserMap users;
};

class FuzzTransport : public ORVANE::TransSDK {
public:
    int addProcess(Process* p) override {
        process = p;
        return 0;
    }
    // Also from the control thread and the reporter's. A request that cannot
    // be built goes out empty, as the transport expects.
    int sendTextMessage(const std::string& text) override {
        if (requireJson && !text.empty() && !json::accept(text))
            fail("the library sent a text that is not JSON: " + text);
        return 0;
    }
    bool isGuestLogined() override { return guest; }
    std::string getErrMsgFromId(std::string id) override { return "msg:" + id; }

    Process* process = nullptr;
    std::atomic<bool> guest{false};
    std::atomic<bool> requireJson{true};
};

// The application: remembers the incoming call it was shown and, when the
// input says so, takes it at once from inside the notification.
class FuzzApp : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    void onConfCommand(const std::string&, const std::string&) override {}
    void onConfNotify(const std::string& type, const std::string& data) override {
        if (type != "0/confmanager_event" || data.find(ORVANE::CONFNOTIFY::RECV_INVITE) == std::string::npos) return;
        const json shown = json::parse(data, nullptr, false);
        if (!shown.is_array() || shown.empty()) return;
        {
            std::lock_guard<std::mutex> lock(mutex);
            invite = shown[0].dump();
        }
        if (answer && sdk) sdk->sendCommand(ORVANE::CONF::STARTCONF, shown[0].dump());
    }
    void onNotify(std::string, std::string, std::string) override {}

    mutable std::mutex mutex;
    std::string invite = "{}";
    std::atomic<bool> answer{false};
    OrvaneSDKPrivate* sdk = nullptr;
};

World& World::of(uint8_t flags) {
    setUpProcess();
    static std::unique_ptr<World> worlds[2];
    std::unique_ptr<World>& world = worlds[(flags & kQv) ? 1 : 0];
    // The manual clock only goes forward, and inputs move it by up to an
    // hour: long before it could overflow, the world is made anew.
    if (!world || world->clock_->steadyNanos() > (int64_t(1) << 62)) {
        world.reset();
        world.reset(new World((flags & kQv) != 0));
    }
    return *world;
}

World::World(bool qv)
    : platform_(qv ? "QV" : "QC"),
      clock_(std::make_shared<ORVANE::ManualClock>()),
      engine_(std::make_unique<FuzzEngine>()),
      trans_(std::make_unique<FuzzTransport>()),
      app_(std::make_unique<FuzzApp>()) {
    ORVANE::SdkEnv env;
    env.clock = clock_;
    env.processWide = false;
    env.timerWorker = false;
    sdk_ = std::make_unique<OrvaneSDKPrivate>(platform_, "", env);
    app_->sdk = sdk_.get();
    sdk_->setListener(app_.get());
    sdk_->setMediaServiceListener(app_.get());
    sdk_->setOrvaneTrans(trans_.get());
    FuzzEngine* engine = engine_.get();
    ORVANE::AVSDK_Factory::setCreator([engine](const std::string&, const std::string&) { return engine; });
    if (sdk_->initMediaService(platform_, "init-para") != 0) fail("the engine did not start");
    ORVANE::AVSDK_Factory::setCreator(nullptr);
    settle();
    sdk_->onNotify("AuthServiceEvent", "onSdkReady", R"({"result":0})");
    settle();
}

World::~World() {
    // The process is ending: the lobby's thread must not outlive the object.
    ORVANE::close_lobby_window(false);
    ORVANE::lobby_wait_closed(std::chrono::seconds(5));
}

void World::settle() {
    auto& queue = ORVANE::getTaskQueue();
    // A bound, so that a library that queues for ever shows as a hang here.
    for (int round = 0; round < 10000; ++round) {
        bool empty;
        {
            std::lock_guard<std::mutex> lock(queue.mutex);
            empty = queue.tasks.empty();
        }
        if (empty) {
            if (!sdk_->waitUntilIdle()) fail("the control thread or the portal reporter did not come to rest");
            std::lock_guard<std::mutex> lock(queue.mutex);
            if (queue.tasks.empty()) return;
            continue;
        }
        sdk_->runUiTask();
    }
    fail("the UI thread's queue does not run dry");
}

void World::begin(int start, uint8_t flags) {
    flags_ = flags;
    if (ORVANE::lobby_is_open()) {
        ORVANE::close_lobby_window(false);
        if (!ORVANE::lobby_wait_closed(std::chrono::seconds(5))) fail("the lobby did not close");
    }
    settle();
    // The library's own way back: time-outs, reports and the call's data go.
    sdk_->reinit();
    settle();
    {
        ORVANE::CallLock lock(sdk_->callMutex());
        sdk_->machine().setState(AVSTATE_IDLE);
    }
    engine_->reset();
    trans_->guest = (flags & kGuest) != 0;
    trans_->requireJson = true;
    app_->answer = false;
    {
        std::lock_guard<std::mutex> lock(app_->mutex);
        app_->invite = "{}";
    }
    sdk_->setMediaServiceUIType((flags & kOwnWindow) ? "CUSTOMIZE" : "");
    // The same identity every time. Registering while idle sends REGISTER
    // but leaves the machine where it is; it is needed only when the last
    // input changed the identity.
    if (sdk_->getMyInfo() != canonicalInfo_) {
        fromServer(R"({"msg":"internal_info","userid":"u-9","fileserver":"wss://files"})");
        registerDevice();
        if (canonicalInfo_.empty()) canonicalInfo_ = sdk_->getMyInfo();
    }
    // The engine's end of a call forgets its participants.
    fromEngine("MeetingServiceEvent", "onCallEnd", R"({"result":0})");
    {
        // Registered and idle, as after the server's OK to REGISTER: the
        // later starts go on from here, the first two start over.
        ORVANE::CallLock lock(sdk_->callMutex());
        if (start <= kWaitingRegisterAnswer) sdk_->machine().setState(AVSTATE_INIT);
        sdk_->engineUsersChanged();
    }
    sdk_->setSyncing(false);
    engine_->host = (flags & kEngineHost) != 0;

    driveTo(start);

    if (flags & kJoinRefused) engine_->joinResult = -1;
    if (flags & kSyncing) sdk_->setSyncing(true);
    app_->answer = (flags & kAnswerRinging) != 0;
}

void World::driveTo(int start) {
    static const AvState expected[kStartCount] = {
        AVSTATE_INIT,
        AVSTATE_WAIT_REGISTER_OK,
        AVSTATE_IDLE,
        AVSTATE_ACTIVE_WAITING_INVITE_RESULT,
        AVSTATE_ACTIVE_WAITING_AV_USERID,
        AVSTATE_PASSIVE_WAITING_CONFINFO,
        AVSTATE_PASSIVE_WAITING_UI_CONFIRM,
        AVSTATE_PASSIVE_WAITING_AV_USERID,
        AVSTATE_PASSIVE_WAITING_ACK,
        AVSTATE_IN_MEETING,
        AVSTATE_IN_MEETING,
        AVSTATE_IN_MEETING,
    };
    const std::string connected =
        json{{"userid", kHostUserId}, {"is_host", engine_->host}}.dump();
    if (start == kWaitingRegisterAnswer) registerDevice();
    switch (start) {
        case kInviting:
            fromApp(ORVANE::CONF::STARTCONF,
                    R"({"conferenceDialNumber":"8001","passcode":"4711","conferenceId":"conf-1"})");
            break;
        case kJoiningOutgoing:
            startOutgoing("8001", "conf-1", "99001");
            break;
        case kInMeeting:
            startOutgoing("8001", "conf-1", "99001");
            fromEngine("MeetingServiceEvent", "onCallConnected", connected);
            break;
        case kHosting: {
            engine_->host = true;
            ORVANE::AvUserInfo me, bob;
            me.isHost = true;
            me.name = "Room A";
            bob.audioMuted = true;
            bob.name = "Bob";
            engine_->users = {{kHostUserId, me}, {"16778301", bob}};
            startOutgoing("8001", "conf-1", "99001");
            fromEngine("MeetingServiceEvent", "onCallConnected",
                       json{{"userid", kHostUserId}, {"is_host", true}}.dump());
            event("confmanager_event",
                  R"({"event":"confmgr_endpoint_change","operation":"confmgr_participant_join",)"
                  R"("endpoint":{"deviceId":"dev-b","externalGuid":"16778301","externalDeviceId":"ext-b",)"
                  R"("name":"Bob","adminMute":false,"videoMute":false}})");
            break;
        }
        case kInLobby:
            startOutgoing("8002", "conf-3", "LOBBY-99003");
            break;
        case kWaitingConfinfo:
            ringIncoming();
            break;
        case kRinging:
        case kJoiningIncoming:
        case kWaitingAck:
            ringIncoming();
            fromServer(R"({"id":"confinfo_by_dialnum","msg":"result","data":)"
                       R"({"conferenceId":"conf-2","conferenceDialNumber":"2002","subject":"Weekly"}})");
            if (start == kRinging) break;
            fromApp(ORVANE::CONF::STARTCONF, R"({"conferenceId":"conf-2"})");
            if (start == kJoiningIncoming) break;
            fromEngine("MeetingServiceEvent", "onCallConnected", connected);
            break;
        default:
            break;
    }
    if (state() != expected[start])
        fail("the way to start " + std::to_string(start) + " ended in state " + std::to_string(state()));
}

void World::startOutgoing(const std::string& dialNumber, const std::string& confid, const std::string& ext) {
    fromApp(ORVANE::CONF::STARTCONF, json{{"conferenceDialNumber", dialNumber},
                                          {"passcode", "4711"},
                                          {"conferenceId", confid}}
                                         .dump());
    signal("ACCEPTED", "INVITE", json{{"conferenceId", confid}, {"externalDialNumber", ext}}.dump());
}

void World::registerDevice() { event("devicemgr_event", kRegistration + platform_ + "\"}"); }

void World::ringIncoming() {
    signal("INVITE", "INVITE", R"({"conferenceId":"conf-2","externalDialNumber":"99002"})", "srv-1");
}

void World::end() {
    if (flags_ & kTimePasses) {
        // Enough for every limit, and for a REGISTER asked again twice.
        for (int i = 0; i < 3; ++i) timePasses(61);
    }
    settle();
    const int s = state();
    if (s < AVSTATE_INIT || s > AVSTATE_IN_MEETING) fail("the call machine is in no state: " + std::to_string(s));
    // What the application may ask at any time.
    sdk_->getMyInfo();
    sdk_->isRunning();
    sdk_->getUniformUserName();
}

std::string World::fill(std::string text) {
    if (text.find('$') == std::string::npos) return text;
    std::map<std::string, std::string> values;
    {
        ORVANE::CallLock lock(sdk_->callMutex());
        const ORVANE::OrvaneConference& conf = sdk_->conf();
        values = {{"$CALLID", conf.callid},
                  {"$CONFID", conf.confid},
                  {"$DEVID", sdk_->identity().deviceId()},
                  {"$USERID", conf.engine_userid},
                  {"$DIAL", conf.dialnum}};
    }
    std::string out;
    out.reserve(text.size() + 32);
    for (size_t i = 0; i < text.size();) {
        bool replaced = false;
        if (text[i] == '$') {
            for (const auto& v : values) {
                if (text.compare(i, v.first.size(), v.first) == 0) {
                    out += v.second;
                    i += v.first.size();
                    replaced = true;
                    break;
                }
            }
        }
        if (!replaced) out += text[i++];
    }
    return out;
}

void World::fromServer(std::string text) {
    trans_->process->onProcess("textmessage_process", fill(std::move(text)));
    settle();
}

void World::fromEngine(const std::string& group, const std::string& cmd, std::string data) {
    sdk_->onNotify(group, cmd, fill(std::move(data)));
    settle();
}

void World::fromApp(const std::string& type, std::string data) {
    try {
        sdk_->sendCommand(type, fill(std::move(data)));
    } catch (const std::exception&) {
        // The exported interface catches what the central object lets through.
    }
    settle();
}

bool World::timeRecord(std::string_view record) {
    if (record.empty() || record[0] != '\x1f') return false;
    timePasses(record.size() > 1 ? static_cast<uint8_t>(record[1]) : 61);
    return true;
}

void World::timePasses(int seconds) {
    clock_->advance(std::chrono::seconds(seconds));
    sdk_->runDueTimers();
    settle();
}

void World::requireJsonOnWire(bool on) { trans_->requireJson = on; }

void World::signal(const std::string& command, const std::string& cseqWord, const std::string& body,
                   const std::string& callId) {
    event("callmaster_event", R"({"startLine":{"command":")" + command +
                                  R"("},"signalHeader":{"from":{"dialNumber":"2002"},"to":{"dialNumber":"1001"},)"
                                  R"("cseq":"123456789 )" + cseqWord + R"(","callId":")" + callId +
                                  R"(","contact":{"route":"cm-1"}},"signalBody":)" + body + "}");
}

void World::event(const std::string& kind, const std::string& element) {
    fromServer(R"({"msg":"changed","collection":"stream-quelmar-notify-device","fields":{"eventName":"0/)" + kind +
               R"(","args":[)" + element + "]}}");
}

int World::state() { return sdk_->callState(); }

std::string World::lastInvite() const {
    std::lock_guard<std::mutex> lock(app_->mutex);
    return app_->invite;
}

int runInput(const uint8_t* data, size_t size, void (*feed)(World&, std::string_view), bool jsonOnWire) {
    if (size < 2) return 0;
    World& world = World::of(data[1]);
    world.begin(data[0] % kStartCount, data[1]);
    world.requireJsonOnWire(jsonOnWire);
    const char* text = reinterpret_cast<const char*>(data) + 2;
    size -= 2;
    size_t start = 0;
    int records = 0;
    for (size_t i = 0; i <= size && records < 16; ++i) {
        if (i == size || text[i] == '\x1e') {
            feed(world, std::string_view(text + start, i - start));
            start = i + 1;
            ++records;
        }
    }
    world.end();
    return 0;
}

std::string takeWord(std::string& rest) {
    const size_t blank = rest.find(' ');
    std::string word = rest.substr(0, blank);
    rest.erase(0, blank == std::string::npos ? rest.size() : blank + 1);
    return word;
}

const std::vector<std::string>& commandNames() {
    static const std::vector<std::string> names(std::begin(kCommandNames), std::end(kCommandNames));
    return names;
}

const std::vector<std::string>& engineEvents() {
    static const std::vector<std::string> names(std::begin(kEngineEventNames), std::end(kEngineEventNames));
    return names;
}

}  // namespace orvfuzz
