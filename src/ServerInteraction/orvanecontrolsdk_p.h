#pragma once

#include <map>
#include <mutex>
#include <string>

#include "command_refusal.h"
#include "orvane/controlsdk.h"
#include "orvane/transsdk.h"

namespace ORVANE {

// The control channel behind ControlSDK: outgoing commands in the wire
// envelope, incoming server messages sorted into replies and events.
class OrvaneControlSDk_private : public TransSDK::Process {
public:
    void onProcess(const std::string& name, const std::string& data) override;
    ~OrvaneControlSDk_private() override = default;

    // Sends the command's wire text; a refusal is left for lastRefusal().
    void sendCommand(const std::string& type, const std::string& data);
    void setOrvaneTrans(TransSDK* t);
    void setListener(ControlSDK::Listner* l);

    // The wire text of a call signal: the signal inside its envelope, or an
    // empty text when `data` is not JSON.
    static std::string wrapCallSignal(const std::string& type, const std::string& data);

private:
    // The wire text for `type`; why not, when the type has no entry or its
    // data cannot give one.
    Refusal buildRequest(const std::string& type, const std::string& data, std::string& text);
    void process(const std::string& data);

    std::mutex mutex_;  // guards the three fields below; never held while calling out
    TransSDK* trans = nullptr;
    ControlSDK::Listner* listener = nullptr;
    // For each command type, the data of its latest send: the correlation
    // table for replies, which carry the type as their id.
    std::map<std::string, std::string> requests;
};

}  // namespace ORVANE
