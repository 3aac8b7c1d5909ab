#pragma once

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

// The engine's interpretation object: the operations of
// ConfSDK::ConfInterpretationService, with the engine's own user ids.
class AvInterpretationService {
public:
    virtual std::vector<std::string> interpretationList() = 0;
    virtual int interpretationUserSet(const std::string& userid, int a, int b) = 0;
    virtual int interpretationUserClear(const std::string& userid) = 0;
    virtual int interpretationUserChange(const std::string& userid, int a, int b) = 0;
    virtual int interpretationStart() = 0;
    virtual int interpretationStop() = 0;

protected:
    ~AvInterpretationService() = default;
};

// The engine's UI control object.
class AvUiControlService {
public:
    virtual int uiControlCall() = 0;

protected:
    ~AvUiControlService() = default;
};

// The media engine. The order of the operations is part of the interface:
// every engine and the library's own wrapper follow it. The library never
// deletes an engine, so the destructor is not virtual and not public.
class ORVANE_API AVSDK {
public:
    class Listener {
    public:
        // Every engine event: group is the engine's service name, cmd the
        // event ("onCallConnected"), data its JSON text (may be empty).
        virtual void onNotify(std::string group, std::string cmd, std::string data) = 0;
        virtual ~Listener() = default;
    };

    // Registers the one listener that receives every engine notification.
    virtual int setListener(AVSDK::Listener* listener) = 0;
    // Hands the library's logger to the engine, once, before init.
    virtual int setOrvaneLogger(std::shared_ptr<spdlog::logger> logger) = 0;
    virtual int passThrough1() = 0;
    // Starts the engine; the outcome arrives as "onSdkReady".
    virtual int init(const std::string& initPara) = 0;
    // Second half of a re-initialisation, after logout.
    virtual int deinit() = 0;
    virtual int passThrough2() = 0;
    virtual int passThrough3() = 0;
    virtual int passThrough4() = 0;
    virtual int passThrough5() = 0;
    virtual int passThrough6(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) = 0;
    virtual int passThrough7(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) = 0;
    // Logs in to the media service with the clear-text password; the outcome arrives as "onLogin".
    virtual int login(const std::string& user, const std::string& password) = 0;
    // First half of a re-initialisation.
    virtual int logout() = 0;
    // Joins the media meeting. 0: the attempt started; progress arrives as notifications.
    virtual int join(const std::string& meetingNumber, const std::string& passcode, const std::string& displayName) = 0;
    // Leaves the media meeting.
    virtual int leave() = 0;
    // Ends the media meeting for everybody.
    virtual int endMeeting() = 0;
    virtual int passThrough8() = 0;
    // Whether the local user is the host of the media meeting.
    virtual bool isHostUser() = 0;
    // Renames a participant in the media meeting.
    virtual int changeUserName(const std::string& userid, const std::string& newName, bool bSaveUserName) = 0;
    // Hands a translated video layout to the engine.
    virtual int setLayout(std::vector<AvLayoutItem>& items, int a, int b) = 0;
    // Fills the map with everybody the engine sees in the meeting.
    virtual int getUserList(AvUserMap& out) = 0;
    virtual int passThrough9() = 0;
    // Mutes the local microphone.
    virtual int muteLocalAudio() = 0;
    // Unmutes the local microphone.
    virtual int unmuteLocalAudio() = 0;
    // Whether the local user may unmute without the host.
    virtual bool canUnmuteByMyself() = 0;
    virtual int passThrough10() = 0;
    virtual int passThrough11() = 0;
    virtual int passThrough12() = 0;
    virtual int passThrough13() = 0;
    // Mutes all participants; allowUnmute says whether they may unmute themselves.
    virtual int muteAllAudio(bool allowUnmute) = 0;
    // Unmutes all participants.
    virtual int unmuteAllAudio() = 0;
    virtual bool passThrough14(const std::string& a, bool b) = 0;
    // Mutes one participant.
    virtual int muteAudio(const std::string& userid, bool allowUnmute) = 0;
    // Unmutes one participant.
    virtual int unmuteAudio(const std::string& userid) = 0;
    virtual int passThrough15(bool a) = 0;
    virtual int passThrough16() = 0;
    // Asks one participant to start video.
    virtual int unmuteVideo(const std::string& userid) = 0;
    // Stops one participant's video.
    virtual int muteVideo(const std::string& userid) = 0;
    virtual int passThrough17(bool a) = 0;
    virtual int passThrough18() = 0;
    // Locks or unlocks the media meeting.
    virtual int lockMeeting(bool lock) = 0;
    virtual int passThrough19() = 0;
    // Hands the host role to a participant.
    virtual int setHost(const std::string& userid) = 0;
    // Takes the host role back.
    virtual int reclaimHost() = 0;
    // Makes a participant co-host.
    virtual int assignCohost(const std::string& userid) = 0;
    // Takes the co-host role away.
    virtual int revokeCohost(const std::string& userid) = 0;
    // Switches the meeting's waiting room on.
    virtual int enableWaitingRoom(bool enable) = 0;
    virtual std::string passThrough20() = 0;
    virtual int passThrough21() = 0;
    virtual std::string passThrough22() = 0;
    virtual int passThrough23() = 0;
    virtual int passThrough24() = 0;
    virtual int passThrough25() = 0;
    virtual std::string passThrough26() = 0;
    virtual int passThrough27() = 0;
    virtual int passThrough28() = 0;
    virtual int passThrough29() = 0;
    virtual int passThrough30() = 0;
    virtual int passThrough31() = 0;
    virtual int passThrough32() = 0;
    virtual int passThrough33() = 0;
    virtual int passThrough34() = 0;
    virtual int passThrough35() = 0;
    virtual int passThrough36() = 0;
    virtual int passThrough37() = 0;
    virtual int passThrough38(void* a) = 0;
    virtual int passThrough39(int a) = 0;
    virtual int passThrough40() = 0;
    virtual int passThrough41() = 0;
    virtual int passThrough42(const std::string& a) = 0;
    virtual int passThrough43() = 0;
    virtual int passThrough44() = 0;
    virtual int passThrough45() = 0;
    // Calls a room system out of the meeting.
    virtual int callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType, const std::string& cmdId) = 0;
    // Cancels the call-out under way.
    virtual int cancelCallH323device() = 0;
    // Hangs up a called-out device.
    virtual int hangupH323device(const std::string& userId, const std::string& cmdId) = 0;
    virtual int passThrough46(const std::string& a, const std::string& b, const std::string& c) = 0;
    virtual int passThrough47(const std::string& a, const std::string& b) = 0;
    virtual int passThrough48() = 0;
    virtual int passThrough49() = 0;
    virtual int passThrough50() = 0;
    virtual int passThrough51() = 0;
    virtual int passThrough52(bool a) = 0;
    virtual int passThrough53() = 0;
    virtual int passThrough54(bool a) = 0;
    virtual int passThrough55() = 0;
    virtual int passThrough56(bool a) = 0;
    virtual int passThrough57() = 0;
    virtual int passThrough58(bool a) = 0;
    // Hands the engine the whole call signal just before a join.
    virtual int setConfSignal(const std::string& signalJson) = 0;
    virtual int passThrough59() = 0;
    virtual int passThrough60() = 0;
    virtual int passThrough61(const std::string& a, const std::string& b, const std::string& c) = 0;
    // The engine's interpretation object, or null.
    virtual AvInterpretationService* getInterpretationService() = 0;
    // The engine's UI control object, or null.
    virtual AvUiControlService* getUiControlService() = 0;
    virtual int passThrough62() = 0;
    // Stores the access token of the conference information.
    virtual int setZak(const std::string& zak) = 0;
    // Shows or hides a part of the engine's own user interface.
    virtual void setCustomUIOption(int uiType, bool visible) { (void)uiType; (void)visible; }

protected:
    ~AVSDK() = default;
};

// Gives the library its media engine. An engine module, an application or a
// test installs a creator; without one no engine is available.
class ORVANE_API AVSDK_Factory {
public:
    using Creator = std::function<AVSDK*(const std::string& platformName, const std::string& initPara)>;

    // The creator's engine, or null when no creator is set or it gives none.
    static AVSDK* createInstance(const std::string& platformName, const std::string& initPara);
    // Replaces the creator; an empty function removes it.
    static void setCreator(Creator creator);
};

// An engine that does nothing: every operation returns 0, false, an empty
// text or null. Engines and test doubles derive from it and override what
// they use.
class ORVANE_API AVSDKBase : public AVSDK {
public:
    AVSDKBase() = default;
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
