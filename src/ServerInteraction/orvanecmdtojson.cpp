#include "orvanecmdtojson.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

namespace CtrlSDKUtils {
namespace OrvaneCmdToJson {

namespace {

namespace CONF = ORVANE::CONF;

const char* const kConfmgr = "/api/quelmar/confmgr/";
const char* const kDevicemgr = "/api/quelmar/devicemgr/";
constexpr bool kFixedVersion = true;

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

bool has(const json& j, const std::string& key) { return j.is_object() && j.find(key) != j.end(); }

// A value as it goes into a url. Forms: 's' string, 'b' bool as 1/0,
// 'n' 32-bit integer, 'u' 32-bit unsigned, 't' 64-bit integer. A value of
// another JSON type throws.
std::string urlValue(const json& v, char form) {
    switch (form) {
        case 'b':
            return v.get<bool>() ? "1" : "0";
        case 'n':
            return std::to_string(v.get<std::int32_t>());
        case 'u':
            return std::to_string(v.get<std::uint32_t>());
        case 't':
            return std::to_string(v.get<std::int64_t>());
        default:
            return v.get<std::string>();
    }
}

// Walks a path template, handing its literal text and its fields ("{key}",
// "{b:key}", "{n:key}", "{t:key}") to the two callbacks in order.
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
        field(form, std::string(inner));
        pos = close + 1;
    }
}

// Appends `prefix` and the key's value when the data has the key.
void appendIfPresent(std::string& url, const json& j, const char* prefix, const char* key, char form) {
    if (has(j, key)) url += prefix + urlValue(j.at(key), form);
}

enum class Body {
    Null,           // the text "null"
    Empty,          // the empty string
    Text,           // the data text as given
    PayloadKey,     // the string key "payload", required
    PayloadOrText,  // the string key "payload" if present, else the data text
    Copy,           // an object of the extra required keys, values copied
};

// One command: where it goes and what it carries.
struct Row {
    const char* id;
    const char* verb;
    const char* base;     // kConfmgr or kDevicemgr
    const char* version;  // the default, which the data's "version" replaces
    const char* path;     // after the version, with fields in braces
    Body body;
    std::vector<const char*> needs = {};  // required keys beyond the path's
    bool fixed = false;                   // the version can't be replaced
};

struct Request {
    std::string url;
    std::string payload;
};

// The steps common to the rows. Nothing when a required key is missing.
std::optional<Request> formRequest(const Row& row, const json& j, const std::string& text) {
    std::string version = row.version;
    if (!row.fixed && has(j, "version")) version = j.at("version").get<std::string>();

    // Every required key is looked for before any is read: a missing key
    // gives no request even when another one has the wrong type.
    bool complete = true;
    walkPath(
        row.path, [](std::string_view) {}, [&](char, const std::string& key) { complete = complete && has(j, key); });
    for (const char* key : row.needs) complete = complete && has(j, key);
    if (row.body == Body::PayloadKey) complete = complete && has(j, "payload");
    if (!complete) return std::nullopt;

    Request req;
    req.url = std::string(row.base) + version;
    walkPath(
        row.path, [&](std::string_view literal) { req.url += literal; },
        [&](char kind, const std::string& key) { req.url += urlValue(j.at(key), kind); });

    switch (row.body) {
        case Body::Null:
            req.payload = "null";
            break;
        case Body::Empty:
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
            for (const char* key : row.needs) body[key] = j.at(key);
            req.payload = dump(body);
            break;
        }
    }
    return req;
}

std::string envelope(const Row& row, const Request& req) {
    return restEnvelope(row.id, req.url, row.verb, req.payload);
}

std::string build(const Row& row, const std::string& data) {
    const json j = parseQuiet(data);
    const auto req = formRequest(row, j, data);
    return req ? envelope(row, *req) : std::string();
}

}  // namespace

void setCmdIdentity(bool isMeetingRoomDevice, const std::string& deviceId, const std::string& /*deviceName*/,
                    const std::string& userId, const std::string& /*reserved*/) {
    std::lock_guard<std::mutex> lock(identityMutex);
    identity.isMeetingRoomDevice = isMeetingRoomDevice;
    identity.deviceId = deviceId;
    identity.userId = userId;
}

std::string restEnvelope(const std::string& id, const std::string& url, const std::string& verb,
                         const std::string& payload) {
    json param = json::object();
    param["payload"] = payload;
    param["type"] = verb;
    param["url"] = url;
    json msg = json::object();
    msg["id"] = id;
    msg["method"] = "quelmar";
    msg["msg"] = "method";
    msg["params"] = json::array({param});
    return dump(msg);
}

