#include "sim_servers.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <set>
#include <utility>

// How the servers answer a REST request. Every answer is a "result" message
// carrying the request's id:
//   success: {"msg":"result","id":ID,"type":"SUCCESS","data":DATA}
//   failure: {"msg":"result","id":ID,"type":"FAILURE",
//             "data":{"result":"failure","type":FAILURE_TYPE}}
// A failure comes for a type given to failCommand, and for a lookup of
// something the servers do not know ("CONFERENCE_NOT_EXIST" and the like).
// Requests whose id is no REST command, and the control-command responses
// (id "id"), get no answer.

namespace orvsim {

namespace {

using json = nlohmann::json;

const char* const kCollection = "stream-quelmar-notify-device";
const char* const kContact = "callmaster-sim-1";

std::string eventName(const std::string& kind) { return "0/" + kind; }

std::string str(const json& j, const char* key) {
    if (!j.is_object()) return {};
    auto it = j.find(key);
    return it != j.end() && it->is_string() ? it->get<std::string>() : std::string();
}

bool flag(const json& j, const char* key) {
    if (!j.is_object()) return false;
    auto it = j.find(key);
    return it != j.end() && it->is_boolean() && it->get<bool>();
}

const json& member(const json& j, const char* key) {
    static const json none;
    if (!j.is_object()) return none;
    auto it = j.find(key);
    return it != j.end() ? *it : none;
}

// The path piece that follows `marker`, up to the next "/" or "?".
std::string segmentAfter(const std::string& url, const std::string& marker) {
    auto pos = url.find(marker);
    if (pos == std::string::npos) return {};
    pos += marker.size();
    const auto end = url.find_first_of("/?", pos);
    return url.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
}

std::string queryParam(const std::string& url, const std::string& key) {
    const auto q = url.find('?');
    if (q == std::string::npos) return {};
    std::size_t pos = q + 1;
    while (pos <= url.size()) {
        auto end = url.find('&', pos);
        if (end == std::string::npos) end = url.size();
        const std::string part = url.substr(pos, end - pos);
        const auto eq = part.find('=');
        if (eq != std::string::npos && part.compare(0, eq, key) == 0 && eq == key.size()) return part.substr(eq + 1);
        pos = end + 1;
    }
    return {};
}

std::string base64(const std::string& in) {
    static const char* const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    std::size_t i = 0;
    for (; i + 2 < in.size(); i += 3) {
        const unsigned v = (static_cast<unsigned char>(in[i]) << 16) | (static_cast<unsigned char>(in[i + 1]) << 8) |
                           static_cast<unsigned char>(in[i + 2]);
        out += digits[(v >> 18) & 63];
        out += digits[(v >> 12) & 63];
        out += digits[(v >> 6) & 63];
        out += digits[v & 63];
    }
    if (i + 1 == in.size()) {
        const unsigned v = static_cast<unsigned char>(in[i]) << 16;
        out += digits[(v >> 18) & 63];
        out += digits[(v >> 12) & 63];
        out += "==";
    } else if (i + 2 == in.size()) {
        const unsigned v = (static_cast<unsigned char>(in[i]) << 16) | (static_cast<unsigned char>(in[i + 1]) << 8);
        out += digits[(v >> 18) & 63];
        out += digits[(v >> 12) & 63];
        out += digits[(v >> 6) & 63];
        out += '=';
    }
    return out;
}

std::int64_t nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// The conference manager's endpoint object with every key at its default.
json blankEndpoint() {
    return json{{"userId", ""},          {"externalId", ""},       {"blocked", false},
                {"reject", false},       {"avatarUrl", ""},        {"username", ""},
                {"name", ""},            {"dispUserName", ""},     {"departmentId", "/"},
                {"meetingRoomDevice", false}, {"type", "USER"},    {"deviceId", ""},
                {"deviceName", ""},      {"serialNumber", ""},     {"localRoomId", ""},
                {"localRoomTitle", ""},  {"localRoomDevices", ""}, {"externalGuid", ""},
                {"externalDeviceId", ""}, {"adminMute", false},    {"localMute", false},
                {"videoMute", false},    {"connection", false},    {"handUp", false},
                {"contentShare", false}, {"endpointType", "QCD"},  {"regUserType", "system-user"},
                {"isOperator", false},   {"isLecturer", false}};
}

// The ids of the REST commands the servers know.
const std::set<std::string>& restIds() {
    static const std::set<std::string> ids = {
        "confping", "confinfo", "shortconfinfo", "confsearch", "confcreate", "confupdate", "confdelete",
        "confextend", "confinfo_by_dialnum", "confRoomsearch", "confRoomavailable", "confRoomsharedlink",
        "confRoominfo", "confRoomcreate", "confRoomupdate", "confRoomdelete", "confRoomowner",
        "confLocalRoomdetail", "confLocalRoomsearch", "confTemplatedetail", "confTemplateupdate",
        "confTemplatecreate", "confTemplatedelete", "confTemplatesearch", "confControljoin",
        "confControlterminate", "confControlAddParticipant", "confControldisconnectparticipant",
        "confControlmuteaudio", "confControlmuteaudiolocal", "confControladminallowunmute", "confControlmuteAll",
        "confControlauthority", "confControlreclaimhost", "confControlhandup", "confControlsigncontrol",
        "confControlsigning", "confControlrollcontrol", "confControlrolling", "confControlcontentshare",
        "confControlendpoints", "confControllegacys", "confControlSyncControlpanel", "confControlrefuse",
        "confControlconnectionstatus", "confDeviceSearch", "confDeviceDetails", "confDeviceMetadata",
        "confDeviceList", "turnascontroller", "confPrerecord", "confCalendarPreview", "confSyncdata",
        "confChangeinvitemode", "confsharedlink", "confUpdatedevicename", "confUpdateGuestName",
        "devicemgr_extension", "confControllayout"};
    return ids;
}

std::string roomId(const SimServers::Conference& c) { return "room-" + c.dialNumber; }
std::string templateId(const SimServers::Conference& c) { return "tpl-" + c.confid; }

}  // namespace

SimServers::SimServers(LoopbackTransport& transport, Device device)
    : transport_(transport), device_(std::move(device)), deviceName_(device_.deviceName),
      random_(std::random_device{}()) {
    transport_.setServer([this](const std::string& text) { onMessage(text); });
}

SimServers::SimServers(LoopbackTransport& transport) : SimServers(transport, Device{}) {}

SimServers::~SimServers() {
    // Waits for a message being handled here to finish.
    transport_.setServer(nullptr);
}

void SimServers::attach() {
    std::lock_guard<std::mutex> lock(mutex_);
    transport_.deliver(json{{"msg", "internal_info"},
                            {"userid", device_.userId},
                            {"token", "sim-token-" + device_.deviceId},
                            {"fileserver", "https://files.sim.local"}}
                           .dump());
    json reg = deviceData();
    reg["event"] = "device_register";
    reg["mediaPlatform"] = device_.mediaPlatform;
    if (device_.mediaPlatform == "QV") {
        reg["qvHostAddress"] = "qv.sim.local";
        reg["qvJwt"] = "sim-jwt-" + device_.deviceId;
        reg["qvUserName"] = device_.qvUserName;
        reg["qvPassword"] = base64(device_.qvPassword);
    }
    send(eventName("devicemgr_event"), reg);
}

void SimServers::addConference(const Conference& conference) {
    std::lock_guard<std::mutex> lock(mutex_);
    conferences_[conference.dialNumber] = conference;
}

void SimServers::failCommand(const std::string& type, const std::string& failureType) {
    std::lock_guard<std::mutex> lock(mutex_);
    // An empty failure type makes the command succeed again.
    if (failureType.empty())
        failures_.erase(type);
    else
        failures_[type] = failureType;
}

void SimServers::ignoreSignal(const std::string& command, bool ignore) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (ignore)
        ignored_.insert(command);
    else
        ignored_.erase(command);
}

