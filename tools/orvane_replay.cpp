// orvane-replay: plays a session recorded by `orvane-cli --record FILE` to a
// fresh library and checks that the library does now what it did then.
//
//   orvane-replay [--log FILE] SESSION
//
// A session file has one record per line; lines starting with "#" are
// comments. A record is
//
//   TIME SIDE DIR PAYLOAD
//
// TIME: seconds since the session began, with milliseconds ("12.345"); it
// never goes back. SIDE: whom the library deals with: app (the
// application), server (the servers, through the transport) or engine (the
// media engine). DIR: "<" the side hands the library something, ">" the
// library does something on that side, "?" the library asked that side and
// got the answer shown. The payloads:
//
//   app < create PLATFORM [PARAM]     the library is made (createInstance)
//   app < init PLATFORM [PARA]        initMediaService
//   app < command TYPE [DATA]         sendCommand
//   app > notify TYPE [DATA]          Listener::onConfNotify
//   app > reply TYPE [DATA]           Listener::onConfCommand
//   app > media GROUP/CMD [DATA]      the media-service listener's onNotify
//   server < TEXT                     a message the transport delivers (onProcess)
//   server > TEXT                     sendTextMessage
//   server ? NAME ARGS -> ANSWER      isGuestLogined, getErrMsgFromId
//   engine < GROUP CMD [DATA]         an engine notification (onNotify)
//   engine > NAME ARGS -> RESULT      an engine operation with its arguments and result
//   engine ? NAME ARGS -> RESULT      getUserList, isHostUser, canUnmuteByMyself
//   TIME end                          the session stopped here
//
// ARGS is a JSON array (getUserList shows the map the engine filled in),
// ANSWER and RESULT JSON values. TEXT and DATA stand as they are up to the
// end of the line, unless they could not be read back that way (a line
// break, a leading quote, a space at either end): then as a JSON string.
// Not recorded: the application's turns on its UI thread (a replay runs the
// queued engine calls after every input), the engine's wiring (setListener,
// setOrvaneLogger, the service getters) and the log.
//
// The replay makes a central object on a virtual clock, with doubles for
// the transport and the engine. Record by record it moves the clock to the
// record's time, one millisecond at a time so that each time-out runs at
// its own moment, and hands the library every input. The doubles answer as
// the recording says: an engine operation returns what the next recorded
// call of that operation returned, a transport question gets the recorded
// answer. What the library does is compared with the ">" records, side by
// side, in order within each side: texts and data as JSON values where they
// are JSON, engine operations by name and arguments, and each at its
// recorded time give or take 250 ms (a recording's clock is a real one). The
// questions are not compared: how often the library asks is its own affair.
//
// Call ids are random. The id of each REGISTER, UNREGISTER, INVITE and BYE
// the library makes is paired, in the order the ids first appear, with the
// recorded one. Recorded ids in later inputs become the replayed ones, and
// replayed ids in what the library does become the recorded ones before it
// is compared or shown.
//
// Exit status: 0 when everything matched; 1 at a difference, the first one
// (by line) printed with what was expected and what came; 2 when the file
// cannot be read.
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CallSignal/callid.h"
#include "avsdk_ops.h"
#include "avsdk_serialization.h"
#include "clock.h"
#include "confsdk_p.h"
#include "lobby/lobby_window.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "trace_format.h"

namespace {

using namespace orvtrace;

// The call id a wire text carries when it is a call signal the library
// starts a call, a registration or a hang-up with; else "".
std::string clientCallId(const std::string& text) {
    const json m = json::parse(text, nullptr, false);
    if (!m.is_object() || !m.contains("params") || !m["params"].is_array() || m["params"].empty()) return {};
    const json& p = m["params"][0];
    if (!p.is_object() || p.value("type", "") != "MQ_CALLMASTER" || !p.contains("payload")) return {};
    const json& s = p["payload"];
    if (!s.is_object() || !s.contains("startLine") || !s.contains("signalHeader")) return {};
    const std::string command = s["startLine"].value("command", "");
    if (command != "REGISTER" && command != "UNREGISTER" && command != "INVITE" && command != "BYE") return {};
    return s["signalHeader"].value("callId", "");
}

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
    if (from.empty() || from == to) return text;
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) text.replace(at, from.size(), to);
    return text;
}

// The recorded call ids and the replayed ones, paired as they appear.
class CallIds {
public:
    explicit CallIds(std::vector<std::string> recorded) : recorded_(std::move(recorded)) {}

