#include "cli_args.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace orvcli {

namespace {

std::string joined(std::initializer_list<const char*> words, const char* last) {
    std::string text;
    size_t i = 0;
    for (const char* w : words) {
        if (i > 0) text += i + 1 == words.size() ? last : ", ";
        text += w;
        ++i;
    }
    return text;
}

// The signals the simulated call server can leave unanswered.
const std::initializer_list<const char*> kSignals = {"REGISTER", "UNREGISTER", "INVITE", "ACCEPTED", "ACK",
                                                     "OK",       "UPDATE",     "BYE",    "ERROR"};

}  // namespace

bool isSignalName(const std::string& name) {
    return std::any_of(kSignals.begin(), kSignals.end(), [&](const char* s) { return name == s; });
}

std::string signalNames() { return joined(kSignals, " or "); }

// ---------------------------------------------------------------------------
// The command line

const std::vector<OptionRow>& optionRows() {
    static const std::vector<OptionRow> rows = {
        {"--script", "FILE", "run the commands of FILE, then quit",
         [](Options& o, const std::string& v) { o.script = v; }},
        {"--trace", "FILE", "write every wire message to FILE as a JSON line",
         [](Options& o, const std::string& v) { o.traceFile = v; }},
        {"--record", "FILE", "record the session for orvane-replay",
         [](Options& o, const std::string& v) { o.recordFile = v; }},
        {"--log", "FILE", "write the library's log to FILE", [](Options& o, const std::string& v) { o.logFile = v; }},
        {"--verbose", nullptr, "let the library's own standard-output lines through",
         [](Options& o, const std::string&) { o.verbose = true; }},
        {"--platform", "QV|QC", "the media platform (QV: engine calls on the UI thread; QC: direct)",
         [](Options& o, const std::string& v) {
             if (v != "QV" && v != "QC") throw UsageError("--platform: " + v + " is not QV or QC");
             o.platform = v;
         }},
        {"--ignore", "SIGNAL", "the call server leaves SIGNAL unanswered from the start (REGISTER, ...);\n"
                               "may be given more than once",
         [](Options& o, const std::string& v) {
             if (!isSignalName(v)) throw UsageError("--ignore: " + v + " is not one of " + signalNames());
             o.ignore.push_back(v);
         }},
        {"--server", "URL", "the servers of orvane-simserver at ws://HOST:PORT or wss://HOST:PORT instead of\n"
                            "the simulated servers in here; the engine stays here",
         [](Options& o, const std::string& v) {
             if (v.rfind("ws://", 0) != 0 && v.rfind("wss://", 0) != 0)
                 throw UsageError("--server: " + v + " is not a ws:// or wss:// address");
             o.serverUrl = v;
         }},
        {"--ca", "FILE", "with wss://: trust the certificate authority of this PEM file too",
         [](Options& o, const std::string& v) { o.caFile = v; }},
        {"--help", nullptr, "this text", [](Options& o, const std::string&) { o.help = true; }},
    };
    return rows;
}

std::string usageLine() {
    std::string line = "usage: orvane-cli";
    for (const OptionRow& o : optionRows()) {
        line += std::string(" [") + o.name + (o.value ? std::string(" ") + o.value : "") + "]";
        if (std::string(o.name) == "--ignore") line += "...";
    }
    return line;
}

std::string optionHelp() {
    std::string text = usageLine() + "\n";
    for (const OptionRow& o : optionRows()) {
        std::string head = std::string("  ") + o.name + (o.value ? std::string(" ") + o.value : "");
        head.resize(std::max<size_t>(head.size() + 2, 20), ' ');
        std::string help = o.help;
        for (size_t nl; (nl = help.find('\n')) != std::string::npos;)
            help.replace(nl, 1, "\n" + std::string(head.size(), ' '));
        text += head + help + "\n";
    }
    return text + "Type help inside for the commands.\n";
}

