#pragma once

// The lines of a recorded session: what orvane-cli --record writes and
// orvane-replay reads. The format is told at the top of orvane_replay.cpp.

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "orvane/avsdk.h"

namespace orvtrace {

using json = nlohmann::json;

enum class Side { App, Server, Engine };
// In: given to the library. Out: done by the library. Ask: a question the
// library asked, with the answer it got.
enum class Dir { In, Out, Ask };

const char* sideName(Side side);
const char* dirMark(Dir dir);

struct Record {
    int line = 0;        // in the file, from 1
    int64_t millis = 0;  // since the session started
    bool end = false;    // "TIME end": the session stopped here
    Side side = Side::App;
    Dir dir = Dir::In;
    std::string payload;  // the rest of the line
};

// One record as a line, without the line break.
std::string formatRecord(int64_t millis, Side side, Dir dir, const std::string& payload);
std::string formatEnd(int64_t millis);
// Reads a file; comments ("#") and empty lines are skipped. On a line that
// does not read, `error` tells which and why, and the result is empty.
std::vector<Record> readRecords(const std::string& file, std::string& error);

// A free text as it stands on a line: as it is, or as a JSON string when it
// could not be read back as it is (a line break, a leading quote, spaces at
// either end).
std::string encodeText(const std::string& text);
std::string decodeText(const std::string& field);

// Where the JSON value (or the bare word) that starts at `from` ends, or npos
// when it does not end.
size_t jsonEnd(const std::string& text, size_t from);

// The first word of `text` and what follows the space after it.
std::pair<std::string, std::string> splitWord(const std::string& text);

// An engine call or a transport question: "NAME ARGS -> RESULT", ARGS a JSON
// array, RESULT a JSON value.
struct Call {
    std::string name;
    json args = json::array();
    json result;
};
std::string formatCall(const Call& call);
bool parseCall(const std::string& payload, Call& call);

// How the engine's operations are recorded.
enum class EngineOp {
    Wiring,    // the library connecting itself: not recorded
    Question,  // asks for the engine's state: recorded with its answer ("?"), not compared
    Action,    // recorded (">") and compared
};
EngineOp engineOp(const std::string& name);

// The arguments of engine operations as JSON.
json argJson(const std::string& v);
json argJson(bool v);
json argJson(int v);
json argJson(void* v);
json argJson(ORVANE::AVSDK::Listener* v);
json argJson(const std::shared_ptr<spdlog::logger>& v);
json argJson(const ORVANE::AvUserMap& users);
json argJson(const std::vector<ORVANE::AvLayoutItem>& items);
ORVANE::AvUserMap userMap(const json& users);

}  // namespace orvtrace
