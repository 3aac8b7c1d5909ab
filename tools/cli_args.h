#pragma once

// What orvane-cli reads from its user: the options of its command line and
// the words of its commands, both strictly. Anything that does not fit is
// refused with a message that names it, and the usage of what was meant.

#include <functional>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvcli {

// A word or an option that does not fit; the message names it.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// ---------------------------------------------------------------------------
// The command line

struct Options {
    bool help = false;
    std::string script;                // --script: the commands of this file, then quit
    std::string traceFile;             // --trace: every wire message as a JSON line
    std::string recordFile;            // --record: the session, for orvane-replay
    std::string logFile;               // --log: the library's log
    bool verbose = false;              // the library's own lines on standard output
    std::string platform = "QV";
    std::vector<std::string> ignore;  // signals the call server ignores from the start
    std::string serverUrl;             // --server: orvane-simserver instead of the servers in here
    std::string caFile;                // --ca: for wss://, a CA to trust besides the system's
};

// One option: its name, the name of its value (null for a flag), what it
// does, and how it takes its value into the options. `take` throws
// UsageError for a value it cannot take.
struct OptionRow {
    const char* name;
    const char* value;
    const char* help;
    std::function<void(Options&, const std::string& value)> take;
};

// Every option, in the order the usage shows them.
const std::vector<OptionRow>& optionRows();
// "usage: orvane-cli [--script FILE] ..." on one line.
std::string usageLine();
// The usage line and a line for each option.
std::string optionHelp();
// The signals the simulated call server can be told to leave unanswered:
// whether `name` is one, and all of them for a message.
bool isSignalName(const std::string& name);
std::string signalNames();
// Reads the arguments after the program's name. Throws UsageError naming
// the first bad one.
Options parseOptions(const std::vector<std::string>& args);

// ---------------------------------------------------------------------------
// The commands

// One form of a command, for the help and the usage lines.
struct CommandRow {
    const char* section;  // the heading it is listed under
    const char* name;
    const char* args;     // the arguments, as the usage shows them
    const char* help;     // what it does; "\n" starts a further line
};

const std::vector<CommandRow>& commandRows();
// The help text: every command by section, and the known conferences.
std::string helpText();
// "usage: NAME ARGS" for each form of the command, one a line; the general
// usage for a name that is no command.
std::string usageOf(const std::string& name);

// The words of one command line, taken in order. A word that does not fit
// throws UsageError with the command's name and the word.
class Words {
public:
    // Splits `line` at blanks; a "#" starts a comment.
    explicit Words(const std::string& line);

    bool empty() const { return words_.empty(); }
    const std::string& command() const { return words_.front(); }
    // Whether a word is left.
    bool more() const { return next_ < words_.size(); }
    // The next word, which must be there; `what` names it in the error.
    std::string word(const char* what);
    // The next word when there is one, else `otherwise`.
    std::string optional(const std::string& otherwise);
    // The next word, one of `choices`.
    std::string oneOf(const char* what, std::initializer_list<const char*> choices);
    // "on" or "off".
    bool onOff(const char* what);
    // A whole number from `min` to `max`.
    long number(const char* what, long min, long max);
    // The rest of the line as written, from the next word on; empty when
    // nothing is left. The words are used up.
    std::string rest();
    // Nothing may be left.
    void end();
    // Throws UsageError: the command's name, then `message`.
    [[noreturn]] void fail(const std::string& message) const;

private:

    std::string line_;
    std::vector<std::string> words_;
    std::vector<size_t> starts_;  // where each word starts in line_
    size_t next_ = 1;
};

}  // namespace orvcli
