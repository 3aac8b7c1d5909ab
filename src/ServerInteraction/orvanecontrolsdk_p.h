#pragma once

#include <nlohmann/json_fwd.hpp>

#include <atomic>
#include <mutex>
#include <string>
#include <unordered_map>

#include "command_refusal.h"
#include "orvane/controlsdk.h"
#include "orvane/transsdk.h"

namespace ORVANE {

// What the channel hands on: replies as the text their receiver passes on,
// server events with their "args" parsed once, to be read and changed in
// place.
class ControlReceiver {
public:
    virtual void onCtrlCommand(const std::string& type, const std::string& json) = 0;
    virtual void onCtrlEvent(const std::string& type, nlohmann::json& args) = 0;

protected:
    ~ControlReceiver() = default;
};

// The control channel behind ControlSDK: outgoing commands in the wire
// envelope, incoming server messages sorted into replies and events. Each
// message is parsed once on the way in and written once on the way out.
class OrvaneControlSDk_private : public TransSDK::Process {
public:
    void onProcess(const std::string& name, const std::string& data) override;
    ~OrvaneControlSDk_private() override = default;

    // Sends the command's wire text; a refusal is left for lastRefusal().
    void sendCommand(const std::string& type, const std::string& data);
    // A call signal of the library's own, already in the library's JSON text
    // (compact, sorted keys): it goes into the envelope as it is.
    void sendCallSignal(const char* type, const std::string& signalText);
    void setOrvaneTrans(TransSDK* t);
    // The exported interface's listener: events reach it as text.
    void setListener(ControlSDK::Listner* l);
    // The library's core: events reach it parsed.
    void setReceiver(ControlReceiver* r);

    // The wire text of a call signal: the signal inside its envelope, or an
    // empty text when `data` is not JSON.
    static std::string wrapCallSignal(const std::string& type, const std::string& data);

private:
    // Hands events to an exported listener as the text of their "args".
    class TextListener : public ControlReceiver {
    public:
        void onCtrlCommand(const std::string& type, const std::string& json) override;
        void onCtrlEvent(const std::string& type, nlohmann::json& args) override;
        std::atomic<ControlSDK::Listner*> listener{nullptr};
    };

    // The wire text for `type`; why not, when the type has no entry or its
    // data cannot give one.
    Refusal buildRequest(const std::string& type, const std::string& data, std::string& text);
    // The transport, with the request of `type` noted for its reply; null,
    // with the channel's error line, when there is none.
    TransSDK* transportFor(const std::string& type, const std::string& data);
    void process(const std::string& data);

    std::mutex mutex_;  // guards the three fields below; never held while calling out
    TransSDK* trans = nullptr;
    ControlReceiver* receiver = nullptr;
    // For each command type, the data of its latest send: the correlation
    // table for replies, which carry the type as their id. Hashed: every
    // command sent looks its type up.
    std::unordered_map<std::string, std::string> requests;
    TextListener textListener_;
};

}  // namespace ORVANE
