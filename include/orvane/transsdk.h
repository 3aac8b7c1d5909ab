#pragma once

/// @file
/// The transport to the servers, as the library needs it.

#include <string>

namespace ORVANE {

/// The transport module: one channel of text messages to the servers (the
/// call server, the conference manager and the device manager).
///
/// The application implements it, or hands over the one of its transport
/// module, with ConfSDK::setOrvaneTrans(). Connecting and closing belong to
/// the concrete transport; the library only sends and receives.
///
/// Ownership: the transport belongs to the application, and the library uses
/// it until the process ends.
///
/// @par Thread Safety
/// The library calls sendTextMessage() from many threads (the application's,
/// the transport's own, the engine's, and its timer worker, control thread
/// and reporter), often with its call lock held: it must not block waiting
/// for the thread that delivers into the library. Queueing the text, or
/// sending it at once, are both fine.
///
/// @par Exceptions
/// An exception thrown by a member is caught by the library and logged.
class TransSDK {
public:
    /// Receiver of every text message from the server. The library registers
    /// one with addProcess(); it is the library's and lives until the process
    /// ends.
    class Process {
    public:
        /// A receiver.
        Process() = default;
        /// Not deleted by the transport.
        virtual ~Process() = default;
        /// One text message from the server.
        ///
        /// Call it on the transport's own thread, one message at a time, in
        /// the order the server sent them. It returns when the library, and
        /// the application's listener, have handled the message, and it
        /// throws nothing: a message that is not what the library expects is
        /// logged and dropped.
        ///
        /// @param name "textmessage_process"; other names are ignored.
        /// @param data The whole message text.
        virtual void onProcess(const std::string& name, const std::string& data) = 0;
    };

    /// Destroyed by its owner; the library never does.
    virtual ~TransSDK() = default;

    /// Registers the receiver; from then on server messages reach it.
    ///
    /// @param process The library's receiver.
    /// @return Not read by the library.
    virtual int addProcess(Process* process) = 0;
    /// Queues or sends one text message to the server. Must not block on the
    /// thread that delivers to the receiver.
    ///
    /// @param text The message; an empty text stands for a request the
    ///        library could not build and may be dropped.
    /// @return Not read by the library.
    virtual int sendTextMessage(const std::string& text) = 0;
    /// @return Whether a guest login holds (a guest's name goes to the
    ///         device manager at the start of a call).
    virtual bool isGuestLogined() = 0;
    /// The human text for an error id, for the "errMsg" of the failures the
    /// library reports.
    ///
    /// @param id A failure reason (a CONFNOTIFY::EXCPT_REASON_* value) or a
    ///        server's error id.
    /// @return The text; may be empty.
    virtual std::string getErrMsgFromId(std::string id) = 0;
};

}  // namespace ORVANE
