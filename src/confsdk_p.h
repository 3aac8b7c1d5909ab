#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CallSignal/call_signals.h"
#include "CallSignal/conf_state.h"
#include "CallSignal/h323_callout.h"
#include "NotificationFilter/av_event_filter.h"
#include "PortalReporter/portalreporter.h"
#include "ServerInteraction/orvanecontrolsdk_p.h"
#include "app_channel.h"
#include "clock.h"
#include "device_identity.h"
#include "endpoint_cache.h"
#include "orvane/avsdk.h"
#include "orvane/confsdk.h"
#include "orvane/controlsdk.h"
#include "orvane/orvanelogic.h"
#include "orvane/transsdk.h"
#include "orvaneconference.h"
#include "timer_task.h"

class OrvaneLogic_QV;

namespace ORVANE {

class AVSDKWrapper_QV;
class LayoutCatalogue;

// What a central object is built on. The exported factory uses the defaults;
// a test builds its own object with a manual clock and services of its own.
struct SdkEnv {
    std::shared_ptr<Clock> clock;                 // null: the real clocks
    bool processWide = true;                      // use the process's one logic object
    OrvaneLogic_Interface* logic = nullptr;       // a logic object to use instead (not owned)
    // False: no worker thread; whoever drives the clock runs the due
    // time-outs with runDueTimers, on its own thread.
    bool timerWorker = true;
};

}  // namespace ORVANE

// The one central object of the library. It routes the application's
// commands, the servers' replies and events and the engine's notifications,
// and owns the parts that keep the call: the device identity, the
// conference record, the endpoint cache, the call machine with its
// time-outs, the call-signal sender, the H.323 call-out queue and the
// engine-event filter; besides the call, the layout catalogue.
//
// Locking: the call lock (callMutex, taken through CallLock by every entry
// from outside) guards the call machine, the conference record, the
// identity, the call-out queue and the media engine pointers. The endpoint
// cache, the application channel, the control channel, the timer queue and
// the layout catalogue guard themselves. Listener calls made under the call
// lock are delivered after it is released.
class OrvaneSDKPrivate : public ORVANE::ControlReceiver,
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

    // Server replies and events, on the transport's thread. An event's
    // "args" come parsed; the text the application gets is written from them
    // once, after any merge.
    void onCtrlCommand(const std::string& type, const std::string& json) override;
    void onCtrlEvent(const std::string& type, nlohmann::json& args) override;
    // AVSDK::Listener: the engine's notifications, on its thread.
    void onNotify(std::string group, std::string cmd, std::string data) override;

    // ConfControlService
    bool isRunning() override;
    int setLayout(const std::vector<ORVANE::LayoutItem>& items, int a, int b) override;
    ORVANE::ConfSDK::ConfInterpretationService* getConfInterpretationService() override;
    ORVANE::ConfSDK::ConfUiControlService* getConfUiControlService() override;
    void getLayoutSize(ORVANE::Rect container, int layoutId, int sumCount, int* width, int* height) override;
    ORVANE::Rect fitRect(ORVANE::Rect container, int width, int height) override;
    ORVANE::Rect getCellRect(ORVANE::Rect container, int layoutId, int sumCount, int index) override;
    ORVANE::Rect computeCellRect(ORVANE::Rect container, int spacing, int margin, int gridRow, int gridColumn,
                                 int width, int height, int rowStart, int rowEnd, int colStart, int colEnd) override;
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
    void setListener(ORVANE::ConfSDK::Listener* l) { app_.setListener(l); }
    void setMediaServiceListener(ORVANE::AVSDK::Listener* l) { app_.setMediaListener(l); }
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

    // The parts, for the subsystems that work on them. Those without a lock
    // of their own are used under the call lock.
    ORVANE::OrvaneConference& conf() { return conf_; }
    ORVANE::DeviceIdentity& identity() { return identity_; }
    ORVANE::EndpointCache& endpoints() { return endpoints_; }
    ORVANE::AppChannel& app() { return app_; }
    ORVANE::OrvaneControlSDk_private& control() { return control_; }
    ORVANE::CallSignalSender& signals() { return signals_; }
    ConfStateMachine& machine() { return machine_; }
    ORVANE::H323Callout& h323() { return h323_; }
    // The media engine as everybody uses it (for "QV" the wrapper); null
    // before initMediaService.
    ORVANE::AVSDK* media() const { return av_; }
    // The application draws its own meeting window.
    bool customUiMode() const { return customUiMode_; }
    std::recursive_mutex& callMutex() { return callMutex_; }
    ORVANE::Clock& clock() { return *clock_; }

    // Fills the conference record and the status flags from conference
    // information; the parsed JSON, or null when it does not parse.
    nlohmann::json parseConfinfo(const std::string& data);
    // The same in two steps: what the information would make of the record,
    // and taking it. A start that the call machine refuses takes nothing.
    struct PendingConference {
        nlohmann::json parsed;  // null when the text does not parse
        ORVANE::OrvaneConference conf;
        std::optional<std::string> zak;  // read: to be handed to the engine
        std::optional<ORVANE::ConferenceFlags> flags;
    };
    PendingConference readConfinfo(const std::string& data);
    // Takes the record out of `pending`; the rest of it stays.
    void commitConfinfo(PendingConference& pending);
    // The participant's engine user id, or device, by the endpoint cache.
    std::string getAvUseridFromDeviceID(const std::string& deviceId);
    std::string getDeviceidFromAvUserid(const std::string& userid);
    // Ends the call's data: the record, the status flags and the endpoint cache.
    void resetConference();

    // Status synchronisation.
    int syncAllCacheStatusFromAVSDK();
    // The text of a "confSyncdata" command as it is to be sent; empty to send
    // the application's own.
    std::string checkSyncCommand(const std::string& data);
    nlohmann::json getControlPanel(const nlohmann::json& endpoints);
    // Hands the control panel of these endpoints to the portal reporter.
    void reportControlPanel(const nlohmann::json& endpoints);
    // Waits until the control commands and the reports handed over so far
    // have been dealt with; for whoever drives the library step by step.
    bool waitUntilIdle();
    // The control panel is being synchronised with a portal: changes of
    // status are reported as they happen.
    bool syncing() const { return syncing_; }
    void setSyncing(bool on) { syncing_ = on; }
    // The engine's list of users may have changed since the cache last
    // read it.
    void engineUsersChanged() { endpoints_.engineUsersChanged(); }

    // The state of the call machine, an AvState.
    int callState();
    // Runs every time-out that is due now, on the calling thread.
    void runDueTimers();