// --- What the servers start ------------------------------------------------
// Each of these is sent with the servers' lock held, so that the order on the
// wire is the order in which the servers' state changed.

std::string SimServers::incomingCall(const std::string& fromDialNumber) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = conferences_.find(fromDialNumber);
    // The call server only rings for conferences it knows, and a device that
    // is free.
    if (it == conferences_.end()) return refuse("incoming call", "no conference has the number " + fromDialNumber);
    if (inCall()) return refuse("incoming call", "the device is in a call already");
    const Conference& c = it->second;
    json invite = {{"startLine", {{"command", "INVITE"}}},
                   {"signalHeader",
                    {{"from", {{"dialNumber", c.dialNumber}}},
                     {"to", {{"dialNumber", device_.dialNumber}}},
                     {"cseq", "123456789 INVITE"},
                     {"callId", newCallId()},
                     {"contact", {{"route", kContact}}}}},
                   {"signalBody", {{"conferenceId", c.confid}, {"externalDialNumber", c.externalDialNumber}}}};
    call_ = invite;
    enterConference(c.confid);
    callState_ = "ringing";
    sendSignal(invite);
    return {};
}

std::string SimServers::cancelCall() {
    std::lock_guard<std::mutex> lock(mutex_);
    // A call is cancelled while it is being set up, not once it stands.
    if (callState_ != "ringing" && callState_ != "accepted")
        return refuse("cancel", inCall() ? "the call is set up already" : "there is no call");
    json cancel = call_;
    cancel["startLine"] = {{"command", "CANCEL"}};
    cancel["signalHeader"]["cseq"] = "123456789 CANCEL";
    cancel["signalBody"] = {{"conferenceId", callConfid_}};
    callState_ = "ended";
    sendSignal(cancel);
    return {};
}

