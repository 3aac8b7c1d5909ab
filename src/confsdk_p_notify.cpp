// Server events: the switchboard that sorts them by kind, and the intake of
// call signals.
#include <algorithm>
#include <cstdio>

#include "call_lock.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "ServerInteraction/orvanecmdtojson.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

bool isControlCommandEvent(const std::string& event) {
    static const char* const kEvents[] = {
        "ctrl_cmd_mute",      "ctrl_cmd_mute_all",  "ctrl_cmd_block_video",    "ctrl_cmd_lock_meeting",
        "ctrl_cmd_start_sync_control_panel", "ctrl_cmd_make_host", "ctrl_cmd_make_cohost", "ctrl_cmd_record_meeting",
    };
    return std::any_of(std::begin(kEvents), std::end(kEvents), [&](const char* e) { return event == e; });
}

}  // namespace

void OrvaneSDKPrivate::onCtrlNotify(const std::string& type, const std::string& data) {
    CallLock lock(callMutex_);
    const std::vector<std::string> parts = CtrlSDKUtils::split(type, '/');
    const std::string kind = parts.size() > 1 ? parts[1] : std::string();
    if (kind != EVENT::CONFMANAGER && kind != EVENT::CALLMASTER && kind != EVENT::DEVICEMGR &&
        kind != "trans_server_autonomy" && kind != "callmaster_ctrl_cmd") {
        LOG_INFO("confsdk onCtrlNotify: SKIP type={}\n", type);
        return;
    }
    if (data == "[null]") {
        LOG_ERROR("json error, the args from server is null, skipped!!\n");
        return;
    }
    LOG_DEBUG("confsdk onCtrlNotify: recv type={}\n", type);

    // An event of an unexpected shape is logged and dropped; nothing of it
    // reaches the application.
    json args = CtrlSDKUtils::parseQuiet(data);
    try {
        if (kind == EVENT::CONFMANAGER)
            onConfManagerEvent(type, data, args);
        else if (kind == EVENT::CALLMASTER)
            onCallSignal(args);
        else if (kind == EVENT::DEVICEMGR)
            onDeviceManagerEvent(type, data, args);
        else if (kind == "trans_server_autonomy")
            onAutonomyEvent(args);
        else
            onCallmasterControl(args);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
    }
}

void OrvaneSDKPrivate::onConfManagerEvent(const std::string& type, const std::string& data, json& args) {
    json& event = args.at(0);
    const std::string name = event.at("event").get<std::string>();
    if (isControlCommandEvent(name)) {
        logic->onCtrlNotify(type, data);
        return;
    }
    if (name != "confmgr_endpoint_change") {
        notifyConf(type, data);
        return;
    }
    const std::string operation = event.at("operation").get<std::string>();
    if (operation == "confmgr_participant_join")
        onParticipantJoin(type, args);
    else if (operation == "confmgr_participant_leave")
        onParticipantLeave(type, data, args);
    else
        notifyConf(type, data);
}

