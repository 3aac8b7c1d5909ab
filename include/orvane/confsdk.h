#pragma once

/// @file
/// The library as the application sees it: OrvaneSDK_Factory and ConfSDK.

#include <memory>
#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "orvane/avsdk.h"
#include "orvane/export.h"
#include "orvane/transsdk.h"
#include "orvane/types.h"

namespace spdlog {
class logger;
}

class OrvaneSDKPrivate;

namespace ORVANE {

/// The library as the application sees it.
///
/// One command entry, sendCommand(), takes a command name and a JSON text;
/// replies and notifications come back through a Listener. The other members
/// set up the library (listeners, logger, transport, media engine) and read
/// what it knows of the device. `docs/commands.md` gives the JSON of every
/// command and notification.
///
/// Get the one instance with OrvaneSDK_Factory::createInstance(). Every
/// member forwards to the one central object of the process, which is never
/// destroyed: it lives, with its threads, until the process ends. Copies of
/// a ConfSDK share that object; destroying a copy destroys nothing.
///
/// The order of setting up: setOrvaneLogger(), setListener(),
/// setMediaServiceListener() (optional), then setOrvaneTrans(), then
/// initMediaService(). The server's "device_register" event then registers
/// the device, and commands may follow.
///
/// @par Thread Safety
/// Distinct objects: they are one object. Shared objects: safe. Every member
/// may be called on any thread, except DoInternalTaskMustCalledByUIThread(),
/// which belongs to the application's UI thread. The members that touch the
/// call take the library's call lock for their whole length, so calls from
/// several threads run one at a time. No member may be called while the
/// process is exiting (after `main` returns or `exit` is called).
///
/// @par Exceptions
/// No member throws. A fault inside the library is logged and the member
/// returns its neutral result (told with each member).
class ORVANE_API ConfSDK {
public:
    /// What the library tells the application. Implemented by the application.
    ///
    /// @par Thread Safety
    /// Callbacks arrive on the thread that produced them: the application's
    /// own thread for what a call sets off at once (before that call
    /// returns), the transport's thread for what the servers said, the
    /// engine's thread for what the engine said, and the library's timer
    /// worker and control thread for time-outs and the servers' control
    /// commands. They never run under a library lock and never nest on one
    /// thread, so a callback may call back into the library at once; what
    /// that sets off is delivered after the callback returns. They come in the
    /// order the library produced them on each thread. Return soon: the
    /// thread delivering belongs to the transport or the engine.
    ///
    /// @par Exceptions
    /// An exception thrown by a callback is logged and goes no further.
    class Listener {
    public:
        /// The reply of the servers to a command the application sent.
        ///
        /// @param type The command's name ("confinfo", "confRoomsearch"...):
        ///        the request's id up to its first "@".
        /// @param data `{"reqdata": DATA, "result": MESSAGE}`: DATA is the data
        ///        text of the latest command of this name (two commands of one
        ///        name in flight cannot be told apart), MESSAGE the server's
        ///        whole reply, present when it carries "data". A failure of the
        ///        server is in MESSAGE.
        ///
        /// Arrives on the transport's thread. Replies the library consumes
        /// itself ("confinfo_by_dialnum", "confControllegacys", and
        /// "confControlendpoints" on platform "QV", which comes back merged
        /// with the engine's view) do not arrive here as they are.
        virtual void onConfCommand(const std::string& type, const std::string& data) = 0;
        /// A notification.
        ///
        /// @param type A CONFNOTIFY value, "confsdknotify_callsignal_ok", a
        ///        server event's name as the server gave it (such as
        ///        "0/confmanager_event"), or "trans_server_autonomy".
        /// @param data Its JSON text, or the empty text where
        ///        `docs/commands.md` says so.
        virtual void onConfNotify(const std::string& type, const std::string& data) = 0;
        /// The library never deletes a listener.
        virtual ~Listener() = default;
    };

    class ConfInterpretationService;
    class ConfUiControlService;