Options parseOptions(const std::vector<std::string>& args) {
    Options options;
    const auto& rows = optionRows();
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto row = std::find_if(rows.begin(), rows.end(), [&](const OptionRow& o) { return a == o.name; });
        if (row == rows.end()) {
            if (a == "-h") {
                options.help = true;
                continue;
            }
            throw UsageError(a.rfind('-', 0) == 0 ? "unknown option " + a : "unexpected argument " + a);
        }
        std::string value;
        if (row->value) {
            if (i + 1 >= args.size()) throw UsageError(a + ": " + row->value + " is missing");
            value = args[++i];
            if (value.empty()) throw UsageError(a + ": the value is empty");
        }
        row->take(options, value);
    }
    return options;
}

// ---------------------------------------------------------------------------
// The commands

namespace {
const char* const kApp = "Commands of the application:";
const char* const kMeeting = "What happens in the meeting (the simulated engine reports it):";
const char* const kPortal = "What the portal does (through the conference manager):";
const char* const kServers = "What the simulated servers do:";
const char* const kOther = "Other:";
}  // namespace

const std::vector<CommandRow>& commandRows() {
    static const std::vector<CommandRow> rows = {
        {kApp, "call", "NUMBER [passcode=P] [force] [name=N]", "start a conference (startconf)"},
        {kApp, "answer", "", "take the incoming call (startconf with its conference)"},
        {kApp, "reject", "", "decline the incoming call (rejectconf)"},
        {kApp, "leave", "", "leave the meeting (leaveconf)"},
        {kApp, "end", "", "end the meeting for everybody (endconf)"},
        {kApp, "mute", "on|off", "local microphone (confControlmuteaudiolocal)"},
        {kApp, "mute-all", "on|off", "everybody's microphone (confControlmuteAll)"},
        {kApp, "lock", "on|off", "lock the meeting (confControllockmeeting)"},
        {kApp, "host", "NAME", "hand the host role to a participant or a device id\n(confControlmakehost)"},
        {kApp, "cohost", "NAME on|off", "make a participant co-host, or not (confControlmakecohost)"},
        {kApp, "endpoints", "[CONFID]",
         "ask for the endpoint list (confControlendpoints); the\nconference is the one last heard of unless given"},
        {kApp, "participants", "",
         "the endpoint list as a table: the library's view of\nwho is in the meeting (user id: the engine's)"},
        {kApp, "raw", "TYPE [JSON]", "any command with its data"},
        {kApp, "state", "", "the call, the device, the servers' and the portal's view"},
        {kApp, "layout", "ID COUNT",
         "where the layout catalogue puts COUNT participants of\nlayout ID in a 1920x1080 window: a table and a drawing"},
        {kMeeting, "join", "NAME", "a participant joins (the conference manager tells too)"},
        {kMeeting, "part", "NAME", "a participant leaves (the conference manager tells too)"},
        {kMeeting, "participant", "NAME mute on|off", "a participant mutes or unmutes their microphone"},
        {kMeeting, "participant", "NAME video on|off", "a participant switches their camera on or off"},
        {kMeeting, "share", "NAME on|off", "a participant starts or stops sharing their screen"},
        {kMeeting, "record", "on|off", "the meeting's recording starts or stops"},
        {kMeeting, "device", "camera|mic NAME",
         "a camera or microphone is plugged in here (NAME none:\npulled out)"},
        {kMeeting, "kick", "[REASON]", "the engine ends the call itself (default KickByHost)"},
        {kMeeting, "fail-join", "REASON", "the next media join fails with this engine reason"},
        {kMeeting, "h323", "answer success|failure|silence [NAME]",
         "how the engine answers call-outs (to NAME only, if given):\nthe room system joins, the call fails, or "
         "nothing comes\nand the library gives up after 30 s"},
        {kPortal, "portal", "sync on|off",
         "follow the meeting: the client reports every change\n(ctrl_cmd_start_sync_control_panel)"},
        {kPortal, "portal", "mute NAME on|off", "mute or unmute a participant (ctrl_cmd_mute)"},
        {kPortal, "portal", "lock on|off", "lock or unlock the meeting (ctrl_cmd_lock_meeting)"},
        {kPortal, "ctrl", "EVENT [JSON]", "any control command (ctrl_cmd_make_host, ...)"},
        {kServers, "incoming", "NUMBER", "the server calls this device from a conference number"},
        {kServers, "cancel", "", "the server cancels the call that rings"},
        {kServers, "bye", "[REASON]", "the server ends the call"},
        {kServers, "move", "NUMBER", "the server moves the call to another media meeting"},
        {kServers, "h323", "call NAME ADDRESS [NAME ADDRESS]...",
         "the server orders H.323 call-outs to room systems, all at\nonce; the client calls them one at a time"},
        {kServers, "h323", "hangup NAME", "the server orders a called room system hung up"},
        {kServers, "logout", "", "the server logs the device out (BE_LOGOUT)"},
        {kServers, "rename", "NAME", "the device manager renames the device"},
        {kServers, "conference", "NUMBER [meeting=M] [passcode=P] [busy=CONFID]", "add a conference the servers know"},
        {kServers, "ignore", "SIGNAL [off]",
         "the call server leaves this signal unanswered (REGISTER, ACCEPTED, ...)"},
        {kOther, "wait", "MS", "let time pass"},
        {kOther, "help", "", "this text"},
        {kOther, "quit", "", "leave the program (Ctrl-C: leave the meeting first)"},
    };
    return rows;
}

