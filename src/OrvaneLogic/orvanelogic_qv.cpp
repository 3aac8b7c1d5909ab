#include "orvanelogic_qv.h"

OrvaneLogic_QV::~OrvaneLogic_QV() {
    if (controlThread.joinable()) controlThread.join();
}

void OrvaneLogic_QV::sendCommand(const std::string& type, const std::string& data) {
    (void)type;
    (void)data;
}

void OrvaneLogic_QV::onCtrlCommand(const std::string& type, const std::string& data) {
    (void)type;
    (void)data;
}

void OrvaneLogic_QV::onCtrlNotify(const std::string& type, const std::string& data) {
    (void)type;
    (void)data;
}

void OrvaneLogic_QV::setConfptr(OrvaneSDKPrivate* c) { conf = c; }
