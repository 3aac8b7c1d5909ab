#pragma once

#include <nlohmann/json_fwd.hpp>

#include <exception>

namespace ORVANE {

// Why the library did not carry out one of the application's commands.
enum class Refusal {
    None,
    UnknownCommand,  // no part of the library takes this name
    MalformedJson,   // the data is not JSON
    BadField,        // a field it needs is missing, of the wrong type, or names nobody
    WrongState,      // not now: the call, the engine or the user's role forbids it
    NoTransport,     // the server is to do it and there is no transport yet
};

// The word of "confsdknotify_command_refused" for a refusal; empty for None.
const char* refusalReason(Refusal refusal);

// Why data that does not give a command what it needs is refused: it is not
// JSON at all (a discarded parse), or a field is missing or wrong.
Refusal refusalForData(const nlohmann::json& data);
// The same for a JSON error thrown while reading the data.
Refusal refusalOf(const std::exception& jsonError);

// The outcome of one command in a part whose sendCommand answers nothing
// through its exported interface (the control channel, the logic). The part
// holds a record for the length of the command and notes a refusal in it;
// when the record goes, its outcome is left on this thread for the caller,
// who reads it with lastRefusal(). Whatever the command set off on this
// thread in turn (a transport or an engine that answers at once) has
// finished by then, so the outcome left is the part's own.
class RefusalRecord {
public:
    RefusalRecord() = default;
    ~RefusalRecord();
    RefusalRecord(const RefusalRecord&) = delete;
    RefusalRecord& operator=(const RefusalRecord&) = delete;

    // Keeps the first refusal: later ones follow from it.
    void refuse(Refusal refusal) {
        if (refusal_ == Refusal::None) refusal_ = refusal;
    }

private:
    Refusal refusal_ = Refusal::None;
};

// The outcome of the last record that went on this thread.
Refusal lastRefusal();
void clearLastRefusal();

// Runs `command`, a call on a part that keeps a record, and gives its
// outcome: None when it kept none.
template <typename F>
Refusal outcomeOf(F&& command) {
    clearLastRefusal();
    command();
    return lastRefusal();
}

}  // namespace ORVANE
