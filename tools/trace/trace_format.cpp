#include "trace_format.h"

#include <spdlog/logger.h>

#include <cstdio>
#include <fstream>

namespace orvtrace {

const char* sideName(Side side) {
    switch (side) {
    case Side::App: return "app";
    case Side::Server: return "server";
    case Side::Engine: return "engine";
    }
    return "?";
}

const char* dirMark(Dir dir) {
    switch (dir) {
    case Dir::In: return "<";
    case Dir::Out: return ">";
    case Dir::Ask: return "?";
    }
    return "?";
}

namespace {

std::string timeText(int64_t millis) {
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(millis / 1000),
                  static_cast<long long>(millis % 1000));
    return text;
}

// "12.345" to milliseconds; false when it is no such time.
bool readTime(const std::string& text, int64_t& millis) {
    const auto dot = text.find('.');
    if (dot == std::string::npos || dot == 0 || text.size() - dot != 4) return false;
    for (size_t i = 0; i < text.size(); ++i)
        if (i != dot && (text[i] < '0' || text[i] > '9')) return false;
    millis = std::stoll(text.substr(0, dot)) * 1000 + std::stoll(text.substr(dot + 1));
    return true;
}

}  // namespace

size_t jsonEnd(const std::string& text, size_t from) {
    if (from >= text.size()) return std::string::npos;
    const char first = text[from];
    if (first != '[' && first != '{' && first != '"') {
        const size_t space = text.find(' ', from);
        return space == std::string::npos ? text.size() : space;
    }
    int depth = 0;
    bool inString = false;
    for (size_t i = from; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\') ++i;
            else if (c == '"') inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            ++depth;
        } else if (c == ']' || c == '}') {
            --depth;
        }
        if (!inString && depth == 0) return i + 1;
    }
    return std::string::npos;
}

std::string formatRecord(int64_t millis, Side side, Dir dir, const std::string& payload) {
    return timeText(millis) + " " + sideName(side) + " " + dirMark(dir) + (payload.empty() ? "" : " " + payload);
}

std::string formatEnd(int64_t millis) { return timeText(millis) + " end"; }

std::vector<Record> readRecords(const std::string& file, std::string& error) {
    std::vector<Record> records;
    std::ifstream in(file);
    if (!in) {
        error = "cannot read " + file;
        return {};
    }
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        if (!text.empty() && text.back() == '\r') text.pop_back();
        if (text.empty() || text[0] == '#') continue;
        auto bad = [&](const std::string& why) {
            error = file + ":" + std::to_string(number) + ": " + why;
            return std::vector<Record>{};
        };
        Record r;
        r.line = number;
        auto [time, rest] = splitWord(text);
        if (!readTime(time, r.millis)) return bad("no time (SECONDS.MMM) at the start");
        if (!records.empty() && r.millis < records.back().millis) return bad("the time goes back");
        auto [side, afterSide] = splitWord(rest);
        if (side == "end" && afterSide.empty()) {
            r.end = true;
            records.push_back(r);
            continue;
        }
        if (side == "app") r.side = Side::App;
        else if (side == "server") r.side = Side::Server;
        else if (side == "engine") r.side = Side::Engine;
        else return bad("unknown side \"" + side + "\"");
        auto [dir, payload] = splitWord(afterSide);
        if (dir == "<") r.dir = Dir::In;
        else if (dir == ">") r.dir = Dir::Out;
        else if (dir == "?") r.dir = Dir::Ask;
        else return bad("unknown direction \"" + dir + "\"");
        r.payload = payload;
        records.push_back(r);
    }
    return records;
}

std::string encodeText(const std::string& text) {
    bool plain = text.empty() || (text.front() != '"' && text.front() != ' ' && text.back() != ' ');
    for (const char c : text)
        if (static_cast<unsigned char>(c) < 0x20) plain = false;
    return plain ? text : json(text).dump();
}

std::string decodeText(const std::string& field) {
    if (field.empty() || field.front() != '"') return field;
    const json text = json::parse(field, nullptr, false);
    return text.is_string() ? text.get<std::string>() : field;
}

std::pair<std::string, std::string> splitWord(const std::string& text) {
    const size_t space = text.find(' ');
    if (space == std::string::npos) return {text, ""};
    return {text.substr(0, space), text.substr(space + 1)};
}

std::string formatCall(const Call& call) { return call.name + " " + call.args.dump() + " -> " + call.result.dump(); }

bool parseCall(const std::string& payload, Call& call) {
    auto [name, rest] = splitWord(payload);
    const size_t argsEnd = jsonEnd(rest, 0);
    if (name.empty() || argsEnd == std::string::npos || rest.compare(argsEnd, 4, " -> ") != 0) return false;
    call.name = name;
    call.args = json::parse(rest.substr(0, argsEnd), nullptr, false);
    call.result = json::parse(rest.substr(argsEnd + 4), nullptr, false);
    return call.args.is_array() && !call.result.is_discarded();
}

EngineOp engineOp(const std::string& name) {
    // The services' objects belong to the engine in hand; a replay has none.
    if (name == "setListener" || name == "setOrvaneLogger" || name == "getInterpretationService" ||
        name == "getUiControlService")
        return EngineOp::Wiring;
    // How often the library asks follows its own bookkeeping, not the call:
    // the answers matter, the count does not.
    if (name == "getUserList" || name == "isHostUser" || name == "canUnmuteByMyself") return EngineOp::Question;
    return EngineOp::Action;
}

json argJson(const std::string& v) { return v; }
json argJson(bool v) { return v; }
json argJson(int v) { return v; }
json argJson(void* v) { return v ? json("pointer") : json(); }
json argJson(ORVANE::AVSDK::Listener* v) { return v ? json("listener") : json(); }
json argJson(const std::shared_ptr<spdlog::logger>& v) { return v ? json(v->name()) : json(); }

json argJson(const ORVANE::AvUserMap& users) {
    json out = json::object();
    for (const auto& [id, u] : users)
        out[id] = {{"name", u.name},
                   {"audioMuted", u.audioMuted},
                   {"videoMuted", u.videoMuted},
                   {"isHost", u.isHost},
                   {"isCohost", u.isCohost}};
    return out;
}

json argJson(const std::vector<ORVANE::AvLayoutItem>& items) {
    json out = json::array();
    for (const auto& i : items)
        out.push_back({{"userid", i.userid},
                       {"deviceId", i.deviceId},
                       {"displayName", i.displayName},
                       {"type", i.type},
                       {"rc", {i.rc.left, i.rc.top, i.rc.right, i.rc.bottom}},
                       {"isShow", i.isShow}});
    return out;
}

ORVANE::AvUserMap userMap(const json& users) {
    ORVANE::AvUserMap out;
    if (!users.is_object()) return out;
    for (auto it = users.begin(); it != users.end(); ++it) {
        ORVANE::AvUserInfo& u = out[it.key()];
        u.name = it->value("name", "");
        u.audioMuted = it->value("audioMuted", false);
        u.videoMuted = it->value("videoMuted", false);
        u.isHost = it->value("isHost", false);
        u.isCohost = it->value("isCohost", false);
    }
    return out;
}

}  // namespace orvtrace
