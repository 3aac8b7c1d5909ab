// orvane-cli: a console client on the library, with the simulated servers and
// the simulated media engine behind it. It prints a timeline of what happens
// on every side, takes commands from the keyboard or a script, and plays the
// application's UI thread on its main loop.
#include <orvane/orvane.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <editline/readline.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cmath>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <cctype>
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

#include "cli_args.h"
#include "cli_transport.h"
#include "layout_view.h"
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
        char time[32];
        std::snprintf(time, sizeof time, "%8.3f  ", seconds());
        char who8[16];
        std::snprintf(who8, sizeof who8, "%-8s ", who.c_str());
        write(out_, std::string(time) + who8 + what);
    }
    // Text for the user that is not an event (help, state).
    void plain(const std::string& text) { write(out_, text); }
    // An error, on standard error.
    void error(const std::string& text) { write(stderr, text); }
    double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

    // While a prompt stands on the terminal, a line from another thread
    // clears it first, and the prompt is drawn again later (takeRedraw).
    void setPrompting(bool on) { prompting_ = on; }
    bool takeRedraw() { return redraw_.exchange(false); }

private:
    void write(FILE* to, const std::string& text) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (prompting_) {
            std::fputs("\r\033[K", out_);
            std::fflush(out_);
            redraw_ = true;
        }
        std::fprintf(to, "%s\n", text.c_str());
        std::fflush(to);
    }

    std::mutex mutex_;
    FILE* out_;
    std::chrono::steady_clock::time_point start_;
    std::atomic<bool> prompting_{false};
    std::atomic<bool> redraw_{false};
};

// Every wire message as a JSON line of its own, in a file of its own
// (--trace): {"t": seconds, "dir": "out" or "in", "msg": the message}.
class WireTrace {
public:
    ~WireTrace() {
        if (file_) std::fclose(file_);
    }
    bool open(const std::string& path) {
        file_ = std::fopen(path.c_str(), "w");
        return file_ != nullptr;
    }
    void message(double seconds, bool toServer, const std::string& text) {
        if (!file_) return;
        const json parsed = json::parse(text, nullptr, false);
        const json line = {{"t", std::round(seconds * 1000) / 1000},
                           {"dir", toServer ? "out" : "in"},
                           {"msg", parsed.is_discarded() ? json(text) : parsed}};
        std::lock_guard<std::mutex> lock(mutex_);
        std::fprintf(file_, "%s\n", line.dump().c_str());
        // Whole lines at once: the process may end with _Exit.
        std::fflush(file_);
    }

private:
    std::mutex mutex_;
    FILE* file_ = nullptr;
};

std::string shorten(const std::string& text, size_t max = 110) {
    if (text.size() <= max) return text;
    return text.substr(0, max - 3) + "...";
}

std::string yesNo(bool b) { return b ? "yes" : "no"; }

// The changes of participants in the library's words: each endpoint status
// that names the field it reports ("action"), as "device field=value".
std::string describeChanges(const json& endpoints) {
    std::string text;
    for (const json& e : endpoints) {
        if (!e.is_object() || !e.contains("action") || !e["action"].is_string()) return {};
        const std::string action = e["action"].get<std::string>();
        if (!text.empty()) text += ", ";
        text += e.value("externalDeviceId", "?") + " " + action + "=" + (e.contains(action) ? e[action].dump() : "?");
    }
    return text;
}

