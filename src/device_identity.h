#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace ORVANE {

// Who this device is: the device manager's registration fills it, the login
// information adds the user id, and everything else reads it. Guarded by the
// call lock. Every change is also handed to the REST requests, which name
// this device or its user in their paths.
class DeviceIdentity {
public:
    // Stores the registration's fields in their order. A field that is
    // missing or of the wrong type throws the JSON error, and what was
    // stored before it stays.
    void storeRegistration(const nlohmann::json& event);
    // Reads the media platform and, for "QV", the engine's credentials.
    // False when the platform is one the library has no engine for. Throws
    // the JSON error when "mediaPlatform" is missing.
    bool storeMediaPlatform(const nlohmann::json& event);
    void setUserId(const std::string& id);
    void setDeviceName(const std::string& name) { deviceName_ = name; }

    const std::string& deviceId() const { return deviceId_; }
    const std::string& dialNumber() const { return dialNumber_; }
    const std::string& deviceName() const { return deviceName_; }
    const std::string& userId() const { return userId_; }
    const std::string& avUser() const { return avUser_; }
    // Base64 text, as the server sent it.
    const std::string& avPassword() const { return avPassword_; }
    bool isMeetingRoomDevice() const { return meetingRoomDevice_; }

    // The device for a meeting-room terminal, else the user.
    std::string uniformUserId() const;
    // The device's name for a terminal, else the registered user's name, else
    // `dispname`, the name of the current conference.
    std::string uniformUserName(const std::string& dispname) const;
    // The identity as the JSON text of getMyInfo.
    std::string myInfo() const;

private:
    void publish() const;

    std::string dialNumber_;
    std::string userId_;
    std::string serialNumber_;
    std::string deviceName_;
    std::string deviceType_;
    std::string deviceId_;
    bool meetingRoomDevice_ = false;
    std::string registerUserId_;
    std::string registerUserName_;
    std::string avUser_;
    std::string avPassword_;
};

}  // namespace ORVANE
