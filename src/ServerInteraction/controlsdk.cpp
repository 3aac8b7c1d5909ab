#include "orvane/controlsdk.h"

#include "orvanecontrolsdk_p.h"

namespace ORVANE {

ControlSDK::ControlSDK() : d(new OrvaneControlSDk_private()) {}

ControlSDK::~ControlSDK() { delete d; }

void ControlSDK::setOrvaneTrans(TransSDK* trans) { d->setOrvaneTrans(trans); }

void ControlSDK::setListener(Listner* listener) { d->setListener(listener); }

void ControlSDK::sendCommand(const std::string& type, const std::string& data) { d->sendCommand(type, data); }

}  // namespace ORVANE
