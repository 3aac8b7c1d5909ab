#pragma once

#include <atomic>
#include <string>

#include "command_refusal.h"
#include "orvane/avsdk.h"
#include "orvane/confsdk.h"
#include "orvane/transsdk.h"

namespace ORVANE {

// What reaches the application: its two listeners, and the transport's
// human texts for the failure ids it is told. Every listener call is handed
// to CallLock::deliver, so it runs once this thread holds no library lock.
// The pointers may be set and read from any thread. The texts are taken by
// value: a text made for the application moves on to it uncopied.
class AppChannel {
public:
    void setListener(ConfSDK::Listener* listener) { listener_ = listener; }
    void setMediaListener(AVSDK::Listener* listener) { mediaListener_ = listener; }
    void setTransport(TransSDK* trans) { trans_ = trans; }
    TransSDK* transport() const { return trans_; }
    bool hasListener() const { return listener_ != nullptr; }

    // onConfNotify of the application's listener.
    void notify(std::string type, std::string data) const;
    // onConfCommand: the reply to one of the application's commands.
    void reply(std::string type, std::string data) const;
    // onNotify of the application's engine listener.
    void notifyMedia(std::string group, std::string cmd, std::string data) const;
    // The transport's text for a failure id; empty without a transport.
    std::string errMsgFromId(const std::string& id) const;

    // "confsdknotify_command_refused" for a command of the application that
    // the library did not carry out, when the application has asked for it.
    void setRefusalNotify(bool on) { refusalNotify_ = on; }
    void commandRefused(const std::string& command, Refusal refusal) const;

private:
    std::atomic<ConfSDK::Listener*> listener_{nullptr};
    std::atomic<AVSDK::Listener*> mediaListener_{nullptr};
    std::atomic<TransSDK*> trans_{nullptr};
    std::atomic<bool> refusalNotify_{false};
};

}  // namespace ORVANE
