#pragma once

/// @file
/// The control channel to the servers, which the library runs inside.

#include <string>

#include "orvane/export.h"
#include "orvane/transsdk.h"

namespace ORVANE {

class OrvaneControlSDk_private;

/// The control channel: commands to the servers as text messages through the
/// transport, replies and server events back to a listener.
///
/// The library runs one inside; an application has no need of its own. All
/// ControlSDK objects of the process share what they hold through their
/// private part: the transport, the listener and the table of requests,
/// which remembers the data of the latest command of each name so that its
/// reply can carry it.
///
/// @par Thread Safety
/// Distinct objects: each has its own private part. Shared objects: safe;
/// the transport, the listener and the table are kept under a mutex of
/// their own, which is never held while calling the transport or the
/// listener.
///
/// @par Exceptions
/// A JSON fault in a command's data or in a server message is logged with
/// the JSON error line and the message is dropped.
class ORVANE_API ControlSDK {
public:
    /// Receiver of the servers' replies and events (the library's central
    /// object is the one inside). Called on the transport's thread.
    class Listner {
    public:
        /// A reply to a command, or the login information.
        ///
        /// @param type The command's name (the reply's id up to its first
        ///        "@"), or "login_info".
        /// @param json `{"reqdata": DATA, "result": MESSAGE}` for a reply
        ///        (MESSAGE only when the server's message carries "data"), or
        ///        the whole "internal_info" message for "login_info".
        virtual void onCtrlCommand(const std::string& type, const std::string& json) = 0;
        /// A server event.
        ///
        /// @param type The event's name, such as "0/confmanager_event".
        /// @param json Its "args" as JSON text: an array whose element 0 holds
        ///        the event.
        virtual void onCtrlNotify(const std::string& type, const std::string& json) = 0;
        /// Not deleted by the channel.
        virtual ~Listner() = default;
    };

    /// A channel without a transport or a listener.
    ControlSDK();
    /// Ends the channel. The transport must have stopped delivering to it.
    ~ControlSDK();
    ControlSDK(const ControlSDK&) = delete;
    ControlSDK& operator=(const ControlSDK&) = delete;

    /// Stores the transport and registers the channel as its receiver
    /// (TransSDK::addProcess()). Not owned; it must outlive the channel's use.
    ///
    /// @param trans The transport; null stops sending.
    void setOrvaneTrans(TransSDK* trans);
    /// Stores the listener. Not owned; without one, server messages are
    /// dropped.
    ///
    /// @param listener The listener, or null.
    void setListener(Listner* listener);
    /// Sends one command to the servers through the transport, on the
    /// caller's thread: a REST request, a call signal, or the
    /// control-command response as it stands. A name the channel does not
    /// know sends nothing; a request whose required keys are missing goes
    /// out as an empty text; without a transport the command is logged and
    /// dropped.
    ///
    /// @param type The command's name.
    /// @param data Its JSON text.
    void sendCommand(const std::string& type, const std::string& data);

private:
    OrvaneControlSDk_private* d;
};

}  // namespace ORVANE
