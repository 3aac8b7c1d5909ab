#pragma once

#include <string>

#include "orvane/export.h"
#include "orvane/transsdk.h"

namespace ORVANE {

class OrvaneControlSDk_private;

// The control channel: commands to the servers as text messages through the
// transport, replies and server events back to a listener.
class ORVANE_API ControlSDK {
public:
    class Listner {
    public:
        // A reply to a command ("reqdata" and "result"), or "login_info".
        virtual void onCtrlCommand(const std::string& type, const std::string& json) = 0;
        // A server event: its name and its "args" as JSON text.
        virtual void onCtrlNotify(const std::string& type, const std::string& json) = 0;
        virtual ~Listner() = default;
    };

    ControlSDK();
    ~ControlSDK();
    ControlSDK(const ControlSDK&) = delete;
    ControlSDK& operator=(const ControlSDK&) = delete;

    // Stores the transport and registers the channel as its receiver.
    void setOrvaneTrans(TransSDK* trans);
    void setListener(Listner* listener);
    void sendCommand(const std::string& type, const std::string& data);

private:
    OrvaneControlSDk_private* d;
};

}  // namespace ORVANE
