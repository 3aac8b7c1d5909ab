#include "orvanecmdtojson.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

namespace CtrlSDKUtils {
namespace OrvaneCmdToJson {

namespace {

namespace CONF = ORVANE::CONF;

constexpr std::string_view kConfmgr = "/api/quelmar/confmgr/";
constexpr std::string_view kDevicemgr = "/api/quelmar/devicemgr/";
constexpr bool kFixedVersion = true;
constexpr bool kDataVersion = false;
constexpr bool kNotRouted = false;

struct Identity {
    bool isMeetingRoomDevice = false;
    std::string deviceId;
    std::string userId;
};

std::mutex identityMutex;
Identity identity;

Identity currentIdentity() {
    std::lock_guard<std::mutex> lock(identityMutex);
    return identity;
}

// The value under `key`, or null when the data is no object or has no such key.
const json* valueAt(const json& j, std::string_view key) {
    if (!j.is_object()) return nullptr;
    const auto& members = j.get_ref<const json::object_t&>();
    // A command's data has a handful of keys: a scan that looks at the
    // lengths first compares fewer texts than a search of the tree.
    constexpr size_t kScanned = 8;
    if (members.size() <= kScanned) {
        for (const auto& [name, value] : members)
            if (name.size() == key.size() && std::string_view(name) == key) return &value;
        return nullptr;
    }
    const auto found = members.find(key);
    return found == members.end() ? nullptr : &found->second;
}

bool has(const json& j, std::string_view key) { return valueAt(j, key) != nullptr; }

// A string value in place. Any other type throws the JSON library's usual
// "type must be string" error.
const std::string& stringIn(const json& v) {
    if (!v.is_string()) static_cast<void>(v.get<std::string>());
    return v.get_ref<const std::string&>();
}

// Appends a value as it goes into a url. Forms: 's' string, 'b' bool as 1/0,
// 'n' 32-bit integer, 'u' 32-bit unsigned, 't' 64-bit integer. A value of
// another JSON type throws.
void appendUrlValue(std::string& url, const json& v, char form) {
    char digits[24];
    const auto number = [&](auto n) { url.append(digits, std::to_chars(digits, digits + sizeof digits, n).ptr); };
    switch (form) {
        case 'b':
            url += v.get<bool>() ? '1' : '0';
            break;
        case 'n':
            number(v.get<std::int32_t>());
            break;
        case 'u':
            number(v.get<std::uint32_t>());
            break;
        case 't':
            number(v.get<std::int64_t>());
            break;
        default:
            url += stringIn(v);
    }
}

// The form of a path field that this terminal fills in from its own identity,
// whatever the data says: "{i:deviceId}".
constexpr char kOwnDevice = 'i';

// Walks a path template, handing its literal text and its fields ("{key}",
// "{b:key}", "{n:key}", "{t:key}", "{i:deviceId}") to the two callbacks in
// order.
template <typename Literal, typename Field>
void walkPath(std::string_view path, Literal&& literal, Field&& field) {
    size_t pos = 0;
    while (pos < path.size()) {
        const size_t open = path.find('{', pos);
        if (open == std::string_view::npos) {
            literal(path.substr(pos));
            return;
        }
        literal(path.substr(pos, open - pos));
        const size_t close = path.find('}', open);
        std::string_view inner = path.substr(open + 1, close - open - 1);
        char form = 's';
        if (inner.size() > 2 && inner[1] == ':') {
            form = inner[0];
            inner.remove_prefix(2);
        }
        field(form, inner);
        pos = close + 1;
    }
}

// Calls `each` with every word of a list separated by single spaces.
template <typename Each>
void forEachWord(std::string_view words, Each&& each) {
    while (!words.empty()) {
        const size_t end = std::min(words.find(' '), words.size());
        each(words.substr(0, end));
        words.remove_prefix(std::min(end + 1, words.size()));
    }
}

// Appends `prefix` and the key's value when the data has the key.
void appendIfPresent(std::string& url, const json& j, const char* prefix, const char* key, char form) {
    if (const json* v = valueAt(j, key)) {
        url += prefix;
        appendUrlValue(url, *v, form);
    }
}

enum class Body {
    Null,           // the text "null"
    Empty,          // the empty string
    EmptyObject,    // the text "{}"
    Text,           // the data text as given
    PayloadKey,     // the string key "payload", required
    PayloadOrText,  // the string key "payload" if present, else the data text
    Copy,           // an object of the extra required keys, values copied
    String,         // an object of the one extra required key, a string, under the server's name for it
    Step,           // written by the row's step
};

// A body, with the name the server knows the value by for Body::String.
struct BodyOf {
    constexpr BodyOf(Body k, const char* n = nullptr) : kind(k), name(n) {}
    Body kind;
    const char* name;
};

constexpr BodyOf stringAs(const char* name) { return {Body::String, name}; }

struct Request {
    std::string url;
    std::string payload;
};

struct Row;

// What a command does beyond the common steps. It forms the request itself,
// mostly by calling formRequest and adding to what that gives; nothing means
// no request.
using Step = std::optional<Request> (*)(const Row& row, const json& j, const std::string& text);

// One command: its builder, where it goes and what it carries.
struct Row {
    const char* name;      // the builder's
    const char* function;  // the builder's qualified name, under which its lines are logged
    const char* type;      // the command type, which is the request's id
    // Views, not C strings: their lengths are known once, not counted per request.
    std::string_view verb;
    std::string_view base;     // kConfmgr or kDevicemgr
    std::string_view version;  // the default, which the data's "version" replaces
    std::string_view path;     // after the version, with fields in braces
    BodyOf body;
    const char* needs = "";  // required keys beyond the path's, separated by spaces
    bool fixed = false;      // the version can't be replaced
    Step step = nullptr;
    bool routed = true;  // the control channel sends it
};

// The steps common to the rows. Nothing when a required key is missing.
std::optional<Request> formRequest(const Row& row, const json& j, const std::string& text) {
    std::string_view version = row.version;
    if (!row.fixed)
        if (const json* v = valueAt(j, "version")) version = stringIn(*v);

    // Every required key is looked for before any is read: a missing key
    // gives no request even when another one has the wrong type.
    bool complete = true;
    const auto need = [&](std::string_view key) { complete = complete && has(j, key); };
    walkPath(
        row.path, [](std::string_view) {},
        [&](char form, std::string_view key) {
            if (form != kOwnDevice) need(key);
        });
    forEachWord(row.needs, need);
    if (row.body.kind == Body::PayloadKey) need("payload");
    if (!complete) return std::nullopt;

    Request req;
    // Room for the message around the url too: it is written in place.
    req.url.reserve(256);
    req.url += row.base;
    req.url += version;
    walkPath(
        row.path, [&](std::string_view literal) { req.url += literal; },
        [&](char form, std::string_view key) {
            if (form == kOwnDevice)
                req.url += currentIdentity().deviceId;
            else
                appendUrlValue(req.url, *valueAt(j, key), form);
        });

    switch (row.body.kind) {
        case Body::Null:
            req.payload = "null";
            break;
        case Body::Empty:
        case Body::Step:
            break;
        case Body::EmptyObject:
            req.payload = "{}";
            break;
        case Body::Text:
            req.payload = text;
            break;
        case Body::PayloadKey:
            req.payload = j.at("payload").get<std::string>();
            break;
        case Body::PayloadOrText:
            req.payload = has(j, "payload") ? j.at("payload").get<std::string>() : text;
            break;
        case Body::Copy: {
            json body = json::object();
            forEachWord(row.needs, [&](std::string_view key) { body[std::string(key)] = j.at(key); });
            req.payload = dump(body);
            break;
        }
        case Body::String:
            req.payload = dump(json::object({{row.body.name, j.at(row.needs).get<std::string>()}}));
            break;
    }
    return req;
}

// Logs at error level under the row's builder, as a line of its own would be.
void logError(const Row& row, const std::string& text) {
    if (auto logger = ORVANE::OrvaneGlobalLogger())
        logger->log(spdlog::source_loc{__FILE__, __LINE__, row.function}, spdlog::level::err, text);
}

// ---- The steps of the commands that need more than the common ones ----

// The common steps, with a line logged for each refusal.
std::optional<Request> logParseAndFormatErrors(const Row& row, const json& j, const std::string& text) {
    if (j.is_discarded() || j.is_null()) {
        logError(row, std::string(row.function) + ": Error, json data parse error, data=" + text);
        return std::nullopt;
    }
    auto req = formRequest(row, j, text);
    if (!req) logError(row, std::string(row.function) + ": Error, data format error, data=" + text);
    return req;
}

// The common steps, with one line when they refuse.
std::optional<Request> logBadArguments(const Row& row, const json& j, const std::string& text) {
    auto req = formRequest(row, j, text);
    if (!req) logError(row, std::string("OrvaneCmdToJson::") + row.name + ": 参数不正确\n");
    return req;
}

std::optional<Request> infoStartTime(const Row& row, const json& j, const std::string& text) {
    auto req = formRequest(row, j, text);
    if (req) appendIfPresent(req->url, j, "?starttime=", "starttime", 'n');
    return req;
}

std::optional<Request> searchQuery(const Row& row, const json& j, const std::string& text) {
    auto req = formRequest(row, j, text);
    if (!req) return req;
    std::string& url = req->url;
    if (safeString(j, "platform") == "qx500") {
        // This terminal always shows ten meetings each way and can't ask for more.
        url += "&history=10&future=10";
    } else {
        if (has(j, "history") && j.at("history").is_string()) url += "&history=" + j.at("history").get<std::string>();
        if (has(j, "future") && j.at("future").is_string()) url += "&future=" + j.at("future").get<std::string>();
    }
    appendIfPresent(url, j, "&starttime=", "startTime", 't');
    appendIfPresent(url, j, "&endtime=", "endTime", 't');
    appendIfPresent(url, j, "&count=", "count", 'u');
    appendIfPresent(url, j, "&offset=", "offset", 'u');
    const Identity me = currentIdentity();
    url += "&participantid=" + (me.isMeetingRoomDevice ? me.deviceId : me.userId);
    return req;
}

std::optional<Request> extendBody(const Row& row, const json& j, const std::string& text) {
    auto req = formRequest(row, j, text);
    if (!req) return req;
    json body = json::object();
    body["deletedConferences"] = has(j, "deletedConferences") ? j.at("deletedConferences") : json(nullptr);
    req->payload = dump(body);
    // At error level so that it shows in logs filtered to errors.
    logError(row, std::string(row.function) + ": url=" + req->url);
    return req;
}

std::optional<Request> recordWord(const Row& row, const json& j, const std::string& text) {
    // The recording service reads a word here, not the usual 1/0.
    auto req = formRequest(row, j, text);
    if (req) req->url += j.at("record").get<bool>() ? "?record=true" : "?record=false";
    return req;
}

// The synctype picks the path and the keys the body may carry.
std::optional<Request> syncData(const Row& row, const json& j, const std::string& text) {
    struct Kind {
        const char* synctype;
        const char* path;
        // Data key and the name the server knows it by, in the order tried.
        std::vector<std::pair<const char*, const char*>> candidates;
    };
    static const Kind kKinds[] = {
        {"device", "/conference/{conferenceid}/endpoint/{externaldeviceid}/syncdata",
         {{"camera", "camera"}, {"microphone", "microphone"}, {"isCohost", "isOperator"}}},
        {"conference", "/conference/{conferenceid}/syncdata", {{"recordStatus", "recordStatus"}, {"isLock", "locked"}}},
    };
    const std::string synctype = safeString(j, "synctype");
    const auto kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                   [&](const Kind& k) { return synctype == k.synctype; });
    if (kind == std::end(kKinds)) return std::nullopt;
    Row variant = row;
    variant.path = kind->path;
    auto req = formRequest(variant, j, text);
    if (!req) return req;
    // The server takes one value per request: the last candidate present wins.
    json body;
    for (const auto& [key, name] : kind->candidates)
        if (has(j, key)) body = json::object({{name, j.at(key).get<bool>()}});
    req->payload = dump(body);
    return req;
}

std::optional<Request> roomSearchQuery(const Row& row, const json& j, const std::string& text) {
    auto req = formRequest(row, j, text);
    if (!req) return req;
    const Identity me = currentIdentity();
    req->url += me.isMeetingRoomDevice ? "deviceid=" + me.deviceId : "userid=" + me.userId;
    return req;
}

std::optional<Request> roomPeriod(const Row& row, const json& j, const std::string& text) {
    auto req = formRequest(row, j, text);
    // A period is all or nothing: half of one asks for every room.
    if (req && has(j, "starttime") && has(j, "endtime")) {
        std::string& url = req->url;
        appendIfPresent(url, j, "?starttime=", "starttime", 't');
        appendIfPresent(url, j, "&endtime=", "endtime", 't');
        appendIfPresent(url, j, "&distinguish=", "distinguish", 'b');
        appendIfPresent(url, j, "&excludeconferenceid=", "excludeconferenceid", 's');
        appendIfPresent(url, j, "&cron=", "cron", 's');
        appendIfPresent(url, j, "&recurrencestarttime=", "recurrencestarttime", 't');
        appendIfPresent(url, j, "&recurrenceendtime=", "recurrenceendtime", 't');
    }
    return req;
}

// The rows of rest_commands.def, by builder.
enum class Cmd {
#define REST_COMMAND(builder, ...) builder,
#include "rest_commands.def"
#undef REST_COMMAND
    count
};

const Row* rows() {
    static const Row table[] = {
#define REST_COMMAND(builder, takes, ...) Row{#builder, "CtrlSDKUtils::OrvaneCmdToJson::" #builder, __VA_ARGS__},
#include "rest_commands.def"
#undef REST_COMMAND
    };
    return table;
}

const Row& rowOf(Cmd cmd) { return rows()[static_cast<size_t>(cmd)]; }

std::string run(const Row& row, const std::string& id, const std::string& data) {
    const json j = parseQuiet(data);
    auto req = row.step ? row.step(row, j, data) : formRequest(row, j, data);
    return req ? restEnvelope(id, std::move(req->url), row.verb, req->payload) : std::string();
}

}  // namespace

void setCmdIdentity(bool isMeetingRoomDevice, const std::string& deviceId, const std::string& /*deviceName*/,
                    const std::string& userId, const std::string& /*reserved*/) {
    std::lock_guard<std::mutex> lock(identityMutex);
    identity.isMeetingRoomDevice = isMeetingRoomDevice;
    identity.deviceId = deviceId;
    identity.userId = userId;
}

std::string restEnvelope(std::string_view id, std::string url, std::string_view verb, std::string_view payload) {
    // Written straight from the parts, keys in the order dump would sort them.
    static constexpr std::string_view kOpen = "{\"id\":";
    static constexpr std::string_view kToPayload = ",\"method\":\"quelmar\",\"msg\":\"method\",\"params\":[{\"payload\":";
    static constexpr std::string_view kToType = ",\"type\":";
    static constexpr std::string_view kToUrl = ",\"url\":";
    static constexpr std::string_view kClose = "}]}";
    // With the quotes of the four texts.
    constexpr size_t kFixed = kOpen.size() + kToPayload.size() + kToType.size() + kToUrl.size() + kClose.size() + 8;
    if (isPlainJsonText(id) && isPlainJsonText(payload) && isPlainJsonText(verb) && isPlainJsonText(url)) {
        // The usual case, nothing to escape. The url comes last, so the
        // message is written around it in its own buffer: its bytes move to
        // the end and the rest goes in front.
        const size_t urlSize = url.size();
        url.resize(kFixed + id.size() + urlSize + verb.size() + payload.size());
        char* const begin = url.data();
        std::memmove(begin + url.size() - kClose.size() - 1 - urlSize, begin, urlSize);
        char* at = begin;
        const auto put = [&](std::string_view part) {
            std::memcpy(at, part.data(), part.size());
            at += part.size();
        };
        const auto quoted = [&](std::string_view part) {
            *at++ = '"';
            put(part);
            *at++ = '"';
        };
        put(kOpen);
        quoted(id);
        put(kToPayload);
        quoted(payload);
        put(kToType);
        quoted(verb);
        put(kToUrl);
        *at++ = '"';
        at += urlSize;  // already in place
        *at++ = '"';
        put(kClose);
        return url;
    }
    std::string out;
    // Room for a few escapes too: one allocation.
    out.reserve(kFixed + id.size() + url.size() + verb.size() + payload.size() + payload.size() / 8);
    out += kOpen;
    appendJsonString(out, id);
    out += kToPayload;
    appendJsonString(out, payload);
    out += kToType;
    appendJsonString(out, verb);
    out += kToUrl;
    appendJsonString(out, url);
    out += kClose;
    return out;
}

RestBuilder restBuilderFor(const std::string& type) {
    // Every command sent looks its row up: by hash, not down the table.
    static const std::unordered_map<std::string_view, const Row*> byType = [] {
        std::unordered_map<std::string_view, const Row*> index;
        for (const Row* row = rows(); row != rows() + static_cast<size_t>(Cmd::count); ++row)
            if (row->routed) index.emplace(row->type, row);  // the first row of a type wins
        return index;
    }();
    const auto found = byType.find(type);
    if (found == byType.end()) return {};
    const Row* row = found->second;
    return [row](const std::string& id, const std::string& data) { return run(*row, id, data); };
}

}  // namespace OrvaneCmdToJson
}  // namespace CtrlSDKUtils

// The named builders, one a row.
#define ORVANE_REST_TAKES_Data(builder)                                           \
    std::string CtrlSDKUtils::OrvaneCmdToJson::builder(const std::string& data) { \
        const Row& row = rowOf(Cmd::builder);                                     \
        return run(row, row.type, data);                                          \
    }
#define ORVANE_REST_TAKES_Type(builder)                                                                     \
    std::string CtrlSDKUtils::OrvaneCmdToJson::builder(const std::string& type, const std::string& data) { \
        return run(rowOf(Cmd::builder), type, data);                                                        \
    }
#define REST_COMMAND(builder, takes, ...) ORVANE_REST_TAKES_##takes(builder)
#include "rest_commands.def"
#undef REST_COMMAND
#undef ORVANE_REST_TAKES_Type
#undef ORVANE_REST_TAKES_Data