std::string SimServers::endCall(const std::string& reason) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!inCall()) return refuse("bye", "there is no call");
    json bye = call_;
    bye["startLine"] = {{"command", "BYE"}};
    bye["signalHeader"]["cseq"] = "123456789 BYE";
    bye["signalBody"] = {{"conferenceId", callConfid_}, {"signalMessage", {{"messageCode", reason}}}};
    callState_ = "ended";
    sendSignal(bye);
    return {};
}

std::string SimServers::moveCall(const std::string& externalDialNumber) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (callState_ != "in-call") return refuse("move", "there is no call under way");
    json update = call_;
    update["startLine"] = {{"command", "UPDATE"}};
    update["signalHeader"]["cseq"] = "123456789 UPDATE";
    update["signalBody"] = {{"conferenceId", callConfid_}, {"externalDialNumber", externalDialNumber}};
    call_ = update;
    sendSignal(update);
    return {};
}

std::string SimServers::participantJoins(const Participant& participant) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!inCall()) return refuse("join of " + participant.name, "no conference is under way");
    bool known = false;
    for (auto& p : participants_) {
        if (p.deviceId == participant.deviceId) {
            p = participant;
            known = true;
        }
    }
    if (!known) participants_.push_back(participant);
    sendEndpointChange("confmgr_participant_join", participantEndpoint(participant));
    return {};
}

std::string SimServers::participantLeaves(const std::string& deviceId) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = std::find_if(participants_.begin(), participants_.end(),
                           [&](const Participant& p) { return p.deviceId == deviceId; });
    if (it == participants_.end()) return refuse("leave of " + deviceId, deviceId + " is not in the conference");
    const Participant gone = *it;
    participants_.erase(it);
    json endpoint = participantEndpoint(gone);
    endpoint["connection"] = false;
    sendEndpointChange("confmgr_participant_leave", endpoint);
    return {};
}

std::string SimServers::controlCommand(const std::string& event, const json& fields) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!inCall()) return refuse(event, "no conference is under way");
    const std::string target = str(fields, "deviceId");
    if (!target.empty() && !isParticipant(target))
        return refuse(event, target + " is not in the conference");
    json element = fields.is_object() ? fields : json::object();
    element["event"] = event;
    if (event == "ctrl_cmd_start_sync_control_panel") portal_.syncing = flag(element, "syncing");
    if (!element.contains("cmdId")) element["cmdId"] = "cmd-" + std::to_string(nextId_++);
    if (!element.contains("conferenceId")) element["conferenceId"] = callConfid_;
    send(eventName("confmanager_event"), element);
    return {};
}

std::string SimServers::h323CallOut(const std::string& deviceName, const std::string& dialString,
                                    const std::string& protocolType, const std::string& cmdId) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!inCall()) return refuse("call-out to " + deviceName, "no conference is under way");
    send(eventName("callmaster_ctrl_cmd"),
         json{{"event", "ctrl_cmd_call_out_h323"},
              {"cmdId", cmdId},
              {"conferenceId", callConfid_},
              {"h323Device",
               {{"deviceId", "h323-" + std::to_string(nextId_++)},
                {"deviceName", deviceName},
                {"dialString", dialString},
                {"e164Num", ""},
                {"protocolType", protocolType}}}});
    return {};
}

std::string SimServers::h323HangUp(const std::string& sdkUserId, const std::string& cmdId) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!inCall()) return refuse("hang-up of " + sdkUserId, "no conference is under way");
    send(eventName("callmaster_ctrl_cmd"), json{{"event", "ctrl_cmd_hang_up_h323"},
                                                {"cmdId", cmdId},
                                                {"conferenceId", callConfid_},
                                                {"sdkUserId", sdkUserId}});
    return {};
}

void SimServers::setLog(std::function<void(const std::string&)> log) {
    std::lock_guard<std::mutex> lock(mutex_);
    log_ = std::move(log);
}

void SimServers::logout() {
    std::lock_guard<std::mutex> lock(mutex_);
    send(eventName("trans_server_autonomy"), json{{"event", "trans_autonomic_action"}, {"action", "BE_LOGOUT"}});
}

