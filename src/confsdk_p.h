#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CallSignal/conf_state.h"
#include "clock.h"
#include "orvane/avsdk.h"
#include "orvane/confsdk.h"
#include "orvane/controlsdk.h"
#include "orvane/orvanelogic.h"
#include "orvane/transsdk.h"
#include "orvaneconference.h"
#include "timer_manager.h"
#include "timer_task.h"

class OrvaneLogic_QV;

namespace ORVANE {

class AVSDKWrapper_QV;
class PortalReporter;
class LayoutCatalogue;

// What a central object is built on. The exported factory uses the defaults;
// a test builds its own object with a manual clock and services of its own.
struct SdkEnv {
    std::shared_ptr<Clock> clock;                 // null: the real clocks
    bool processWide = true;                      // use the process's one logic object
    OrvaneLogic_Interface* logic = nullptr;       // a logic object to use instead (not owned)
};

}  // namespace ORVANE

// The one central object of the library: it holds the identity, the
// conference record and the state machine, and reaches every other service.
//
// Locking: the state machine, _conf, the identity fields, the status flags and
// the service pointers are guarded by callMutex, taken through CallLock by
// every entry from outside (application, transport, engine, timers).
// Listener calls made under it are delivered after it is released.
class OrvaneSDKPrivate : public ORVANE::ControlSDK::Listner,
                         public ORVANE::AVSDK::Listener,
                         public ORVANE::ConfSDK::ConfControlService,
                         public ORVANE::ConfSDK::ConfInterpretationService,
                         public ORVANE::ConfSDK::ConfUiControlService {
public:
    OrvaneSDKPrivate(const std::string& platformName, const std::string& createParam, ORVANE::SdkEnv env = {});
    // Only objects made by tests are destroyed; the exported one lives until exit.
    ~OrvaneSDKPrivate() override;
    OrvaneSDKPrivate(const OrvaneSDKPrivate&) = delete;
    OrvaneSDKPrivate& operator=(const OrvaneSDKPrivate&) = delete;

    // ControlSDK::Listner
    void onCtrlCommand(const std::string& type, const std::string& json) override;
    void onCtrlNotify(const std::string& type, const std::string& json) override;
    // AVSDK::Listener
    void onNotify(std::string group, std::string cmd, std::string data) override;

    // ConfControlService
    bool isRunning() override;
    int setLayout(const std::vector<ORVANE::LayoutItem>& items, int a, int b) override;
    ORVANE::ConfSDK::ConfInterpretationService* getConfInterpretationService() override;
    ORVANE::ConfSDK::ConfUiControlService* getConfUiControlService() override;
    void getLayoutSize(ORVANE::Rect container, int layoutId, int sumCount, int* width, int* height) override;
    ORVANE::Rect fitRect(ORVANE::Rect container, int width, int height) override;
    ORVANE::Rect getCellRect(ORVANE::Rect container, int layoutId, int sumCount, int index) override;
    ORVANE::Rect computeCellRect(ORVANE::Rect container, int spacing, int margin, int gridRow, int gridColumn, int width, int height,
                         int rowStart, int rowEnd, int colStart, int colEnd) override;
    void setLayoutOrder(std::string key, std::vector<std::string> list) override;
    std::vector<std::string> getLayoutOrder(std::string key) override;
    std::vector<std::string> mergeLayoutOrder(std::string key, std::vector<std::string> list) override;

    // ConfInterpretationService
    std::vector<std::string> interpretationList() override;
    int interpretationUserSet(const std::string& deviceId, int a, int b) override;
    int interpretationUserClear(const std::string& deviceId) override;
    int interpretationUserChange(const std::string& deviceId, int a, int b) override;
    int interpretationStart() override;
    int interpretationStop() override;

    // ConfUiControlService
    int uiControlCall() override;

    // The facade's operations.
    void sendCommand(const std::string& type, const std::string& data);
    void setListener(ORVANE::ConfSDK::Listener* l);
    void setMediaServiceListener(ORVANE::AVSDK::Listener* l);
    void setOrvaneTrans(ORVANE::TransSDK* t);
    int initMediaService(const std::string& platformName, const std::string& initPara);
    int reinit();
    ORVANE::AVSDK* getMediaService();
    std::string getMyInfo();
    std::string getUniformUserID();
    std::string getUniformUserName();
    bool isMeetingRoomDevice();
    void setCustomUIOption(const char* operation, int uiType, bool visible);
    void setMediaServiceUIType(const std::string& type);
    void runUiTask();

    // Call signals to the call server.
    int callserver_register();
    int callserver_unregister();
    int callserver_invite(std::string dialnum);
    int callserver_bye(const std::string& dialnum);
    int callserver_ack();
    int callserver_accepted(std::string dialnum);
    int callserver_ok(const std::string& av_userid);
    int callserver_update(const std::string& av_userid);
    int callserver_error(int code, const std::string& message);

    // Conference record.
    nlohmann::json parseConfinfo(const std::string& data);
    std::string getAvUseridFromDeviceID(const std::string& deviceId);
    std::string getDeviceidFromAvUserid(const std::string& userid);
    // Ends the call's data: the record, the status flags and the endpoint cache.
    void resetConference();

    // Status synchronisation.
    int syncAllCacheStatusFromAVSDK();
    // The request to send for "confSyncdata", or an empty text to send the
    // application's own.
    std::string checkSyncCommand(const std::string& data);
    nlohmann::json getControlPanel(const nlohmann::json& endpoints);
    // Hands a control panel of these endpoints to the portal reporter.
    void reportControlPanel(const nlohmann::json& endpoints);

    // Server replies and events.
    int onJoinMsgMyOwn(const nlohmann::json& event);
    void callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType,
                        const std::string& cmdId);

    // The end of a meeting, and why.
    int onCtrlNotify_send_bye_reason(const std::string& server_reason, const std::string& av_reason);
    void mapMeetingFailReason(const std::string& reason, std::string& code, std::string& errMsg);
    bool isHostInMeeting();
    // Stops the call-out timer of the meeting, if one runs.
    void stopH323Timer();

    // The media engine's notifications.
    bool av_notification_filter(const std::string& group, const std::string& cmd, std::string& data);
    void _av_login();
    bool avfilter_ignore(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onSdkReady(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onLogin(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallEnd(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onEndReason(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallConnected(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallFailed(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallStatusChanged(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onUserAudioStatusChange(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onUserVideoStatusChange(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onHostChangeNotification(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCoHostChangeNotification(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onHostRequestStartAudio(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onHostRequestStartVideo(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onActiveSpeakerVideoUserChanged(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onActiveVideoUserChanged(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onComputerCamDeviceChanged(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onComputerMicDeviceChanged(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCloudRecordingStatus(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onMeetingLocked(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onSharingStatus(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onUserJoin(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onUserLeft(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onH323DeviceJoin(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onEndMeetingBtnClicked(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onInviteBtnClicked(const std::string& group, const std::string& cmd, std::string& data);
    bool onH323CalloutStatusNotifyConfSdk(const std::string& group, const std::string& cmd, std::string& data);

    // Timed tasks of the state machine.
    uint64_t add_timer_task(int64_t seconds, std::function<void(std::string)> callback, std::string arg);
    void cancel_timer_task(uint64_t id);
    void _task_worker_loop();

    // To the application, delivered once no library lock is held.
    void notifyConf(const std::string& type, const std::string& data);
    void replyConf(const std::string& type, const std::string& data);
    void notifyAvListener(const std::string& group, const std::string& cmd, const std::string& data);
    // Runs `step` under the call lock again once the notifications made so
    // far on this thread have reached the application.
    void continueAfterDeliveries(std::function<void()> step);
    // The transport's text for an error id; empty without a transport.
    std::string errMsgFromId(const std::string& id);

    ORVANE::Clock& clock() { return *clock_; }
    std::recursive_mutex& callMutex() { return callMutex_; }

    // Fields, in the order of the central object's description.
    ORVANE::TransSDK* trans = nullptr;
    ORVANE::ControlSDK* control = nullptr;
    ORVANE::AVSDK* av = nullptr;
    ORVANE::AVSDKWrapper_QV* avWrapper = nullptr;
    OrvaneLogic_Interface* logic = nullptr;
    ORVANE::PortalReporter* reporter = nullptr;
    ORVANE::LayoutCatalogue* layoutConfig = nullptr;
    bool customUiMode = false;
    std::string createParam;

    std::string my_dial_num;
    std::string user_id;
    std::string serial_number;
    std::string device_name;
    std::string device_type;
    std::string device_id;
    bool is_meeting_room_device = false;
    std::string register_user_id;
    std::string register_user_name;
    std::string av_user;
    std::string av_password;

    ORVANE::OrvaneConference _conf;
    ConfStateMachine* stateMachine = nullptr;
    std::thread* workerThread = nullptr;
    std::atomic<bool> workerRunning{true};
    ORVANE::TimerTaskQueue timerTasks;

    bool muteAll = false;
    bool allowUnmute = false;
    bool locked = false;
    bool hostVideoWhenEntering = false;
    bool participantVideoWhenEntering = false;

    std::map<std::string, ORVANE::EpStatus> epStatusList;
    std::mutex epStatusMutex;

    ORVANE::ConfSDK::Listener* listener = nullptr;
    ORVANE::AVSDK::Listener* avListener = nullptr;
    std::string av_platform_name = "QV";
    bool syncing = false;
    std::vector<std::string> simulatedGuids;

    std::vector<nlohmann::json> device_vector;  // H.323 call-outs in hand
    nlohmann::json current_device;
    uint64_t h323_timer_id = 0;
    timer::manager h323Timer;
    bool h323_call_settled = false;
    std::string last_h323_userid;
    std::atomic<bool> sdkReady{false};

private:
    ORVANE::AVSDK* getMediaServiceQuiet();
    // The kinds of server event.
    void onConfManagerEvent(const std::string& type, const std::string& data, nlohmann::json& args);
    void onParticipantJoin(const std::string& type, nlohmann::json& args);
    void onParticipantLeave(const std::string& type, const std::string& data, nlohmann::json& args);
    void onAutonomyEvent(nlohmann::json& args);
    void onCallmasterControl(nlohmann::json& args);
    void onDeviceManagerEvent(const std::string& type, const std::string& data, nlohmann::json& args);
    void onDeviceRegister(const nlohmann::json& event);
    void onCallSignal(nlohmann::json& args);
    void storeCallId(const std::string& id);
    void sendSignal(const char* type, const std::string& text);

    std::shared_ptr<ORVANE::Clock> clock_;
    std::promise<void> workerStarted_;
    std::recursive_mutex callMutex_;
    OrvaneLogic_QV* ownedLogic_ = nullptr;
};

namespace ORVANE {

// The engine's password arrives in base64: a new NUL-terminated buffer of
// the decoded bytes, to be released with free(). Decoding stops at the first
// "=" or character outside the standard alphabet. Null when out of memory.
char* base64Decode(const char* text, int length);
// The number of engine events the filter has a handler for.
size_t avNotifyHandlerCount();

// The central object of the process, for code that has no ConfSDK at hand.
// Set by the ConfSDK constructor.
::OrvaneSDKPrivate* confsdkPrivate();
void setConfsdkPrivate(::OrvaneSDKPrivate* p);

}  // namespace ORVANE