    void seen(const std::string& wire) {
        const std::string id = clientCallId(wire);
        std::lock_guard<std::mutex> lock(mutex_);
        if (id.empty() || std::find(replayed_.begin(), replayed_.end(), id) != replayed_.end()) return;
        replayed_.push_back(id);
    }
    std::string toReplayed(std::string text) const {
        std::lock_guard<std::mutex> lock(mutex_);
        for (size_t i = 0; i < recorded_.size() && i < replayed_.size(); ++i)
            text = replaceAll(text, recorded_[i], replayed_[i]);
        return text;
    }
    std::string toRecorded(std::string text) const {
        std::lock_guard<std::mutex> lock(mutex_);
        for (size_t i = 0; i < recorded_.size() && i < replayed_.size(); ++i)
            text = replaceAll(text, replayed_[i], recorded_[i]);
        return text;
    }

private:
    mutable std::mutex mutex_;
    const std::vector<std::string> recorded_;
    std::vector<std::string> replayed_;
};

struct Output {
    int64_t millis;
    std::string payload;
};

// What the library did, by side, as record payloads, with the virtual time.
class Outputs {
public:
    void setNow(int64_t millis) { now_ = millis; }
    void add(Side side, std::string payload) {
        std::lock_guard<std::mutex> lock(mutex_);
        bySide_[side].push_back({now_.load(), std::move(payload)});
    }
    std::vector<Output> of(Side side) const {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = bySide_.find(side);
        return it == bySide_.end() ? std::vector<Output>{} : it->second;
    }

private:
    std::atomic<int64_t> now_{0};
    mutable std::mutex mutex_;
    std::map<Side, std::vector<Output>> bySide_;
};

class App : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    explicit App(Outputs& out) : out_(out) {}
    void onConfCommand(const std::string& type, const std::string& data) override {
        out_.add(Side::App, "reply " + type + (data.empty() ? "" : " " + encodeText(data)));
    }
    void onConfNotify(const std::string& type, const std::string& data) override {
        if (type == ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD) return;
        out_.add(Side::App, "notify " + type + (data.empty() ? "" : " " + encodeText(data)));
    }
    void onNotify(std::string group, std::string cmd, std::string data) override {
        out_.add(Side::App, "media " + group + "/" + cmd + (data.empty() ? "" : " " + encodeText(data)));
    }

private:
    Outputs& out_;
};

class Transport : public ORVANE::TransSDK {
public:
    Transport(Outputs& out, CallIds& ids, const std::vector<Record>& records) : out_(out), ids_(ids) {
        for (const Record& r : records) {
            Call c;
            if (r.side != Side::Server || r.dir != Dir::Ask || !parseCall(r.payload, c)) continue;
            if (c.name == "isGuestLogined" && c.result.is_boolean()) guest_ = c.result.get<bool>();
            if (c.name == "getErrMsgFromId" && c.args.size() == 1 && c.args[0].is_string() && c.result.is_string())
                errMsgs_[c.args[0].get<std::string>()] = c.result.get<std::string>();
        }
    }
    int addProcess(Process* process) override {
        std::lock_guard<std::mutex> lock(mutex_);
        process_ = process;
        return 0;
    }
    int sendTextMessage(const std::string& text) override {
        ids_.seen(text);
        out_.add(Side::Server, encodeText(text));
        return 0;
    }
    bool isGuestLogined() override { return guest_; }
    std::string getErrMsgFromId(std::string id) override {
        auto it = errMsgs_.find(id);
        return it != errMsgs_.end() ? it->second : id;
    }
    void deliver(const std::string& text) {
        Process* process;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            process = process_;
        }
        if (process) process->onProcess("textmessage_process", text);
    }

private:
    Outputs& out_;
    CallIds& ids_;
    std::mutex mutex_;
    Process* process_ = nullptr;
    bool guest_ = false;
    std::map<std::string, std::string> errMsgs_;
};