void SimServers::renameDevice(const std::string& deviceName) {
    std::lock_guard<std::mutex> lock(mutex_);
    deviceName_ = deviceName;
    send(eventName("devicemgr_event"), json{{"event", "devicemgr_device_change_device_name"},
                                            {"deviceId", device_.deviceId},
                                            {"deviceName", deviceName}});
}

// --- What the servers have seen ---------------------------------------------

std::vector<SimServers::json> SimServers::received() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

// The signals themselves (the "payload" of their messages).
std::vector<SimServers::json> SimServers::signals(const std::string& command) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<json> out;
    for (const auto& m : received_) {
        const json& params = member(m, "params");
        if (!params.is_array() || params.empty() || str(params[0], "type") != "MQ_CALLMASTER") continue;
        const json& signal = member(params[0], "payload");
        if (command.empty() || str(member(signal, "startLine"), "command") == command) out.push_back(signal);
    }
    return out;
}

// Whole messages: the id stands outside the element with the url.
std::vector<SimServers::json> SimServers::requests(const std::string& id) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<json> out;
    for (const auto& m : received_) {
        const json& params = member(m, "params");
        if (!params.is_array() || params.empty() || !params[0].is_object() || !params[0].contains("url")) continue;
        if (id.empty() || str(m, "id") == id) out.push_back(m);
    }
    return out;
}

std::string SimServers::callState() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return callState_;
}

std::vector<SimServers::Participant> SimServers::participants() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return participants_;
}

SimServers::PortalView SimServers::portal() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return portal_;
}

std::vector<SimServers::json> SimServers::payloadsOf(const std::string& type) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<json> out;
    for (const auto& m : received_) {
        const json& params = member(m, "params");
        if (params.is_array() && !params.empty() && str(params[0], "type") == type)
            out.push_back(member(params[0], "payload"));
    }
    return out;
}

std::vector<SimServers::json> SimServers::controlResponses() const { return payloadsOf("MQ_CONFMGR"); }

std::vector<SimServers::json> SimServers::calloutAnswers() const { return payloadsOf("MQ_CALLMASTER_CMD_RESP"); }

std::vector<SimServers::json> SimServers::panelReports() const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<json> out;
    for (const auto& m : received_) {
        const json& params = member(m, "params");
        if (str(m, "id").rfind("confControlSyncControlpanel", 0) != 0 || !params.is_array() || params.empty()) continue;
        out.push_back(json::parse(str(params[0], "payload"), nullptr, false));
    }
    return out;
}

// --- What the library sends --------------------------------------------------

void SimServers::onMessage(const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    json message = json::parse(text, nullptr, false);
    if (message.is_discarded()) {
        // Kept as the text itself, so that a test sees what was wrong.
        received_.push_back(json(text));
        return;
    }
    received_.push_back(message);
    const json& params = member(message, "params");
    if (str(message, "msg") != "method" || !params.is_array() || params.empty() || !params[0].is_object()) return;
    const json& element = params[0];
    if (str(element, "type") == "MQ_CALLMASTER") {
        onSignal(member(element, "payload"));
    } else if (str(element, "type") == "MQ_CONFMGR") {
        // The answer to "ctrl_cmd_start_sync_control_panel" carries the
        // whole control panel.
        const json& retData = member(member(element, "payload"), "retData");
        if (retData.is_object()) learnPanel(retData);
    } else if (element.contains("url")) {
        onRest(str(message, "id"), element);
    }
    // Anything else (the control-command and device-event responses) is
    // only recorded.
}

// The call server. Runs with mutex_ held.
void SimServers::onSignal(json signal) {
    const std::string command = str(member(signal, "startLine"), "command");
    const std::string callId = str(member(signal, "signalHeader"), "callId");
    const bool sameCall = !call_.is_null() && callId == str(member(call_, "signalHeader"), "callId");
    const std::string guid = str(member(signal, "signalBody"), "externalGuid");
    if (ignored_.count(command)) return;

    if (command == "REGISTER" || command == "UNREGISTER") {
        signal["startLine"]["command"] = "OK";
        sendSignal(signal);
    } else if (command == "INVITE") {
        onInvite(signal);
    } else if (command == "ACK") {
        if (!sameCall) return;
        if (!guid.empty()) myGuid_ = guid;
        call_ = signal;
        if (callState_ == "accepted") callState_ = "in-call";
    } else if (command == "ACCEPTED") {
        // The answer to the server's INVITE: the server's ACK ends the setup.
        if (!sameCall || callState_ != "ringing") return;
        if (!guid.empty()) myGuid_ = guid;
        json ack = signal;
        ack["startLine"]["command"] = "ACK";
        ack["signalHeader"]["cseq"] = "123456789 ACK";
        call_ = ack;
        callState_ = "in-call";
        sendSignal(ack);
    } else if (command == "OK" || command == "UPDATE") {
        // The engine id after a lobby or a move.
        if (!sameCall) return;
        if (!guid.empty()) myGuid_ = guid;
        call_ = signal;
    } else if (command == "BYE" || command == "ERROR") {
        // The library's BYE carries an identifier of its own: it ends
        // whatever call there is.
        if (inCall()) callState_ = "ended";
    }
}