private:
    void _task_worker_loop();
    void runTimerTask(ORVANE::TimerTaskItem& task);
    // Runs `step` under the call lock again once the notifications made so
    // far on this thread have reached the application.
    void continueAfterDeliveries(std::function<void()> step);

    // The kinds of server event.
    void onConfManagerEvent(const std::string& type, nlohmann::json& args);
    void onParticipantJoin(const std::string& type, nlohmann::json& args);
    void onParticipantLeave(const std::string& type, nlohmann::json& args);
    void onAutonomyEvent(nlohmann::json& args);
    void onCallmasterControl(nlohmann::json& args);
    void onDeviceManagerEvent(const std::string& type, nlohmann::json& args);
    void onDeviceRegister(const nlohmann::json& event);
    void onCallSignal(nlohmann::json& args);
    int onJoinMsgMyOwn(const nlohmann::json& event);
    ORVANE::AVSDK* mediaQuiet();

    std::shared_ptr<ORVANE::Clock> clock_;
    std::recursive_mutex callMutex_;
    ORVANE::AppChannel app_;
    ORVANE::OrvaneControlSDk_private control_;
    ORVANE::DeviceIdentity identity_;
    ORVANE::OrvaneConference conf_;
    ORVANE::EndpointCache endpoints_;
    std::unique_ptr<ORVANE::LayoutCatalogue> layoutConfig_;
    ORVANE::PortalReporter reporter_{control_};
    ORVANE::TimerTaskQueue timerTasks_;
    ORVANE::CallSignalSender signals_;
    ConfStateMachine machine_;
    ORVANE::H323Callout h323_;
    ORVANE::AvEventFilter filter_;

    ORVANE::AVSDK* av_ = nullptr;
    std::unique_ptr<ORVANE::AVSDKWrapper_QV> avWrapper_;
    std::string avPlatformName_;
    bool customUiMode_ = false;
    std::atomic<bool> syncing_{false};
    OrvaneLogic_Interface* logic_ = nullptr;
    std::unique_ptr<OrvaneLogic_QV> ownedLogic_;

    std::atomic<bool> workerRunning_{true};
    std::promise<void> workerStarted_;
    std::thread worker_;
};