// An engine that answers as the recorded one did and records what it is told.
class Engine : public ORVANE::AVSDK {
public:
    Engine(Outputs& out, const std::vector<Record>& records) : out_(out) {
        for (const Record& r : records) {
            Call c;
            if (r.side == Side::Engine && r.dir != Dir::In && parseCall(r.payload, c)) answers_[c.name].push_back(c);
        }
    }

#define ORVREPLAY_ENGINE_OP(RET, NAME, PARAMS, ARGS, KIND, ENTER) \
    RET NAME PARAMS override {                                    \
        auto orvArgs = std::forward_as_tuple ARGS;                \
        return play<RET>(#NAME, orvArgs);                         \
    }
    ORVANE_AVSDK_OPERATIONS(ORVREPLAY_ENGINE_OP)
#undef ORVREPLAY_ENGINE_OP

    void notify(const std::string& group, const std::string& cmd, const std::string& data) {
        ORVANE::AVSDK::Listener* listener;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            listener = listener_;
        }
        if (listener) listener->onNotify(group, cmd, data);
    }

private:
    template <typename R, typename Tuple>
    R play(const char* name, Tuple& args) {
        std::apply([this](auto&... a) { (capture(a), ...); }, args);
        const EngineOp op = engineOp(name);
        const Call recorded = nextAnswer(name);
        if (op == EngineOp::Question)
            restoreAll(args, recorded.args, std::make_index_sequence<std::tuple_size_v<Tuple>>{});
        if constexpr (std::is_void_v<R>) {
            if (op == EngineOp::Action) done(name, args, json());
        } else {
            R result = resultOf<R>(recorded.result);
            if (op == EngineOp::Action) done(name, args, answerJson(result));
            return result;
        }
    }
    template <typename Tuple>
    void done(const char* name, const Tuple& args, json result) {
        Call c{name, json::array(), std::move(result)};
        std::apply([&](const auto&... a) { (c.args.push_back(argJson(a)), ...); }, args);
        out_.add(Side::Engine, formatCall(c));
    }

    // The operation's next recorded call; past the last, the last again.
    Call nextAnswer(const std::string& name) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = answers_.find(name);
        if (it == answers_.end() || it->second.empty()) return Call{name, json::array(), json()};
        Call c = it->second.front();
        if (it->second.size() > 1) it->second.pop_front();
        return c;
    }

    void capture(ORVANE::AVSDK::Listener*& listener) {
        std::lock_guard<std::mutex> lock(mutex_);
        listener_ = listener;
    }
    template <typename T>
    void capture(T&) {}

    template <typename Tuple, size_t... I>
    void restoreAll(Tuple& args, const json& recorded, std::index_sequence<I...>) {
        (restore(std::get<I>(args), I < recorded.size() ? recorded[I] : json()), ...);
    }
    void restore(ORVANE::AvUserMap& users, const json& recorded) { users = userMap(recorded); }
    template <typename T>
    void restore(T&, const json&) {}

    template <typename R>
    static json answerJson(const R& r) {
        if constexpr (std::is_pointer_v<R>)
            return json();
        else
            return r;
    }
    template <typename R>
    static R resultOf(const json& r) {
        if constexpr (std::is_void_v<R>) {
            return;
        } else if constexpr (std::is_same_v<R, bool>) {
            return r.is_boolean() && r.get<bool>();
        } else if constexpr (std::is_same_v<R, int>) {
            return r.is_number_integer() ? r.get<int>() : 0;
        } else if constexpr (std::is_same_v<R, std::string>) {
            return r.is_string() ? r.get<std::string>() : std::string();
        } else {
            return R{};  // the services: a replay has none
        }
    }

    Outputs& out_;
    std::mutex mutex_;
    ORVANE::AVSDK::Listener* listener_ = nullptr;
    std::map<std::string, std::deque<Call>> answers_;
};

// A payload's JSON part: the whole text on the server side, the data on the
// application's, the arguments on the engine's (its result is the replay's
// own answer). `head` is what must be equal as text.
struct Parts {
    std::string head;
    std::string body;
};

Parts partsOf(Side side, const std::string& payload) {
    if (side == Side::Server) return {"", decodeText(payload)};
    if (side == Side::Engine) {
        Call c;
        if (!parseCall(payload, c)) return {payload, ""};
        return {c.name, c.args.dump()};
    }
    auto [kind, rest] = splitWord(payload);
    auto [type, data] = splitWord(rest);
    return {kind + " " + type, decodeText(data)};
}

// The recording's clock is a real one: what the library did shows up a few
// milliseconds after its cause. A time-out that runs at the wrong moment is
// off by far more.
constexpr int64_t kTimeTolerance = 250;

std::string seconds(int64_t millis) {
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%03lld s", static_cast<long long>(millis / 1000),
                  static_cast<long long>(millis % 1000));
    return text;
}

// None when equal; else where the JSON first differs, or "" when it is not
// JSON that differs.
std::optional<std::string> difference(Side side, const std::string& expected, const std::string& got) {
    const Parts e = partsOf(side, expected), g = partsOf(side, got);
    if (e.head != g.head) return std::string();
    if (e.body == g.body) return std::nullopt;
    const json ej = json::parse(e.body, nullptr, false), gj = json::parse(g.body, nullptr, false);
    if (ej.is_discarded() || gj.is_discarded()) return std::string();
    if (ej == gj) return std::nullopt;
    const json patch = json::diff(ej, gj);
    return patch.empty() ? std::string() : patch[0].value("path", "");
}

