#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "orvane/transsdk.h"

namespace spdlog {
class logger;
}

namespace ORVANE {

namespace detail {
class WebSocketLink;
}

/** A transport to the servers over one WebSocket connection, `ws://` or `wss://`.

    Each text message is one WebSocket text frame, in both directions:
    @ref sendTextMessage writes one frame, and every text frame that arrives is
    handed to each registered @ref TransSDK::Process as
    `onProcess("textmessage_process", text)`.

    The transport runs one I/O thread of its own, started by @ref start and
    ended by @ref stop. The receivers and the state listener are called on
    that thread, one call at a time, and never while the transport holds a
    lock of its own: they may call back into the transport, and the library
    may take its own locks inside them.

    When the connection drops, the transport connects again after a pause
    that doubles with each failed attempt, from
    @ref Options::backoffInitial up to @ref Options::backoffMax, shortened
    by a random part of up to @ref Options::backoffJitter of itself. While it
    is not connected, messages are queued, up to @ref Options::queueLimit, and
    written after the reconnect in the order they were sent; a message beyond
    the bound is refused (see @ref sendTextMessage).

    A frame that is not text, that is not JSON, or that is longer than
    @ref Options::maxMessageBytes is dropped with the library's JSON error
    line (`json ERROR! confsdk:WebSocketTransport, json error=..., data=...`);
    an over-long frame also ends the connection, which is then made again.

    @par Thread Safety
    Distinct objects: safe. Shared objects: safe; every member may be called
    from any thread, including the transport's own, except @ref stop and the
    destructor, which must not be called on the transport's thread.

    Nothing throws.
*/
class WebSocketTransport : public TransSDK {
public:
    /// Where the connection stands.
    enum class State {
        Connecting,    ///< the first connection is being made
        Connected,     ///< messages go out as they are sent
        Reconnecting,  ///< the connection failed or dropped; another attempt follows
        Closed,        ///< stopped, or never started; nothing goes out any more
    };

    /** The owner's view of the connection.

        @par Thread Safety
        Called on the transport's I/O thread, with no lock of the transport
        held.
    */
    class StateListener {
    public:
        virtual ~StateListener() = default;
        /** The state has changed, or a new attempt has failed.

            @param state The new state. @ref State::Reconnecting comes again
            after each failed attempt.
            @param detail What happened, for a person to read: the address
            connected to, or the error and the pause before the next attempt
            ("TLS handshake: certificate verify failed; next attempt in 400
            ms"). May be empty.
        */
        virtual void onTransportState(State state, const std::string& detail) = 0;
    };

    /// How the transport connects and behaves; all but @ref url have defaults.
    struct Options {
        /// `ws://HOST[:PORT][/PATH]` or `wss://HOST[:PORT][/PATH]`; the port
        /// defaults to 80 and 443, the path to "/".
        std::string url;
        /// For `wss://`: whether the server's certificate and name are checked.
        bool verifyPeer = true;
        /// For `wss://`: a PEM file of certificate authorities trusted besides
        /// the system's. Empty: the system's only.
        std::string caFile;
        /// The first pause before reconnecting.
        std::chrono::milliseconds backoffInitial{500};
        /// The longest pause before reconnecting.
        std::chrono::milliseconds backoffMax{30000};
        /// How much of each pause may be cut at random, from 0 (none) to 1.
        double backoffJitter = 0.25;
        /// How long one attempt may take, from the name lookup to the
        /// WebSocket handshake.
        std::chrono::milliseconds connectTimeout{5000};
        /// How many messages are kept while not connected. 0 refuses every
        /// message sent then.
        std::size_t queueLimit = 256;
        /// The longest frame taken from the server.
        std::size_t maxMessageBytes = 32 * 1024 * 1024;
        /// The texts @ref getErrMsgFromId gives, by id.
        std::map<std::string, std::string> errorTexts;
        /// What @ref isGuestLogined answers.
        bool guest = false;
        /// Where the transport logs; null: spdlog's default logger.
        std::shared_ptr<spdlog::logger> logger;
    };

    /** Makes a transport that is not yet connected.

        @param options The connection and its behaviour. Nothing is checked
        until @ref start.
    */
    explicit WebSocketTransport(Options options);

    /** Stops the transport as @ref stop does.

        Must not run on the transport's own thread, for it waits for that
        thread to end.
    */
    ~WebSocketTransport() override;

    WebSocketTransport(const WebSocketTransport&) = delete;
    WebSocketTransport& operator=(const WebSocketTransport&) = delete;

    /** Starts the I/O thread and the first connection attempt.

        Returns at once; the state listener hears @ref State::Connecting, then
        @ref State::Connected or @ref State::Reconnecting.

        @return 0; -1 when the URL cannot be read or the CA file cannot be
        loaded (logged), or when the transport was started before.
    */
    int start();

    /** Closes the connection, ends the I/O thread and waits for it.

        The state listener of a started transport hears @ref State::Closed,
        on the transport's thread, before this returns. Queued messages are
        dropped, and later messages are refused. A transport that is stopped
        cannot be started again. Must not be called on the transport's own
        thread; calling it again does nothing.
    */
    void stop();

    /** Sets or removes the state listener.

        @param listener Called from now on; null for none. Owned by the caller,
        and must stay valid until the transport is stopped: a call that began
        before it was replaced may still be running.
    */
    void setStateListener(StateListener* listener);

    /// The state now.
    /// @return The connection's state as last reported to the listener.
    State state() const;

    /// The name of a state: "connecting", "connected", "reconnecting", "closed".
    /// @param state The state.
    /// @return Its name, a static text.
    static const char* stateName(State state);

    /** Changes the URL of the next connections.

        The connection that stands is kept. Used, for instance, to ask the
        server for the same device again after a reconnect.

        @param url In the form of @ref Options::url; a URL that cannot be read
        is logged and the old one kept.
        @return 0, or -1 when the URL cannot be read.
    */
    int setUrl(const std::string& url);

    /// Messages sent but not yet written to the connection.
    /// @return Their number.
    std::size_t pending() const;

    /** Registers a receiver of the server's messages.

        @param process Called on the transport's thread for every text frame.
        Owned by the caller; it must stay valid until the transport is
        stopped. Registering the same receiver twice has no effect.
        @return 0; -1 for null.
    */
    int addProcess(Process* process) override;

    /** Sends one message as one text frame.

        Returns at once: the frame is written on the transport's thread. While
        the transport is not connected the message is queued, up to
        @ref Options::queueLimit messages in all.

        @param text The message, normally one JSON text.
        @return 0 when sent or queued. -1 when refused: the queue is full, or
        the transport is stopped or not started. A refusal is logged at error
        level with the message's type (its "id" up to any "@") and why.
    */
    int sendTextMessage(const std::string& text) override;

    /// Whether the device is logged in as a guest.
    /// @return @ref Options::guest.
    bool isGuestLogined() override;

    /// The human text of a failure id.
    /// @param id The failure id.
    /// @return The text of @ref Options::errorTexts for `id`, or `id` itself.
    std::string getErrMsgFromId(std::string id) override;

private:
    std::unique_ptr<detail::WebSocketLink> link_;
};

}  // namespace ORVANE