    /// The meeting controls that are calls rather than commands: whether a
    /// call runs, the video layout, the layout catalogue's geometry, and the
    /// two engine services.
    ///
    /// The object belongs to the library: get it with
    /// ConfSDK::getConfControlService(); it lives until the process ends.
    /// The application does not derive from it.
    ///
    /// @par Thread Safety
    /// Shared object: safe, on any thread. isRunning() and setLayout() take
    /// the call lock; the layout geometry and orders take no lock of the
    /// call.
    ///
    /// @par Exceptions
    /// None of the library's own. An exception thrown by the engine's code
    /// called from here is caught and logged, and the member returns as if
    /// the engine had no such service.
    class ConfControlService {
    public:
        /// Whether a call is under way: from the start of an outgoing call or
        /// the acceptance of an incoming one until it ends. False while an
        /// incoming call rings or its conference is being looked up.
        ///
        /// @return True while a conference is under way.
        virtual bool isRunning() = 0;
        /// Hands the application's video layout to the media engine, in one
        /// call for the whole list.
        ///
        /// On "QV" each item's device becomes the engine's user id (empty for
        /// a device not in the meeting; "-2" for type 1) and device and name
        /// are left out; on "QC" device and name pass as given and the user
        /// id is the low byte of `id` as one character; on other platforms
        /// only type, rectangle and visibility pass. Without an engine nothing
        /// is handed on. The engine's setLayout runs on the caller's thread.
        ///
        /// @param items The cells, participants named by device id.
        /// @param a Passed to the engine unread.
        /// @param b Passed to the engine unread.
        /// @return 0: the engine's answer is not read.
        virtual int setLayout(const std::vector<LayoutItem>& items, int a, int b) = 0;
        /// The engine's interpretation service, seen with device ids.
        ///
        /// @return This object as ConfInterpretationService when the engine
        ///         gives an interpretation object; null without an engine or
        ///         without one. It lives until the process ends.
        virtual ConfInterpretationService* getConfInterpretationService() = 0;
        /// The engine's UI control service.
        ///
        /// @return This object as ConfUiControlService when the engine gives
        ///         a UI control object; null without an engine or without
        ///         one. It lives until the process ends.
        virtual ConfUiControlService* getConfUiControlService() = 0;
        /// The proportions of a layout's grid, for an application that draws
        /// its own meeting window.
        ///
        /// Layouts are named by id (10 to 17 speaker, 20 to 28 gallery, 30 to
        /// 32 shared; `docs/layouts.md` draws them all); each is a grid whose
        /// cells can change with the number of participants. A count without
        /// a grid of its own uses the layout's default grid. An unknown layout
        /// leaves the out-arguments as they were.
        ///
        /// @param container Not looked at.
        /// @param layoutId The layout.
        /// @param sumCount The number of participants.
        /// @param[out] width The grid's width in its own units; not written
        ///        when null.
        /// @param[out] height The grid's height in the same units; not written
        ///        when null.
        virtual void getLayoutSize(Rect container, int layoutId, int sumCount, int* width, int* height) = 0;
        /// The largest rectangle of the given proportions centred in a
        /// container.
        ///
        /// @param container The space to fill.
        /// @param width The proportion's width.
        /// @param height The proportion's height.
        /// @return The rectangle; `container` itself when either is 0.
        virtual Rect fitRect(Rect container, int width, int height) = 0;
        /// Where one participant goes in a layout.
        ///
        /// @param container The space the layout fills.
        /// @param layoutId The layout.
        /// @param sumCount The number of participants.
        /// @param index The participant, from 0.
        /// @return The participant's cell; four zeros for an unknown layout or
        ///         a participant without a cell.
        virtual Rect getCellRect(Rect container, int layoutId, int sumCount, int index) = 0;
        /// Where a cell of a grid given by its numbers goes.
        ///
        /// @param container The space the grid fills.
        /// @param spacing The gap between cells.
        /// @param margin The gap at the container's edges.
        /// @param gridRow The grid's number of rows.
        /// @param gridColumn The grid's number of columns.
        /// @param width Not looked at.
        /// @param height Not looked at.
        /// @param rowStart The cell's first row, from 0.
        /// @param rowEnd The row after the cell's last.
        /// @param colStart The cell's first column, from 0.
        /// @param colEnd The column after the cell's last.
        /// @return The cell; four zeros when it does not fit in `container`.
        virtual Rect computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int width,
                                     int height, int rowStart, int rowEnd, int colStart, int colEnd) = 0;
        /// Stores an order of participants (user ids, say) under a key that
        /// means nothing to the library.
        ///
        /// @param key The key.
        /// @param list The order; replaces the one stored under `key`.
        virtual void setLayoutOrder(std::string key, std::vector<std::string> list) = 0;
        /// The order stored under a key.
        ///
        /// @param key The key.
        /// @return A copy of the list, or an empty list.
        virtual std::vector<std::string> getLayoutOrder(std::string key) = 0;
        /// A list put in the order stored under a key: those already there
        /// keep their order, newcomers follow. Stores nothing.
        ///
        /// @param key The key.
        /// @param list The participants to order.
        /// @return The ordered list.
        virtual std::vector<std::string> mergeLayoutOrder(std::string key, std::vector<std::string> list) = 0;