// Runs with mutex_ held.
void SimServers::onInvite(const json& invite) {
    const json& body = member(invite, "signalBody");
    const std::string dialNumber = str(member(member(invite, "signalHeader"), "to"), "dialNumber");
    callState_ = "inviting";

    // The ERROR answers keep the INVITE's header: the library takes only an
    // ERROR with its own call identifier.
    auto refuse = [&](int code, const std::string& message, const json& reason) {
        json error = {{"startLine", {{"command", "ERROR"}, {"statusCode", {{"code", code}, {"message", message}}}}},
                      {"signalHeader", member(invite, "signalHeader")},
                      {"signalBody", json::object()}};
        if (!reason.is_null()) error["startLine"]["statusCode"]["reason"] = reason;
        this->refuse("INVITE to " + dialNumber, message);
        call_ = json();
        callConfid_.clear();
        callState_ = "ended";
        sendSignal(error);
    };

    auto it = conferences_.find(dialNumber);
    if (it == conferences_.end()) return refuse(404, "CONFERENCE_NOT_EXIST", json());
    Conference& c = it->second;
    if (!c.passcode.empty() && str(body, "joinPassword").empty())
        return refuse(403, "CONFERENCE_JOIN_FAIL_MISSING_PASSCODE", json());
    if (!c.passcode.empty() && str(body, "joinPassword") != c.passcode)
        return refuse(403, "CONFERENCE_JOIN_FAIL_INVALID_PASSCODE", json());
    if (c.busy) {
        if (!flag(body, "force"))
            return refuse(409, "CONFERENCE_ROOM_CONFLICT", json::array({{{"conferenceId", c.busyConfid}}}));
        // Forced: the room is taken over from the conference that held it.
        c.busy = false;
        c.busyConfid.clear();
    }

    json accepted = invite;
    accepted["startLine"] = {{"command", "ACCEPTED"}};
    accepted["signalHeader"]["contact"] = {{"route", kContact}};
    accepted["signalBody"] = {{"externalDialNumber", c.externalDialNumber}, {"conferenceId", c.confid}};
    call_ = accepted;
    enterConference(c.confid);
    callState_ = "accepted";
    sendSignal(accepted);
}

