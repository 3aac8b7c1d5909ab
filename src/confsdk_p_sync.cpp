// Status synchronisation: the engine's view pulled into the endpoint cache,
// "confSyncdata" with the current ids, and the control panel.
#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"

using namespace ORVANE;
using json = nlohmann::json;

int OrvaneSDKPrivate::syncAllCacheStatusFromAVSDK() {
    AvUserMap users;
    if (av) av->getUserList(users);
    {
        std::lock_guard<std::mutex> lock(epStatusMutex);
        for (const auto& user : users) {
            EpStatus& entry = epStatusList[user.first];
            entry.adminMute = user.second.audioMuted;
            entry.videoMute = user.second.videoMuted;
            entry.isHost = user.second.isHost;
            entry.isCohost = user.second.isCohost;
        }
    }
    for (const auto& user : users) LOG_DEBUG("----[sync] user name : {}-----", user.second.name);
    return 0;
}

std::string OrvaneSDKPrivate::checkSyncCommand(const std::string& data) {
    json j = CtrlSDKUtils::parseQuiet(data);
    LOG_DEBUG("------Current conference id : {}-------", _conf.confid);
    LOG_DEBUG("----------Current device id : {}---------", device_id);
    LOG_DEBUG("------Jscon : {} before update -------", data);
    if (j.is_discarded()) return {};  // not JSON: the application's text goes as it is
    if (!_conf.confid.empty() && !device_id.empty() && (j.is_object() || j.is_null())) {
        j["conferenceid"] = _conf.confid;
        j["externaldeviceid"] = device_id;
        LOG_DEBUG("-------Json : {} after update-------", CtrlSDKUtils::dump(j));
    }
    return CtrlSDKUtils::dump(j);
}

json OrvaneSDKPrivate::getControlPanel(const json& endpoints) {
    std::lock_guard<std::mutex> lock(epStatusMutex);
    json panel = {
        {"allowUnmute", allowUnmute},
        {"conferenceId", _conf.confid},
        {"hostVideoWhenEntering", hostVideoWhenEntering},
        {"locked", locked},
        {"muteAll", muteAll},
        {"participantVideoWhenEntering", participantVideoWhenEntering},
    };
    if (!endpoints.is_null() && !endpoints.empty()) {
        panel["endpoints"] = endpoints;
        return panel;
    }
    json all = json::array();
    for (const auto& entry : epStatusList)
        if (!entry.second.externalDeviceId.empty()) all.push_back(entry.second.toJson());
    panel["endpoints"] = all;
    return panel;
}

void OrvaneSDKPrivate::reportControlPanel(const json& endpoints) {
    // The portal reporter takes these once it exists; until then the panel is
    // built and goes nowhere.
    const std::string text = CtrlSDKUtils::dump(getControlPanel(endpoints));
    LOG_DEBUG("control panel report: {}", text);
}