// ---- Conferences ----

std::string conf_ping(const std::string& data) {
    return build({CONF::PING, "get", kConfmgr, "1.0", "/conference/{conferenceid}/endpoint/{externaldeviceid}/ping",
                  Body::Empty},
                 data);
}

std::string conf_info(const std::string& data) {
    const Row row{CONF::INFO, "get", kConfmgr, "1.0", "/conference/{confid}", Body::Null};
    const json j = parseQuiet(data);
    auto req = formRequest(row, j, data);
    if (!req) return {};
    if (has(j, "starttime")) req->url += "?starttime=" + urlValue(j.at("starttime"), 'n');
    return envelope(row, *req);
}

std::string conf_short_info(const std::string& data) {
    return build({CONF::SHORTINFO, "get", kConfmgr, "2.0", "/conference/{confid}/short", Body::Null}, data);
}

std::string conf_search(const std::string& type, const std::string& data) {
    const json j = parseQuiet(data);
    std::string url = "/api/quelmar/confmgr/2.0/conference/search?";
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
    return restEnvelope(type, url, "get", "{}");
}

std::string conf_create(const std::string& data) {
    return build({CONF::CREATE, "post", kConfmgr, "2.0", "/conference", Body::PayloadOrText}, data);
}

std::string conf_update(const std::string& data) {
    return build({CONF::UPDATE, "put", kConfmgr, "1.0", "/conference/{confid}", Body::PayloadKey}, data);
}

std::string conf_delete(const std::string& data) {
    return build({CONF::CONFDELETE, "delete", kConfmgr, "1.0", "/conference/{confid}", Body::Null}, data);
}

std::string conf_extend(const std::string& data) {
    const Row row{CONF::CONFEXTEND, "put", kConfmgr, "2.0",
                  "/conference/{confid}/control/extend?minutes={n:minutes}&refMentionId={refMentionId}", Body::Null};
    const json j = parseQuiet(data);
    auto req = formRequest(row, j, data);
    if (!req) return {};
    json body = json::object();
    body["deletedConferences"] = has(j, "deletedConferences") ? j.at("deletedConferences") : json(nullptr);
    req->payload = dump(body);
    // At error level so that it shows in logs filtered to errors.
    LOG_ERROR("CtrlSDKUtils::OrvaneCmdToJson::conf_extend: url={}", req->url);
    return envelope(row, *req);
}

std::string conf_info_by_dialnum(const std::string& data) {
    return build({CONF::CONFINFO_BY_DIALNUM, "get", kConfmgr, "2.0", "/conference/dialnumber/{dialnum}", Body::Null,
                  {}, kFixedVersion},
                 data);
}

std::string conf_turn_as_controller(const std::string& data) {
    return build({CONF::TURNASCONTROLLER, "put", kConfmgr, "2.0",
                  "/conference/{conferenceid}/endpoint/{externaldeviceid}/turnascontroller", Body::Null},
                 data);
}

std::string conf_prerecord(const std::string& data) {
    // The recording service reads a word here, not the usual 1/0.
    const Row row{CONF::PRERECORD, "put", kConfmgr, "2.0", "/conference/{confid}/control/record", Body::Null,
                  {"record"}};
    const json j = parseQuiet(data);
    auto req = formRequest(row, j, data);
    if (!req) return {};
    req->url += j.at("record").get<bool>() ? "?record=true" : "?record=false";
    return envelope(row, *req);
}

std::string conf_calendar_preview(const std::string& data) {
    return build({CONF::CALENDARPREVIEW, "get", kConfmgr, "2.0",
                  "/conference/calendar?&starttime={t:startTime}&endtime={t:endTime}&participantid={participantID}",
                  Body::Null},
                 data);
}

std::string conf_syncdata(const std::string& data) {
    const json j = parseQuiet(data);
    const std::string synctype = safeString(j, "synctype");
    Row row{CONF::SYNCDATA, "put", kConfmgr, "2.0", "", Body::Null};
    // Data key and the name the server knows it by, in the order tried.
    std::vector<std::pair<const char*, const char*>> candidates;
    if (synctype == "device") {
        row.path = "/conference/{conferenceid}/endpoint/{externaldeviceid}/syncdata";
        candidates = {{"camera", "camera"}, {"microphone", "microphone"}, {"isCohost", "isOperator"}};
    } else if (synctype == "conference") {
        row.path = "/conference/{conferenceid}/syncdata";
        candidates = {{"recordStatus", "recordStatus"}, {"isLock", "locked"}};
    } else {
        return {};
    }
    auto req = formRequest(row, j, data);
    if (!req) return {};
    // The server takes one value per request: the last candidate present wins.
    json body;
    for (const auto& [key, name] : candidates)
        if (has(j, key)) body = json::object({{name, j.at(key).get<bool>()}});
    req->payload = dump(body);
    return envelope(row, *req);
}

