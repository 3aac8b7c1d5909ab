#include "app_channel.h"

#include "call_lock.h"

namespace ORVANE {

void AppChannel::notify(const std::string& type, const std::string& data) const {
    ConfSDK::Listener* l = listener_;
    if (l) CallLock::deliver([l, type, data] { l->onConfNotify(type, data); });
}

void AppChannel::reply(const std::string& type, const std::string& data) const {
    ConfSDK::Listener* l = listener_;
    if (l) CallLock::deliver([l, type, data] { l->onConfCommand(type, data); });
}

void AppChannel::notifyMedia(const std::string& group, const std::string& cmd, const std::string& data) const {
    AVSDK::Listener* l = mediaListener_;
    if (l) CallLock::deliver([l, group, cmd, data] { l->onNotify(group, cmd, data); });
}

std::string AppChannel::errMsgFromId(const std::string& id) const {
    TransSDK* t = trans_;
    return t ? t->getErrMsgFromId(id) : std::string();
}

}  // namespace ORVANE