    protected:
        /// Not deleted through this interface.
        ~ConfControlService() = default;
    };

    /// Simultaneous interpretation, with participants named by device id.
    ///
    /// Each member fetches the engine's interpretation object
    /// (AVSDK::getInterpretationService()) and calls its member of the same
    /// name, with the device id translated into the engine's user id (empty
    /// for a device not in the meeting). The engine's call runs on the
    /// caller's thread.
    ///
    /// @par Thread Safety
    /// Shared object: safe, on any thread, as far as the engine's object is.
    ///
    /// @par Exceptions
    /// None; see ConfControlService.
    class ConfInterpretationService {
    public:
        /// @return The engine's list; empty without an interpretation object.
        virtual std::vector<std::string> interpretationList() = 0;
        /// @param deviceId The participant.
        /// @param a Passed to the engine unread.
        /// @param b Passed to the engine unread.
        /// @return The engine's answer; -1 without an interpretation object.
        virtual int interpretationUserSet(const std::string& deviceId, int a, int b) = 0;
        /// @param deviceId The participant.
        /// @return The engine's answer; -1 without an interpretation object.
        virtual int interpretationUserClear(const std::string& deviceId) = 0;
        /// @param deviceId The participant.
        /// @param a Passed to the engine unread.
        /// @param b Passed to the engine unread.
        /// @return The engine's answer; -1 without an interpretation object.
        virtual int interpretationUserChange(const std::string& deviceId, int a, int b) = 0;
        /// @return The engine's answer; -1 without an interpretation object.
        virtual int interpretationStart() = 0;
        /// @return The engine's answer; -1 without an interpretation object.
        virtual int interpretationStop() = 0;

    protected:
        /// Not deleted through this interface.
        ~ConfInterpretationService() = default;
    };

    /// The engine's UI control object, reached through the library.
    ///
    /// @par Thread Safety
    /// Shared object: safe, on any thread, as far as the engine's object is.
    class ConfUiControlService {
    public:
        /// Calls AvUiControlService::uiControlCall() of the engine, on the
        /// caller's thread.
        ///
        /// @return The engine's answer; -1 without a UI control object.
        virtual int uiControlCall() = 0;

    protected:
        /// Not deleted through this interface.
        ~ConfUiControlService() = default;
    };

    /// Creates the central object. Applications use
    /// OrvaneSDK_Factory::createInstance() instead: a second central object
    /// in one process is not supported.
    ///
    /// @param platformName The media platform, "QV" or "QC", until
    ///        initMediaService() names one.
    /// @param createParam Kept, never read.
    ConfSDK(const std::string& platformName, const std::string& createParam);
    /// Another handle on the same central object.
    ConfSDK(const ConfSDK&) = default;
    /// Makes this a handle on the other's central object.
    /// @return This handle.
    ConfSDK& operator=(const ConfSDK&) = default;
    /// Another handle on the same central object.
    ConfSDK(ConfSDK&&) = default;
    /// Makes this a handle on the other's central object.
    /// @return This handle.
    ConfSDK& operator=(ConfSDK&&) = default;

