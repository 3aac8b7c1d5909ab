// orvane-cli: a console client on the library, with the simulated servers and
// the simulated media engine behind it. It prints a timeline of what happens
// on every side, takes commands from the keyboard or a script, and plays the
// application's UI thread on its main loop.
#include <orvane/orvane.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>
#include <fcntl.h>

#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "loopback_transport.h"
#include "sim_engine.h"
#include "sim_servers.h"
#include "trace_recorder.h"

using json = nlohmann::json;
using namespace std::chrono_literals;

namespace {

// ---------------------------------------------------------------------------
// The timeline

class Timeline {
public:
    explicit Timeline(FILE* out) : out_(out), start_(std::chrono::steady_clock::now()) {}

    void line(const std::string& who, const std::string& what) {
        std::lock_guard<std::mutex> lock(mutex_);
        const double s =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
        std::fprintf(out_, "%8.3f  %-8s %s\n", s, who.c_str(), what.c_str());
        std::fflush(out_);
    }
    // Text for the user that is not an event (help, state, errors).
    void plain(const std::string& text) {
        std::lock_guard<std::mutex> lock(mutex_);
        std::fprintf(out_, "%s\n", text.c_str());
        std::fflush(out_);
    }
    // One wire message as a JSON line (--trace).
    void trace(bool toServer, const std::string& text) {
        std::lock_guard<std::mutex> lock(mutex_);
        const json parsed = json::parse(text, nullptr, false);
        const json line = {{"dir", toServer ? "out" : "in"}, {"msg", parsed.is_discarded() ? json(text) : parsed}};
        std::fprintf(out_, "%s\n", line.dump().c_str());
        std::fflush(out_);
    }

private:
    std::mutex mutex_;
    FILE* out_;
    std::chrono::steady_clock::time_point start_;
};

std::string shorten(const std::string& text, size_t max = 110) {
    if (text.size() <= max) return text;
    return text.substr(0, max - 3) + "...";
}

// A short readable form of a wire message.
std::string summarize(bool toServer, const std::string& text) {
    const json m = json::parse(text, nullptr, false);
    if (!m.is_object()) return shorten(text);
    const std::string kind = m.value("msg", "");
    if (kind == "method" && m.contains("params") && m["params"].is_array() && !m["params"].empty()) {
        const json& p = m["params"][0];
        if (p.value("type", "") == "MQ_CALLMASTER" && p.contains("payload")) {
            const json& s = p["payload"];
            std::string line = s["startLine"].value("command", "?");
            const json& body = s.value("signalBody", json::object());
            if (s["startLine"].contains("statusCode") && s["startLine"]["statusCode"].is_object())
                line += " " + std::to_string(s["startLine"]["statusCode"].value("code", 0)) + " " +
                        s["startLine"]["statusCode"].value("message", "");
            if (line == "INVITE") line += " to " + s["signalHeader"]["to"].value("dialNumber", "");
            if (body.is_object() && body.contains("externalGuid"))
                line += " externalGuid=" + body["externalGuid"].get<std::string>();
            return line;
        }
        if (p.contains("url")) {
            std::string verb = p.value("type", "");
            for (auto& c : verb) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            return verb + " " + p.value("url", "");
        }
        return m.value("id", "?");
    }
    if (kind == "result") return "result " + m.value("id", "");
    if (kind == "internal_info") return "internal_info";
    if (kind == "changed" && m.contains("fields")) {
        const json& f = m["fields"];
        std::string name = f.value("eventName", "");
        const json& args = f.value("args", json());
        if (args.is_array() && !args.empty() && args[0].is_object()) {
            const json& e = args[0];
            if (e.contains("startLine")) {
                std::string line = e["startLine"].value("command", "?");
                if (e["startLine"].contains("statusCode") && e["startLine"]["statusCode"].is_object())
                    line += " " + std::to_string(e["startLine"]["statusCode"].value("code", 0)) + " " +
                            e["startLine"]["statusCode"].value("message", "");
                const json& body = e.value("signalBody", json::object());
                if (body.is_object() && body.contains("externalDialNumber"))
                    line += " meeting " + body["externalDialNumber"].get<std::string>();
                return line;
            }
            if (e.contains("event")) {
                std::string line = e["event"].get<std::string>();
                if (e.contains("operation")) line += " " + e["operation"].get<std::string>();
                if (e.contains("endpoint") && e["endpoint"].is_object())
                    line += " " + e["endpoint"].value("name", "");
                return line;
            }
        }
        return name;
    }
    (void)toServer;
    return shorten(text);
}

// A notification's data, short: for a server event its words and whom it
// is about, else the text itself.
std::string describe(const std::string& data) {
    const json args = json::parse(data, nullptr, false);
    if (args.is_array() && !args.empty() && args[0].is_object() && args[0].contains("event")) {
        const json& e = args[0];
        std::string text = e["event"].is_string() ? e["event"].get<std::string>() : "?";
        if (e.contains("operation") && e["operation"].is_string()) text += " " + e["operation"].get<std::string>();
        if (e.contains("endpoint") && e["endpoint"].is_object()) {
            const json& ep = e["endpoint"];
            text += " " + ep.value("name", "") + " (engine id " + ep.value("externalGuid", "") +
                    (ep.value("adminMute", false) ? ", muted" : "") + (ep.value("isHost", false) ? ", host" : "") + ")";
        } else if (e.contains("subject") && e["subject"].is_string()) {
            text += " \"" + e["subject"].get<std::string>() + "\" " + e.value("conferenceDialNumber", "");
        }
        return text;
    }
    return shorten(data);
}

// Library log lines: all of them to a file on request, and the state
// changes of the call to the timeline.
class LibraryLog : public spdlog::sinks::base_sink<std::mutex> {
public:
    LibraryLog(Timeline& timeline, std::shared_ptr<spdlog::sinks::sink> file) : timeline_(timeline), file_(file) {}

protected:
    void sink_it_(const spdlog::details::log_msg& msg) override {
        if (file_) file_->log(msg);
        const std::string text(msg.payload.data(), msg.payload.size());
        static const std::string marker = "new state=";
        if (text.compare(0, marker.size(), marker) == 0) {
            std::string state = text.substr(marker.size());
            while (!state.empty() && (state.back() == '\n' || state.back() == ' ')) state.pop_back();
            if (state != last_) {
                last_ = state;
                timeline_.line("state", state);
            }
        }
    }
    void flush_() override {
        if (file_) file_->flush();
    }

private:
    Timeline& timeline_;
    std::shared_ptr<spdlog::sinks::sink> file_;
    std::string last_ = "AVSTATE_INIT";
};

// ---------------------------------------------------------------------------
// The application

class App : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    explicit App(Timeline& t) : timeline_(t) {}

