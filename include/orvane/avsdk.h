#pragma once

/// @file
/// The media engine as the library needs it, and how one is installed.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "orvane/export.h"
#include "orvane/types.h"

namespace spdlog {
class logger;
}

namespace ORVANE {

/// The engine's interpretation object, as AVSDK::getInterpretationService()
/// gives it: what ConfSDK::ConfInterpretationService calls, with the engine's
/// own user ids. Implemented by an engine; owned by it.
class AvInterpretationService {
public:
    /// @return The engine's list of interpretation languages or channels.
    virtual std::vector<std::string> interpretationList() = 0;
    /// @param userid The engine's user id of the participant.
    /// @param a The engine's own value, passed on unread.
    /// @param b The engine's own value, passed on unread.
    /// @return The engine's answer.
    virtual int interpretationUserSet(const std::string& userid, int a, int b) = 0;
    /// @param userid The engine's user id of the participant.
    /// @return The engine's answer.
    virtual int interpretationUserClear(const std::string& userid) = 0;
    /// @param userid The engine's user id of the participant.
    /// @param a The engine's own value, passed on unread.
    /// @param b The engine's own value, passed on unread.
    /// @return The engine's answer.
    virtual int interpretationUserChange(const std::string& userid, int a, int b) = 0;
    /// @return The engine's answer.
    virtual int interpretationStart() = 0;
    /// @return The engine's answer.
    virtual int interpretationStop() = 0;

protected:
    /// The library never deletes it.
    ~AvInterpretationService() = default;
};

/// The engine's UI control object, as AVSDK::getUiControlService() gives it.
/// Implemented by an engine; owned by it.
class AvUiControlService {
public:
    /// @return The engine's answer.
    virtual int uiControlCall() = 0;

protected:
    /// The library never deletes it.
    ~AvUiControlService() = default;
};

/// The media engine: what the library needs of the module that does audio,
/// video and the engine's own meeting.
///
/// An engine module (or a test, or the simulators) implements it, usually by
/// deriving from AVSDKBase, and hands it to the library through
/// AVSDK_Factory::setCreator(). The order of the operations is part of the
/// interface: every engine and the library's own wrapper follow it.
///
/// Ownership: the engine belongs to whoever created it. The library never
/// deletes it, so the destructor is not virtual and not public, and it uses
/// the engine until the process ends.
///
/// @par Thread Safety
/// The library calls the operations with its call lock held, on the thread
/// of whatever it is handling: the application's, the transport's, the
/// engine's own (reporting into the library synchronously is fine), its
/// timer worker or its control thread. An operation must not block waiting
/// for a thread that is delivering into the library. On platform "QV" most
/// operations reach the engine on the application's UI thread instead: see
/// @ref engine_threads.
///
/// @par Exceptions
/// An exception thrown by an operation is caught by the library and logged;
/// what the library was handling at the time stops there.
class ORVANE_API AVSDK {
public:
    /// Receiver of the engine's notifications. The library registers itself
    /// with setListener(); ConfSDK::setMediaServiceListener() gives the
    /// application what passed the library.
    class Listener {
    public:
        /// One engine notification.
        ///
        /// @param group The engine's service: "AuthServiceEvent" or
        ///        "MeetingServiceEvent".
        /// @param cmd The event ("onSdkReady", "onLogin", "onCallConnected",
        ///        "onCallEnd"...).
        /// @param data Its JSON text; may be empty.
        ///
        /// @par Thread Safety
        /// The engine may call it from any thread, also synchronously from
        /// inside an operation the library called.
        virtual void onNotify(std::string group, std::string cmd, std::string data) = 0;
        /// Listeners are not deleted by the engine or the library.
        virtual ~Listener() = default;
    };