std::string helpText() {
    std::string text;
    const char* section = nullptr;
    for (const CommandRow& c : commandRows()) {
        if (section != c.section) {
            section = c.section;
            text += std::string(section) + "\n";
        }
        std::string head = std::string("  ") + c.name + (*c.args ? std::string(" ") + c.args : "");
        head.resize(std::max<size_t>(head.size() + 3, 46), ' ');
        std::string help = c.help;
        for (size_t nl; (nl = help.find('\n')) != std::string::npos;) help.replace(nl, 1, "\n" + std::string(46, ' '));
        text += head + help + "\n";
        if (std::string(c.name) == "layout")
            text += "  The application carries out what the portal asks of it (a host request to mute, lock,\n"
                    "  hand over roles) with the commands above, on its UI thread.\n";
    }
    return text +
           "The known conferences: 8001 (meeting 99001), 8002 (a lobby: LOBBY-99002), 8003 (passcode 1234),\n"
           "8004 (in use by conf-busy: call it with force).";
}

std::string usageOf(const std::string& name) {
    std::string text;
    for (const CommandRow& c : commandRows())
        if (name == c.name) text += std::string(text.empty() ? "" : "\n") + "usage: " + c.name + (*c.args ? " " : "") + c.args;
    return text.empty() ? "usage: COMMAND [ARGUMENTS]  (help lists the commands)" : text;
}

// ---------------------------------------------------------------------------
// Words

Words::Words(const std::string& line) : line_(line.substr(0, line.find('#'))) {
    size_t i = 0;
    while ((i = line_.find_first_not_of(" \t\r", i)) != std::string::npos) {
        const size_t end = std::min(line_.find_first_of(" \t\r", i), line_.size());
        starts_.push_back(i);
        words_.push_back(line_.substr(i, end - i));
        i = end;
    }
}

void Words::fail(const std::string& message) const { throw UsageError(command() + ": " + message); }

std::string Words::word(const char* what) {
    if (!more()) fail(std::string(what) + " is missing");
    return words_[next_++];
}

std::string Words::optional(const std::string& otherwise) { return more() ? words_[next_++] : otherwise; }

std::string Words::oneOf(const char* what, std::initializer_list<const char*> choices) {
    const std::string w = word(what);
    if (std::none_of(choices.begin(), choices.end(), [&](const char* c) { return w == c; }))
        fail(w + " is not " + joined(choices, " or "));
    return w;
}

bool Words::onOff(const char* what) { return oneOf(what, {"on", "off"}) == "on"; }

long Words::number(const char* what, long min, long max) {
    const std::string w = word(what);
    char* end = nullptr;
    errno = 0;
    const long n = std::strtol(w.c_str(), &end, 10);
    if (w.empty() || *end != '\0' || errno != 0 || n < min || n > max)
        fail(w + " is not a number from " + std::to_string(min) + " to " + std::to_string(max));
    return n;
}

std::string Words::rest() {
    if (!more()) return {};
    std::string text = line_.substr(starts_[next_]);
    text.erase(text.find_last_not_of(" \t\r") + 1);
    next_ = words_.size();
    return text;
}

void Words::end() {
    if (more()) fail("unexpected argument " + words_[next_]);
}

}  // namespace orvcli
