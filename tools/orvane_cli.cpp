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

struct Options {
    std::string script;
    bool trace = false;
    bool verbose = false;
    std::string logFile;
    std::string platform = "QV";
    std::string traceFile;            // --trace: the session recorded for orvane-replay
    std::vector<std::string> ignore;  // signals the call server ignores from the start
    orvcli::ClientLink::Remote server;  // --server: orvane-simserver instead of the servers in here
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
  host NAME                                   hand the host role to a participant or a device id
                                              (confControlmakehost)
  cohost NAME on|off                          make a participant co-host, or not (confControlmakecohost)
  endpoints [CONFID]                          ask for the endpoint list (confControlendpoints); the
                                              conference is the one last heard of unless given
  participants                                the endpoint list as a table: the library's view of
                                              who is in the meeting (user id: the engine's)
  raw TYPE [JSON]                             any command with its data
  state                                       the call, the device, the servers' and the portal's view
  layout ID COUNT                             where the layout catalogue puts COUNT participants of
                                              layout ID in a 1920x1080 window: a table and a drawing
  The application carries out what the portal asks of it (a host request to mute, lock,
  hand over roles) with the commands above, on its UI thread.
What happens in the meeting (the simulated engine reports it):
  join NAME                                   a participant joins (the conference manager tells too)
  part NAME                                   a participant leaves (the conference manager tells too)
  participant NAME mute on|off                a participant mutes or unmutes their microphone
  participant NAME video on|off               a participant switches their camera on or off
  share NAME on|off                           a participant starts or stops sharing their screen
  record on|off                               the meeting's recording starts or stops
  device camera|mic NAME                      a camera or microphone is plugged in here (NAME none:
                                              pulled out)
  kick [REASON]                               the engine ends the call itself (default KickByHost)
  fail-join REASON                            the next media join fails with this engine reason
  h323 answer success|failure|silence [NAME]  how the engine answers call-outs (to NAME only, if given):
                                              the room system joins, the call fails, or nothing comes
                                              and the library gives up after 30 s
What the portal does (through the conference manager):
  portal sync on|off                          follow the meeting: the client reports every change
                                              (ctrl_cmd_start_sync_control_panel)
  portal mute NAME on|off                     mute or unmute a participant (ctrl_cmd_mute)
  portal lock on|off                          lock or unlock the meeting (ctrl_cmd_lock_meeting)
  ctrl EVENT [JSON]                           any control command (ctrl_cmd_make_host, ...)
What the simulated servers do:
  incoming NUMBER                             the server calls this device from a conference number
  cancel                                      the server cancels the call that rings
  bye [REASON]                                the server ends the call
  move NUMBER                                 the server moves the call to another media meeting
  h323 call NAME ADDRESS [NAME ADDRESS]...    the server orders H.323 call-outs to room systems, all at
                                              once; the client calls them one at a time
  h323 hangup NAME                            the server orders a called room system hung up
  logout                                      the server logs the device out (BE_LOGOUT)
  rename NAME                                 the device manager renames the device
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
        : options_(options), timeline_(out), app_(timeline_), servers_(transport_),
          link_(transport_, engine_, options.server,
                [this](const std::string& who, const std::string& what) { timeline_.line(who, what); }) {}
    // The wire and the engine both report into the library, which may call
    // the other: both stop before either dies.
    ~Console() {
        link_.stop();
        engine_.stop();
    }

    int run();

private:
    bool execute(const std::string& line);
    void settle();
    bool runUi();
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
    void showLayout(int id, int count);
    // The device of a participant by name, as the servers or the engine
    // know them (each joiner gets the device "dev-NAME"); anything else is
    // taken as a device id.
    std::string deviceOf(const std::string& name) const {
        for (const auto& p : servers_.participants())
            if (p.name == name) return p.deviceId;
        return engine_.userIdOf(name).empty() ? name : "dev-" + name;
    }
    // The engine's user id of a participant; empty, with a word on the
    // timeline, when nobody of that name is in the meeting.
    std::string attendee(const std::string& name) {
        const std::string id = engine_.userIdOf(name);
        if (id.empty()) timeline_.plain("  " + name + " is not in the meeting");
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
    ORVANE::ConfSDK* sdk_ = nullptr;
    std::shared_ptr<LibraryLog> libraryLog_;
    int nextCommand_ = 1;
    bool quit_ = false;
};

void Console::send(const std::string& type, const json& data) {
    const std::string text = data.is_null() ? std::string() : data.dump();
    timeline_.line("app", type + (text.empty() ? "" : " " + (options_.trace ? text : shorten(text, 90))));
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
    while (std::chrono::steady_clock::now() < deadline) {
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
    for (int quiet = 0; quiet < 3;) {
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

bool Console::execute(const std::string& raw) {
    std::string line = raw;
    const auto hash = line.find('#');
    if (hash != std::string::npos) line.erase(hash);
    std::istringstream in(line);
    std::vector<std::string> w;
    for (std::string word; in >> word;) w.push_back(word);
    if (w.empty()) return true;
    const std::string& cmd = w[0];
    if (!link_.refusal(cmd).empty()) {
        timeline_.plain(link_.refusal(cmd));
        return false;
    }

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
        send(ORVANE::CONF::MAKEHOST, {{"externalDeviceId", deviceOf(w[1])}});
    } else if (cmd == "cohost" && w.size() >= 3) {
        send(ORVANE::CONF::MAKECOHOST, {{"externalDeviceId", deviceOf(w[1])}, {"bCohost", w[2] == "on"}});
    } else if (cmd == "endpoints") {
        send(ORVANE::CONF::ENDPOINTS, {{"confid", arg(w, 1, app_.conferenceId())}});
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
    } else if (cmd == "layout" && w.size() >= 3) {
        showLayout(std::atoi(w[1].c_str()), std::atoi(w[2].c_str()));
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
        // A participant on a client of this library: it tells the servers
        // itself, so the conference manager reports the join too.
        timeline_.line("sim", w[1] + " joins the meeting");
        orvsim::SimServers::Participant p;
        p.name = w[1];
        p.deviceId = "dev-" + w[1];
        p.engineUserId = engine_.userJoins(p.name);
        servers_.participantJoins(p);
    } else if (cmd == "part" && w.size() >= 2) {
        const std::string deviceId = deviceOf(w[1]);
        timeline_.line("sim", w[1] + " leaves the meeting");
        engine_.userLeaves(engine_.userIdOf(w[1]));
        servers_.participantLeaves(deviceId);
    } else if (cmd == "participant" && w.size() >= 4 && (w[2] == "mute" || w[2] == "video")) {
        const std::string id = attendee(w[1]);
        if (id.empty()) return false;
        const bool on = w[3] == "on";
        if (w[2] == "mute") {
            timeline_.line("sim", w[1] + (on ? " mutes" : " unmutes") + " their microphone");
            engine_.userSetsAudio(id, on);
        } else {
            timeline_.line("sim", w[1] + " switches their camera " + (on ? "on" : "off"));
            engine_.userSetsVideo(id, on);
        }
    } else if (cmd == "share" && w.size() >= 3) {
        const std::string id = attendee(w[1]);
        if (id.empty()) return false;
        timeline_.line("sim", w[1] + (w[2] == "on" ? " starts" : " stops") + " sharing their screen");
        engine_.setSharing(id, w[2] == "on");
    } else if (cmd == "record" && w.size() >= 2) {
        timeline_.line("sim", std::string("the meeting's recording ") + (w[1] == "on" ? "starts" : "stops"));
        engine_.setRecording(w[1] == "on");
    } else if (cmd == "device" && w.size() >= 3 && (w[1] == "camera" || w[1] == "mic")) {
        const bool plugged = w[2] != "none";
        const std::string what = w[1] == "camera" ? "camera" : "microphone";
        timeline_.line("sim", plugged ? "the " + what + " " + w[2] + " is plugged in" : "the " + what + " is pulled out");
        if (w[1] == "camera")
            engine_.plugCamera(plugged);
        else
            engine_.plugMicrophone(plugged);
    } else if (cmd == "portal" && w.size() >= 3 && (w[1] == "sync" || w[1] == "lock")) {
        const bool on = w[2] == "on";
        if (w[1] == "sync") {
            timeline_.line("sim", std::string("the portal ") + (on ? "starts" : "stops") + " following the meeting");
            servers_.controlCommand("ctrl_cmd_start_sync_control_panel", {{"syncing", on}});
        } else {
            timeline_.line("sim", std::string("the portal ") + (on ? "locks" : "unlocks") + " the meeting");
            servers_.controlCommand("ctrl_cmd_lock_meeting", {{"lock", on}});
        }
    } else if (cmd == "portal" && w.size() >= 4 && w[1] == "mute") {
        const bool on = w[3] == "on";
        timeline_.line("sim", std::string("the portal ") + (on ? "mutes " : "unmutes ") + w[2]);
        servers_.controlCommand("ctrl_cmd_mute", {{"deviceId", deviceOf(w[2])}, {"mute", on}});
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
    } else if (cmd == "h323" && w.size() >= 4 && w[1] == "call" && w.size() % 2 == 0) {
        for (size_t i = 2; i + 1 < w.size(); i += 2) {
            timeline_.line("sim", "the server orders a call-out to " + w[i] + " at " + w[i + 1]);
            servers_.h323CallOut(w[i], w[i + 1], "h323", "h323-cmd-" + std::to_string(nextCommand_++));
        }
    } else if (cmd == "h323" && w.size() == 3 && w[1] == "hangup") {
        const std::string id = attendee(w[2]);
        if (id.empty()) return false;
        timeline_.line("sim", "the server orders " + w[2] + " hung up");
        servers_.h323HangUp(id, "h323-cmd-" + std::to_string(nextCommand_++));
    } else if (cmd == "h323" && w.size() >= 3 && w[1] == "answer" &&
               (w[2] == "success" || w[2] == "failure" || w[2] == "silence")) {
        using Answer = orvsim::SimEngine::CalloutAnswer;
        const Answer answer = w[2] == "success" ? Answer::Success : w[2] == "failure" ? Answer::Failure : Answer::Silence;
        if (w.size() >= 4)
            engine_.setCalloutAnswer(w[3], answer);
        else
            engine_.setCalloutAnswer(answer);
        timeline_.line("sim", "the engine answers call-outs" + (w.size() >= 4 ? " to " + w[3] : std::string()) +
                                  " with " + w[2]);
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
    link_.setTrace([this](bool toServer, const std::string& text) {
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
    libraryLog_ = std::make_shared<LibraryLog>(timeline_, file);
    auto logger = std::make_shared<spdlog::logger>("orvane", libraryLog_);
    logger->set_level(spdlog::level::debug);

    recorder_.created(options_.platform, "");
    sdk_ = ORVANE::OrvaneSDK_Factory::createInstance(options_.platform, "");
    sdk_->setOrvaneLogger(logger);
    sdk_->setListener(recorder_.app(&app_));
    sdk_->setMediaServiceListener(recorder_.media(&app_));
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
        } else if (a == "--server" && i + 1 < argc) {
            options.server.url = argv[++i];
        } else if (a == "--ca" && i + 1 < argc) {
            options.server.caFile = argv[++i];
        } else {
            std::printf(
                "usage: orvane-cli [--script FILE] [--trace FILE] [--wire] [--log FILE] [--verbose] [--platform QV|QC]\n"
                "                  [--ignore SIGNAL]... [--server ws://HOST:PORT [--ca FILE]]\n"
                "  --script FILE  run the commands of FILE, then quit\n"
                "  --trace FILE   record the session for orvane-replay\n"
                "  --wire         print every wire message as a JSON line\n"
                "  --ignore SIG   the call server leaves SIG unanswered from the start (REGISTER, ...)\n"
                "  --log FILE     write the library's log to FILE\n"
                "  --verbose      let the library's own standard-output diagnostics through\n"
                "  --platform     the media platform (QV: engine calls on the UI thread; QC: direct)\n"
                "  --server URL   the servers of orvane-simserver at ws://HOST:PORT or wss://HOST:PORT instead of\n"
                "                 the simulated servers in here; the engine stays here\n"
                "  --ca FILE      with wss://: trust the certificate authority of this PEM file too\n"
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