std::string conf_change_invite_mode(const std::string& data) {
    return build({CONF::CHANGEINVITEMODE, "put", kConfmgr, "2.0",
                  "/conference/{conferenceid}/control/invitemode?invitemode={n:invitemode}", Body::Null},
                 data);
}

std::string conf_shared_link(const std::string& data) {
    return build(
        {CONF::SHAREDLINK, "get", kConfmgr, "2.0", "/conference/{conferenceid}/sharedlink?l={lang}", Body::Null}, data);
}

std::string conf_update_guest_name(const std::string& data) {
    static const char* const kName = "CtrlSDKUtils::OrvaneCmdToJson::conf_update_guest_name";
    const json j = parseQuiet(data);
    if (j.is_discarded() || j.is_null()) {
        LOG_ERROR("{}: Error, json data parse error, data={}", kName, data);
        return {};
    }
    const Row row{CONF::UPDATEGUESTNAME, "put", kDevicemgr, "1.0", "/device/{deviceid}/guestname", Body::Null,
                  {"name"}, kFixedVersion};
    auto req = formRequest(row, j, data);
    if (!req) {
        LOG_ERROR("{}: Error, data format error, data={}", kName, data);
        return {};
    }
    req->payload = dump(json::object({{"deviceName", j.at("name").get<std::string>()}}));
    return envelope(row, *req);
}

// ---- Meeting rooms and local rooms ----

std::string room_search(const std::string& type, const std::string& /*data*/) {
    const Identity me = currentIdentity();
    std::string url = "/api/quelmar/confmgr/2.0/meetingroom/search?";
    url += me.isMeetingRoomDevice ? "deviceid=" + me.deviceId : "userid=" + me.userId;
    return restEnvelope(type, url, "get", "{}");
}

std::string room_available(const std::string& data) {
    const Row row{CONF::ROOMAVAILABLE, "get", kConfmgr, "2.0", "/meetingroom/available", Body::Null};
    const json j = parseQuiet(data);
    auto req = formRequest(row, j, data);
    if (!req) return {};
    // A period is all or nothing: half of one asks for every room.
    if (has(j, "starttime") && has(j, "endtime")) {
        std::string& url = req->url;
        url += "?starttime=" + urlValue(j.at("starttime"), 't');
        url += "&endtime=" + urlValue(j.at("endtime"), 't');
        appendIfPresent(url, j, "&distinguish=", "distinguish", 'b');
        appendIfPresent(url, j, "&excludeconferenceid=", "excludeconferenceid", 's');
        appendIfPresent(url, j, "&cron=", "cron", 's');
        appendIfPresent(url, j, "&recurrencestarttime=", "recurrencestarttime", 't');
        appendIfPresent(url, j, "&recurrenceendtime=", "recurrenceendtime", 't');
    }
    return envelope(row, *req);
}

std::string room_shared_link(const std::string& data) {
    return build({CONF::ROOMSHAREDLINK, "get", kConfmgr, "2.0", "/meetingroom/sharedlink?l={lang}&roomid={roomid}",
                  Body::Null},
                 data);
}

std::string room_info(const std::string& data) {
    return build({CONF::ROOMINFO, "get", kConfmgr, "1.0", "/meetingroom/{roomid}", Body::Null}, data);
}

std::string room_create(const std::string& data) {
    return build({CONF::ROOMCREATE, "put", kConfmgr, "1.0", "/meetingroom/", Body::PayloadKey}, data);
}

std::string room_update(const std::string& data) {
    return build({CONF::ROOMUPDATE, "put", kConfmgr, "1.0", "/meetingroom/{roomid}", Body::PayloadKey}, data);
}

std::string room_delete(const std::string& data) {
    return build({CONF::ROOMDELETE, "delete", kConfmgr, "1.0", "/meetingroom/{roomid}", Body::Null}, data);
}

std::string room_owner(const std::string& data) {
    return build({CONF::ROOMOWNER, "get", kConfmgr, "1.0", "/meetingroom/?ownerid={userid}", Body::Null}, data);
}

std::string local_room_detail(const std::string& data) {
    return build({CONF::LOCALROOMDETAIL, "get", kDevicemgr, "1.0", "/localroom/{localRoomId}", Body::Null}, data);
}

