#include "device_identity.h"

#include "ServerInteraction/orvanecmdtojson.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "vocabulary_internal.h"

namespace ORVANE {

using json = nlohmann::json;

void DeviceIdentity::storeRegistration(const json& event) {
    deviceId_ = event.at("deviceId").get<std::string>();
    serialNumber_ = event.at("serialNumber").get<std::string>();
    dialNumber_ = event.at("dialNumber").get<std::string>();
    deviceName_ = event.at("deviceName").get<std::string>();
    deviceType_ = event.at("deviceType").get<std::string>();
    registerUserId_ = CtrlSDKUtils::safeString(event, "regUserId");
    registerUserName_ = CtrlSDKUtils::safeString(event, "regUserName");
    meetingRoomDevice_ = event.at("isMeetingRoomDevice").get<bool>();
    publish();
}

bool DeviceIdentity::storeMediaPlatform(const json& event) {
    const std::string platform = event.at("mediaPlatform").get<std::string>();
    if (platform == PLATFORM::QV) {
        // The engine's host address and token travel with the credentials
        // but are the engine's own business.
        CtrlSDKUtils::safeString(event, "qvHostAddress");
        CtrlSDKUtils::safeString(event, "qvJwt");
        avUser_ = CtrlSDKUtils::safeString(event, "qvUserName");
        avPassword_ = CtrlSDKUtils::safeString(event, "qvPassword");
        return true;
    }
    if (platform == PLATFORM::QC) return true;
    LOG_CRITICAL("ERROR! Unknown AV Engine, please developer to add corresponding processing.");
    return false;
}

void DeviceIdentity::setUserId(const std::string& id) {
    userId_ = id;
    publish();
}

std::string DeviceIdentity::uniformUserId() const { return meetingRoomDevice_ ? deviceId_ : userId_; }

std::string DeviceIdentity::uniformUserName(const std::string& dispname) const {
    if (meetingRoomDevice_) return deviceName_;
    if (!registerUserName_.empty()) return registerUserName_;
    return dispname;
}

std::string DeviceIdentity::myInfo() const {
    return CtrlSDKUtils::dump(json{
        {"my_dial_num", dialNumber_},
        {"user_id", userId_},
        {"serial_number", serialNumber_},
        {"device_name", deviceName_},
        {"device_type", deviceType_},
        {"device_id", deviceId_},
        {"is_meeting_room_device", meetingRoomDevice_},
        {"register_user_name", registerUserName_},
        {"register_user_id", registerUserId_},
        {"av_user", avUser_},
    });
}

void DeviceIdentity::publish() const {
    CtrlSDKUtils::OrvaneCmdToJson::setCmdIdentity(meetingRoomDevice_, deviceId_, deviceName_, userId_, "");
}

}  // namespace ORVANE