    /// Registers the one listener that receives every engine notification: the library registers
    /// itself in ConfSDK::initMediaService(). Not owned; it lives until the process ends.
    /// @param listener The listener.
    /// @return 0 when registered.
    virtual int setListener(AVSDK::Listener* listener) = 0;
    /// Hands the library's logger to the engine, once, before init(). The engine shares ownership.
    /// @param logger The library's logger as it stands; may be empty.
    /// @return 0.
    virtual int setOrvaneLogger(std::shared_ptr<spdlog::logger> logger) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough1() = 0;
    /// Starts the engine. The outcome arrives as "onSdkReady" in group "AuthServiceEvent", with
    /// {"result": 0} on success.
    /// @param initPara The application's text from ConfSDK::initMediaService(), unread by the
    ///        library.
    /// @return 0 when the start is under way.
    virtual int init(const std::string& initPara) = 0;
    /// Second half of a re-initialisation (ConfSDK::reinit()), after logout().
    /// @return 0 on success.
    virtual int deinit() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough2() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough3() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough4() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough5() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @param b Passed to the engine unread.
    /// @param c Passed to the engine unread.
    /// @param d Passed to the engine unread.
    /// @param e Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough6(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @param b Passed to the engine unread.
    /// @param c Passed to the engine unread.
    /// @param d Passed to the engine unread.
    /// @param e Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough7(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) = 0;
    /// Logs in to the media service with the credentials of the server's "device_register" event.
    /// The outcome arrives as "onLogin".
    /// @param user The media user name.
    /// @param password The password in clear text.
    /// @return 0 when the login is under way.
    virtual int login(const std::string& user, const std::string& password) = 0;
    /// First half of a re-initialisation (ConfSDK::reinit()).
    /// @return 0 on success.
    virtual int logout() = 0;
    /// Joins the media meeting. Progress arrives as notifications: "onCallConnected" with the local
    /// user's id, or "onCallFailed", and the waiting statuses.
    /// @param meetingNumber The media meeting's number.
    /// @param passcode Its passcode, or empty.
    /// @param displayName The name the others see.
    /// @return 0 when the attempt started; anything else refuses it, and nothing follows.
    virtual int join(const std::string& meetingNumber, const std::string& passcode, const std::string& displayName) = 0;
    /// Leaves the media meeting. "onEndReason" and "onCallEnd" follow.
    /// @return 0 on success.
    virtual int leave() = 0;
    /// Ends the media meeting for everybody (the host's leave). "onEndReason" and "onCallEnd"
    /// follow.
    /// @return 0 on success.
    virtual int endMeeting() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough8() = 0;
    /// Whether the local user is the host of the media meeting.
    /// @return True for the host.
    virtual bool isHostUser() = 0;
    /// Renames a participant in the media meeting.
    /// @param userid The engine's user id.
    /// @param newName The new name.
    /// @param bSaveUserName Whether the engine keeps the name for later meetings.
    /// @return 0 on success.
    virtual int changeUserName(const std::string& userid, const std::string& newName, bool bSaveUserName) = 0;
    /// Hands a translated video layout to the engine (ConfSDK::ConfControlService::setLayout()).
    /// @param items The cells, participants named by the engine's user ids.
    /// @param a The application's value, passed on unread.
    /// @param b The application's value, passed on unread.
    /// @return Not read by the library.
    virtual int setLayout(std::vector<AvLayoutItem>& items, int a, int b) = 0;
    /// Fills a map with everybody the engine sees in the meeting, the local user included.
    /// @param out Filled with user id to what the engine knows of that user.
    /// @return 0 on success.
    virtual int getUserList(AvUserMap& out) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough9() = 0;
    /// Mutes the local microphone.
    /// @return 0 on success.
    virtual int muteLocalAudio() = 0;
    /// Unmutes the local microphone.
    /// @return 0 on success.
    virtual int unmuteLocalAudio() = 0;
    /// Whether the local user may unmute without the host.
    /// @return True when allowed.
    virtual bool canUnmuteByMyself() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough10() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough11() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough12() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough13() = 0;
    /// Mutes all participants but the local user.
    /// @param allowUnmute Whether they may unmute themselves.
    /// @return 0 on success.
    virtual int muteAllAudio(bool allowUnmute) = 0;
    /// Unmutes all participants.
    /// @return 0 on success.
    virtual int unmuteAllAudio() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @param b Passed to the engine unread.
    /// @return The engine's answer.
    virtual bool passThrough14(const std::string& a, bool b) = 0;
    /// Mutes one participant.
    /// @param userid The engine's user id.
    /// @param allowUnmute Whether the participant may unmute again.
    /// @return 0 on success.
    virtual int muteAudio(const std::string& userid, bool allowUnmute) = 0;
    /// Unmutes one participant.
    /// @param userid The engine's user id.
    /// @return 0 on success.
    virtual int unmuteAudio(const std::string& userid) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough15(bool a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough16() = 0;
    /// Asks one participant to start their video.
    /// @param userid The engine's user id.
    /// @return 0 on success.
    virtual int unmuteVideo(const std::string& userid) = 0;
    /// Stops one participant's video.
    /// @param userid The engine's user id.
    /// @return 0 on success.
    virtual int muteVideo(const std::string& userid) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough17(bool a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough18() = 0;
    /// Locks or unlocks the media meeting.
    /// @param lock True to lock.
    /// @return 0 on success.
    virtual int lockMeeting(bool lock) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough19() = 0;
    /// Hands the host role to a participant.
    /// @param userid The engine's user id.
    /// @return 0 on success.
    virtual int setHost(const std::string& userid) = 0;
    /// Takes the host role back.
    /// @return 0 on success.
    virtual int reclaimHost() = 0;
    /// Makes a participant co-host.
    /// @param userid The engine's user id.
    /// @return 0 on success.
    virtual int assignCohost(const std::string& userid) = 0;
    /// Takes the co-host role away.
    /// @param userid The engine's user id.
    /// @return 0 on success.
    virtual int revokeCohost(const std::string& userid) = 0;
    /// Switches the meeting's waiting room on or off.
    /// @param enable True to switch it on.
    /// @return 0 on success.
    virtual int enableWaitingRoom(bool enable) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual std::string passThrough20() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough21() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual std::string passThrough22() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough23() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough24() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough25() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual std::string passThrough26() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough27() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough28() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough29() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough30() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough31() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough32() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough33() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough34() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough35() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough36() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough37() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough38(void* a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough39(int a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough40() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough41() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough42(const std::string& a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough43() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough44() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough45() = 0;
    /// Calls a room system into the meeting over H.323. The engine reports the call's progress and
    /// the device's arrival as notifications; the library gives up after 30 s without an outcome.
    /// @param deviceName The device's name.
    /// @param deviceIp Its address (dial string).
    /// @param deviceType The protocol, as the server's order gives it.
    /// @param cmdId The server's order id, for the engine's reports.
    /// @return 0 when the call started.
    virtual int callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType, const std::string& cmdId) = 0;
    /// Cancels the H.323 call under way.
    /// @return 0 on success.
    virtual int cancelCallH323device() = 0;
    /// Hangs up a room system called in over H.323.
    /// @param userId The engine's user id of the device.
    /// @param cmdId The server's order id.
    /// @return 0 on success.
    virtual int hangupH323device(const std::string& userId, const std::string& cmdId) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @param b Passed to the engine unread.
    /// @param c Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough46(const std::string& a, const std::string& b, const std::string& c) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @param b Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough47(const std::string& a, const std::string& b) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough48() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough49() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough50() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough51() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough52(bool a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough53() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough54(bool a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough55() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough56(bool a) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough57() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough58(bool a) = 0;
    /// Hands the engine the whole call signal that led to a join, just before join().
    /// @param signalJson The signal's JSON text.
    /// @return Not read by the library.
    virtual int setConfSignal(const std::string& signalJson) = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough59() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough60() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @param a Passed to the engine unread.
    /// @param b Passed to the engine unread.
    /// @param c Passed to the engine unread.
    /// @return The engine's answer.
    virtual int passThrough61(const std::string& a, const std::string& b, const std::string& c) = 0;
    /// The engine's interpretation object.
    /// @return The object, owned by the engine and valid while the engine is; or null.
    virtual AvInterpretationService* getInterpretationService() = 0;
    /// The engine's UI control object.
    /// @return The object, owned by the engine and valid while the engine is; or null.
    virtual AvUiControlService* getUiControlService() = 0;
    /// An engine operation that the library never calls itself. An application reaches it through
    /// ConfSDK::getMediaService(); on "QV" see @ref engine_threads.
    /// @return The engine's answer.
    virtual int passThrough62() = 0;
    /// Stores the access token of the conference information.
    /// @param zak The token.
    /// @return 0 on success.
    virtual int setZak(const std::string& zak) = 0;
    /// Shows or hides a part of the engine's own meeting window (ConfSDK::setMeetingPanelVisible()
    /// and its kin). Does nothing unless the engine overrides it.
    /// @param uiType 0 meeting panel, 1 invite, 2 share, 3 record, 4 chat button.
    /// @param visible Show it.
    virtual void setCustomUIOption(int uiType, bool visible) { (void)uiType; (void)visible; }

protected:
    /// The library never deletes an engine.
    ~AVSDK() = default;
};

/// Gives the library its media engine. An engine module, an application or
/// a test installs a creator; without one no engine is available and
/// ConfSDK::initMediaService() returns -1.
///
/// @par Thread Safety
/// Any thread; the creator is kept under a mutex of its own and called
/// without it.
class ORVANE_API AVSDK_Factory {
public:
    /// Makes an engine for a media platform. It returns an engine the caller
    /// does not own (the library never deletes it), or null for none. It
    /// may throw: the library catches and logs it.
    using Creator = std::function<AVSDK*(const std::string& platformName, const std::string& initPara)>;

    /// Asks the installed creator for an engine, on the caller's thread.
    ///
    /// @param platformName "QV" or "QC", as given to ConfSDK::initMediaService().
    /// @param initPara The application's text, passed on.
    /// @return The creator's engine, or null when no creator is installed or
    ///         it gives none.
    static AVSDK* createInstance(const std::string& platformName, const std::string& initPara);
    /// Replaces the creator. ConfSDK::initMediaService() asks it until it
    /// has given an engine; an engine already created stays.
    ///
    /// @param creator The creator; an empty function removes it.
    static void setCreator(Creator creator);
};

/// An engine that does nothing: every operation returns 0, false, an empty
/// text or null. Engines and test doubles derive from it and override what
/// they use.
///
/// @par Thread Safety
/// Its own operations touch no data.
class ORVANE_API AVSDKBase : public AVSDK {
public:
    /// An engine that does nothing.
    AVSDKBase() = default;
    /// Destroyed by its owner; the library never does.
    virtual ~AVSDKBase() = default;

    int setListener(AVSDK::Listener*) override { return 0; }
    int setOrvaneLogger(std::shared_ptr<spdlog::logger>) override { return 0; }
    int passThrough1() override { return 0; }
    int init(const std::string&) override { return 0; }
    int deinit() override { return 0; }
    int passThrough2() override { return 0; }
    int passThrough3() override { return 0; }
    int passThrough4() override { return 0; }
    int passThrough5() override { return 0; }
    int passThrough6(int32_t, int32_t, int32_t, int32_t, int32_t) override { return 0; }
    int passThrough7(int32_t, int32_t, int32_t, int32_t, int32_t) override { return 0; }
    int login(const std::string&, const std::string&) override { return 0; }
    int logout() override { return 0; }
    int join(const std::string&, const std::string&, const std::string&) override { return 0; }
    int leave() override { return 0; }
    int endMeeting() override { return 0; }
    int passThrough8() override { return 0; }
    bool isHostUser() override { return false; }
    int changeUserName(const std::string&, const std::string&, bool) override { return 0; }
    int setLayout(std::vector<AvLayoutItem>&, int, int) override { return 0; }
    int getUserList(AvUserMap&) override { return 0; }
    int passThrough9() override { return 0; }
    int muteLocalAudio() override { return 0; }
    int unmuteLocalAudio() override { return 0; }
    bool canUnmuteByMyself() override { return false; }
    int passThrough10() override { return 0; }
    int passThrough11() override { return 0; }
    int passThrough12() override { return 0; }
    int passThrough13() override { return 0; }
    int muteAllAudio(bool) override { return 0; }
    int unmuteAllAudio() override { return 0; }
    bool passThrough14(const std::string&, bool) override { return false; }
    int muteAudio(const std::string&, bool) override { return 0; }
    int unmuteAudio(const std::string&) override { return 0; }
    int passThrough15(bool) override { return 0; }
    int passThrough16() override { return 0; }
    int unmuteVideo(const std::string&) override { return 0; }
    int muteVideo(const std::string&) override { return 0; }
    int passThrough17(bool) override { return 0; }
    int passThrough18() override { return 0; }
    int lockMeeting(bool) override { return 0; }
    int passThrough19() override { return 0; }
    int setHost(const std::string&) override { return 0; }
    int reclaimHost() override { return 0; }
    int assignCohost(const std::string&) override { return 0; }
    int revokeCohost(const std::string&) override { return 0; }
    int enableWaitingRoom(bool) override { return 0; }
    std::string passThrough20() override { return {}; }
    int passThrough21() override { return 0; }
    std::string passThrough22() override { return {}; }
    int passThrough23() override { return 0; }
    int passThrough24() override { return 0; }
    int passThrough25() override { return 0; }
    std::string passThrough26() override { return {}; }
    int passThrough27() override { return 0; }
    int passThrough28() override { return 0; }
    int passThrough29() override { return 0; }
    int passThrough30() override { return 0; }
    int passThrough31() override { return 0; }
    int passThrough32() override { return 0; }
    int passThrough33() override { return 0; }
    int passThrough34() override { return 0; }
    int passThrough35() override { return 0; }
    int passThrough36() override { return 0; }
    int passThrough37() override { return 0; }
    int passThrough38(void*) override { return 0; }
    int passThrough39(int) override { return 0; }
    int passThrough40() override { return 0; }
    int passThrough41() override { return 0; }
    int passThrough42(const std::string&) override { return 0; }
    int passThrough43() override { return 0; }
    int passThrough44() override { return 0; }
    int passThrough45() override { return 0; }
    int callH323device(const std::string&, const std::string&, const std::string&, const std::string&) override { return 0; }
    int cancelCallH323device() override { return 0; }
    int hangupH323device(const std::string&, const std::string&) override { return 0; }
    int passThrough46(const std::string&, const std::string&, const std::string&) override { return 0; }
    int passThrough47(const std::string&, const std::string&) override { return 0; }
    int passThrough48() override { return 0; }
    int passThrough49() override { return 0; }
    int passThrough50() override { return 0; }
    int passThrough51() override { return 0; }
    int passThrough52(bool) override { return 0; }
    int passThrough53() override { return 0; }
    int passThrough54(bool) override { return 0; }
    int passThrough55() override { return 0; }
    int passThrough56(bool) override { return 0; }
    int passThrough57() override { return 0; }
    int passThrough58(bool) override { return 0; }
    int setConfSignal(const std::string&) override { return 0; }
    int passThrough59() override { return 0; }
    int passThrough60() override { return 0; }
    int passThrough61(const std::string&, const std::string&, const std::string&) override { return 0; }
    AvInterpretationService* getInterpretationService() override { return nullptr; }
    AvUiControlService* getUiControlService() override { return nullptr; }
    int passThrough62() override { return 0; }
    int setZak(const std::string&) override { return 0; }
    void setCustomUIOption(int, bool) override {}
};

}  // namespace ORVANE
