#include "orvanelogic_qv.h"

#include <nlohmann/json.hpp>

#include "command_refusal.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

// Whether the data has every key; a refusal noted in `outcome` when not.
bool hasAll(const json& j, std::initializer_list<const char*> keys, RefusalRecord& outcome) {
    bool all = j.is_object();
    for (const char* k : keys) all = all && j.contains(k);
    if (!all) outcome.refuse(refusalForData(j));
    return all;
}

}  // namespace

// Control commands the engine carries out by itself. The engine refuses what
// the local user's role forbids; its answer is only logged.
void OrvaneLogic_QV::sendCommand(const std::string& type, const std::string& data) {
    LOG_DEBUG("OrvaneLogic_QV::sendCommand: type={}, data={}\n", type, data);
    RefusalRecord outcome;
    if (conf == nullptr || conf->media() == nullptr) {
        outcome.refuse(Refusal::WrongState);
        return;
    }
    AVSDK* av = conf->media();
    const json j = CtrlSDKUtils::parseQuiet(data);
    // A participant is named by its device; the engine knows its own ids. One
    // who is not in the meeting is refused.
    auto engineId = [&](const char* key) {
        std::string id = conf->getAvUseridFromDeviceID(j.at(key).get<std::string>());
        if (id.empty()) outcome.refuse(Refusal::BadField);
        return id;
    };

    if (type == CONF::MUTEAUDIOLOCAL) {
        if (!hasAll(j, {"mute"}, outcome)) return;
        if (j.at("mute").get<bool>()) {
            LOG_DEBUG("mute Audio Local ret={}\n", av->muteLocalAudio());
        } else if (av->canUnmuteByMyself()) {
            // Kept muted by the host: the user may not unmute alone.
            LOG_DEBUG("unmute Audio Local ret={}\n", av->unmuteLocalAudio());
        } else {
            LOG_WARN("unmute audio local ret= can not unmute byself\n");
            outcome.refuse(Refusal::WrongState);
        }
    } else if (type == CONF::MUTEAUDIO) {
        if (!hasAll(j, {"guid", "mute"}, outcome)) return;
        const std::string userid = engineId("guid");
        if (userid.empty()) return;
        if (j.at("mute").get<bool>())
            LOG_DEBUG("mute audio engine_id={}, ret={}\n", userid, av->muteAudio(userid, false));
        else
            LOG_DEBUG("unmute audio engine_id={}, ret={}\n", userid, av->unmuteAudio(userid));
    } else if (type == CONF::MUTEALL) {
        if (!hasAll(j, {"mute", "allowUnmute"}, outcome)) return;
        if (j.at("mute").get<bool>())
            LOG_DEBUG("mute audio all ret={}\n", av->muteAllAudio(j.at("allowUnmute").get<bool>()));
        else
            LOG_DEBUG("unmute audio all ret={}\n", av->unmuteAllAudio());
    } else if (type == CONF::MUTEVIDEO) {
        if (!hasAll(j, {"guid", "mute"}, outcome)) return;
        const std::string userid = engineId("guid");
        if (userid.empty()) return;
        if (j.at("mute").get<bool>())
            LOG_DEBUG("mute video engine_id={}, ret={}\n", userid, av->muteVideo(userid));
        else
            LOG_DEBUG("unmute video engine_id={}, ret={}\n", userid, av->unmuteVideo(userid));
    } else if (type == CONF::MAKEHOST) {
        if (!hasAll(j, {"externalDeviceId"}, outcome)) return;
        const std::string userid = engineId("externalDeviceId");
        if (userid.empty()) return;
        LOG_DEBUG("set {} as host ret = {}\n", userid, av->setHost(userid));
    } else if (type == CONF::RECLAIMHOST) {
        if (!hasAll(j, {"confid"}, outcome)) return;
        LOG_DEBUG("reclaim host ret = {}\n", av->reclaimHost());
    } else if (type == CONF::MAKECOHOST) {
        if (!hasAll(j, {"externalDeviceId", "bCohost"}, outcome)) return;
        const std::string userid = engineId("externalDeviceId");
        if (userid.empty()) return;
        const bool cohost = j.at("bCohost").get<bool>();
        LOG_DEBUG("set {} bCohost={}, ret={}\n", userid, cohost,
                  cohost ? av->assignCohost(userid) : av->revokeCohost(userid));
    } else if (type == CONF::LOCKMEETING) {
        if (!hasAll(j, {"lock"}, outcome)) return;
        const bool lock = j.at("lock").get<bool>();
        LOG_DEBUG("lock meeting bLock={}, ret={}\n", lock, av->lockMeeting(lock));
    }
}

void OrvaneLogic_QV::setConfptr(OrvaneSDKPrivate* c) { conf = c; }