// The conference manager and the device manager. Runs with mutex_ held.
void SimServers::onRest(const std::string& id, const json& params) {
    const std::string command = id.substr(0, id.find('@'));
    if (!restIds().count(command)) return;
    auto failure = failures_.find(command);
    if (failure != failures_.end()) return fail(id, failure->second);

    const std::string url = str(params, "url");
    const auto [failureType, why] = meetingRequestRefusal(url);
    if (!failureType.empty()) {
        refuse(command, why);
        return fail(id, failureType);
    }
    const json payload = json::parse(str(params, "payload"), nullptr, false);

    if (command == "confinfo_by_dialnum") {
        auto it = conferences_.find(segmentAfter(url, "/dialnumber/"));
        if (it == conferences_.end()) return fail(id, "CONFERENCE_NOT_EXIST");
        return reply(id, conferenceData(it->second));
    }
    if (command == "confinfo" || command == "shortconfinfo") {
        const Conference* c = conferenceById(segmentAfter(url, "/conference/"));
        if (!c) return fail(id, "CONFERENCE_NOT_EXIST");
        json data = conferenceData(*c);
        if (command == "shortconfinfo")
            data = {{"conferenceId", c->confid}, {"conferenceDialNumber", c->dialNumber}, {"subject", c->subject}};
        return reply(id, data);
    }
    if (command == "confControljoin") {
        auto it = conferences_.find(queryParam(url, "dialnumber"));
        if (it == conferences_.end()) return fail(id, "CONFERENCE_NOT_EXIST");
        if (!it->second.passcode.empty() && queryParam(url, "passcode") != it->second.passcode)
            return fail(id, "CONFERENCE_JOIN_FAIL_INVALID_PASSCODE");
        return reply(id, conferenceData(it->second));
    }
    if (command == "confsearch" || command == "confCalendarPreview") {
        json list = json::array();
        for (const auto& entry : conferences_) list.push_back(conferenceData(entry.second));
        return reply(id, {{"total", list.size()}, {"conferences", list}});
    }
    if (command == "confcreate") {
        // The request body may come as the text of an object.
        json body = payload.is_string() ? json::parse(payload.get<std::string>(), nullptr, false) : payload;
        Conference c;
        const int n = nextId_++;
        c.confid = "conf-sim-" + std::to_string(n);
        c.dialNumber = str(body, "conferenceDialNumber");
        if (c.dialNumber.empty()) c.dialNumber = std::to_string(8900 + n);
        c.externalDialNumber = "99" + c.dialNumber;
        c.subject = str(body, "subject");
        c.passcode = str(body, "passcode");
        conferences_[c.dialNumber] = c;
        return reply(id, conferenceData(c));
    }
    if (command == "confdelete") {
        const Conference* c = conferenceById(segmentAfter(url, "/conference/"));
        if (!c) return fail(id, "CONFERENCE_NOT_EXIST");
        conferences_.erase(c->dialNumber);
        return reply(id, {{"result", "success"}});
    }
    if (command == "confControlendpoints") {
        json endpoints = json::array();
        bool meListed = false;
        for (const auto& p : participants_) {
            endpoints.push_back(participantEndpoint(p));
            meListed = meListed || p.deviceId == device_.deviceId;
        }
        if (!meListed) endpoints.push_back(myEndpoint());
        // What the client reported is what the manager shows.
        for (json& e : endpoints) {
            auto known = portal_.endpoints.find(str(e, "externalDeviceId"));
            if (known != portal_.endpoints.end()) e.update(known->second);
        }
        return reply(id, {{"conferenceId", segmentAfter(url, "/conference/")},
                          {"syncing", portal_.syncing},
                          {"allowUnmute", true},
                          {"endpoints", endpoints}});
    }
    if (command == "confControlSyncControlpanel") learnPanel(payload);
    if (command == "confSyncdata") learnSyncData(url, payload);
    if (command == "confRoomsearch" || command == "confRoomowner" || command == "confRoomavailable") {
        json rooms = json::array();
        for (const auto& entry : conferences_) {
            const Conference& c = entry.second;
            if (command == "confRoomavailable" && c.busy) continue;
            rooms.push_back({{"roomId", roomId(c)}, {"title", c.subject}, {"dialNumber", c.dialNumber},
                             {"ownerId", device_.userId}, {"capacity", 16}, {"inUse", c.busy}});
        }
        return reply(id, {{"total", rooms.size()}, {"rooms", rooms}});
    }
    if (command == "confRoominfo") {
        const std::string room = segmentAfter(url, "/meetingroom/");
        for (const auto& entry : conferences_) {
            const Conference& c = entry.second;
            if (roomId(c) == room)
                return reply(id, {{"roomId", room}, {"title", c.subject}, {"dialNumber", c.dialNumber},
                                  {"ownerId", device_.userId}, {"capacity", 16}, {"inUse", c.busy}});
        }
        return fail(id, "ROOM_NOT_EXIST");
    }
    if (command == "confRoomsharedlink")
        return reply(id, {{"sharedLink", "https://meet.sim.local/r/" + queryParam(url, "roomid")}});
    if (command == "confsharedlink")
        return reply(id, {{"sharedLink", "https://meet.sim.local/j/" + segmentAfter(url, "/conference/")}});
    if (command == "confTemplatesearch") {
        json templates = json::array();
        for (const auto& entry : conferences_)
            templates.push_back({{"templateId", templateId(entry.second)}, {"subject", entry.second.subject},
                                 {"duration", 60}});
        return reply(id, {{"total", templates.size()}, {"templates", templates}});
    }
    if (command == "confTemplatedetail") {
        const std::string wanted = segmentAfter(url, "/template/");
        for (const auto& entry : conferences_) {
            const Conference& c = entry.second;
            if (templateId(c) == wanted || c.confid == wanted)
                return reply(id, {{"templateId", templateId(c)}, {"subject", c.subject}, {"duration", 60},
                                  {"passcode", c.passcode}, {"participants", json::array()}});
        }
        return fail(id, "TEMPLATE_NOT_EXIST");
    }
    if (command == "confTemplatecreate") {
        return reply(id, {{"templateId", "tpl-sim-" + std::to_string(nextId_++)}});
    }
    if (command == "confLocalRoomsearch" || command == "confLocalRoomdetail") {
        json room = {{"localRoomId", "lr-" + device_.deviceId},
                     {"title", deviceName_},
                     {"devices", json::array({deviceData()})}};
        if (command == "confLocalRoomdetail") {
            if (segmentAfter(url, "/localroom/") != str(room, "localRoomId")) return fail(id, "LOCALROOM_NOT_EXIST");
            return reply(id, room);
        }
        return reply(id, {{"total", 1}, {"localRooms", json::array({room})}});
    }
    if (command == "confDeviceSearch" || command == "confDeviceList") {
        return reply(id, {{"total", 1}, {"devices", json::array({deviceData()})}});
    }
    if (command == "confDeviceDetails") {
        if (segmentAfter(url, "/device/") != device_.deviceId) return fail(id, "DEVICE_NOT_EXIST");
        return reply(id, deviceData());
    }
    if (command == "confDeviceMetadata") {
        return reply(id, {{"deviceTypes", json::array({"terminal", "softclient", "h323"})}});
    }
    if (command == "confControllegacys") {
        return reply(id, {{"devices", json::array()}});
    }
    if (command == "confUpdatedevicename") {
        if (segmentAfter(url, "/device/") != device_.deviceId) return fail(id, "DEVICE_NOT_EXIST");
        const std::string name = str(payload, "deviceName");
        if (!name.empty()) deviceName_ = name;
        return reply(id, {{"deviceId", device_.deviceId}, {"deviceName", deviceName_}});
    }
    reply(id, {{"result", "success"}});
}