class Replay {
public:
    Replay(FILE* out, std::string file, std::vector<Record> records)
        : out_(out), file_(std::move(file)), records_(std::move(records)), ids_(recordedCallIds(records_)),
          transport_(outputs_, ids_, records_), engine_(outputs_, records_), app_(outputs_) {}

    ~Replay() {
        ORVANE::close_lobby_window(false);
        ORVANE::lobby_wait_closed(std::chrono::seconds(5));
        ORVANE::AVSDK_Factory::setCreator(nullptr);
        sdk_.reset();
        // The queue of the UI thread's calls belongs to the process.
        auto& q = ORVANE::getTaskQueue();
        std::lock_guard<std::mutex> lock(q.mutex);
        q.tasks.clear();
    }

    int run() {
        ORVANE::AVSDK_Factory::setCreator([this](const std::string&, const std::string&) { return &engine_; });
        for (const Record& r : records_) {
            advanceTo(r.millis);
            if (!r.end && r.dir == Dir::In) input(r);
            if (!stuck_.empty()) {
                std::fprintf(out_, "%s:%d: the library did not settle: %s\n", file_.c_str(), r.line, stuck_.c_str());
                return 1;
            }
        }
        return compare();
    }

private:
    static std::vector<std::string> recordedCallIds(const std::vector<Record>& records) {
        std::vector<std::string> ids;
        for (const Record& r : records) {
            if (r.side != Side::Server || r.dir != Dir::Out) continue;
            const std::string id = clientCallId(decodeText(r.payload));
            if (!id.empty() && std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
        }
        return ids;
    }

    OrvaneSDKPrivate& sdk(const std::string& platform = "QV", const std::string& param = "") {
        if (!sdk_) {
            ORVANE::SdkEnv env;
            env.clock = clock_;
            env.processWide = false;
            env.timerWorker = false;
            sdk_ = std::make_unique<OrvaneSDKPrivate>(platform, param, env);
            sdk_->setListener(&app_);
            sdk_->setMediaServiceListener(&app_);
            sdk_->setOrvaneTrans(&transport_);
        }
        return *sdk_;
    }

    void advanceTo(int64_t millis) {
        while (now_ < millis) {
            outputs_.setNow(++now_);
            clock_->advance(std::chrono::milliseconds(1));
            if (sdk_) {
                contained([this] { sdk_->runDueTimers(); });
                settle();
            }
        }
    }

    void input(const Record& r) {
        const std::string payload = ids_.toReplayed(r.payload);
        if (r.side == Side::Server) {
            sdk();
            contained([&] { transport_.deliver(decodeText(payload)); });
        } else if (r.side == Side::Engine) {
            auto [group, rest] = splitWord(payload);
            auto [cmd, data] = splitWord(rest);
            sdk();
            contained([&] { engine_.notify(group, cmd, decodeText(data)); });
        } else {
            auto [kind, rest] = splitWord(payload);
            auto [name, data] = splitWord(rest);
            if (kind == "create")
                sdk(name, decodeText(data));
            else if (kind == "init")
                contained([&] { sdk(name).initMediaService(name, decodeText(data)); });
            else if (kind == "command")
                contained([&] { sdk().sendCommand(name, decodeText(data)); });
            else
                std::fprintf(out_, "%s:%d: unknown input \"%s\", skipped\n", file_.c_str(), r.line, kind.c_str());
        }
        settle();
    }

    // As the exported interface does: a fault inside is logged, and the
    // replay goes on to show where the outputs part.
    template <typename F>
    void contained(F&& call) {
        try {
            call();
        } catch (const std::exception& e) {
            LOG_ERROR("orvane-replay: an input threw: {}", e.what());
        }
    }

    // Lets the UI thread and the library's own threads finish what the last
    // step started.
    void settle() {
        for (int round = 0; round < 1000; ++round) {
            bool ran = false;
            for (;;) {
                {
                    auto& q = ORVANE::getTaskQueue();
                    std::lock_guard<std::mutex> lock(q.mutex);
                    if (q.tasks.empty()) break;
                }
                contained([this] { sdk_->runUiTask(); });
                ran = true;
            }
            if (!sdk_->waitUntilIdle()) {
                stuck_ = "its control thread or portal reports are still busy after 5 s";
                return;
            }
            if (!ran) return;
        }
        stuck_ = "the UI thread's queue does not empty";
    }

    int compare() {
        struct Found {
            int line;
            Side side;
            std::string expected, got, where;
        };
        std::optional<Found> first;
        const int endLine = records_.empty() ? 0 : records_.back().line;
        size_t matched = 0;
        for (Side side : {Side::App, Side::Server, Side::Engine}) {
            std::vector<const Record*> expected;
            for (const Record& r : records_)
                if (!r.end && r.side == side && r.dir == Dir::Out) expected.push_back(&r);
            const std::vector<Output> got = outputs_.of(side);
            for (size_t i = 0; i < std::max(expected.size(), got.size()); ++i) {
                const Record* e = i < expected.size() ? expected[i] : nullptr;
                std::optional<Output> g;
                if (i < got.size()) g = Output{got[i].millis, ids_.toRecorded(got[i].payload)};
                std::optional<std::string> where;
                if (!e || !g)
                    where = "";
                else if (!(where = difference(side, e->payload, g->payload)) &&
                         std::abs(g->millis - e->millis) > kTimeTolerance)
                    where = "";
                if (!where) {
                    ++matched;
                    continue;
                }
                const int line = e ? e->line : endLine;
                if (!first || line < first->line)
                    first = Found{line, side, e ? "(" + seconds(e->millis) + ") " + e->payload : "nothing more",
                                  g ? "(" + seconds(g->millis) + ") " + g->payload : "nothing", *where};
                break;
            }
        }
        if (!first) {
            std::fprintf(out_, "%s: %zu records replayed, %zu outputs as recorded\n", file_.c_str(), records_.size(),
                        matched);
            return 0;
        }
        std::fprintf(out_, "%s:%d: the %s side differs from the recording\n  expected: %s\n  got:      %s\n", file_.c_str(),
                    first->line, sideName(first->side), first->expected.c_str(), first->got.c_str());
        if (!first->where.empty()) std::fprintf(out_, "  first difference at %s\n", first->where.c_str());
        return 1;
    }

    FILE* out_;
    std::string file_;
    std::vector<Record> records_;
    CallIds ids_;
    Outputs outputs_;
    Transport transport_;
    Engine engine_;
    App app_;
    std::shared_ptr<ORVANE::ManualClock> clock_ = std::make_shared<ORVANE::ManualClock>();
    int64_t now_ = 0;
    std::string stuck_;
    std::unique_ptr<OrvaneSDKPrivate> sdk_;
};

}  // namespace

