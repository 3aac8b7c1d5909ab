// The library's behaviour told as scenarios: what the application, the
// servers and the media engine put in, and what comes out on each side, in
// order. Each file under data/scenarios is one test; files whose name starts
// with "_" are pieces that others include. The format:
//
//   platform QV | uitype CUSTOMIZE | guest true     set-up, before any input
//   answer NAME VALUE | users {...}                 what the engine answers
//   include NAME                                    the lines of another file
//
//   app CMD [DATA]            the application's sendCommand
//   init [PLATFORM]           initMediaService
//   event KIND ELEMENT        a server event "0/KIND" with args [ELEMENT]
//   signal CMD CSEQ BODY [PATCH]   a call signal from the call server
//   result ID [DATA]          a server reply to the command ID
//   server TEXT               any text from the transport
//   engine CMD [DATA]         an engine notification
//   wait SECONDS              the clock moves on; due time-outs run
//   lobby-close | reinit      the user closes the lobby window | ConfSDK::reinit
//   layout ITEMS A B          ConfControlService::setLayout; ITEMS is a JSON array
//                             of {"id","deviceId","displayName","type","rc":[l,t,r,b],"isShow"}
//
//   > signal CMD [PATTERN]    a call signal went out, its payload matching
//   > request ID [PATTERN]    a REST request went out, params[0] matching
//   > wire PATTERN | > wire= TEXT     any wire text, by pattern or exactly
//   > request confControlSyncControlpanel ...   a portal report: these come
//                             from the reporter's thread and are named last
//   > engine OP [ARGS]        an engine call with these arguments
//   > notify TYPE [DATA] | > reply TYPE [DATA] | > media GROUP/CMD [DATA]
//   = state NAME              the call machine stands in NAME
//   = info PATTERN            this device's information (getMyInfo) matches
//   = lobby open|closed       the lobby is open, or closes within 5 s
//   ? log TEXT | ! log TEXT   a log line since the last input has TEXT | none has
//
// Before each input every output of the previous one must have been matched,
// in order: nothing may come out that the scenario does not name. A PATTERN
// is JSON that the output must contain (objects may have more keys, "*"
// matches any value); DATA of the application's side must be equal. $CALLID
// stands for the call id of the client's last REGISTER or INVITE.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "harness.h"
#include "server_events.h"
#include "trace_format.h"
#include "lobby/lobby_window.h"
#include "orvane/vocabulary.h"

using namespace orvtest;
namespace fs = std::filesystem;

namespace {

struct Output {
    std::string kind;  // wire, engine, notify, reply, media
    std::string name;
    std::string data;
};

std::string show(const Output& o) { return o.kind + " " + o.name + (o.data.empty() ? "" : " " + o.data); }

// The text of one JSON value or bare word at the start of `rest`, which loses it.
std::string nextToken(std::string& rest) {
    size_t i = rest.find_first_not_of(' ');
    if (i == std::string::npos) {
        rest.clear();
        return {};
    }
    size_t end = orvtrace::jsonEnd(rest, i);
    if (end == std::string::npos) end = rest.size();
    std::string token = rest.substr(i, end - i);
    rest.erase(0, end);
    return token;
}

std::string trim(const std::string& s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string::npos) return {};
    return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

// Whether `actual` holds everything of `pattern`.
bool contains(const json& actual, const json& pattern) {
    if (pattern.is_string() && pattern.get<std::string>() == "*") return true;
    if (pattern.is_object()) {
        if (!actual.is_object()) return false;
        for (auto it = pattern.begin(); it != pattern.end(); ++it) {
            auto found = actual.find(it.key());
            if (found == actual.end() || !contains(*found, it.value())) return false;
        }
        return true;
    }
    if (pattern.is_array()) {
        if (!actual.is_array() || actual.size() != pattern.size()) return false;
        for (size_t i = 0; i < pattern.size(); ++i)
            if (!contains(actual[i], pattern[i])) return false;
        return true;
    }
    return actual == pattern;
}

// Application-side data: the empty text as "", JSON by value, else the text.
bool sameData(const std::string& expected, const std::string& actual) {
    if (expected == "\"\"") return actual.empty();
    const json e = json::parse(expected, nullptr, false);
    if (e.is_discarded()) return expected == actual;
    const json a = json::parse(actual, nullptr, false);
    return !a.is_discarded() && a == e;
}

const std::vector<std::string> kHiddenEngineCalls = {"setListener",     "setOrvaneLogger",         "isHostUser",
                                                     "getUserList",     "canUnmuteByMyself",       "getInterpretationService",
                                                     "getUiControlService"};

class Scenario {
public:
    explicit Scenario(const fs::path& file) : file_(file) {}