// --- Building and sending ------------------------------------------------------

void SimServers::send(const std::string& eventName, const json& element) {
    transport_.deliver(json{{"msg", "changed"},
                            {"collection", kCollection},
                            {"fields", {{"eventName", eventName}, {"args", json::array({element})}}}}
                           .dump());
}

void SimServers::sendSignal(const json& signal) { send(orvsim::eventName("callmaster_event"), signal); }

void SimServers::reply(const std::string& id, const json& data) {
    transport_.deliver(json{{"msg", "result"}, {"id", id}, {"type", "SUCCESS"}, {"data", data}}.dump());
}

void SimServers::fail(const std::string& id, const std::string& failureType) {
    transport_.deliver(json{{"msg", "result"},
                            {"id", id},
                            {"type", "FAILURE"},
                            {"data", {{"result", "failure"}, {"type", failureType}}}}
                           .dump());
}

void SimServers::sendEndpointChange(const std::string& operation, const json& endpoint) {
    json element = {{"event", "confmgr_endpoint_change"},
                    {"operation", operation},
                    {"conferenceId", callConfid_},
                    {"endpoint", endpoint}};
    if (const Conference* c = conferenceById(callConfid_)) {
        element["conferenceDialNumber"] = c->dialNumber;
        element["subject"] = c->subject;
    }
    send(eventName("confmanager_event"), element);
}

void SimServers::enterConference(const std::string& confid) {
    if (confid != callConfid_) {
        participants_.clear();
        portal_ = PortalView();
    }
    callConfid_ = confid;
}

void SimServers::learnPanel(const json& panel) {
    if (!panel.is_object()) return;
    const json& locked = member(panel, "locked");
    if (locked.is_boolean()) portal_.locked = locked.get<bool>();
    const json& endpoints = member(panel, "endpoints");
    if (!endpoints.is_array()) return;
    for (const json& e : endpoints) {
        const std::string device = str(e, "externalDeviceId");
        if (device.empty()) continue;
        json& known = portal_.endpoints[device];
        for (const char* key : {"adminMute", "videoMute", "isHost", "isCohost", "isOperator"})
            if (member(e, key).is_boolean()) known[key] = e[key];
    }
}

// The path names the device, or the conference alone; the payload carries
// one key.
void SimServers::learnSyncData(const std::string& url, const json& data) {
    if (!data.is_object()) return;
    const std::string device = segmentAfter(url, "/endpoint/");
    if (!device.empty()) {
        if (member(data, "isOperator").is_boolean()) portal_.endpoints[device]["isOperator"] = data["isOperator"];
        return;
    }
    if (member(data, "locked").is_boolean()) portal_.locked = data["locked"].get<bool>();
    if (member(data, "recordStatus").is_boolean()) portal_.recording = data["recordStatus"].get<bool>();
}

SimServers::json SimServers::conferenceData(const Conference& c) const {
    const std::int64_t start = nowMs() / 3600000 * 3600000;
    return json{{"conferenceId", c.confid},
                {"conferenceDialNumber", c.dialNumber},
                {"externalDialNumber", c.externalDialNumber},
                {"subject", c.subject},
                {"passcode", c.passcode},
                {"roomId", roomId(c)},
                {"hostId", device_.userId},
                {"startTime", start},
                {"endTime", start + 3600000},
                {"status", callConfid_ == c.confid && inCall() ? "ONGOING" : "SCHEDULED"},
                {"muteAll", false},
                {"allowUnmute", true},
                {"hostVideoWhenEntering", true},
                {"participantVideoWhenEntering", true}};
}