    void onConfCommand(const std::string& type, const std::string& data) override {
        timeline_.line("reply", type + " " + shorten(data));
    }
    void onConfNotify(const std::string& type, const std::string& data) override {
        if (type == ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD) {
            std::lock_guard<std::mutex> lock(mutex_);
            ++uiTasks_;
            cv_.notify_all();
            return;
        }
        if (type == "0/confmanager_event") {
            const json args = json::parse(data, nullptr, false);
            if (args.is_array() && !args.empty() && args[0].value("event", "") == ORVANE::CONFNOTIFY::RECV_INVITE) {
                std::lock_guard<std::mutex> lock(mutex_);
                lastInvite_ = args[0];
            }
        }
        timeline_.line("notify", type + (data.empty() ? "" : " " + describe(data)));
    }
    void onNotify(std::string, std::string cmd, std::string data) override {
        timeline_.line("media", cmd + (data.empty() ? "" : " " + shorten(data)));
    }

    // Runs the engine calls that wait for the UI thread; true if there were any.
    bool runUiTasks(ORVANE::ConfSDK* sdk) {
        bool any = false;
        for (;;) {
            {
                std::lock_guard<std::mutex> lock(mutex_);
                if (uiTasks_ == 0) return any;
                --uiTasks_;
            }
            sdk->DoInternalTaskMustCalledByUIThread();
            any = true;
        }
    }
    // Sleeps on the UI thread until a UI task is asked for or the time passes.
    void waitForWork(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait_for(lock, timeout, [this] { return uiTasks_ > 0; });
    }
    void wake() { cv_.notify_all(); }
    json lastInvite() {
        std::lock_guard<std::mutex> lock(mutex_);
        return lastInvite_;
    }

private:
    Timeline& timeline_;
    std::mutex mutex_;
    std::condition_variable cv_;
    int uiTasks_ = 0;
    json lastInvite_;
};