    /// The one command entry: starts, answers and leaves calls, steers the
    /// meeting, and sends the servers' requests.
    ///
    /// "startconf", "rejectconf" and "leaveconf" go to the call; "endconf"
    /// to the media engine; the mute, lock and host commands are carried out
    /// on the engine; every other name goes to the servers as a request,
    /// whose reply arrives at Listener::onConfCommand() on the transport's
    /// thread. What a command sets off at once (a call signal, a state
    /// change, a notification) has happened, and its notifications have been
    /// delivered on this thread, when sendCommand returns.
    ///
    /// A command the library refuses (a name it does not know, data that is
    /// not the JSON the command needs, a start while a call runs, a request
    /// for the servers before setOrvaneTrans()) is logged and dropped; an
    /// application that asks with setRefusalNotify() is told, with
    /// "confsdknotify_command_refused", before sendCommand returns. Failures of a call (a refused
    /// invitation, a join that fails or times out) arrive as notifications.
    ///
    /// @param type The command's name: a CONF value.
    /// @param data Its JSON text, or the empty text where the command takes
    ///        none; `docs/commands.md` tells each.
    ///
    /// @par Thread Safety
    /// Any thread. Runs under the call lock.
    void sendCommand(const std::string& type, const std::string& data);
    /// The meeting controls that are calls rather than commands.
    ///
    /// @return The library's ConfControlService; it lives until the process
    ///         ends.
    ConfControlService& getConfControlService();

    /// Asks for, or stops, "confsdknotify_command_refused"
    /// (CONFNOTIFY::COMMAND_REFUSED).
    ///
    /// While on, every command of sendCommand() that the library does not
    /// carry out is told to the listener's onConfNotify, with the command's
    /// name and the reason: "unknown_command", "malformed_json",
    /// "bad_field", "wrong_state" or "no_transport". Off by default, so an
    /// application that does not ask sees only the notifications it knew
    /// before. The refusal is logged either way.
    ///
    /// @param on true to be told of refused commands.
    ///
    /// @par Thread Safety
    /// Any thread; takes effect for the next command. Nothing throws.
    void setRefusalNotify(bool on);

    /// Lets the library write to standard output, or stops it.
    ///
    /// The library writes a few diagnostics straight to standard output: the
    /// line "Logger ERROR: can NOT find OrvaneGlobalLogger, return default
    /// log" and the fallback console logger "tmp_console_log" while no
    /// logger is set (setOrvaneLogger()), the intake lines of call signals,
    /// and the lobby window's lines. They are on by default. Turned off,
    /// nothing of the library reaches standard output, and while no logger
    /// is set its log lines are dropped.
    ///
    /// Static, so that it can be turned off before
    /// OrvaneSDK_Factory::createInstance(), whose construction already logs.
    /// The fallback logger never replaces an spdlog default logger that the
    /// application has set (one with a name).
    ///
    /// @param on false to keep standard output to the application.
    ///
    /// @par Thread Safety
    /// Any thread, at any time. Nothing throws.
    static void setConsoleOutput(bool on);