// A control panel as the conference manager gets it: the changes it carries,
// or the size of the whole.
std::string describePanel(const json& panel) {
    if (!panel.is_object()) return "?";
    const json endpoints = panel.value("endpoints", json::array());
    std::string changes = describeChanges(endpoints);
    if (changes.empty()) changes = std::to_string(endpoints.size()) + " endpoints";
    return panel.value("conferenceId", "") + ": " + changes + "; locked=" + panel.value("locked", json()).dump();
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
        if (p.value("type", "") == "MQ_CONFMGR" && p.contains("payload")) {
            const json& a = p["payload"];
            std::string line = "MQ_CONFMGR answer to " + a.value("cmdId", "?") + ": " + a.value("retCode", "?");
            if (a.contains("retData") && a["retData"].is_object())
                line += ", control panel " + describePanel(a["retData"]);
            return line;
        }
        if (p.value("type", "") == "MQ_CALLMASTER_CMD_RESP" && p.contains("payload")) {
            const json& a = p["payload"];
            return "call-out answer to " + a.value("cmdId", "?") + ": " + a.value("retCode", "?") + " " +
                   a.value("retData", json()).dump();
        }
        if (p.value("type", "") == "MQ_CALLMASTER_DEVICE_EVENT" && p.contains("payload")) {
            const json& inner = p["payload"].value("params", json::object());
            const json& params = inner.value("params", json::object());
            std::string line = "device event " + inner.value("event", "?") + " sdkUserId=" +
                               params.value("sdkUserId", json()).dump();
            if (params.contains("deviceName")) line += " " + params["deviceName"].dump();
            return line;
        }
        if (p.contains("url")) {
            std::string verb = p.value("type", "");
            for (auto& c : verb) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            std::string line = verb + " " + p.value("url", "");
            // The reports to the conference manager, with what they report.
            const std::string id = m.value("id", "");
            const json payload = json::parse(p.value("payload", ""), nullptr, false);
            if (id == ORVANE::CONF::SYNCCONTROLPANEL) line += "  " + id + " " + describePanel(payload);
            if (id == ORVANE::CONF::SYNCDATA) line += "  " + id + " " + p.value("payload", "");
            return line;
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
                if (line == "ctrl_cmd_call_out_h323" && e.contains("h323Device") && e["h323Device"].is_object())
                    return line + " " + e["h323Device"].value("deviceName", "") + " at " +
                           e["h323Device"].value("dialString", "") + " (" + e.value("cmdId", "") + ")";
                if (line.rfind("ctrl_cmd_", 0) == 0) {
                    // A control command: what it asks, and its id.
                    json asked = e;
                    for (const char* key : {"event", "cmdId", "conferenceId"}) asked.erase(key);
                    return line + " " + asked.dump() + " (" + e.value("cmdId", "") + ")";
                }
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
    if (args.is_object() && args.contains("endpoints") && args["endpoints"].is_array()) {
        const std::string changes = describeChanges(args["endpoints"]);
        if (!changes.empty()) return changes;
    }
    return shorten(data);
}

// Library log lines: all of them to a file on request, and the state
// changes of the call to the timeline.
class LibraryLog : public spdlog::sinks::base_sink<std::mutex> {
public:
    LibraryLog(Timeline& timeline, std::shared_ptr<spdlog::sinks::sink> file) : timeline_(timeline), file_(file) {}

    // Whether the library's own threads have work in hand: a report queued
    // for the conference manager and not yet sent, or a control command of
    // the server not yet answered. Nothing outside the library sees their
    // queues; their log lines tell when work goes in and when it is done.
    bool busy() const { return reports_ > 0 || commands_ > 0; }
    void forget() {
        reports_ = 0;
        commands_ = 0;
    }

protected:
    void sink_it_(const spdlog::details::log_msg& msg) override {
        if (file_) file_->log(msg);
        const std::string text(msg.payload.data(), msg.payload.size());
        if (text.find("PortalReporter::put_msg") != std::string::npos) ++reports_;
        if (text.find("PortalReporter::_Server_SyncControlPanel") != std::string::npos) --reports_;
        if (text.find("OrvaneLogic_QV::onCtrlNotify") != std::string::npos) ++commands_;
        // The H.323 answers are logged alike; only the control thread's count.
        if (text.find("ControlCommandResp:=") != std::string::npos && text.find("MQ_CONFMGR") != std::string::npos)
            --commands_;
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
    std::atomic<int> reports_{0};
    std::atomic<int> commands_{0};
};

// ---------------------------------------------------------------------------
// The application

// What the application does for a host request of the portal: the command
// that carries it out on the meeting, or nothing for a request that only
// informs (a device plugged in) or that no command serves (recording).
std::pair<std::string, json> carryOut(const json& r) {
    namespace CONF = ORVANE::CONF;
    if (!r.is_object()) return {};
    const std::string action = r.value("action", "");
    try {
        if (action == "muteAttendeeAudio")
            return {CONF::MUTEAUDIO, {{"guid", r.at("deviceId")}, {"mute", r.at("mute")}}};
        if (action == "muteAttendeeAudioAll")
            return {CONF::MUTEALL, {{"mute", r.at("mute")}, {"allowUnmute", r.at("allowUnmuteBySelf")}}};
        if (action == "blockAttendeeVideo")
            return {CONF::MUTEVIDEO, {{"guid", r.at("deviceId")}, {"mute", r.at("isBlock")}}};
        if (action == "lockMeeting") return {CONF::LOCKMEETING, {{"lock", r.at("lock")}}};
        if (action == "makeHost") return {CONF::MAKEHOST, {{"externalDeviceId", r.at("deviceId")}}};
        if (action == "makeCohost")
            return {CONF::MAKECOHOST, {{"externalDeviceId", r.at("deviceId")}, {"bCohost", r.at("isCoHost")}}};
    } catch (const json::exception&) {
        // A request without its keys is not carried out.
    }
    return {};
}

// The conference a notification or a reply speaks of, if it names one.
std::string conferenceIdIn(const json& j) {
    if (!j.is_object()) return {};
    for (const char* key : {"conferenceId", "confId", "confid"})
        if (j.contains(key) && j[key].is_string() && !j[key].get<std::string>().empty()) return j[key].get<std::string>();
    return {};
}

class App : public ORVANE::ConfSDK::Listener, public ORVANE::AVSDK::Listener {
public:
    explicit App(Timeline& t) : timeline_(t) {}

    void onConfCommand(const std::string& type, const std::string& data) override {
        timeline_.line("reply", type + " " + shorten(data));
        const json reply = json::parse(data, nullptr, false);
        if (!reply.is_object()) return;
        const json& result = reply.value("result", json::object());
        std::lock_guard<std::mutex> lock(mutex_);
        if (result.is_object()) learnConference(conferenceIdIn(result.value("data", json::object())));
        if (type == ORVANE::CONF::ENDPOINTS) lastEndpoints_ = reply;
    }
    void onConfNotify(const std::string& type, const std::string& data) override {
        if (type == ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD) {
            std::lock_guard<std::mutex> lock(mutex_);
            ++uiTasks_;
            cv_.notify_all();
            return;
        }
        const json parsed = json::parse(data, nullptr, false);
        static const std::string kManagerEvent = "/confmanager_event";
        const bool managerEvent = type.size() > kManagerEvent.size() &&
                                  type.compare(type.size() - kManagerEvent.size(), std::string::npos, kManagerEvent) == 0;
        if (managerEvent && parsed.is_array() && !parsed.empty() && parsed[0].is_object()) {
            std::lock_guard<std::mutex> lock(mutex_);
            learnConference(conferenceIdIn(parsed[0]));
            if (parsed[0].value("event", "") == ORVANE::CONFNOTIFY::RECV_INVITE) lastInvite_ = parsed[0];
        }
        timeline_.line("notify", type + (data.empty() ? "" : " " + describe(data)));
        if (type == ORVANE::CONFNOTIFY::HOSTREQUEST) {
            // Carried out on the UI thread, as the application's own commands.
            auto command = carryOut(parsed);
            if (command.first.empty()) return;
            std::lock_guard<std::mutex> lock(mutex_);
            actions_.push_back(std::move(command));
            cv_.notify_all();
        }
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
    // The commands the application owes the portal, oldest first.
    std::vector<std::pair<std::string, json>> takeActions() {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<std::pair<std::string, json>> out(actions_.begin(), actions_.end());
        actions_.clear();
        return out;
    }
    // Sleeps on the UI thread until there is work for it or the time passes.
    void waitForWork(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mutex_);
        cv_.wait_for(lock, timeout, [this] { return uiTasks_ > 0 || !actions_.empty(); });
    }
    void wake() { cv_.notify_all(); }
    json lastInvite() {
        std::lock_guard<std::mutex> lock(mutex_);
        return lastInvite_;
    }
    // The conference last heard of, empty before any.
    std::string conferenceId() {
        std::lock_guard<std::mutex> lock(mutex_);
        return conferenceId_;
    }
    // The last reply to "confControlendpoints"; null once taken.
    json takeEndpoints() {
        std::lock_guard<std::mutex> lock(mutex_);
        json out = std::move(lastEndpoints_);
        lastEndpoints_ = json();
        return out;
    }

private:
    void learnConference(const std::string& id) {
        if (!id.empty()) conferenceId_ = id;
    }

    Timeline& timeline_;
    std::mutex mutex_;
    std::condition_variable cv_;
    int uiTasks_ = 0;
    std::deque<std::pair<std::string, json>> actions_;
    json lastInvite_;
    json lastEndpoints_;
    std::string conferenceId_;
};

// ---------------------------------------------------------------------------
// The console

using orvcli::Options;
using orvcli::UsageError;
using orvcli::Words;

// Ctrl-C: the console leaves the running meeting and ends. The handler only
// raises the flag and wakes the main loop through a pipe.
std::atomic<bool> g_interrupted{false};
int g_wakeFds[2] = {-1, -1};

void onInterrupt(int) {
    g_interrupted = true;
    const char byte = 1;
    if (g_wakeFds[1] >= 0) (void)!write(g_wakeFds[1], &byte, 1);
}

class Console {
public:
    Console(const Options& options, FILE* out)
        : options_(options), timeline_(out), app_(timeline_), servers_(transport_),
          link_(transport_, engine_, {options.serverUrl, options.caFile},
                [this](const std::string& who, const std::string& what) { timeline_.line(who, what); }) {}
    // The wire and the engine both report into the library, which may call
    // the other: both stop before either dies.
    ~Console() {
        link_.stop();
        engine_.stop();
    }

    // 0, 2 when a command failed or a file could not be used, 130 after
    // Ctrl-C.
    int run();

private:
    // Runs one command line; false when it was refused, with the error and
    // the command's usage told (`where` goes first: "FILE:LINE: ").
    bool execute(const std::string& line, const std::string& where = "");
    bool dispatch(Words& w);
    int runScript();
    void runInteractive();
    // Ctrl-C: the running meeting is left before the program ends.
    void leaveOnInterrupt();
    bool stopping() const { return g_interrupted && !leaving_; }
    void settle();
    bool runUi();
    void pump(std::chrono::milliseconds upTo);
    void send(const std::string& type, const json& data);
    // The simulators' answer to an order: empty when it went out; else why
    // not, which the simulator has logged.
    bool done(const std::string& whyNot);
    bool doneByEngine(bool carriedOut);
    void showState();
    void showParticipants();
    void showLayout(int id, int count);
    // The device of a participant by name, as the servers or the engine
    // know them (each joiner gets the device "dev-NAME"); anything else is
    // taken as a device id.
    std::string deviceOf(const std::string& name) const {
        for (const auto& p : servers_.participants())
            if (p.name == name) return p.deviceId;
        return engine_.userIdOf(name).empty() ? name : "dev-" + name;
    }
    // The next word, the name of a participant, who must be in the meeting;
    // gives their engine user id.
    std::string attendee(Words& w, std::string& name) {
        name = w.word("NAME");
        const std::string id = engine_.userIdOf(name);
        if (id.empty()) w.fail(name + " is not in the meeting");
        return id;
    }

    Options options_;
    Timeline timeline_;
    App app_;
    orvsim::LoopbackTransport transport_;
    orvsim::SimEngine engine_;
    orvsim::SimServers servers_;
    orvcli::ClientLink link_;
    orvtrace::Recorder recorder_;
    WireTrace wireTrace_;
    ORVANE::ConfSDK* sdk_ = nullptr;
    std::shared_ptr<LibraryLog> libraryLog_;
    int nextCommand_ = 1;
    bool quit_ = false;
    bool leaving_ = false;
    std::string refusal_;  // why the last order was not carried out
};

void Console::send(const std::string& type, const json& data) {
    const std::string text = data.is_null() ? std::string() : data.dump();
    timeline_.line("app", type + (text.empty() ? "" : " " + shorten(text, 90)));
    recorder_.command(type, text);
    sdk_->sendCommand(type, text);
}

// Runs what waits for the UI thread: the library's queued engine calls and
// the commands the application owes the portal; true if there was any.
bool Console::runUi() {
    bool any = app_.runUiTasks(sdk_);
    for (const auto& [type, data] : app_.takeActions()) {
        send(type, data);
        any = true;
    }
    return any;
}

// Plays the UI thread for a while.
void Console::pump(std::chrono::milliseconds upTo) {
    const auto deadline = std::chrono::steady_clock::now() + upTo;
    while (std::chrono::steady_clock::now() < deadline && !stopping()) {
        runUi();
        app_.waitForWork(std::min<std::chrono::milliseconds>(
            20ms, std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now())));
    }
    runUi();
}

// Lets everything in flight finish: the wire, the engine, the UI thread and
// the library's own threads.
void Console::settle() {
    // Work of the library's threads that has not ended within this limit is
    // taken as lost (a command it could not read), not waited for again.
    const auto libraryLimit = std::chrono::steady_clock::now() + 2s;
    for (int quiet = 0; quiet < 3 && !stopping();) {
        const bool ui = runUi();
        const bool wire = !link_.idle();
        const bool media = !engine_.idle(0ms);
        bool library = libraryLog_->busy();
        if (library && std::chrono::steady_clock::now() > libraryLimit) {
            libraryLog_->forget();
            library = false;
        }
        if (ui || wire || media || library) {
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
    const auto portal = servers_.portal();
    timeline_.plain("  portal:             syncing " + yesNo(portal.syncing) + ", locked " + yesNo(portal.locked) +
                    ", recording " + yesNo(portal.recording) + "; " +
                    std::to_string(servers_.panelReports().size()) + " control-panel reports, " +
                    std::to_string(servers_.controlResponses().size()) + " answers to its commands");
}

// The library keeps its endpoint cache to itself; what the application can
// see of it is the endpoint list, which the library merges from the
// conference manager's list and the engine's, refreshing the cache on the way.
void Console::showParticipants() {
    if (!sdk_->getConfControlService().isRunning()) {
        timeline_.plain("  no meeting");
        return;
    }
    app_.takeEndpoints();
    send(ORVANE::CONF::ENDPOINTS, {{"confid", app_.conferenceId()}});
    settle();
    const json reply = app_.takeEndpoints();
    const json result = reply.is_object() ? reply.value("result", json::object()) : json::object();
    if (!result.is_object() || result.value("type", "") != "SUCCESS") {
        timeline_.plain("  no endpoint list");
        return;
    }
    std::vector<std::vector<std::string>> rows = {{"name", "device", "user id", "audio", "video", "role"}};
    for (const json& e : result["data"].value("endpoints", json::array())) {
        auto flag = [&](const char* key) { return e.value(key, json(false)).is_boolean() && e.value(key, false); };
        rows.push_back({e.value("name", ""), e.value("externalDeviceId", ""), e.value("externalGuid", ""),
                        flag("adminMute") ? "muted" : "on", flag("videoMute") ? "off" : "on",
                        flag("isHost") ? "host" : flag("isCohost") ? "co-host" : "-"});
    }
    std::vector<size_t> width(rows[0].size(), 0);
    for (const auto& row : rows)
        for (size_t i = 0; i < row.size(); ++i) width[i] = std::max(width[i], row[i].size());
    for (const auto& row : rows) {
        std::string line = " ";
        for (size_t i = 0; i < row.size(); ++i)
            line += " " + row[i] + (i + 1 < row.size() ? std::string(width[i] - row[i].size() + 1, ' ') : "");
        timeline_.plain(line);
    }
}

// Where the catalogue puts the participants of a layout, as an application
// that draws its own meeting window asks it: the layout's proportions fitted
// into the window, then each participant's cell.
void Console::showLayout(int id, int count) {
    ORVANE::ConfSDK::ConfControlService& layouts = sdk_->getConfControlService();
    int width = 0, height = 0;
    layouts.getLayoutSize({}, id, count, &width, &height);
    if (width == 0 || height == 0) {
        timeline_.plain("  layout " + std::to_string(id) + " is not in the catalogue");
        return;
    }
    const ORVANE::Rect area = layouts.fitRect({0, 0, 1920, 1080}, width, height);
    const orvlayout::Placement placement = orvlayout::placeParticipants(layouts, area, id, count);
    timeline_.plain("  layout " + std::to_string(id) + ", " + std::to_string(count) + " participants: proportions " +
                    std::to_string(width) + ":" + std::to_string(height) + ", in 1920x1080 at [" +
                    std::to_string(area.left) + "," + std::to_string(area.top) + "," + std::to_string(area.right) +
                    "," + std::to_string(area.bottom) + "]");
    for (const std::string& line : orvlayout::cellTable(placement)) timeline_.plain("  " + line);
    if (placement.unplaced > 0)
        timeline_.plain("  without a place: " + std::to_string(placement.unplaced) + " of the " +
                        std::to_string(count));
    for (const std::string& line : orvlayout::cellDrawing(placement, area, 64, 24)) timeline_.plain("  " + line);
}

bool Console::done(const std::string& whyNot) {
    refusal_ = whyNot;
    return whyNot.empty();
}

bool Console::doneByEngine(bool carriedOut) { return done(carriedOut ? "" : "the engine refused it"); }

bool Console::execute(const std::string& line, const std::string& where) {
    Words w(line);
    if (w.empty()) return true;
    refusal_.clear();
    if (!link_.refusal(w.command()).empty()) {
        timeline_.error(where + link_.refusal(w.command()));
        return false;
    }
    try {
        if (dispatch(w)) return true;
        // Well formed, but not carried out: the simulator has said why.
        timeline_.error(where + w.command() + ": refused: " + refusal_);
    } catch (const UsageError& e) {
        timeline_.error(where + e.what());
        const std::string usage = orvcli::usageOf(w.command());
        for (size_t at = 0; at < usage.size();) {
            const size_t nl = std::min(usage.find('\n', at), usage.size());
            timeline_.error("  " + usage.substr(at, nl - at));
            at = nl + 1;
        }
    }
    return false;
}

// One command, read strictly: a word that does not fit throws UsageError
// before anything is done. False when the simulators refused the order.
bool Console::dispatch(Words& w) {
    const std::string cmd = w.command();
    if (cmd == "help") {
        w.end();
        timeline_.plain(orvcli::helpText());
    } else if (cmd == "quit" || cmd == "exit") {
        w.end();
        quit_ = true;
    } else if (cmd == "call") {
        json data = {{"conferenceDialNumber", w.word("NUMBER")}};
        while (w.more()) {
            const std::string option = w.word("option");
            const auto eq = option.find('=');
            const std::string key = option.substr(0, eq), value = eq == std::string::npos ? "" : option.substr(eq + 1);
            if (key == "passcode" && eq != std::string::npos) data["passcode"] = value;
            else if (key == "name" && eq != std::string::npos) data["dispname"] = value;
            else if (option == "force") data["force"] = true;
            else w.fail(option + " is not passcode=P, force or name=N");
        }
        send(ORVANE::CONF::STARTCONF, data);
    } else if (cmd == "answer") {
        w.end();
        json invite = app_.lastInvite();
        if (invite.is_null()) return done("no incoming call to answer");
        invite.erase("event");
        send(ORVANE::CONF::STARTCONF, invite);
    } else if (cmd == "reject" || cmd == "leave" || cmd == "end") {
        w.end();
        send(cmd == "reject" ? ORVANE::CONF::REJECTCONF : cmd == "leave" ? ORVANE::CONF::LEAVECONF : ORVANE::CONF::ENDCONF,
             nullptr);
    } else if (cmd == "mute" || cmd == "mute-all" || cmd == "lock") {
        const bool on = w.onOff("on|off");
        w.end();
        if (cmd == "mute")
            send(ORVANE::CONF::MUTEAUDIOLOCAL, {{"mute", on}});
        else if (cmd == "mute-all")
            send(ORVANE::CONF::MUTEALL, {{"mute", on}, {"allowUnmute", true}});
        else
            send(ORVANE::CONF::LOCKMEETING, {{"lock", on}});
    } else if (cmd == "host") {
        const std::string name = w.word("NAME");
        w.end();
        send(ORVANE::CONF::MAKEHOST, {{"externalDeviceId", deviceOf(name)}});
    } else if (cmd == "cohost") {
        const std::string name = w.word("NAME");
        const bool on = w.onOff("on|off");
        w.end();
        send(ORVANE::CONF::MAKECOHOST, {{"externalDeviceId", deviceOf(name)}, {"bCohost", on}});
    } else if (cmd == "endpoints") {
        const std::string confid = w.optional(app_.conferenceId());
        w.end();
        send(ORVANE::CONF::ENDPOINTS, {{"confid", confid}});
    } else if (cmd == "raw") {
        const std::string type = w.word("TYPE");
        const std::string data = w.rest();
        timeline_.line("app", type + (data.empty() ? "" : " " + data));
        recorder_.command(type, data);
        sdk_->sendCommand(type, data);
    } else if (cmd == "state" || cmd == "participants") {
        w.end();
        cmd == "state" ? showState() : showParticipants();
    } else if (cmd == "layout") {
        const long id = w.number("ID", 0, 999);
        const long count = w.number("COUNT", 1, 64);
        w.end();
        showLayout(static_cast<int>(id), static_cast<int>(count));
    } else if (cmd == "incoming") {
        const std::string number = w.word("NUMBER");
        w.end();
        timeline_.line("sim", "the server calls from " + number);
        return done(servers_.incomingCall(number));
    } else if (cmd == "cancel") {
        w.end();
        timeline_.line("sim", "the server cancels the call");
        return done(servers_.cancelCall());
    } else if (cmd == "bye") {
        const std::string reason = w.optional("CONF_END_BY_HOST");
        w.end();
        timeline_.line("sim", "the server ends the call: " + reason);
        return done(servers_.endCall(reason));
    } else if (cmd == "move") {
        const std::string number = w.word("NUMBER");
        w.end();
        timeline_.line("sim", "the server moves the call to meeting " + number);
        return done(servers_.moveCall(number));
    } else if (cmd == "join") {
        // A participant on a client of this library: it tells the servers
        // itself, so the conference manager reports the join too.
        const std::string name = w.word("NAME");
        w.end();
        timeline_.line("sim", name + " joins the meeting");
        orvsim::SimServers::Participant p;
        p.name = name;
        p.deviceId = "dev-" + name;
        p.engineUserId = engine_.userJoins(p.name);
        if (p.engineUserId.empty()) return doneByEngine(false);
        return done(servers_.participantJoins(p));
    } else if (cmd == "part") {
        const std::string name = w.word("NAME");
        w.end();
        const std::string deviceId = deviceOf(name);
        timeline_.line("sim", name + " leaves the meeting");
        // Somebody the servers know but the engine no longer does still
        // leaves the conference.
        const std::string id = engine_.userIdOf(name);
        if (!id.empty()) engine_.userLeaves(id);
        return done(servers_.participantLeaves(deviceId));
    } else if (cmd == "participant") {
        std::string name;
        const std::string id = attendee(w, name);
        const std::string what = w.oneOf("mute|video", {"mute", "video"});
        const bool on = w.onOff("on|off");
        w.end();
        if (what == "mute") {
            timeline_.line("sim", name + (on ? " mutes" : " unmutes") + " their microphone");
            return doneByEngine(engine_.userSetsAudio(id, on));
        }
        timeline_.line("sim", name + " switches their camera " + (on ? "on" : "off"));
        return doneByEngine(engine_.userSetsVideo(id, on));
    } else if (cmd == "share") {
        std::string name;
        const std::string id = attendee(w, name);
        const bool on = w.onOff("on|off");
        w.end();
        timeline_.line("sim", name + (on ? " starts" : " stops") + " sharing their screen");
        return doneByEngine(engine_.setSharing(id, on));
    } else if (cmd == "record") {
        const bool on = w.onOff("on|off");
        w.end();
        timeline_.line("sim", std::string("the meeting's recording ") + (on ? "starts" : "stops"));
        engine_.setRecording(on);
    } else if (cmd == "device") {
        const std::string kind = w.oneOf("camera|mic", {"camera", "mic"});
        const std::string name = w.word("NAME");
        w.end();
        const bool plugged = name != "none";
        const std::string what = kind == "camera" ? "camera" : "microphone";
        timeline_.line("sim", plugged ? "the " + what + " " + name + " is plugged in" : "the " + what + " is pulled out");
        if (kind == "camera")
            engine_.plugCamera(plugged);
        else
            engine_.plugMicrophone(plugged);
    } else if (cmd == "portal") {
        const std::string what = w.oneOf("sync|mute|lock", {"sync", "mute", "lock"});
        if (what == "mute") {
            const std::string name = w.word("NAME");
            const bool on = w.onOff("on|off");
            w.end();
            timeline_.line("sim", std::string("the portal ") + (on ? "mutes " : "unmutes ") + name);
            return done(servers_.controlCommand("ctrl_cmd_mute", {{"deviceId", deviceOf(name)}, {"mute", on}}));
        }
        const bool on = w.onOff("on|off");
        w.end();
        if (what == "sync") {
            timeline_.line("sim", std::string("the portal ") + (on ? "starts" : "stops") + " following the meeting");
            return done(servers_.controlCommand("ctrl_cmd_start_sync_control_panel", {{"syncing", on}}));
        }
        timeline_.line("sim", std::string("the portal ") + (on ? "locks" : "unlocks") + " the meeting");
        return done(servers_.controlCommand("ctrl_cmd_lock_meeting", {{"lock", on}}));
    } else if (cmd == "ctrl") {
        const std::string event = w.word("EVENT");
        const std::string text = w.rest();
        const json fields = text.empty() ? json::object() : json::parse(text, nullptr, false);
        if (!fields.is_object()) w.fail(text + " is not a JSON object");
        timeline_.line("sim", "the server sends " + event);
        return done(servers_.controlCommand(event, fields));
    } else if (cmd == "h323") {
        const std::string what = w.oneOf("call|hangup|answer", {"call", "hangup", "answer"});
        if (what == "call") {
            std::vector<std::pair<std::string, std::string>> calls;
            do {
                const std::string name = w.word("NAME");
                calls.emplace_back(name, w.word("ADDRESS"));
            } while (w.more());
            for (const auto& [name, address] : calls) {
                timeline_.line("sim", "the server orders a call-out to " + name + " at " + address);
                if (!done(servers_.h323CallOut(name, address, "h323", "h323-cmd-" + std::to_string(nextCommand_++))))
                    return false;
            }
        } else if (what == "hangup") {
            std::string name;
            const std::string id = attendee(w, name);
            w.end();
            timeline_.line("sim", "the server orders " + name + " hung up");
            return done(servers_.h323HangUp(id, "h323-cmd-" + std::to_string(nextCommand_++)));
        } else {
            using Answer = orvsim::SimEngine::CalloutAnswer;
            const std::string how = w.oneOf("success|failure|silence", {"success", "failure", "silence"});
            const std::string device = w.optional("");
            w.end();
            const Answer answer = how == "success" ? Answer::Success : how == "failure" ? Answer::Failure : Answer::Silence;
            if (!device.empty())
                engine_.setCalloutAnswer(device, answer);
            else
                engine_.setCalloutAnswer(answer);
            timeline_.line("sim", "the engine answers call-outs" + (device.empty() ? std::string() : " to " + device) +
                                      " with " + how);
        }
    } else if (cmd == "logout") {
        w.end();
        timeline_.line("sim", "the server logs the device out");
        servers_.logout();
    } else if (cmd == "rename") {
        const std::string name = w.word("NAME");
        w.end();
        timeline_.line("sim", "the device manager renames the device to " + name);
        servers_.renameDevice(name);
    } else if (cmd == "kick") {
        const std::string reason = w.optional("EndMeetingReason_KickByHost");
        w.end();
        timeline_.line("sim", "the engine ends the call: " + reason);
        return doneByEngine(engine_.endCall(reason));
    } else if (cmd == "fail-join") {
        orvsim::SimEngine::JoinPlan plan;
        plan.failReason = w.word("REASON");
        w.end();
        engine_.planNextJoin(plan);
        timeline_.line("sim", "the next media join will fail: " + plan.failReason);
    } else if (cmd == "conference") {
        orvsim::SimServers::Conference c;
        c.dialNumber = w.word("NUMBER");
        c.confid = "conf-" + c.dialNumber;
        c.externalDialNumber = "9" + c.dialNumber;
        c.subject = "Conference " + c.dialNumber;
        while (w.more()) {
            const std::string option = w.word("option");
            const auto eq = option.find('=');
            const std::string key = option.substr(0, eq);
            const std::string value = eq == std::string::npos ? "" : option.substr(eq + 1);
            if (eq == std::string::npos || value.empty() || (key != "meeting" && key != "passcode" && key != "busy"))
                w.fail(option + " is not meeting=M, passcode=P or busy=CONFID");
            if (key == "meeting") c.externalDialNumber = value;
            if (key == "passcode") c.passcode = value;
            if (key == "busy") {
                c.busy = true;
                c.busyConfid = value;
            }
        }
        servers_.addConference(c);
        timeline_.line("sim", "the servers know conference " + c.dialNumber + " (meeting " + c.externalDialNumber + ")");
    } else if (cmd == "ignore") {
        const std::string signal = w.word("SIGNAL");
        if (!orvcli::isSignalName(signal)) w.fail(signal + " is not one of " + orvcli::signalNames());
        const bool on = !w.more() || w.oneOf("off", {"off"}) != "off";
        w.end();
        servers_.ignoreSignal(signal, on);
        timeline_.line("sim", "the call server " + std::string(on ? "ignores " : "answers ") + signal + " from now on");
    } else if (cmd == "wait") {
        const long ms = w.number("MS", 0, 600000);
        w.end();
        pump(std::chrono::milliseconds(ms));
    } else {
        throw UsageError("unknown command " + cmd);
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
    servers_.setLog([this](const std::string& line) { timeline_.line("servers", line); });
    link_.setTrace([this](bool toServer, const std::string& text) {
        wireTrace_.message(timeline_.seconds(), toServer, text);
        timeline_.line(toServer ? "wire>" : "wire<", summarize(toServer, text));
    });
    if (!options_.traceFile.empty() && !wireTrace_.open(options_.traceFile)) {
        timeline_.error("orvane-cli: --trace: cannot write " + options_.traceFile);
        return 2;
    }
    if (!options_.recordFile.empty() && !recorder_.open(options_.recordFile)) {
        timeline_.error("orvane-cli: --record: cannot write " + options_.recordFile);
        return 2;
    }
    std::ifstream script;
    if (!options_.script.empty()) {
        script.open(options_.script);
        if (!script) {
            timeline_.error("orvane-cli: --script: cannot read " + options_.script);
            return 2;
        }
    }
    ORVANE::AVSDK_Factory::setCreator(
        [this](const std::string&, const std::string&) { return recorder_.engine(&engine_); });

    std::shared_ptr<spdlog::sinks::sink> file;
    if (!options_.logFile.empty())
        file = std::make_shared<spdlog::sinks::basic_file_sink_mt>(options_.logFile, true);
    libraryLog_ = std::make_shared<LibraryLog>(timeline_, file);
    auto logger = std::make_shared<spdlog::logger>("orvane", libraryLog_);
    logger->set_level(spdlog::level::debug);

    // The timeline owns standard output unless the library's own lines are
    // asked for.
    ORVANE::ConfSDK::setConsoleOutput(options_.verbose);
    recorder_.created(options_.platform, "");
    sdk_ = ORVANE::OrvaneSDK_Factory::createInstance(options_.platform, "");
    sdk_->setOrvaneLogger(logger);
    sdk_->setListener(recorder_.app(&app_));
    sdk_->setMediaServiceListener(recorder_.media(&app_));
    // The console shows every command the library turns down.
    sdk_->setRefusalNotify(true);
    sdk_->setOrvaneTrans(recorder_.transport(&link_.transport()));
    timeline_.line("app", "initMediaService " + options_.platform);
    recorder_.initMediaService(options_.platform, "");
    sdk_->initMediaService(options_.platform, "");
    settle();
    for (const auto& signal : options_.ignore) servers_.ignoreSignal(signal);
    if (link_.remote()) {
        if (!link_.start(logger)) return 2;
    } else {
        timeline_.line("sim", "the servers attach the device " + servers_.device().deviceId);
        servers_.attach();
    }
    settle();

    int status = 0;
    if (script.is_open()) {
        int number = 0;
        for (std::string line; !quit_ && !g_interrupted && std::getline(script, line);) {
            ++number;
            if (!execute(line, options_.script + ":" + std::to_string(number) + ": ")) status = 2;
            settle();
        }
    } else {
        runInteractive();
    }
    if (g_interrupted) {
        leaveOnInterrupt();
        status = 130;
    }
    settle();
    recorder_.end();
    orvsim::SimEngine::install(nullptr);
    return status;
}

void Console::leaveOnInterrupt() {
    leaving_ = true;
    // A second Ctrl-C ends the program at once.
    std::signal(SIGINT, SIG_DFL);
    timeline_.plain("interrupted");
    if (sdk_->getConfControlService().isRunning()) {
        send(ORVANE::CONF::LEAVECONF, nullptr);
        settle();
    }
}

// The lines typed at the terminal, through libedit's callback interface:
// the main loop stays free to play the UI thread between keystrokes.
std::deque<std::string>* g_typed = nullptr;
bool g_typedEnd = false;

void onTypedLine(char* line) {
    if (line == nullptr) {
        g_typedEnd = true;
        return;
    }
    if (*line != '\0') add_history(line);
    g_typed->push_back(line);
    std::free(line);
}

// The keyboard, or whatever stdin is. The main loop is the application's UI
// thread: it waits for input and for work at once.
void Console::runInteractive() {
    const bool terminal = isatty(STDIN_FILENO) && isatty(STDOUT_FILENO);
    std::deque<std::string> lines;
    std::string partial;  // piped input not ended by a newline yet
    bool end = false;
    if (terminal) {
        g_typed = &lines;
        using_history();
        rl_callback_handler_install("orvane> ", onTypedLine);
    }
    timeline_.plain("orvane-cli: type help for the commands, quit to leave.");
    if (terminal) rl_forced_update_display();
    while (!quit_ && !end && !g_interrupted) {
        timeline_.setPrompting(terminal);
        if (terminal && timeline_.takeRedraw()) rl_forced_update_display();
        pollfd fds[2] = {{STDIN_FILENO, POLLIN, 0}, {g_wakeFds[0], POLLIN, 0}};
        if (poll(fds, 2, 20) > 0 && (fds[0].revents & (POLLIN | POLLHUP | POLLERR))) {
            if (terminal) {
                rl_callback_read_char();
                end = g_typedEnd;
            } else {
                char buffer[4096];
                const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
                if (n <= 0) {
                    end = true;
                    if (!partial.empty()) lines.push_back(partial);
                } else {
                    partial.append(buffer, static_cast<size_t>(n));
                    for (size_t nl; (nl = partial.find('\n')) != std::string::npos; partial.erase(0, nl + 1))
                        lines.push_back(partial.substr(0, nl));
                }
            }
        }
        timeline_.setPrompting(false);
        while (!lines.empty() && !quit_ && !g_interrupted) {
            const std::string line = lines.front();
            lines.pop_front();
            execute(line);
            settle();
        }
        runUi();
    }
    timeline_.setPrompting(false);
    if (terminal) {
        rl_callback_handler_remove();
        // The prompt's line is left for the next output.
        if (end || g_interrupted) std::fputc('\n', stdout);
        std::fflush(stdout);
        g_typed = nullptr;
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    try {
        options = orvcli::parseOptions(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& e) {
        std::fprintf(stderr, "orvane-cli: %s\n%s\n", e.what(), orvcli::usageLine().c_str());
        return 2;
    }
    if (options.help) {
        std::fputs(orvcli::optionHelp().c_str(), stdout);
        return 0;
    }
    if (pipe(g_wakeFds) == 0) {
        fcntl(g_wakeFds[0], F_SETFL, O_NONBLOCK);
        fcntl(g_wakeFds[1], F_SETFL, O_NONBLOCK);
    }
    // Before libedit starts: it hands the signal on to this handler.
    struct sigaction interrupt {};
    interrupt.sa_handler = onInterrupt;
    sigemptyset(&interrupt.sa_mask);
    sigaction(SIGINT, &interrupt, nullptr);

    Console console(options, stdout);
    const int status = console.run();
    std::fflush(stdout);
    // The library lives until the process ends; its threads are not joined.
    std::_Exit(status);
}