// ---------------------------------------------------------------------------
// The console

struct Options {
    std::string script;
    bool trace = false;
    bool verbose = false;
    std::string logFile;
    std::string platform = "QV";
    std::string traceFile;            // --trace: the session recorded for orvane-replay
    std::vector<std::string> ignore;  // signals the call server ignores from the start
};

const char* const kHelp = R"(Commands of the application:
  call NUMBER [passcode=P] [force] [name=N]   start a conference (startconf)
  answer                                      take the incoming call (startconf with its conference)
  reject                                      decline the incoming call (rejectconf)
  leave                                       leave the meeting (leaveconf)
  end                                         end the meeting for everybody (endconf)
  mute on|off                                 local microphone (confControlmuteaudiolocal)
  mute-all on|off                             everybody's microphone (confControlmuteAll)
  lock on|off                                 lock the meeting (confControllockmeeting)
  host DEVICEID                               hand the host role over (confControlmakehost)
  raw TYPE [JSON]                             any command with its data
  state                                       the call, the device and the servers' view
  participants                                who is in the meeting, for the servers and the engine
What the simulated servers and engine do:
  incoming NUMBER                             the server calls this device from a conference number
  cancel                                      the server cancels the call that rings
  bye [REASON]                                the server ends the call
  move NUMBER                                 the server moves the call to another media meeting
  join NAME                                   a participant joins the meeting
  part NAME                                   a participant leaves
  ctrl EVENT [JSON]                           a control command from the server (ctrl_cmd_mute, ...)
  h323 NAME ADDRESS                           the server orders an H.323 call-out
  logout                                      the server logs the device out (BE_LOGOUT)
  rename NAME                                 the device manager renames the device
  kick [REASON]                               the engine ends the call itself (default KickByHost)
  fail-join REASON                            the next media join fails with this engine reason
  conference NUMBER [meeting=M] [passcode=P] [busy=CONFID]   add a conference the servers know
  ignore SIGNAL [off]                         the call server leaves this signal unanswered (REGISTER, ACCEPTED, ...)
Other:
  wait MS                                     let time pass
  help                                        this text
  quit                                        leave the program
The known conferences: 8001 (meeting 99001), 8002 (a lobby: LOBBY-99002), 8003 (passcode 1234),
8004 (in use by conf-busy: call it with force).)";

class Console {
public:
    Console(const Options& options, FILE* out)
        : options_(options), timeline_(out), app_(timeline_), servers_(transport_) {}
    // The wire and the engine both report into the library, which may call
    // the other: both stop before either dies.
    ~Console() {
        transport_.stop();
        engine_.stop();
    }

    int run();

private:
    bool execute(const std::string& line);
    void settle();
    void pump(std::chrono::milliseconds upTo);
    void send(const std::string& type, const json& data);
    std::string arg(const std::vector<std::string>& words, size_t i, const std::string& def = "") {
        return i < words.size() ? words[i] : def;
    }
    std::map<std::string, std::string> keyed(const std::vector<std::string>& words, size_t from) {
        std::map<std::string, std::string> out;
        for (size_t i = from; i < words.size(); ++i) {
            auto eq = words[i].find('=');
            if (eq == std::string::npos)
                out[words[i]] = "";
            else
                out[words[i].substr(0, eq)] = words[i].substr(eq + 1);
        }
        return out;
    }
    void showState();
    void showParticipants();