    /// Sets the listener that receives every reply and notification.
    ///
    /// The library does not own it. It must stay valid while the library may
    /// call it: after setListener(nullptr), or a new listener, has returned,
    /// no new callback goes to the old one, but a library entry that was
    /// already running on another thread (a server message, an engine
    /// notification, a time-out) may still deliver to the old one what it
    /// produced before, until that entry returns. Without a listener,
    /// replies and notifications are dropped.
    ///
    /// @param listener The listener, or null for none.
    ///
    /// @par Thread Safety
    /// Any thread; takes no lock. Set it before setOrvaneTrans(), or the
    /// first notifications (the device's registration) are lost.
    void setListener(Listener* listener);
    /// Sets the application's own engine listener, which receives the
    /// engine's notifications after the library has handled them ("onSdkReady",
    /// "onLogin", "onCallConnected", "onCallEnd"...), and those the library
    /// makes up itself (a call that fails on the signalling side ends with
    /// "onCallEnd" in group "MeetingServiceEvent").
    ///
    /// Ownership and lifetime as for setListener(). Callbacks arrive on the
    /// engine's thread, or on the thread of the call that made them up.
    ///
    /// @param listener The listener, or null for none.
    ///
    /// @par Thread Safety
    /// Any thread; takes no lock.
    void setMediaServiceListener(AVSDK::Listener* listener);
    /// Sets the logger of every log line of the library, for the whole
    /// process.
    ///
    /// The library shares ownership of the logger until it is replaced. An
    /// empty handle brings back the fallback: a console logger
    /// "tmp_console_log" on standard output, which announces itself with a
    /// line there. The engine gets the handle as it stands when
    /// initMediaService() creates it.
    ///
    /// @param logger The logger, or an empty handle.
    ///
    /// @par Thread Safety
    /// Any thread; a log line being written at the time goes to the old
    /// logger or the new one.
    void setOrvaneLogger(std::shared_ptr<spdlog::logger> logger);
    /// Hands over the transport to the servers and registers the library as
    /// its receiver (TransSDK::addProcess()): from then on, already during
    /// this call, server messages may arrive on the transport's thread.
    ///
    /// The library does not own the transport and never unregisters from it.
    /// It sends on it from many threads (the application's, the transport's,
    /// the engine's, its timer worker, control thread and reporter), so the
    /// transport must stay valid until the process ends. Handing over
    /// another transport, or null, replaces it for sending at once; the old
    /// one must stop delivering to the library itself. Without a transport,
    /// commands for the servers are logged and dropped.
    ///
    /// @param trans The transport, or null.
    ///
    /// @par Thread Safety
    /// Any thread; not under the call lock, so that the transport may deliver
    /// at once.
    void setOrvaneTrans(TransSDK* trans);

    /// Creates the media engine and starts it.
    ///
    /// The engine comes from the creator installed with
    /// AVSDK_Factory::setCreator(). On platform "QV" the library wraps it,
    /// so that most of its operations run on the UI thread (see @ref
    /// engine_threads): the engine's init() itself is queued, and the engine
    /// starts only once the application answers
    /// "confsdknotify_do_internal_task_must_in_ui_thread" with
    /// DoInternalTaskMustCalledByUIThread(). The outcome arrives as the
    /// engine's "onSdkReady" at the engine listener. The library does not own
    /// the engine and never deletes it: it must stay valid until the process
    /// ends.
    ///
    /// A second call creates nothing: it ignores its arguments, delivers a
    /// fresh "onSdkReady" with result 0 on this thread, and returns 0.
    ///
    /// @param platformName "QV" or "QC"; passed to the creator.
    /// @param initPara Passed to the creator and to the engine's init().
    /// @return The engine's init() result (0 on "QV", where it is queued); -1
    ///         when no creator is installed or it gives no engine, or on a
    ///         fault.
    ///
    /// @par Thread Safety
    /// Any thread. Runs under the call lock.
    int initMediaService(const std::string& platformName, const std::string& initPara);
    /// Does nothing: the engine stays. Logs an error line.
    /// @return 0.
    int cleanMediaService();
    /// Prepares a next login without tearing anything down: logs the engine
    /// out, waits 200 ms, deinitialises it, and forgets the pending
    /// time-outs, the call-out orders, the unsent reports, the conference
    /// record and the participants. The call's state, the device's
    /// identity, the listeners, the engine and the threads stay.
    /// initMediaService() then starts the same engine again.
    ///
    /// @return 0, also without an engine or on a fault.
    ///
    /// @par Thread Safety
    /// Any thread; it blocks for 200 ms, so not on the transport's or the
    /// engine's thread. The library stays open to the engine's notifications
    /// during the wait.
    int reinit();
    /// The media engine as the library uses it.
    ///
    /// @return On "QV" the library's wrapper around the engine (see @ref
    ///         engine_threads), otherwise the engine itself; null before
    ///         initMediaService() has created one, after logging an error
    ///         line. The wrapper is owned by the library and lives until the
    ///         process ends.
    AVSDK* getMediaService();

