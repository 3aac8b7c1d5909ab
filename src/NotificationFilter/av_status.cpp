// What changes in a running meeting: mute, video, host and co-host roles,
// the active speaker, devices, lock, recording and sharing. The endpoint
// cache follows, and the change reaches the application and the servers in
// the library's own words.
#include "NotificationFilter/av_event_filter.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

using json = nlohmann::json;

namespace ORVANE {

namespace {

// What an engine audio state means for "adminMute"; others leave it alone.
const std::pair<const char*, bool> kAudioStates[] = {
    {"Audio_None", false},         {"Audio_UnMuted", false},          {"Audio_UnMuted_ByHost", false},
    {"Audio_UnMutedAll_ByHost", false}, {"Audio_Muted", true},        {"Audio_Muted_ByHost", true},
    {"Audio_MutedAll_ByHost", true},
};

}  // namespace

bool AvEventFilter::reportEndpoints(const json& endpoints, bool toPortal) {
    if (endpoints.empty()) return true;
    core_.app().notify(CONFNOTIFY::ENPOINTCHANGED, CtrlSDKUtils::dump(json{{"endpoints", endpoints}}));
    if (toPortal) core_.reportControlPanel(endpoints);
    return false;
}

void AvEventFilter::sendHostRequest(const json& request) {
    core_.app().notify(CONFNOTIFY::HOSTREQUEST, CtrlSDKUtils::dump(request));
}

void AvEventFilter::sendSyncData(const json& data) {
    core_.control().sendCommand(CONF::SYNCDATA, CtrlSDKUtils::dump(data));
}

bool AvEventFilter::avfilter_onUserAudioStatusChange(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const json& changes = j.at("change_list");
    OrvaneConference& conf = core_.conf();
    const json endpoints = core_.endpoints().edit([&](EndpointCache::Editor& e) {
        json out = json::array();
        for (const json& change : changes) {
            const std::string userid = change.at("userid").get<std::string>();
            const std::string status = change.at("audio_status").get<std::string>();
            EpStatus& entry = e.entry(userid);
            for (const auto& known : kAudioStates)
                if (status == known.first) entry.adminMute = known.second;
            if (userid == conf.engine_userid) conf.microphone = status != "Audio_None";
            if (auto report = e.report(userid, "adminMute")) out.push_back(std::move(*report));
        }
        return out;
    });
    AVSDK* av = core_.media();
    return reportEndpoints(endpoints, av && av->isHostUser() && core_.syncing());
}

json AvEventFilter::setFlag(const std::string& userid, bool EpStatus::*flag, bool value, const char* action) {
    return core_.endpoints().edit([&](EndpointCache::Editor& e) {
        e.entry(userid).*flag = value;
        json out = json::array();
        if (auto report = e.report(userid, action)) out.push_back(std::move(*report));
        return out;
    });
}

bool AvEventFilter::avfilter_onUserVideoStatusChange(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const json endpoints =
        setFlag(j.at("userid").get<std::string>(), &EpStatus::videoMute, j.at("muted").get<bool>(), "videoMute");
    LOG_DEBUG("------Endpoints : size = {}-------", endpoints.size());
    AVSDK* av = core_.media();
    return reportEndpoints(endpoints, av && av->isHostUser() && core_.syncing());
}

bool AvEventFilter::avfilter_onHostChangeNotification(const std::string&, const std::string&, std::string& data) {
    const std::string newHost = json::parse(data).at("new_host_userid").get<std::string>();
    const OrvaneConference& conf = core_.conf();
    if (newHost == conf.engine_userid) {
        // This client is host now: it wants the endpoint list, and it
        // controls the conference.
        if (!core_.customUiMode())
            core_.control().sendCommand(CONF::ENDPOINTS, CtrlSDKUtils::dump(json{{"confid", conf.confid}}));
        core_.control().sendCommand(CONF::TURNASCONTROLLER,
                                    CtrlSDKUtils::dump(json{{"conferenceid", conf.confid},
                                                            {"externaldeviceid", core_.identity().deviceId()}}));
    }
    const json endpoints = core_.endpoints().edit([&](EndpointCache::Editor& e) {
        std::string oldHost;
        bool hadHost = false;
        for (const std::string& host : e.hosts()) {
            e.entry(host).isHost = false;
            oldHost = host;
            hadHost = true;
        }
        EpStatus& entry = e.entry(newHost);
        entry.isHost = true;
        entry.isCohost = false;
        json out = json::array();
        if (auto report = e.report(newHost, "isHost")) out.push_back(std::move(*report));
        if (hadHost)
            if (auto report = e.report(oldHost, "isHost")) out.push_back(std::move(*report));
        return out;
    });
    // The conference manager hears of every change of host, whoever this is.
    return reportEndpoints(endpoints, true);
}

bool AvEventFilter::avfilter_onCoHostChangeNotification(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const std::string userid = j.at("userid").get<std::string>();
    const bool cohost = j.at("is_cohost").get<bool>();
    const json endpoints = setFlag(userid, &EpStatus::isCohost, cohost, "isCohost");
    if (endpoints.empty()) return true;
    AVSDK* av = core_.media();
    reportEndpoints(endpoints, av && av->isHostUser());
    sendSyncData({{"conferenceid", core_.conf().confid},
                  {"externaldeviceid", core_.getDeviceidFromAvUserid(userid)},
                  {"isCohost", cohost},
                  {"synctype", "device"}});
    return false;
}

// The application's engine listener sees the speaker as a device.
bool AvEventFilter::avfilter_onActiveSpeakerVideoUserChanged(const std::string&, const std::string&,
                                                             std::string& data) {
    const json j = json::parse(data);
    std::string deviceId = core_.getDeviceidFromAvUserid(j.at("userid").get<std::string>());
    if (j.contains("deviceId")) deviceId = j.at("deviceId").get<std::string>();
    data = CtrlSDKUtils::dump(json{{"result", 0}, {"deviceId", deviceId}});
    return true;
}

bool AvEventFilter::avfilter_onActiveVideoUserChanged(const std::string& group, const std::string& cmd,
                                                      std::string& data) {
    return avfilter_onActiveSpeakerVideoUserChanged(group, cmd, data);
}

bool AvEventFilter::avfilter_onSharingStatus(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const std::string status = j.at("status").get<std::string>();
    const std::string deviceid = core_.getDeviceidFromAvUserid(j.at("userid").get<std::string>());
    data = CtrlSDKUtils::dump(json{{"result", 0}, {"deviceid", deviceid}, {"status", status}});
    return true;
}

bool AvEventFilter::avfilter_onComputerCamDeviceChanged(const std::string&, const std::string&, std::string& data) {
    sendHostRequest({{"action", "cameraDeviceChanged"}, {"camera", json::parse(data).at("camera").get<bool>()}});
    return false;
}

bool AvEventFilter::avfilter_onComputerMicDeviceChanged(const std::string&, const std::string&, std::string& data) {
    sendHostRequest(
        {{"action", "micDeviceChanged"}, {"microphone", json::parse(data).at("microphone").get<bool>()}});
    return false;
}

bool AvEventFilter::avfilter_onHostRequestStartAudio(const std::string&, const std::string&, std::string&) {
    sendHostRequest({{"action", "requestStartAudio"}});
    return false;
}

bool AvEventFilter::avfilter_onHostRequestStartVideo(const std::string&, const std::string&, std::string&) {
    sendHostRequest({{"action", "requestStartVideo"}});
    return false;
}

bool AvEventFilter::avfilter_onMeetingLocked(const std::string&, const std::string&, std::string& data) {
    const bool lock = json::parse(data).at("lock").get<bool>();
    core_.endpoints().edit([&](EndpointCache::Editor& e) { e.flags().locked = lock; });
    core_.app().notify(CONFNOTIFY::ENPOINTCHANGED, CtrlSDKUtils::dump(json{{"action", "meetingLocked"}, {"isLock", lock}}));
    sendSyncData({{"conferenceid", core_.conf().confid}, {"isLock", lock}, {"synctype", "conference"}});
    return false;
}

bool AvEventFilter::avfilter_onCloudRecordingStatus(const std::string&, const std::string&, std::string& data) {
    const bool recording = json::parse(data).at("is_cloud_record").get<bool>();
    sendSyncData({{"conferenceid", core_.conf().confid}, {"recordStatus", recording}, {"synctype", "conference"}});
    return true;
}

}  // namespace ORVANE
