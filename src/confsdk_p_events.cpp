// What arrives from outside without being asked for by the application:
// the servers' replies and events, and the engine's notifications.
#include <algorithm>
#include <cstdio>

#include "call_lock.h"
#include "confsdk_p.h"
#include "console_output.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
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

void OrvaneSDKPrivate::onCtrlCommand(const std::string& type, const std::string& data) {
    CallLock lock(callMutex_);
    LOG_DEBUG("Orvane onCtrlCommand: type={}\n", type);
    try {
        if (type == "login_info") {
            const json j = CtrlSDKUtils::parseQuiet(data);
            if (j.is_object() && j.contains("userid")) identity_.setUserId(j["userid"].get<std::string>());
        } else if (type == CONF::CONFINFO_BY_DIALNUM) {
            machine_.on_recv_confinfo(data);
        } else if (type == CONF::ENDPOINTS) {
            if (avPlatformName_ == PLATFORM::QC)
                app_.reply(type, data);
            else
                logic_->onCtrlCommand(type, data);
        } else if (type == CONF::UPDATEDEVICENAME) {
            LOG_DEBUG("---JSON CONTENT {}-----", data);
            const json j = json::parse(data);
            identity_.setDeviceName(j.at("result").at("data").at("deviceName").get<std::string>());
            LOG_DEBUG("---Parse result : {}---", identity_.deviceName());
            app_.reply(type, data);
        } else if (type == CONF::LEGACYS) {
            // Nobody asks for the legacy list any more.
        } else {
            app_.reply(type, data);
        }
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
    }
}

void OrvaneSDKPrivate::onCtrlEvent(const std::string& type, json& args) {
    CallLock lock(callMutex_);
    // The kind is the second part of "N/kind".
    const size_t slash = type.find('/');
    const size_t end = slash == std::string::npos ? slash : type.find('/', slash + 1);
    const std::string_view kind =
        slash == std::string::npos ? std::string_view() : std::string_view(type).substr(slash + 1, end - slash - 1);
    if (kind != EVENT::CONFMANAGER && kind != EVENT::CALLMASTER && kind != EVENT::DEVICEMGR &&
        kind != "trans_server_autonomy" && kind != "callmaster_ctrl_cmd") {
        LOG_INFO("confsdk onCtrlNotify: SKIP type={}\n", type);
        return;
    }
    if (args.is_array() && args.size() == 1 && args[0].is_null()) {
        LOG_ERROR("json error, the args from server is null, skipped!!\n");
        return;
    }
    LOG_DEBUG("confsdk onCtrlNotify: recv type={}\n", type);

    // An event of an unexpected shape is logged and dropped; nothing of it
    // reaches the application.
    try {
        if (kind == EVENT::CONFMANAGER)
            onConfManagerEvent(type, args);
        else if (kind == EVENT::CALLMASTER)
            onCallSignal(args);
        else if (kind == EVENT::DEVICEMGR)
            onDeviceManagerEvent(type, args);
        else if (kind == "trans_server_autonomy")
            onAutonomyEvent(args);
        else
            onCallmasterControl(args);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(args));
    }
}

void OrvaneSDKPrivate::onConfManagerEvent(const std::string& type, json& args) {
    json& event = args.at(0);
    const std::string name = event.at("event").get<std::string>();
    if (isControlCommandEvent(name)) {
        logic_->onCtrlNotify(type, CtrlSDKUtils::dump(args));
        return;
    }
    if (name != "confmgr_endpoint_change") {
        app_.notify(type, CtrlSDKUtils::dump(args));
        return;
    }
    const std::string operation = event.at("operation").get<std::string>();
    if (operation == "confmgr_participant_join")
        onParticipantJoin(type, args);
    else if (operation == "confmgr_participant_leave")
        onParticipantLeave(type, args);
    else
        app_.notify(type, CtrlSDKUtils::dump(args));
}

