#pragma once

#include <string>
#include <thread>

#include "orvane/orvanelogic.h"

// The empty variant: commands routed to the logic are dropped.
class OrvaneLogic_AV : public OrvaneLogic_Interface {
public:
    void setConfptr(OrvaneSDKPrivate* c) override { conf = c; }
    OrvaneSDKPrivate* conf = nullptr;
};

// The working variant for the media platforms in use.
class OrvaneLogic_QV final : public OrvaneLogic_Interface {
public:
    OrvaneLogic_QV() = default;
    ~OrvaneLogic_QV();
    OrvaneLogic_QV(const OrvaneLogic_QV&) = delete;
    OrvaneLogic_QV& operator=(const OrvaneLogic_QV&) = delete;

    void sendCommand(const std::string& type, const std::string& data) override;
    void onCtrlCommand(const std::string& type, const std::string& data) override;
    void onCtrlNotify(const std::string& type, const std::string& data) override;
    void setConfptr(OrvaneSDKPrivate* c) override;

    OrvaneSDKPrivate* conf = nullptr;
    std::thread controlThread;
};