int main(int argc, char** argv) {
    std::string session, logFile;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--log" && i + 1 < argc) {
            logFile = argv[++i];
        } else if (session.empty() && !a.empty() && a[0] != '-') {
            session = a;
        } else {
            std::printf("usage: orvane-replay [--log FILE] SESSION\n"
                        "  plays SESSION (recorded by orvane-cli --record) to the library and compares\n"
                        "  what it does with the recording; --log keeps the library's log\n");
            return a == "--help" || a == "-h" ? 0 : 2;
        }
    }
    if (session.empty()) {
        std::printf("usage: orvane-replay [--log FILE] SESSION\n");
        return 2;
    }
    std::string error;
    std::vector<Record> records = readRecords(session, error);
    if (!error.empty()) {
        std::printf("%s\n", error.c_str());
        return 2;
    }

    // The library's few diagnostics on standard output are set aside: the
    // report is the replay's only output there.
    std::fflush(stdout);
    FILE* out = stdout;
    const int saved = dup(STDOUT_FILENO);
#if defined(_WIN32)
    const int devnull = open("NUL", O_WRONLY);
#else
    const int devnull = open("/dev/null", O_WRONLY);
#endif
    if (saved >= 0 && devnull >= 0) {
        dup2(devnull, STDOUT_FILENO);
        close(devnull);
        out = fdopen(saved, "w");
    }
    // The lobby window is no side of the comparison: a replay opens none.
    // Windows has no such switch; a window shown there changes nothing the
    // replay compares.
#if !defined(_WIN32)
    unsetenv("DISPLAY");
#endif

    auto sink = logFile.empty() ? spdlog::sink_ptr(std::make_shared<spdlog::sinks::null_sink_mt>())
                                : spdlog::sink_ptr(std::make_shared<spdlog::sinks::basic_file_sink_mt>(logFile, true));
    auto logger = std::make_shared<spdlog::logger>("orvane", sink);
    logger->set_level(spdlog::level::debug);
    ORVANE::setOrvaneGlobalLogger(logger);
    ORVANE::seedCallIdGenerator();

    int status;
    {
        Replay replay(out, session, std::move(records));
        status = replay.run();
    }
    std::fflush(out);
    return status;
}
