#include "orvane/controlsdk.h"

#include "logger.h"
#include "orvanecontrolsdk_p.h"

namespace ORVANE {

// The transport's code runs inside these calls; its exceptions stop here, as
// at every entry of the exported interface.

ControlSDK::ControlSDK() : d(new OrvaneControlSDk_private()) {}

ControlSDK::~ControlSDK() { delete d; }

void ControlSDK::setOrvaneTrans(TransSDK* trans) {
    runContained("ControlSDK::setOrvaneTrans failed", [&] { d->setOrvaneTrans(trans); });
}

void ControlSDK::setListener(Listner* listener) { d->setListener(listener); }

void ControlSDK::sendCommand(const std::string& type, const std::string& data) {
    runContained("ControlSDK::sendCommand failed", [&] { d->sendCommand(type, data); });
}

}  // namespace ORVANE