    /// The device's identity, as the server's "device_register" event gave it.
    ///
    /// @return One JSON object: "av_user", "device_id", "device_name",
    ///         "device_type", "is_meeting_room_device" (a boolean),
    ///         "my_dial_num", "register_user_id", "register_user_name",
    ///         "serial_number", "user_id". The texts are empty before the
    ///         device has registered; the empty text on a fault.
    std::string getMyInfo();
    /// @return The device's id on a meeting-room device, otherwise the user's
    ///         id; empty before the device has registered.
    std::string getUniformUserID();
    /// @return The device's name on a meeting-room device, otherwise the
    ///         registered user's name, or when that is empty the display name
    ///         of the last conference.
    std::string getUniformUserName();
    /// @return Whether the device is a meeting-room terminal rather than a
    ///         personal client; false before the device has registered.
    bool isMeetingRoomDevice();

    /// Shows or hides the engine's meeting panel. Goes to the engine at once
    /// (AVSDK::setCustomUIOption() with 0); without an engine it does
    /// nothing and is not remembered.
    /// @param visible Show it.
    void setMeetingPanelVisible(bool visible);
    /// The same for the invite button (setCustomUIOption() with 1).
    /// @param visible Show it.
    void setInviteButtonVisible(bool visible);
    /// The same for the share button (setCustomUIOption() with 2).
    /// @param visible Show it.
    void setShareButtonVisible(bool visible);
    /// The same for the record button (setCustomUIOption() with 3).
    /// @param visible Show it.
    void setRecordButtonVisible(bool visible);
    /// The same for the chat button (setCustomUIOption() with 4).
    /// @param visible Show it.
    void setChatButtonVisible(bool visible);
    /// Says who draws the meeting window.
    ///
    /// With "CUSTOMIZE" (exactly) the application draws its own: the library
    /// then does not ask the servers for the participant list when it joins,
    /// and reports the participants the engine sees itself. Any other text
    /// gives the engine's window. Call it before a meeting starts.
    ///
    /// @param type "CUSTOMIZE" or anything else.
    void setMediaServiceUIType(const std::string& type);
    /// Runs the oldest engine call the "QV" wrapper queued for the UI thread.
    ///
    /// Call it on the UI thread once for every
    /// "confsdknotify_do_internal_task_must_in_ui_thread". The engine call
    /// runs with no library lock held, so the engine may report into the
    /// library at once. Nothing happens when nothing is queued.
    ///
    /// @par Thread Safety
    /// The application's UI thread only.
    void DoInternalTaskMustCalledByUIThread();

private:
    ::OrvaneSDKPrivate* d;
    ConfControlService* services_;
};

/// Creates the one ConfSDK of the process and finds it again.
///
/// @par Thread Safety
/// Any thread; createInstance() may race with itself and with getInstance().
///
/// @par Exceptions
/// None.
class ORVANE_API OrvaneSDK_Factory {
public:
    /// Creates the library's central object on the first call: its timer
    /// worker thread runs when this returns. A later call returns the same
    /// instance and ignores its arguments.
    ///
    /// @param platformName The media platform, "QV" or "QC", until
    ///        ConfSDK::initMediaService() names one.
    /// @param createParam Kept, never read.
    /// @return The instance, owned by the library and never destroyed; null
    ///         only when creating it failed.
    static ConfSDK* createInstance(const std::string& platformName, const std::string& createParam);
    /// @return The instance; null before createInstance().
    static ConfSDK* getInstance();

private:
    static std::atomic<ConfSDK*> _sdk;
    static std::mutex _mutex;
};

}  // namespace ORVANE