void OrvaneSDKPrivate::onParticipantJoin(const std::string& type, json& args) {
    json& event = args.at(0);
    json& endpoint = event.at("endpoint");
    syncAllCacheStatusFromAVSDK();

    if (endpoint.at("deviceId").get<std::string>() == device_id) {
        onJoinMsgMyOwn(event);
        if (av && av->isHostUser())
            control->sendCommand(CONF::TURNASCONTROLLER, CtrlSDKUtils::dump(json{
                                                             {"conferenceid", _conf.confid},
                                                             {"externaldeviceid", device_id}}));
        control->sendCommand(CONF::SYNCDATA, CtrlSDKUtils::dump(json{{"conferenceid", _conf.confid},
                                                                      {"externaldeviceid", device_id},
                                                                      {"microphone", _conf.microphone},
                                                                      {"synctype", "device"}}));
    }

    const std::string guid = endpoint.at("externalGuid").get<std::string>();
    // The application has had this participant from the simulation already.
    if (std::find(simulatedGuids.begin(), simulatedGuids.end(), guid) != simulatedGuids.end()) return;

    const std::string extId = endpoint.at("externalDeviceId").get<std::string>();
    json report;
    {
        std::lock_guard<std::mutex> epLock(epStatusMutex);
        // The device came back under a new engine user id: one entry, not two.
        for (auto it = epStatusList.begin(); it != epStatusList.end(); ++it) {
            if (it->second.externalDeviceId == extId) {
                if (it->first != guid) epStatusList.erase(it);
                break;
            }
        }
        if (!guid.empty()) {
            EpStatus& entry = epStatusList[guid];
            entry.externalDeviceId = extId;
            entry.name = endpoint.at("name").get<std::string>();
            // The engine's view of mute and roles wins over the server's.
            endpoint["adminMute"] = entry.adminMute;
            endpoint["videoMute"] = entry.videoMute;
            endpoint["isOperator"] = entry.isHost || entry.isCohost;
            endpoint["isHost"] = entry.isHost;
            endpoint["isCohost"] = entry.isCohost;
            report = entry.toJson();
        }
    }
    if (!guid.empty()) {
        if (av && av->isHostUser() && syncing) {
            report["action"] = "adminMute";
            reportControlPanel(json::array({report}));
        }
        LOG_DEBUG("confsdk: confmgr_participant_join status merged\n");
    }
    const std::string text = CtrlSDKUtils::dump(args);
    LOG_DEBUG("confsdk: confmgr_participant_join merge result={}", text);
    notifyConf(type, text);
}

void OrvaneSDKPrivate::onParticipantLeave(const std::string& type, const std::string& data, json& args) {
    const std::string guid = args.at(0).at("endpoint").at("externalGuid").get<std::string>();
    if (!guid.empty()) {
        {
            std::lock_guard<std::mutex> epLock(epStatusMutex);
            epStatusList.erase(guid);
        }
        LOG_DEBUG("confsdk: confmgr_participant_leave status merged\n");
    }
    notifyConf(type, data);
}

void OrvaneSDKPrivate::onAutonomyEvent(json& args) {
    const json& event = args.at(0);
    if (CtrlSDKUtils::safeString(event, "event") == "trans_autonomic_action" &&
        CtrlSDKUtils::safeString(event, "action") == "BE_LOGOUT")
        notifyConf("trans_server_autonomy", CtrlSDKUtils::dump(json{{"action", "BE_LOGOUT"}}));
}

void OrvaneSDKPrivate::onCallmasterControl(json& args) {
    const json& event = args.at(0);
    const std::string name = event.at("event").get<std::string>();
    if (name == "ctrl_cmd_call_out_h323") {
        const std::string cmdId = event.at("cmdId").get<std::string>();
        const json& device = event.at("h323Device");
        device.at("deviceId").get<std::string>();
        const std::string deviceName = device.at("deviceName").get<std::string>();
        const std::string dialString = device.at("dialString").get<std::string>();
        device.at("e164Num").get<std::string>();
        const std::string protocolType = device.at("protocolType").get<std::string>();
        callH323device(deviceName, dialString, protocolType, cmdId);
    } else if (name == "ctrl_cmd_hang_up_h323") {
        const std::string cmdId = event.at("cmdId").get<std::string>();
        const std::string sdkUserId = event.at("sdkUserId").get<std::string>();
        if (av) av->hangupH323device(sdkUserId, cmdId);
    }
}

void OrvaneSDKPrivate::onDeviceManagerEvent(const std::string& type, const std::string& data, json& args) {
    const json& event = args.at(0);
    const std::string name = event.at("event").get<std::string>();
    if (name == "device_register") {
        onDeviceRegister(event);
    } else if (name == "devicemgr_device_change_device_name") {
        LOG_DEBUG("Recv devicemgr_device_change_device_name, data={}", data);
        const std::string id = CtrlSDKUtils::safeString(event, "deviceId");
        if (id != device_id) {
            LOG_ERROR("Error: recv msg devicemgr_device_change_device_name, but the dev_id is different from mine.!");
            return;
        }
        device_name = CtrlSDKUtils::safeString(event, "deviceName");
        notifyConf(CONFNOTIFY::DEVICE_NAME_CHANGED,
                   CtrlSDKUtils::dump(json{{"deviceId", id}, {"deviceName", device_name}}));
    } else {
        notifyConf(type, data);
    }
}