    Options options_;
    Timeline timeline_;
    App app_;
    orvsim::LoopbackTransport transport_;
    orvsim::SimEngine engine_;
    orvsim::SimServers servers_;
    orvtrace::Recorder recorder_;
    ORVANE::ConfSDK* sdk_ = nullptr;
    std::map<std::string, orvsim::SimServers::Participant> people_;  // by name
    int nextPerson_ = 1;
    bool quit_ = false;
};

void Console::send(const std::string& type, const json& data) {
    const std::string text = data.is_null() ? std::string() : data.dump();
    timeline_.line("app", type + (text.empty() ? "" : " " + (options_.trace ? text : shorten(text, 90))));
    recorder_.command(type, text);
    sdk_->sendCommand(type, text);
}

// Plays the UI thread for a while.
void Console::pump(std::chrono::milliseconds upTo) {
    const auto deadline = std::chrono::steady_clock::now() + upTo;
    while (std::chrono::steady_clock::now() < deadline) {
        app_.runUiTasks(sdk_);
        app_.waitForWork(std::min<std::chrono::milliseconds>(
            20ms, std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now())));
    }
    app_.runUiTasks(sdk_);
}

// Lets everything in flight finish: the wire, the engine and the UI thread.
void Console::settle() {
    for (int quiet = 0; quiet < 3;) {
        const bool ui = app_.runUiTasks(sdk_);
        const bool wire = !transport_.idle(0ms);
        const bool media = !engine_.idle(0ms);
        if (ui || wire || media) {
            quiet = 0;
            pump(10ms);
        } else {
            ++quiet;
            pump(15ms);
        }
    }
}

void Console::showState() {
    timeline_.plain("  conference running: " +
                    std::string(sdk_->getConfControlService().isRunning() ? "yes" : "no"));
    timeline_.plain("  my info:            " + sdk_->getMyInfo());
    timeline_.plain("  server's call:      " + servers_.callState());
    timeline_.plain("  engine meeting:     " + (engine_.inMeeting() ? engine_.meetingNumber() + " as user " +
                                                                          engine_.myUserId()
                                                                    : std::string("none")));
}

void Console::showParticipants() {
    const auto list = servers_.participants();
    timeline_.plain("  the conference manager's list (" + std::to_string(list.size()) + "):");
    for (const auto& p : list)
        timeline_.plain("    " + p.name + "  device " + p.deviceId + "  engine id " + p.engineUserId);
    ORVANE::AvUserMap users;
    engine_.getUserList(users);
    timeline_.plain("  the engine's list (" + std::to_string(users.size()) + "):");
    for (const auto& u : users)
        timeline_.plain("    " + u.first + "  " + u.second.name + (u.second.isHost ? "  host" : "") +
                        (u.second.audioMuted ? "  muted" : ""));
}