    void run() {
        app_.onEvent = [this](const AppEvent& e) {
            if (e.type == ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD) return;
            const std::string kind = e.kind == "command" ? "reply" : e.kind;
            add({kind, e.type, e.data});
        };
        engine_.onCall = [this](const EngineCall& c) {
            if (std::find(kHiddenEngineCalls.begin(), kHiddenEngineCalls.end(), c.name) != kHiddenEngineCalls.end())
                return;
            add({"engine", c.name, c.args.empty() ? std::string() : json(c.args).dump()});
        };
        trans_.onSend = [this](const std::string& text) { add({"wire", "", text}); };
        ORVANE::AVSDK_Factory::setCreator([this](const std::string&, const std::string&) { return &engine_; });
        runFile(file_);
        if (!failed_) checkConsumed();
        ORVANE::close_lobby_window(false);
        ORVANE::lobby_wait_closed(std::chrono::seconds(5));
        ORVANE::AVSDK_Factory::setCreator(nullptr);
        if (sdk_) {
            sdk_.reset();
            auto& q = ORVANE::getTaskQueue();
            std::lock_guard<std::mutex> lock(q.mutex);
            q.tasks.clear();
        }
    }

private:
    void add(Output o) {
        if (o.kind == "wire") trackCallId(o.data);
        std::lock_guard<std::mutex> lock(mutex_);
        outputs_.push_back(std::move(o));
    }
    void trackCallId(const std::string& wire) {
        const json j = json::parse(wire, nullptr, false);
        if (!j.is_object() || !j.contains("params")) return;
        const json& p = j["params"][0];
        if (!p.is_object() || p.value("type", "") != "MQ_CALLMASTER") return;
        const std::string command = p["payload"]["startLine"]["command"];
        if (command == "REGISTER" || command == "INVITE" || command == "UNREGISTER") {
            std::lock_guard<std::mutex> lock(mutex_);
            callId_ = p["payload"]["signalHeader"]["callId"];
        }
    }
    std::vector<Output> pending() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::vector<Output>(outputs_.begin() + consumed_, outputs_.end());
    }

    void fail(const std::string& message) {
        std::ostringstream out;
        out << where_ << ": " << message << "\n  outputs not yet matched:";
        for (const auto& o : pending()) out << "\n    " << show(o);
        ADD_FAILURE() << out.str();
        failed_ = true;
    }

    void runFile(const fs::path& file) {
        std::ifstream in(file);
        if (!in) return fail("cannot read " + file.string());
        std::string line;
        for (int number = 1; !failed_ && std::getline(in, line); ++number) {
            where_ = file.filename().string() + ":" + std::to_string(number);
            line = trim(line);
            if (line.empty() || line[0] == '#') continue;
            for (size_t at; (at = line.find("$CALLID")) != std::string::npos;) line.replace(at, 7, callId());
            runLine(line, file);
        }
    }
    std::string callId() {
        std::lock_guard<std::mutex> lock(mutex_);
        return callId_;
    }

    void runLine(const std::string& line, const fs::path& file) {
        std::string rest = line;
        const std::string verb = nextToken(rest);
        if (verb == ">") return expectOutput(rest);
        if (verb == "=") return expectState(rest);
        if (verb == "?" || verb == "!") return expectLog(verb == "?", rest);
        if (verb == "include") return runFile(file.parent_path() / trim(rest));
        if (setUp(verb, rest)) return;

        checkConsumed();
        if (failed_) return;
        logMark_ = logs_.lines().size();
        input(verb, rest);
        if (platform_ == "QV" && sdk_) runUiTasks();
        if (sdk_) settleReports();
    }

    // The server's control commands and the portal reports are handled on
    // threads of their own: they are awaited, and the reports are named
    // after everything else the input caused.
    void settleReports() {
        if (!sdk_->waitUntilIdle()) return fail("the control thread or the portal reports did not settle");
        std::lock_guard<std::mutex> lock(mutex_);
        std::stable_partition(outputs_.begin() + consumed_, outputs_.end(), [](const Output& o) {
            return o.kind != "wire" || o.data.find(R"("id":"confControlSyncControlpanel")") == std::string::npos;
        });
    }

