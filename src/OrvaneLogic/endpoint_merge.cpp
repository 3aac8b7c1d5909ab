// The participant list the application sees: the conference manager's
// endpoints merged with the engine's view of who is connected, muted and in
// which role, refreshing the endpoint cache on the way.
#include <unordered_map>

#include "OrvaneLogic/orvanelogic_qv.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

// The fields of a participant that only the engine knows of.
json engineOnlyEndpoint(const std::string& userid, const std::string& deviceId, const std::string& name, bool audioMuted,
                        bool videoMuted, bool isOperator) {
    json endpoint = {{"adminMute", audioMuted}, {"avatarUrl", ""},          {"camera", true},
                     {"deviceId", deviceId},    {"deviceName", name},       {"dispUserName", name},
                     {"externalDeviceId", deviceId}, {"externalGuid", userid}, {"microphone", true},
                     {"name", name},            {"type", "USER"},           {"username", name},
                     {"videoMute", videoMuted}};
    if (isOperator) endpoint["isOperator"] = true;
    return endpoint;
}

}  // namespace

void OrvaneLogic_QV::onCtrlCommand(const std::string& type, const std::string& data) {
    if (type != CONF::ENDPOINTS || conf == nullptr) return;
    // A conference the manager does not track by its participants is listed
    // from the cache alone.
    if (conf->conf().confid.find("ext_qv") == std::string::npos)
        _onConfControlendpoints(type, data);
    else
        _onConfControlendpointsExternal(type, data);
}

void OrvaneLogic_QV::_onConfControlendpoints(const std::string& type, const std::string& data) {
    AVSDK* av = conf->media();
    AvUserMap users;
    if (av) av->getUserList(users);
    try {
        json reply = CtrlSDKUtils::parseQuiet(data);
        json result = reply.at("result");
        if (!result.is_object() || result.value("type", json()) != "SUCCESS") {
            // The server's failure reaches the application as it came.
            conf->app().reply(type, data);
            return;
        }
        json& d = result.at("data");
        conf->setSyncing(d.at("syncing").get<bool>());
        d["allowUnmute"] = av ? av->canUnmuteByMyself() : false;
        json& endpoints = d.at("endpoints");
        // The first endpoint of each engine user id, found in one pass
        // rather than one search per user.
        std::unordered_map<std::string, size_t> byGuid;
        for (size_t i = 0; i < endpoints.size(); ++i)
            byGuid.emplace(endpoints[i].at("externalGuid").get<std::string>(), i);
        conf->endpoints().edit([&](EndpointCache::Editor& cache) {
            for (const auto& user : users) {
                const std::string& userid = user.first;
                const AvUserInfo& info = user.second;
                auto found = byGuid.find(userid);
                const std::string device =
                    found == byGuid.end() ? userid : endpoints[found->second].at("externalDeviceId").get<std::string>();
                cache.setDevice(userid, device);
                EpStatus& entry = cache.entry(userid);
                entry.adminMute = info.audioMuted;
                entry.videoMute = info.videoMuted;
                entry.isHost = info.isHost;
                entry.isCohost = info.isCohost;
                entry.name = info.name;
                if (found == byGuid.end()) {
                    json added = engineOnlyEndpoint(userid, userid, info.name, info.audioMuted, info.videoMuted,
                                                    info.isHost || info.isCohost);
                    added["deviceType"] = "QCD";
                    added["endpointType"] = "QCD";
                    added["localMute"] = info.audioMuted;
                    added["userId"] = userid;
                    endpoints.push_back(std::move(added));
                    continue;
                }
                json& endpoint = endpoints[found->second];
                endpoint["localMute"] = info.audioMuted;
                endpoint["adminMute"] = info.audioMuted;
                endpoint["videoMute"] = info.videoMuted;
                endpoint["isOperator"] = info.isHost || info.isCohost;
                endpoint["isHost"] = info.isHost;
                endpoint["isCohost"] = info.isCohost;
            }
        });
        reply["result"] = std::move(result);
        conf->app().reply(type, CtrlSDKUtils::dump(reply));
    } catch (const json::exception& e) {
        LOG_JSON_ERROR_AT("OrvaneLogic_QV::_onConfControlendpoints", e.what(), data);
    }
}

void OrvaneLogic_QV::_onConfControlendpointsExternal(const std::string& type, const std::string& data) {
    try {
        json reply = CtrlSDKUtils::parseQuiet(data);
        json& d = reply.at("result").at("data");
        conf->syncAllCacheStatusFromAVSDK();
        const std::string& me = conf->conf().engine_userid;
        const std::string& myDevice = conf->identity().deviceId();
        json endpoints = json::array();
        conf->endpoints().edit([&](EndpointCache::Editor& cache) {
            cache.forEach([&](const std::string& userid, EpStatus& entry) {
                cache.setDevice(userid, userid == me ? myDevice : userid);
                json endpoint = engineOnlyEndpoint(userid, entry.externalDeviceId, entry.name, entry.adminMute,
                                                   entry.videoMute, entry.isHost || entry.isCohost);
                endpoint["userId"] = "";
                endpoints.push_back(std::move(endpoint));
            });
        });
        d["endpoints"] = std::move(endpoints);
        conf->app().reply(type, CtrlSDKUtils::dump(reply));
    } catch (const json::exception& e) {
        LOG_JSON_ERROR_AT("OrvaneLogic_QV::_onConfControlendpointsExternal", e.what(), data);
    }
}