bool Console::execute(const std::string& raw) {
    std::string line = raw;
    const auto hash = line.find('#');
    if (hash != std::string::npos) line.erase(hash);
    std::istringstream in(line);
    std::vector<std::string> w;
    for (std::string word; in >> word;) w.push_back(word);
    if (w.empty()) return true;
    const std::string& cmd = w[0];

    if (cmd == "help") {
        timeline_.plain(kHelp);
    } else if (cmd == "quit" || cmd == "exit") {
        quit_ = true;
    } else if (cmd == "call" && w.size() >= 2) {
        json data = {{"conferenceDialNumber", w[1]}};
        for (const auto& [k, v] : keyed(w, 2)) {
            if (k == "passcode") data["passcode"] = v;
            else if (k == "force") data["force"] = true;
            else if (k == "name") data["dispname"] = v;
        }
        send(ORVANE::CONF::STARTCONF, data);
    } else if (cmd == "answer") {
        json invite = app_.lastInvite();
        if (invite.is_null()) {
            timeline_.plain("  no incoming call to answer");
            return true;
        }
        invite.erase("event");
        send(ORVANE::CONF::STARTCONF, invite);
    } else if (cmd == "reject") {
        send(ORVANE::CONF::REJECTCONF, nullptr);
    } else if (cmd == "leave") {
        send(ORVANE::CONF::LEAVECONF, nullptr);
    } else if (cmd == "end") {
        send(ORVANE::CONF::ENDCONF, nullptr);
    } else if ((cmd == "mute" || cmd == "mute-all" || cmd == "lock") && w.size() >= 2) {
        const bool on = w[1] == "on";
        if (cmd == "mute")
            send(ORVANE::CONF::MUTEAUDIOLOCAL, {{"mute", on}});
        else if (cmd == "mute-all")
            send(ORVANE::CONF::MUTEALL, {{"mute", on}, {"allowUnmute", true}});
        else
            send(ORVANE::CONF::LOCKMEETING, {{"lock", on}});
    } else if (cmd == "host" && w.size() >= 2) {
        send(ORVANE::CONF::MAKEHOST, {{"externalDeviceId", w[1]}});
    } else if (cmd == "raw" && w.size() >= 2) {
        const auto pos = line.find(w[1]) + w[1].size();
        std::string data = line.substr(pos);
        data.erase(0, data.find_first_not_of(' '));
        timeline_.line("app", w[1] + (data.empty() ? "" : " " + data));
        recorder_.command(w[1], data);
        sdk_->sendCommand(w[1], data);
    } else if (cmd == "state") {
        showState();
    } else if (cmd == "participants") {
        showParticipants();
    } else if (cmd == "incoming" && w.size() >= 2) {
        timeline_.line("sim", "the server calls from " + w[1]);
        servers_.incomingCall(w[1]);
    } else if (cmd == "cancel") {
        timeline_.line("sim", "the server cancels the call");
        servers_.cancelCall();
    } else if (cmd == "bye") {
        const std::string reason = arg(w, 1, "CONF_END_BY_HOST");
        timeline_.line("sim", "the server ends the call: " + reason);
        servers_.endCall(reason);
    } else if (cmd == "move" && w.size() >= 2) {
        timeline_.line("sim", "the server moves the call to meeting " + w[1]);
        servers_.moveCall(w[1]);
    } else if (cmd == "join" && w.size() >= 2) {
        orvsim::SimServers::Participant p;
        p.name = w[1];
        p.deviceId = "dev-" + w[1];
        p.engineUserId = std::to_string(16779000 + nextPerson_++);
        people_[p.name] = p;
        ORVANE::AvUserInfo info;
        info.name = p.name;
        engine_.addUser(p.engineUserId, info);
        timeline_.line("sim", p.name + " joins the meeting");
        engine_.notifyLater("MeetingServiceEvent", "onUserJoin", json{{"userid", p.engineUserId}}.dump(), 0ms);
        servers_.participantJoins(p);
    } else if (cmd == "part" && w.size() >= 2) {
        auto it = people_.find(w[1]);
        const std::string deviceId = it != people_.end() ? it->second.deviceId : w[1];
        timeline_.line("sim", w[1] + " leaves the meeting");
        if (it != people_.end()) {
            engine_.removeUser(it->second.engineUserId);
            engine_.notifyLater("MeetingServiceEvent", "onUserLeft", json{{"userid", it->second.engineUserId}}.dump(),
                                0ms);
            people_.erase(it);
        }
        servers_.participantLeaves(deviceId);
    } else if (cmd == "ctrl" && w.size() >= 2) {
        json fields = json::object();
        if (w.size() >= 3) {
            const auto pos = line.find(w[1]) + w[1].size();
            fields = json::parse(line.substr(pos), nullptr, false);
            if (!fields.is_object()) {
                timeline_.plain("  ctrl: the fields must be a JSON object");
                return false;
            }
        }
        timeline_.line("sim", "the server sends " + w[1]);
        servers_.controlCommand(w[1], fields);
    } else if (cmd == "h323" && w.size() >= 3) {
        timeline_.line("sim", "the server orders a call-out to " + w[1]);
        servers_.h323CallOut(w[1], w[2], "h323", "cmd-" + std::to_string(nextPerson_++));
    } else if (cmd == "logout") {
        timeline_.line("sim", "the server logs the device out");
        servers_.logout();
    } else if (cmd == "rename" && w.size() >= 2) {
        timeline_.line("sim", "the device manager renames the device to " + w[1]);
        servers_.renameDevice(w[1]);
    } else if (cmd == "kick") {
        const std::string reason = arg(w, 1, "EndMeetingReason_KickByHost");
        timeline_.line("sim", "the engine ends the call: " + reason);
        engine_.endCall(reason);
    } else if (cmd == "fail-join" && w.size() >= 2) {
        orvsim::SimEngine::JoinPlan plan;
        plan.failReason = w[1];
        engine_.planNextJoin(plan);
        timeline_.line("sim", "the next media join will fail: " + w[1]);
    } else if (cmd == "conference" && w.size() >= 2) {
        orvsim::SimServers::Conference c;
        c.dialNumber = w[1];
        c.confid = "conf-" + w[1];
        c.externalDialNumber = "9" + w[1];
        c.subject = "Conference " + w[1];
        for (const auto& [k, v] : keyed(w, 2)) {
            if (k == "meeting") c.externalDialNumber = v;
            else if (k == "passcode") c.passcode = v;
            else if (k == "busy") {
                c.busy = true;
                c.busyConfid = v;
            }
        }
        servers_.addConference(c);
        timeline_.line("sim", "the servers know conference " + w[1] + " (meeting " + c.externalDialNumber + ")");
    } else if (cmd == "ignore" && w.size() >= 2) {
        const bool on = arg(w, 2) != "off";
        servers_.ignoreSignal(w[1], on);
        timeline_.line("sim", "the call server " + std::string(on ? "ignores " : "answers ") + w[1] + " from now on");
    } else if (cmd == "wait" && w.size() >= 2) {
        pump(std::chrono::milliseconds(std::strtol(w[1].c_str(), nullptr, 10)));
    } else {
        timeline_.plain("  unknown command or missing argument: " + line + "  (help lists the commands)");
        return false;
    }
    return true;
}