std::string local_room_search(const std::string& data) {
    return build({CONF::LOCALROOMSEARCH, "get", kDevicemgr, "1.0", "/localroom/search", Body::Null}, data);
}

// ---- Conference templates ----

std::string template_detail(const std::string& data) {
    return build({CONF::TEMPLATEDETAIL, "get", kConfmgr, "2.0", "/conference/template/{confid}", Body::Null}, data);
}

std::string template_update(const std::string& data) {
    return build({CONF::TEMPLATEUPDATE, "put", kConfmgr, "2.0", "/conference/template/{templateid}", Body::PayloadKey},
                 data);
}

std::string template_create(const std::string& data) {
    return build({CONF::TEMPLATECREATE, "post", kConfmgr, "2.0", "/conference/template", Body::PayloadKey}, data);
}

std::string template_delete(const std::string& data) {
    return build({CONF::TEMPLATEDELETE, "delete", kConfmgr, "2.0", "/conference/template/{templateid}", Body::Null},
                 data);
}

std::string template_search(const std::string& data) {
    return build({CONF::TEMPLATESEARCH, "get", kConfmgr, "2.0", "/conference/template/search?userid={userid}",
                  Body::Null},
                 data);
}

// ---- Control of a running conference ----

std::string confControl_join(const std::string& data) {
    return build({CONF::JOIN, "get", kConfmgr, "1.0",
                  "/conference/invitation?dialnumber={dialnumber}&passcode={passcode}", Body::Null},
                 data);
}

std::string confControl_terminate(const std::string& data) {
    return build({CONF::TERMINATE, "put", kConfmgr, "2.0", "/conference/{confid}/control/terminate", Body::Null},
                 data);
}

std::string confControl_add_participant(const std::string& data) {
    return build({CONF::ADDPARTICIPANT, "post", kConfmgr, "2.0", "/conference/{confid}/participant", Body::Copy,
                  {"participants", "enableNotification"}},
                 data);
}

std::string confControl_disconnect_participant(const std::string& data) {
    return build({CONF::DISCONNECTPARTICIPANT, "put", kConfmgr, "2.0",
                  "/conference/{confid}/endpoint/{externalDeviceId}/control/disconnect", Body::Null},
                 data);
}

std::string confControl_mute_audio(const std::string& data) {
    return build({CONF::MUTEAUDIO, "put", kConfmgr, "2.0",
                  "/conference/{confid}/endpoint/{guid}/control/mute?mute={b:mute}", Body::Null},
                 data);
}

std::string confControl_mute_audio_local(const std::string& data) {
    return build({CONF::MUTEAUDIOLOCAL, "put", kConfmgr, "2.0",
                  "/conference/{confid}/endpoint/{externaldeviceid}/status/mute/?mute={b:mute}", Body::Null},
                 data);
}

std::string confControl_admin_allow_unmute(const std::string& data) {
    return build({CONF::ADMINALLOWUNMUTE, "put", kConfmgr, "1.0",
                  "/conference/{confid}/control/allowunmute?allow={b:allow}", Body::Null},
                 data);
}

std::string confControl_mute_all(const std::string& data) {
    return build({CONF::MUTEALL, "put", kConfmgr, "2.0", "/conference/{confid}/control/muteall?mute={b:mute}",
                  Body::Null},
                 data);
}

std::string confControl_authority(const std::string& data) {
    return build(
        {CONF::AUTHORITY, "put", kConfmgr, "1.0",
         "/conference/{confid}/participant/{participantid}/control/authority?authority={b:authority}", Body::Null},
        data);
}

std::string confControl_reclaim_host(const std::string& data) {
    return build({CONF::RECLAIMHOST, "put", kConfmgr, "2.0",
                  "/conference/{confid}/endpoint/{externalDeviceId}/control/authority?authority=true&host=true",
                  Body::Null},
                 data);
}

std::string confControl_handup(const std::string& data) {
    return build({CONF::HANDUP, "put", kConfmgr, "2.0",
                  "/conference/{confid}/endpoint/{guid}/handup?handup={b:ishandup}", Body::Null},
                 data);
}

std::string confControl_sign_control(const std::string& data) {
    return build(
        {CONF::SIGNCONTROL, "put", kConfmgr, "2.0", "/conference/{confid}/control/sign", Body::Copy, {"signConfig"}},
        data);
}

std::string confControl_signing(const std::string& data) {
    return build({CONF::SIGNING, "put", kConfmgr, "2.0", "/conference/{confid}/control/sign/{t:starttime}/result",
                  Body::Copy, {"signResult"}},
                 data);
}

