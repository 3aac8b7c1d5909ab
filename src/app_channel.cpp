#include "app_channel.h"

#include <nlohmann/json.hpp>

#include "call_lock.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

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
