// Status synchronisation: the engine's view pulled into the endpoint cache,
// "confSyncdata" with the current ids, and the control panel.
#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "OrvaneLogic/orvanelogic_qv.h"

using namespace ORVANE;
using json = nlohmann::json;

// Under the call lock, as is every report of a change of users: none comes
// between the reading of the list and its taking.
int OrvaneSDKPrivate::syncAllCacheStatusFromAVSDK() {
    AvUserMap users;
    if (av_) av_->getUserList(users);
    endpoints_.applyEngineUsers(users);
    for (const auto& user : users) LOG_DEBUG("----[sync] user name : {}-----", user.second.name);
    return 0;
}

std::string OrvaneSDKPrivate::checkSyncCommand(const std::string& data) {
    json j = CtrlSDKUtils::parseQuiet(data);
    const std::string& deviceId = identity_.deviceId();
    LOG_DEBUG("------Current conference id : {}-------", conf_.confid);
    LOG_DEBUG("----------Current device id : {}---------", deviceId);
    LOG_DEBUG("------Jscon : {} before update -------", data);
    if (j.is_discarded()) return {};  // not JSON: the application's text goes as it is
    if (!conf_.confid.empty() && !deviceId.empty() && (j.is_object() || j.is_null())) {
        j["conferenceid"] = conf_.confid;
        j["externaldeviceid"] = deviceId;
        LOG_DEBUG("-------Json : {} after update-------", CtrlSDKUtils::dump(j));
    }
    return CtrlSDKUtils::dump(j);
}

json OrvaneSDKPrivate::getControlPanel(const json& endpoints) { return endpoints_.controlPanel(conf_.confid, endpoints); }

bool OrvaneSDKPrivate::waitUntilIdle() {
    const auto limit = std::chrono::seconds(5);
    // The control thread may hand reports on: it goes first.
    if (ownedLogic_ && !ownedLogic_->waitIdle(limit)) return false;
    return reporter_.waitIdle(limit);
}

void OrvaneSDKPrivate::reportControlPanel(const json& endpoints) {
    reporter_.put_msg({0, CtrlSDKUtils::dump(getControlPanel(endpoints))});
}