std::string confControl_roll_control(const std::string& data) {
    return build(
        {CONF::ROLLCONTROL, "put", kConfmgr, "2.0", "/conference/{confid}/control/roll", Body::Copy, {"rollConfig"}},
        data);
}

std::string confControl_rolling(const std::string& data) {
    // Unlike signing, the roll's start time travels as text.
    return build({CONF::ROLLING, "put", kConfmgr, "2.0", "/conference/{confid}/control/roll/{starttime}/result",
                  Body::Copy, {"rollResult"}},
                 data);
}

std::string confControl_content_share(const std::string& data) {
    return build({CONF::CONTENTSHARE, "put", kConfmgr, "2.0",
                  "/conference/{confid}/endpoint/{externalDeviceId}/contentshare?contentshare={b:isOpen}", Body::Null},
                 data);
}

std::string confControl_endpoints(const std::string& data) {
    return build({CONF::ENDPOINTS, "get", kConfmgr, "2.0", "/conference/{confid}/controlpanel/", Body::Null}, data);
}

std::string confControl_legacys(const std::string& data) {
    return build({CONF::LEGACYS, "get", kDevicemgr, "1.0", "/device/legacy/type?devicetype={type}", Body::Null}, data);
}

std::string confControl_sync_controlpanel(const std::string& type, const std::string& data) {
    // The body carries the conference id; the text is passed on unread.
    return restEnvelope(type, "/api/quelmar/confmgr/2.0/conference/control/synccontrolpanel", "put", data);
}

std::string confControl_refuse(const std::string& data) {
    std::string wire = build({CONF::REFUSE, "put", kConfmgr, "1.0",
                              "/conference/{confid}/participant/{participantid}/deny", Body::Null},
                             data);
    if (wire.empty()) LOG_ERROR("OrvaneCmdToJson::confControl_refuse: 参数不正确\n");
    return wire;
}

std::string confControl_connection_status(const std::string& data) {
    return build({CONF::CONNECTIONSTATUS, "put", kConfmgr, "1.0",
                  "/conference/{confid}/endpoint/{externaldeviceid}/connection?status={status}", Body::Null},
                 data);
}

std::string confControl_layout(const std::string& data) {
    return build({CONF::LAYOUT, "put", kConfmgr, "1.0", "/conference/{confid}/control/layout?layout={layout}",
                  Body::Null},
                 data);
}

// ---- Devices ----

std::string device_search(const std::string& type, const std::string& data) {
    return build({type.c_str(), "get", kDevicemgr, "1.0", "/device/search", Body::Null}, data);
}

std::string device_details(const std::string& type, const std::string& data) {
    return build({type.c_str(), "get", kDevicemgr, "1.0", "/device/{deviceId}", Body::Null}, data);
}

std::string device_metadata(const std::string& type, const std::string& data) {
    return build({type.c_str(), "get", kDevicemgr, "1.0", "/device/metadata", Body::Null}, data);
}

std::string device_list(const std::string& type, const std::string& data) {
    return build({type.c_str(), "post", kDevicemgr, "1.0", "/device", Body::Text}, data);
}

std::string device_update_name(const std::string& data) {
    const Row row{CONF::UPDATEDEVICENAME, "put", kDevicemgr, "1.0", "/device/{deviceid}/name", Body::Null,
                  {"devicename"}};
    const json j = parseQuiet(data);
    auto req = formRequest(row, j, data);
    if (!req) return {};
    req->payload = dump(json::object({{"deviceName", j.at("devicename").get<std::string>()}}));
    return envelope(row, *req);
}

std::string devicemgr_put_extension(const std::string& data) {
    static const char* const kName = "CtrlSDKUtils::OrvaneCmdToJson::devicemgr_put_extension";
    const json j = parseQuiet(data);
    if (j.is_discarded() || j.is_null()) {
        LOG_ERROR("{}: Error, json data parse error, data={}", kName, data);
        return {};
    }
    if (!has(j, "extension")) {
        LOG_ERROR("{}: Error, data format error, data={}", kName, data);
        return {};
    }
    // The extension belongs to this terminal, whatever the data says.
    const std::string url = "/api/quelmar/devicemgr/1.0/device/" + currentIdentity().deviceId + "/extension";
    const std::string payload = dump(json::object({{"extension", j.at("extension").get<std::string>()}}));
    return restEnvelope(CONF::DEVICEMGR_EXTENSION, url, "put", payload);
}

}  // namespace OrvaneCmdToJson
}  // namespace CtrlSDKUtils