void OrvaneSDKPrivate::onParticipantJoin(const std::string& type, json& args) {
    json& event = args.at(0);
    json& endpoint = event.at("endpoint");
    const std::string guid = endpoint.at("externalGuid").get<std::string>();
    // The cache follows the engine's own reports of status and roles. The
    // engine offers only its whole list of users, so that is read again
    // only when the cache can't vouch for this participant: a burst of
    // joins reads it once, and a newcomer the engine has not reported
    // costs no read at all.
    if (endpoints_.needsEngineUsers(guid)) syncAllCacheStatusFromAVSDK();

    const std::string& me = identity_.deviceId();
    if (endpoint.at("deviceId").get<std::string>() == me) {
        onJoinMsgMyOwn(event);
        if (av_ && av_->isHostUser())
            control_.sendCommand(CONF::TURNASCONTROLLER,
                                 CtrlSDKUtils::dump(json{{"conferenceid", conf_.confid}, {"externaldeviceid", me}}));
        control_.sendCommand(CONF::SYNCDATA, CtrlSDKUtils::dump(json{{"conferenceid", conf_.confid},
                                                                      {"externaldeviceid", me},
                                                                      {"microphone", conf_.microphone},
                                                                      {"synctype", "device"}}));
    }

    // The application has had this participant from the simulation already.
    if (filter_.simulated(guid)) return;
    const std::string extId = endpoint.at("externalDeviceId").get<std::string>();
    const auto entry = endpoints_.tieToDevice(guid, extId, guid.empty() ? "" : endpoint.at("name").get<std::string>());
    if (entry) {
        // The engine's view of mute and roles wins over the server's.
        endpoint["adminMute"] = entry->adminMute;
        endpoint["videoMute"] = entry->videoMute;
        endpoint["isOperator"] = entry->isHost || entry->isCohost;
        endpoint["isHost"] = entry->isHost;
        endpoint["isCohost"] = entry->isCohost;
        if (syncing_ && av_ && av_->isHostUser()) {
            json report = entry->toJson();
            report["action"] = "adminMute";
            reportControlPanel(json::array({report}));
        }
        LOG_DEBUG("confsdk: confmgr_participant_join status merged\n");
    }
    std::string text = CtrlSDKUtils::dump(args);
    LOG_DEBUG("confsdk: confmgr_participant_join merge result={}", text);
    app_.notify(type, std::move(text));
}

void OrvaneSDKPrivate::onParticipantLeave(const std::string& type, json& args) {
    const std::string guid = args.at(0).at("endpoint").at("externalGuid").get<std::string>();
    if (!guid.empty()) {
        endpoints_.erase(guid);
        LOG_DEBUG("confsdk: confmgr_participant_leave status merged\n");
    }
    app_.notify(type, CtrlSDKUtils::dump(args));
}

void OrvaneSDKPrivate::onAutonomyEvent(json& args) {
    const json& event = args.at(0);
    if (CtrlSDKUtils::safeString(event, "event") == "trans_autonomic_action" &&
        CtrlSDKUtils::safeString(event, "action") == "BE_LOGOUT")
        app_.notify("trans_server_autonomy", CtrlSDKUtils::dump(json{{"action", "BE_LOGOUT"}}));
}

void OrvaneSDKPrivate::onCallmasterControl(json& args) {
    const json& event = args.at(0);
    const std::string name = event.at("event").get<std::string>();
    if (name == "ctrl_cmd_call_out_h323") {
        const std::string cmdId = event.at("cmdId").get<std::string>();
        const json& device = event.at("h323Device");
        // All five are required, though only three are used.
        device.at("deviceId").get<std::string>();
        const std::string deviceName = device.at("deviceName").get<std::string>();
        const std::string dialString = device.at("dialString").get<std::string>();
        device.at("e164Num").get<std::string>();
        const std::string protocolType = device.at("protocolType").get<std::string>();
        h323_.callH323device(deviceName, dialString, protocolType, cmdId);
    } else if (name == "ctrl_cmd_hang_up_h323") {
        const std::string cmdId = event.at("cmdId").get<std::string>();
        const std::string sdkUserId = event.at("sdkUserId").get<std::string>();
        if (av_) av_->hangupH323device(sdkUserId, cmdId);
    }
}

