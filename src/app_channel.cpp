#include "app_channel.h"

#include <nlohmann/json.hpp>

#include "call_lock.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

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

void AppChannel::commandRefused(const std::string& command, Refusal refusal) const {
    if (refusal == Refusal::None) return;
    LOG_DEBUG("command refused: {}, reason={}", command, refusalReason(refusal));
    if (!refusalNotify_) return;
    notify(CONFNOTIFY::COMMAND_REFUSED,
           CtrlSDKUtils::dump(nlohmann::json{{"command", command}, {"reason", refusalReason(refusal)}}));
}

std::string AppChannel::errMsgFromId(const std::string& id) const {
    TransSDK* t = trans_;
    return t ? t->getErrMsgFromId(id) : std::string();
}

}  // namespace ORVANE