int Console::run() {
    // The servers' conferences.
    servers_.addConference({"conf-8001", "8001", "99001", "Weekly planning", "", false, ""});
    servers_.addConference({"conf-8002", "8002", "LOBBY-99002", "Town hall", "", false, ""});
    servers_.addConference({"conf-8003", "8003", "99003", "Board", "1234", false, ""});
    servers_.addConference({"conf-8004", "8004", "99004", "Room 4", "", true, "conf-busy"});

    engine_.setTrace([this](const std::string& op, const std::string& detail) {
        if (op == "setConfSignal") return;  // the signal is on the wire line already
        timeline_.line("engine", op + (detail.empty() ? "" : " " + detail));
    });
    transport_.setTrace([this](bool toServer, const std::string& text) {
        if (options_.trace) timeline_.trace(toServer, text);
        timeline_.line(toServer ? "wire>" : "wire<", summarize(toServer, text));
    });
    if (!options_.traceFile.empty() && !recorder_.open(options_.traceFile)) {
        timeline_.plain("cannot write " + options_.traceFile);
        return 2;
    }
    ORVANE::AVSDK_Factory::setCreator(
        [this](const std::string&, const std::string&) { return recorder_.engine(&engine_); });

    std::shared_ptr<spdlog::sinks::sink> file;
    if (!options_.logFile.empty())
        file = std::make_shared<spdlog::sinks::basic_file_sink_mt>(options_.logFile, true);
    auto logger = std::make_shared<spdlog::logger>("orvane", std::make_shared<LibraryLog>(timeline_, file));
    logger->set_level(spdlog::level::debug);

    recorder_.created(options_.platform, "");
    sdk_ = ORVANE::OrvaneSDK_Factory::createInstance(options_.platform, "");
    sdk_->setOrvaneLogger(logger);
    sdk_->setListener(recorder_.app(&app_));
    sdk_->setMediaServiceListener(recorder_.media(&app_));
    sdk_->setOrvaneTrans(recorder_.transport(&transport_));
    timeline_.line("app", "initMediaService " + options_.platform);
    recorder_.initMediaService(options_.platform, "");
    sdk_->initMediaService(options_.platform, "");
    settle();
    for (const auto& signal : options_.ignore) servers_.ignoreSignal(signal);
    timeline_.line("sim", "the servers attach the device " + servers_.device().deviceId);
    servers_.attach();
    settle();

    int status = 0;
    if (!options_.script.empty()) {
        std::ifstream script(options_.script);
        if (!script) {
            timeline_.plain("cannot read " + options_.script);
            return 2;
        }
        for (std::string line; !quit_ && std::getline(script, line);) {
            if (line.find_first_not_of(" \t") == std::string::npos || line[line.find_first_not_of(" \t")] == '#')
                continue;
            if (!execute(line)) status = 2;
            settle();
        }
    } else {
        // The keyboard, read on a thread of its own; the main loop stays the
        // UI thread.
        std::mutex mutex;
        std::deque<std::string> lines;
        std::atomic<bool> eof{false};
        std::thread reader([&] {
            for (std::string line; std::getline(std::cin, line);) {
                std::lock_guard<std::mutex> lock(mutex);
                lines.push_back(line);
                app_.wake();
            }
            eof = true;
            app_.wake();
        });
        timeline_.plain("orvane-cli: type help for the commands, quit to leave.");
        while (!quit_) {
            std::string next;
            bool have = false;
            {
                std::lock_guard<std::mutex> lock(mutex);
                if (!lines.empty()) {
                    next = lines.front();
                    lines.pop_front();
                    have = true;
                }
            }
            if (have) {
                execute(next);
                settle();
            } else if (eof) {
                break;
            } else {
                pump(50ms);
            }
        }
        if (!eof) {
            // The reader blocks in getline; the process ends without it.
            reader.detach();
        } else {
            reader.join();
        }
    }
    settle();
    recorder_.end();
    orvsim::SimEngine::install(nullptr);
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--script" && i + 1 < argc) {
            options.script = argv[++i];
        } else if (a == "--wire") {
            options.trace = true;
        } else if (a == "--trace" && i + 1 < argc) {
            options.traceFile = argv[++i];
        } else if (a == "--ignore" && i + 1 < argc) {
            options.ignore.push_back(argv[++i]);
        } else if (a == "--verbose") {
            options.verbose = true;
        } else if (a == "--log" && i + 1 < argc) {
            options.logFile = argv[++i];
        } else if (a == "--platform" && i + 1 < argc) {
            options.platform = argv[++i];
        } else {
            std::printf(
                "usage: orvane-cli [--script FILE] [--trace FILE] [--wire] [--log FILE] [--verbose] [--platform QV|QC]\n"
                "                  [--ignore SIGNAL]...\n"
                "  --script FILE  run the commands of FILE, then quit\n"
                "  --trace FILE   record the session for orvane-replay\n"
                "  --wire         print every wire message as a JSON line\n"
                "  --ignore SIG   the call server leaves SIG unanswered from the start (REGISTER, ...)\n"
                "  --log FILE     write the library's log to FILE\n"
                "  --verbose      let the library's own standard-output diagnostics through\n"
                "  --platform     the media platform (QV: engine calls on the UI thread; QC: direct)\n"
                "Type help inside for the commands.\n");
            return a == "--help" || a == "-h" ? 0 : 2;
        }
    }

    // The timeline goes to the real standard output; the library's own few
    // diagnostics on standard output are set aside unless asked for.
    FILE* out = stdout;
    if (!options.verbose) {
        std::fflush(stdout);
        const int saved = dup(STDOUT_FILENO);
        const int devnull = open("/dev/null", O_WRONLY);
        if (saved >= 0 && devnull >= 0) {
            dup2(devnull, STDOUT_FILENO);
            close(devnull);
            out = fdopen(saved, "w");
        }
    }
    Console console(options, out);
    const int status = console.run();
    std::fflush(out);
    // The library lives until the process ends; its threads are not joined.
    std::_Exit(status);
}