SimServers::json SimServers::participantEndpoint(const Participant& p) const {
    if (p.deviceId == device_.deviceId) {
        json me = myEndpoint();
        if (!p.name.empty()) me["name"] = me["dispUserName"] = p.name;
        if (!p.engineUserId.empty()) me["externalGuid"] = p.engineUserId;
        return me;
    }
    json e = blankEndpoint();
    e["userId"] = "u-" + p.deviceId;
    e["username"] = p.name;
    e["name"] = p.name;
    e["dispUserName"] = p.name;
    e["deviceId"] = p.deviceId;
    e["deviceName"] = p.name;
    e["externalGuid"] = p.engineUserId;
    e["externalDeviceId"] = p.deviceId;
    e["connection"] = true;
    return e;
}

SimServers::json SimServers::myEndpoint() const {
    json e = blankEndpoint();
    e["userId"] = device_.regUserId;
    e["username"] = device_.regUserName;
    e["name"] = deviceName_;
    e["dispUserName"] = deviceName_;
    e["meetingRoomDevice"] = device_.isMeetingRoomDevice;
    e["deviceId"] = device_.deviceId;
    e["deviceName"] = deviceName_;
    e["serialNumber"] = device_.serialNumber;
    e["externalGuid"] = myGuid_;
    e["externalDeviceId"] = device_.deviceId;
    e["connection"] = inCall();
    return e;
}

SimServers::json SimServers::deviceData() const {
    return json{{"deviceId", device_.deviceId},
                {"serialNumber", device_.serialNumber},
                {"dialNumber", device_.dialNumber},
                {"deviceName", deviceName_},
                {"deviceType", device_.deviceType},
                {"regUserId", device_.regUserId},
                {"regUserName", device_.regUserName},
                {"isMeetingRoomDevice", device_.isMeetingRoomDevice}};
}

const SimServers::Conference* SimServers::conferenceById(const std::string& confid) const {
    if (confid.empty()) return nullptr;
    for (const auto& entry : conferences_)
        if (entry.second.confid == confid) return &entry.second;
    return nullptr;
}

std::string SimServers::newCallId() {
    // A random version 4 UUID, as call identifiers are.
    const std::uint64_t a = random_(), b = random_();
    char text[37];
    std::snprintf(text, sizeof text, "%08x-%04x-4%03x-%x%03x-%012llx", static_cast<unsigned>(a >> 32),
                  static_cast<unsigned>((a >> 16) & 0xffff), static_cast<unsigned>(a & 0xfff),
                  static_cast<unsigned>(8 + ((b >> 62) & 3)), static_cast<unsigned>((b >> 48) & 0xfff),
                  static_cast<unsigned long long>(b & 0xffffffffffffULL));
    return text;
}

bool SimServers::inCall() const {
    return callState_ == "ringing" || callState_ == "accepted" || callState_ == "in-call";
}

std::string SimServers::refuse(const std::string& what, const std::string& why) {
    if (log_) log_("refused " + what + ": " + why);
    return why;
}

bool SimServers::isParticipant(const std::string& deviceOrGuid) const {
    if (deviceOrGuid == device_.deviceId || (!myGuid_.empty() && deviceOrGuid == myGuid_)) return true;
    return std::any_of(participants_.begin(), participants_.end(), [&](const Participant& p) {
        return p.deviceId == deviceOrGuid || (!p.engineUserId.empty() && p.engineUserId == deviceOrGuid);
    });
}

// An order on a meeting (its control, or one of its endpoints) is served in
// the meeting under way only, and on a participant of it. The reports that
// the client sends (sync data, control panels) may come late and are taken.
std::pair<std::string, std::string> SimServers::meetingRequestRefusal(const std::string& url) const {
    const bool onEndpoint = url.find("/endpoint/") != std::string::npos;
    if (url.find("/control/") == std::string::npos && !onEndpoint) return {};
    if (url.find("/syncdata") != std::string::npos || url.find("/ping") != std::string::npos) return {};
    const std::string confid = segmentAfter(url, "/conference/");
    if (confid.empty() || confid == "control") return {};
    if (!inCall() || confid != callConfid_) return {"CONFERENCE_NOT_ONGOING", "conference " + confid + " is not under way"};
    const std::string endpoint = segmentAfter(url, "/endpoint/");
    if (onEndpoint && !isParticipant(endpoint)) return {"ENDPOINT_NOT_EXIST", endpoint + " is not in the conference"};
    return {};
}

}  // namespace orvsim