    bool setUp(const std::string& verb, std::string rest) {
        if (verb == "platform") platform_ = trim(rest);
        else if (verb == "uitype") core().setMediaServiceUIType(trim(rest));
        else if (verb == "guest") trans_.guest = trim(rest) == "true";
        else if (verb == "users") setUsers(json::parse(trim(rest)));
        else if (verb == "answer") {
            const std::string name = nextToken(rest), value = trim(rest);
            if (value == "true" || value == "false")
                engine_.setBool(name, value == "true");
            else
                engine_.setResult(name, std::stoi(value));
        } else
            return false;
        return true;
    }
    void setUsers(const json& users) {
        ORVANE::AvUserMap map;
        for (auto it = users.begin(); it != users.end(); ++it) {
            ORVANE::AvUserInfo& u = map[it.key()];
            u.audioMuted = it->value("audioMuted", false);
            u.videoMuted = it->value("videoMuted", false);
            u.isHost = it->value("isHost", false);
            u.isCohost = it->value("isCohost", false);
            u.name = it->value("name", "");
        }
        engine_.setUsers(map);
    }

    OrvaneSDKPrivate& core() {
        if (!sdk_) {
            ORVANE::SdkEnv env;
            env.clock = clock_;
            env.processWide = false;
            env.timerWorker = false;
            sdk_ = std::make_unique<OrvaneSDKPrivate>(platform_, "", env);
            sdk_->setListener(&app_);
            sdk_->setMediaServiceListener(&app_);
            sdk_->setOrvaneTrans(&trans_);
        }
        return *sdk_;
    }

    void input(const std::string& verb, std::string rest) {
        OrvaneSDKPrivate& sdk = core();
        if (verb == "app") {
            const std::string type = nextToken(rest);
            sdk.sendCommand(type, trim(rest));
        } else if (verb == "init") {
            const std::string platform = trim(rest);
            sdk.initMediaService(platform.empty() ? platform_ : platform, "init-para");
        } else if (verb == "layout") {
            const json items = json::parse(nextToken(rest));
            const int a = std::stoi(nextToken(rest));
            const int b = std::stoi(nextToken(rest));
            sdk.setLayout(layoutItems(items), a, b);
        } else if (verb == "event") {
            std::string name = nextToken(rest);
            if (name.find('/') == std::string::npos) name = "0/" + name;
            trans_.deliver(R"({"collection":"stream-quelmar-notify-device","fields":{"args":[)" + trim(rest) +
                           R"(],"eventName":")" + name + R"("},"msg":"changed"})");
        } else if (verb == "signal") {
            const std::string command = nextToken(rest), cseq = nextToken(rest);
            const std::string body = nextToken(rest), patch = nextToken(rest);
            json s = {{"startLine", {{"command", command}}},
                      {"signalHeader",
                       {{"from", {{"dialNumber", "2002"}}},
                        {"to", {{"dialNumber", "1001"}}},
                        {"cseq", "123456789 " + cseq},
                        {"callId", callId()},
                        {"contact", {{"route", "cm-1"}}}}},
                      {"signalBody", body.empty() ? json::object() : json::parse(body)}};
            if (!patch.empty()) s.merge_patch(json::parse(patch));
            trans_.deliver(serverEvent("callmaster_event", s));
        } else if (verb == "result") {
            const std::string id = nextToken(rest), data = trim(rest);
            trans_.deliver(R"({"id":")" + id + R"(","msg":"result")" + (data.empty() ? "" : ",\"data\":" + data) + "}");
        } else if (verb == "server") {
            trans_.deliver(trim(rest));
        } else if (verb == "engine") {
            const std::string cmd = nextToken(rest);
            const bool auth = cmd == "onSdkReady" || cmd == "onLogin";
            engine_.emit(auth ? "AuthServiceEvent" : "MeetingServiceEvent", cmd, trim(rest));
        } else if (verb == "wait") {
            clock_->advance(std::chrono::milliseconds(static_cast<int64_t>(std::stod(trim(rest)) * 1000)));
            sdk.runDueTimers();
        } else if (verb == "lobby-close") {
            ORVANE::close_lobby_window(true);
            if (!ORVANE::lobby_wait_closed(std::chrono::seconds(5))) fail("the lobby did not close");
        } else if (verb == "reinit") {
            if (sdk.reinit() != 0) fail("reinit did not answer 0");
        } else {
            fail("unknown line");
        }
    }

    static std::vector<ORVANE::LayoutItem> layoutItems(const json& items) {
        std::vector<ORVANE::LayoutItem> out;
        for (const json& i : items) {
            ORVANE::LayoutItem item;
            item.id = i.value("id", 0);
            item.deviceId = i.value("deviceId", "");
            item.displayName = i.value("displayName", "");
            item.type = i.value("type", 0);
            const json rc = i.value("rc", json::array({0, 0, 0, 0}));
            item.rc = {rc.at(0), rc.at(1), rc.at(2), rc.at(3)};
            item.isShow = i.value("isShow", false);
            out.push_back(item);
        }
        return out;
    }

