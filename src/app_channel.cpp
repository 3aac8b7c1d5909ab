#include "app_channel.h"

#include "call_lock.h"

namespace ORVANE {

void AppChannel::notify(std::string type, std::string data) const {
    ConfSDK::Listener* l = listener_;
    if (l) CallLock::deliver([l, type = std::move(type), data = std::move(data)] { l->onConfNotify(type, data); });
}

void AppChannel::reply(std::string type, std::string data) const {
    ConfSDK::Listener* l = listener_;
    if (l) CallLock::deliver([l, type = std::move(type), data = std::move(data)] { l->onConfCommand(type, data); });
}

void AppChannel::notifyMedia(std::string group, std::string cmd, std::string data) const {
    AVSDK::Listener* l = mediaListener_;
    if (l)
        CallLock::deliver([l, group = std::move(group), cmd = std::move(cmd), data = std::move(data)] {
            l->onNotify(group, cmd, data);
        });
}

std::string AppChannel::errMsgFromId(const std::string& id) const {
    TransSDK* t = trans_;
    return t ? t->getErrMsgFromId(id) : std::string();
}

}  // namespace ORVANE
