// Replies to the library's commands, and the server's first word that this
// device has joined.
#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "ServerInteraction/orvanecmdtojson.h"

using namespace ORVANE;
using json = nlohmann::json;

void OrvaneSDKPrivate::onCtrlCommand(const std::string& type, const std::string& data) {
    CallLock lock(callMutex_);
    LOG_DEBUG("Orvane onCtrlCommand: type={}\n", type);
    try {
        if (type == "login_info") {
            const json j = CtrlSDKUtils::parseQuiet(data);
            if (j.is_object() && j.contains("userid")) user_id = j["userid"].get<std::string>();
            CtrlSDKUtils::OrvaneCmdToJson::setCmdIdentity(is_meeting_room_device, device_id, device_name, user_id, "");
        } else if (type == CONF::CONFINFO_BY_DIALNUM) {
            stateMachine->on_recv_confinfo(data);
        } else if (type == CONF::ENDPOINTS) {
            if (av_platform_name == "QC")
                replyConf(type, data);
            else
                logic->onCtrlCommand(type, data);
        } else if (type == CONF::UPDATEDEVICENAME) {
            LOG_DEBUG("---JSON CONTENT {}-----", data);
            const json j = json::parse(data);
            device_name = j.at("result").at("data").at("deviceName").get<std::string>();
            LOG_DEBUG("---Parse result : {}---", device_name);
            replyConf(type, data);
        } else if (type == CONF::LEGACYS) {
            // Nobody asks for the legacy list any more.
        } else {
            replyConf(type, data);
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
    }
}

int OrvaneSDKPrivate::onJoinMsgMyOwn(const json& event) {
    // Only the first such event of a call: a call this library started
    // already knows its conference.
    if (!_conf.confid.empty()) return 0;
    LOG_DEBUG("confsdk onJoinMsgMyOwn enter, call parseConfinfo.");
    parseConfinfo(CtrlSDKUtils::dump(event));
    if (av == nullptr || !av->isHostUser() || _conf.confid.empty()) return 0;
    if (CtrlSDKUtils::safeString(event, "waitingRoom") == "enable") av->enableWaitingRoom(true);
    control->sendCommand(CONF::TURNASCONTROLLER,
                         CtrlSDKUtils::dump(json{{"conferenceid", _conf.confid}, {"externaldeviceid", device_id}}));
    return 0;
}