void OrvaneSDKPrivate::onDeviceManagerEvent(const std::string& type, json& args) {
    const json& event = args.at(0);
    const std::string name = event.at("event").get<std::string>();
    if (name == "device_register") {
        onDeviceRegister(event);
    } else if (name == "devicemgr_device_change_device_name") {
        LOG_DEBUG("Recv devicemgr_device_change_device_name, data={}", CtrlSDKUtils::dump(args));
        const std::string id = CtrlSDKUtils::safeString(event, "deviceId");
        if (id != identity_.deviceId()) {
            LOG_ERROR("Error: recv msg devicemgr_device_change_device_name, but the dev_id is different from mine.!");
            return;
        }
        identity_.setDeviceName(CtrlSDKUtils::safeString(event, "deviceName"));
        app_.notify(CONFNOTIFY::DEVICE_NAME_CHANGED,
                    CtrlSDKUtils::dump(json{{"deviceId", id}, {"deviceName", identity_.deviceName()}}));
    } else {
        app_.notify(type, CtrlSDKUtils::dump(args));
    }
}

void OrvaneSDKPrivate::onDeviceRegister(const json& event) {
    bool knownPlatform = true;
    try {
        identity_.storeRegistration(event);
        knownPlatform = identity_.storeMediaPlatform(event);
    } catch (const json::exception& e) {
        // What was stored stays; the registration goes on with it.
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(event));
    }
    app_.notify(CONFNOTIFY::DEVICE_NAME_CHANGED, CtrlSDKUtils::dump(json{{"deviceId", identity_.deviceId()},
                                                                        {"deviceName", identity_.deviceName()}}));
    app_.notify(CONFNOTIFY::REGINFO, CtrlSDKUtils::dump(json{{"deviceid", identity_.deviceId()}}));
    // Without a media engine for this platform the device cannot take part in
    // any meeting: it is not offered to the call server.
    if (!knownPlatform) return;
    // The application hears of its identity before the media login starts.
    continueAfterDeliveries([this] {
        filter_._av_login();
        machine_.send_register();
        // A second REGISTER, whatever the machine did: a later registration
        // event finds the machine past its first state, and is carried by
        // this one alone.
        signals_.callserver_register();
    });
}

void OrvaneSDKPrivate::onCallSignal(json& args) {
    json& signal = args.at(0);
    std::string command, cseq, cseqCommand;
    try {
        command = signal.at("startLine").at("command").get<std::string>();
        cseq = signal.at("signalHeader").at("cseq").get<std::string>();
        if (consoleOutput()) {
            std::fprintf(stdout, "\nonCtrlNotify CSEQ=%s\n", cseq.c_str());
            std::fflush(stdout);
        }
        const auto words = CtrlSDKUtils::split(cseq, ' ');
        if (words.size() > 1) cseqCommand = words[1];
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), CtrlSDKUtils::dump(signal));
    }
    LOG_INFO("\n\nReceived startline_command={}, CSEQ cmd={}\n\n", command, cseqCommand);
    if (machine_.answerAbandonedCall(command, signal)) return;
    if (!machine_.check_server_msg_is_expect(command, cseqCommand)) {
        LOG_WARN("check_server_msg_is_expect return false;\n");
        return;
    }
    machine_.on_recv_callsignal(command, cseqCommand, signal);
}

int OrvaneSDKPrivate::onJoinMsgMyOwn(const json& event) {
    // Only the first such event of a call: a call this library started
    // already knows its conference.
    if (!conf_.confid.empty()) return 0;
    LOG_DEBUG("confsdk onJoinMsgMyOwn enter, call parseConfinfo.");
    parseConfinfo(CtrlSDKUtils::dump(event));
    if (av_ == nullptr || !av_->isHostUser() || conf_.confid.empty()) return 0;
    if (CtrlSDKUtils::safeString(event, "waitingRoom") == "enable") av_->enableWaitingRoom(true);
    control_.sendCommand(CONF::TURNASCONTROLLER, CtrlSDKUtils::dump(json{{"conferenceid", conf_.confid},
                                                                         {"externaldeviceid", identity_.deviceId()}}));
    return 0;
}

void OrvaneSDKPrivate::onNotify(std::string group, std::string cmd, std::string data) {
    CallLock lock(callMutex_);
    LOG_DEBUG("--------{} : group {}, cmd {}, data {}-------", "onNotify", group, cmd, data);
    bool pass = false;
    // Nothing the engine sends may throw back into its thread. The handler
    // may rewrite the data; the application gets it as the handler left it.
    runContained("onNotify: a handler failed", [&] { pass = filter_.av_notification_filter(group, cmd, data); });
    if (pass) app_.notifyMedia(std::move(group), std::move(cmd), std::move(data));
}