void OrvaneSDKPrivate::onDeviceRegister(const json& event) {
    bool knownPlatform = true;
    try {
        device_id = event.at("deviceId").get<std::string>();
        serial_number = event.at("serialNumber").get<std::string>();
        my_dial_num = event.at("dialNumber").get<std::string>();
        device_name = event.at("deviceName").get<std::string>();
        device_type = event.at("deviceType").get<std::string>();
        register_user_id = CtrlSDKUtils::safeString(event, "regUserId");
        register_user_name = CtrlSDKUtils::safeString(event, "regUserName");
        is_meeting_room_device = event.at("isMeetingRoomDevice").get<bool>();
        CtrlSDKUtils::OrvaneCmdToJson::setCmdIdentity(is_meeting_room_device, device_id, device_name, user_id, "");
        const std::string platform = event.at("mediaPlatform").get<std::string>();
        if (platform == "QV") {
            CtrlSDKUtils::safeString(event, "qvHostAddress");
            CtrlSDKUtils::safeString(event, "qvJwt");
            av_user = CtrlSDKUtils::safeString(event, "qvUserName");
            av_password = CtrlSDKUtils::safeString(event, "qvPassword");
        } else if (platform != "QC") {
            LOG_CRITICAL("ERROR! Unknown AV Engine, please developer to add corresponding processing.");
            knownPlatform = false;
        }
    } catch (const json::exception& e) {
        // What was stored stays; the registration goes on with it.
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(event));
    }
    notifyConf(CONFNOTIFY::DEVICE_NAME_CHANGED,
               CtrlSDKUtils::dump(json{{"deviceId", device_id}, {"deviceName", device_name}}));
    notifyConf(CONFNOTIFY::REGINFO, CtrlSDKUtils::dump(json{{"deviceid", device_id}}));
    // Without a media engine for this platform the device cannot take part in
    // any meeting: it is not offered to the call server.
    if (!knownPlatform) return;
    // The application hears of its identity before the media login starts.
    continueAfterDeliveries([this] {
        _av_login();
        stateMachine->send_register();
        callserver_register();
    });
}

void OrvaneSDKPrivate::onCallSignal(json& args) {
    json& signal = args.at(0);
    std::string command, cseq, cseqCommand;
    try {
        command = signal.at("startLine").at("command").get<std::string>();
        cseq = signal.at("signalHeader").at("cseq").get<std::string>();
        std::fprintf(stdout, "\nonCtrlNotify CSEQ=%s\n", cseq.c_str());
        std::fflush(stdout);
        const auto words = CtrlSDKUtils::split(cseq, ' ');
        if (words.size() > 1) cseqCommand = words[1];
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(signal));
    }
    LOG_INFO("\n\nReceived startline_command={}, CSEQ cmd={}\n\n", command, cseqCommand);
    if (!stateMachine->check_server_msg_is_expect(command, cseqCommand)) {
        LOG_WARN("check_server_msg_is_expect return false;\n");
        return;
    }
    stateMachine->on_recv_callsignal(command, cseqCommand, signal);
}

void OrvaneSDKPrivate::callH323device(const std::string& deviceName, const std::string& deviceIp,
                                      const std::string& deviceType, const std::string& cmdId) {
    // Call-outs to room systems are queued and placed by the H.323 module,
    // which this build does not carry yet: the order is only recorded.
    LOG_DEBUG("callH323device deviceName={}, deviceIp={}, deviceType={}, cmdId={}", deviceName, deviceIp,
              deviceType, cmdId);
}