    void runUiTasks() {
        for (;;) {
            {
                auto& q = ORVANE::getTaskQueue();
                std::lock_guard<std::mutex> lock(q.mutex);
                if (q.tasks.empty()) return;
            }
            sdk_->runUiTask();
        }
    }

    void checkConsumed() {
        if (!pending().empty()) fail("more came out than the scenario says");
    }

    void expectOutput(std::string rest) {
        const std::string kind = nextToken(rest);
        const auto left = pending();
        if (left.empty()) return fail("expected " + kind + trim(rest) + ", but nothing more came out");
        const Output& o = left.front();
        const std::string why = mismatch(kind, rest, o);
        if (!why.empty()) return fail(why);
        std::lock_guard<std::mutex> lock(mutex_);
        ++consumed_;
    }

    // Empty when `o` is what the line asks for.
    static std::string mismatch(const std::string& kind, std::string rest, const Output& o) {
        const std::string wanted = kind + " " + trim(rest);
        const std::string miss = "expected " + wanted + "\n  got " + show(o);
        if (kind == "wire=") return o.kind == "wire" && o.data == trim(rest) ? "" : miss;
        if (kind == "signal" || kind == "request" || kind == "wire") {
            if (o.kind != "wire") return miss;
            const json w = json::parse(o.data, nullptr, false);
            if (kind == "wire") return contains(w, json::parse(trim(rest))) ? "" : miss;
            if (!w.is_object() || !w.contains("params") || !w["params"].is_array() || w["params"].empty())
                return miss;
            const json& p = w["params"][0];
            const std::string name = nextToken(rest), pattern = trim(rest);
            if (kind == "signal") {
                if (p.value("type", "") != "MQ_CALLMASTER" || p["payload"]["startLine"]["command"] != name)
                    return miss;
                return pattern.empty() || contains(p["payload"], json::parse(pattern)) ? "" : miss;
            }
            if (w.value("id", "") != name || !p.contains("url")) return miss;
            return pattern.empty() || contains(p, json::parse(pattern)) ? "" : miss;
        }
        const std::string name = nextToken(rest), data = trim(rest);
        if (o.kind != kind || o.name != name) return miss;
        if (data.empty()) return "";
        if (kind == "engine") return json::parse(o.data.empty() ? "[]" : o.data) == json::parse(data) ? "" : miss;
        return sameData(data, o.data) ? "" : miss;
    }

    void expectState(std::string rest) {
        const std::string what = nextToken(rest);
        if (what == "lobby") {
            const bool open = trim(rest) == "open";
            if (open ? !ORVANE::lobby_is_open() : !ORVANE::lobby_wait_closed(std::chrono::seconds(5)))
                fail(std::string("the lobby is ") + (open ? "not open" : "still open"));
            return;
        }
        if (what == "info") {
            const json info = json::parse(core().getMyInfo());
            if (!contains(info, json::parse(trim(rest)))) fail("this device's information is " + info.dump());
            return;
        }
        const int state = core().callState();
        const std::string name = state >= 0 && state < static_cast<int>(g_avStateNames.size()) ? g_avStateNames[state] : "?";
        if (name != trim(rest)) fail("expected state " + trim(rest) + ", the machine is in " + name);
    }

    void expectLog(bool present, const std::string& rest) {
        const std::string text = trim(rest.substr(rest.find("log") + 3));
        const auto lines = logs_.lines();
        bool found = false;
        for (size_t i = logMark_; i < lines.size() && !found; ++i) found = lines[i].text.find(text) != std::string::npos;
        if (found != present) fail(std::string(present ? "no log line has " : "a log line has ") + text);
    }

    fs::path file_;
    std::string where_;
    bool failed_ = false;
    std::string platform_ = "QC";
    LogCapture logs_;
    size_t logMark_ = 0;
    std::shared_ptr<ORVANE::ManualClock> clock_ = std::make_shared<ORVANE::ManualClock>();
    FakeTransport trans_;
    FakeEngine engine_;
    AppListener app_;
    std::mutex mutex_;
    std::vector<Output> outputs_;
    size_t consumed_ = 0;
    std::string callId_;
    std::unique_ptr<OrvaneSDKPrivate> sdk_;
};

std::vector<std::string> scenarioFiles() {
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(ORVANE_SCENARIO_DIR)) {
        const std::string name = entry.path().filename().string();
        if (entry.path().extension() == ".scn" && name[0] != '_') files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class Scenarios : public ::testing::TestWithParam<std::string> {};

TEST_P(Scenarios, Hold) { Scenario(GetParam()).run(); }

INSTANTIATE_TEST_SUITE_P(, Scenarios, ::testing::ValuesIn(scenarioFiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = fs::path(info.param).stem().string();
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
