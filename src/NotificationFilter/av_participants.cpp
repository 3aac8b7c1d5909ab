// Participants coming and going in the media meeting: the host's client
// reports them to the conference manager by kind, and an application that
// draws its own meeting window hears of them even where no server does.
#include "NotificationFilter/av_event_filter.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

using json = nlohmann::json;

namespace ORVANE {

namespace {

// Clients of this library report their own joins.
const char* const kOwnClient = "orvane";

// The engine user id an announcement names; empty when it names none.
std::string announcedUser(const json& j) {
    return j.is_object() && j.contains("userid") && j["userid"].is_string() ? j["userid"].get<std::string>() : "";
}

// A conference that the conference manager does not track.
bool untracked(const std::string& confid) { return confid.find("ext_qv") != std::string::npos; }

}  // namespace

bool AvEventFilter::isHostInMeeting() {
    AvUserMap users;
    if (AVSDK* av = core_.media()) av->getUserList(users);
    bool ret = false;
    for (const auto& user : users) {
        if (user.second.isHost) {
            ret = true;
            break;
        }
    }
    LOG_DEBUG("OrvaneSDKPrivate::isHostInMeeting ret={}", ret);
    return ret;
}

void AvEventFilter::forgetParticipants() {
    simulatedGuids_.clear();
    last_h323_userid_.clear();
}

void AvEventFilter::sendDeviceEvent(const char* event, const std::string& userid, json params) {
    // The manager takes the engine's id as a number; anything else can't be
    // reported.
    const auto id = CtrlSDKUtils::userIdNumber(userid);
    if (!id) {
        LOG_JSON_ERROR_AT("OrvaneSDKPrivate::sendDeviceEvent", "userid is not a decimal number", userid);
        return;
    }
    params["sdkUserId"] = *id;
    params["conferenceDialNumber"] = core_.conf().dialnum;
    const std::string text = CtrlSDKUtils::dump(CtrlSDKUtils::methodMessage(
        "MQ_CALLMASTER_DEVICE_EVENT",
        {{"event", "legacy_device_event"}, {"params", {{"event", event}, {"params", std::move(params)}}}}));
    if (std::string(event) == "JOIN")
        LOG_DEBUG("cmdid is empty send controlCommandResp to confmgr, data={}", text);
    else
        LOG_DEBUG("OrvaneSDKPrivate::avfilter_onUserLeft send notify to confmgr data={}", text);
    core_.control().sendCommand(CONF::CONTROLCOMMANDRESP, text);
}

bool AvEventFilter::avfilter_onUserJoin(const std::string& group, const std::string& cmd, std::string& data) {
    LOG_DEBUG("OrvaneSDKPrivate::avfilter_onUserJoin group={}, cmd={}, data={}", group, cmd, data);
    // The announcement carries the engine's view of the newcomer: the cache
    // takes it from there, so a join costs the same in any meeting.
    const json joined = CtrlSDKUtils::parseQuiet(data);
    if (const std::string id = announcedUser(joined); !id.empty())
        core_.endpoints().engineUserJoined(id, CtrlSDKUtils::safeBool(joined, "isAudioMuted"),
                                           !CtrlSDKUtils::safeBool(joined, "isVideoOn", true));
    else
        core_.engineUsersChanged();
    if (untracked(core_.conf().confid)) {
        if (core_.customUiMode()) simulate_participant_join_toapp(group, cmd, data);
        return false;
    }
    AVSDK* av = core_.media();
    if (av == nullptr || !av->isHostUser()) {
        // The host's client reports for the others; without a host the
        // application would see nobody.
        if (!core_.customUiMode() || isHostInMeeting()) return false;
        const json j = CtrlSDKUtils::parseQuiet(data);
        if (j.is_object() && j.contains("participantID") && j["participantID"] != kOwnClient)
            simulate_participant_join_toapp(group, cmd, data);
        return false;
    }

    const json j = CtrlSDKUtils::parseQuiet(data);
    const std::string userid = j.at("userid").get<std::string>();
    std::string name;
    if (j.contains("username"))
        name = j.at("username").get<std::string>();
    else
        name = core_.endpoints().edit([&](EndpointCache::Editor& e) { return e.entry(userid).name; });
    const std::string participantID = j.at("participantID").get<std::string>();
    const bool phone = CtrlSDKUtils::safeBool(j, "isPurePhoneUser");
    const bool h323 = CtrlSDKUtils::safeBool(j, "isH323User");
    json params = {{"deviceName", name},
                   {"joinPassword", core_.conf().passcode},
                   {"purePhoneUser", phone},
                   {"h323User", h323},
                   {"interpreter", CtrlSDKUtils::safeBool(j, "isInterpreter")},
                   {"inWaitingRoom", CtrlSDKUtils::safeBool(j, "isInWaitingRoom")}};
    if (phone) {
        sendDeviceEvent("JOIN", userid, std::move(params));
    } else if (!h323) {
        // A client of this library speaks for itself.
        if (participantID == kOwnClient) return false;
        params["qvUser"] = true;
        sendDeviceEvent("JOIN", userid, std::move(params));
    } else {
        H323Callout& h323 = core_.h323();
        const H323Device& current = h323.current();
        LOG_DEBUG("OrvaneSDKPrivate::avfilter_onUserJoin current deviceinfo cmdId={}, deviceName={}, deviceIp={}, "
                  "deviceType={}",
                  current.cmdId, current.deviceName, current.deviceIp, current.deviceType);
        if (userid == last_h323_userid_) return false;
        last_h323_userid_ = userid;
        if (current.cmdId.empty()) {
            // No call-out of this client waits for it: a room system that
            // came by itself.
            sendDeviceEvent("JOIN", userid, std::move(params));
        } else {
            h323.onDeviceJoined(userid);
        }
    }
    return false;
}

bool AvEventFilter::avfilter_onUserLeft(const std::string& group, const std::string& cmd, std::string& data) {
    if (const std::string id = announcedUser(CtrlSDKUtils::parseQuiet(data)); !id.empty())
        core_.endpoints().engineUserLeft(id);
    else
        core_.engineUsersChanged();
    if (untracked(core_.conf().confid)) {
        if (core_.customUiMode()) simulate_participant_leave_toapp(group, cmd, data);
        return false;
    }
    AVSDK* av = core_.media();
    if ((av == nullptr || !av->isHostUser()) && core_.customUiMode() && !isHostInMeeting())
        simulate_participant_leave_toapp(group, cmd, data);
    // Every client that sees a leave reports it.
    const json j = CtrlSDKUtils::parseQuiet(data);
    sendDeviceEvent("LEAVE", j.at("userid").get<std::string>(), json::object());
    return false;
}

bool AvEventFilter::simulate_participant_join_toapp(const std::string&, const std::string&, std::string& data) {
    const json j = CtrlSDKUtils::parseQuiet(data);
    const std::string userid = j.is_object() && j.contains("userid") ? j["userid"].get<std::string>() : "";
    if (userid.empty()) return true;
    const std::string username = CtrlSDKUtils::safeString(j, "username");
    const bool myself = CtrlSDKUtils::safeBool(j, "isMyself");
    const bool audioMuted = CtrlSDKUtils::safeBool(j, "isAudioMuted");
    const bool videoOn = CtrlSDKUtils::safeBool(j, "isVideoOn", true);
    const DeviceIdentity& me = core_.identity();
    const std::string deviceId = myself ? me.deviceId() : userid;
    const std::string user = myself ? me.userId() : userid;
    const OrvaneConference& conf = core_.conf();
    const json event = {{"event", "confmgr_endpoint_change"},
                        {"operation", "confmgr_participant_join"},
                        {"confId", conf.confid},
                        {"conferenceDialNumber", conf.dialnum},
                        {"allowUnmute", true},
                        {"endpoint",
                         {{"deviceId", deviceId},
                          {"externalDeviceId", deviceId},
                          {"externalGuid", userid},
                          {"name", username},
                          {"deviceName", username},
                          {"userid", user},
                          {"camera", true},
                          {"microphone", true},
                          {"adminMute", audioMuted},
                          {"videoMute", !videoOn}}}};
    core_.endpoints().edit([&](EndpointCache::Editor& e) {
        e.setDevice(userid, deviceId);
        EpStatus& entry = e.entry(userid);
        entry.name = username;
        entry.adminMute = audioMuted;
        entry.videoMute = !videoOn;
        entry.userid = user;
    });
    // The local user's own join fills the cache and stays silent.
    if (core_.app().hasListener() && !myself) {
        simulatedGuids_.insert(userid);
        core_.app().notify(deviceId + "/confmanager_event", CtrlSDKUtils::dump(json::array({event})));
    }
    return true;
}

bool AvEventFilter::simulate_participant_leave_toapp(const std::string&, const std::string&, std::string& data) {
    const json j = CtrlSDKUtils::parseQuiet(data);
    const std::string userid = j.is_object() && j.contains("userid") ? j["userid"].get<std::string>() : "";
    if (userid.empty()) return true;
    const EpStatus entry = core_.endpoints().edit([&](EndpointCache::Editor& e) {
        const EpStatus gone = e.entry(userid);
        e.erase(userid);
        return gone;
    });
    const OrvaneConference& conf = core_.conf();
    const json event = {{"event", "confmgr_endpoint_change"},
                        {"operation", "confmgr_participant_leave"},
                        {"confId", conf.confid},
                        {"conferenceDialNumber", conf.dialnum},
                        {"endpoint",
                         {{"deviceId", entry.externalDeviceId},
                          {"externalDeviceId", entry.externalDeviceId},
                          {"externalGuid", userid},
                          {"name", entry.name},
                          {"deviceName", entry.name},
                          {"userid", entry.userid},
                          {"camera", true},
                          {"microphone", true},
                          {"adminMute", entry.adminMute},
                          {"videoMute", entry.videoMute}}}};
    core_.app().notify(entry.externalDeviceId + "/confmanager_event", CtrlSDKUtils::dump(json::array({event})));
    return true;
}

}  // namespace ORVANE
