#include "orvanecontrolsdk_p.h"

#include "logger.h"

namespace ORVANE {

void OrvaneControlSDk_private::setOrvaneTrans(TransSDK* t) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        trans = t;
    }
    if (t) t->addProcess(this);
}

void OrvaneControlSDk_private::setListener(ControlSDK::Listner* l) {
    std::lock_guard<std::mutex> lock(mutex_);
    listener = l;
}

void OrvaneControlSDk_private::sendCommand(const std::string& type, const std::string& data) {
    TransSDK* t;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        t = trans;
        if (t == nullptr) {
            LOG_ERROR("OrvaneControlSDk_private::sendCommand: 没有发送通道,无法处理\n");
            return;
        }
        requests[type] = data;
    }
    (void)t;
}

void OrvaneControlSDk_private::onProcess(const std::string& name, const std::string& data) {
    (void)name;
    (void)data;
}

}  // namespace ORVANE
