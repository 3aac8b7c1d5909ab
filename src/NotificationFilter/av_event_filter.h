#pragma once

#include <nlohmann/json.hpp>

#include <atomic>
#include <cstddef>
#include <set>
#include <string>

#include "endpoint_cache.h"

class OrvaneSDKPrivate;

namespace ORVANE {

// The media engine's notifications, one handler per event: each decides what
// the event means here (a step of the call machine, an update of the
// conference record, a report to the servers or the application) and
// whether it goes on to the application's engine listener. Runs on the
// engine's thread under the call lock.
class AvEventFilter {
public:
    explicit AvEventFilter(OrvaneSDKPrivate& core) : core_(core) {}

    // True: the event goes on to the application's engine listener, with
    // `data` as the handler left it. A JSON error in a handler is logged and
    // ends the event there.
    bool av_notification_filter(const std::string& group, const std::string& cmd, std::string& data);
    // Logs in to the media service with the credentials of the registration,
    // once the engine is ready.
    void _av_login();

    // The number of engine events the filter has a handler for.
    static size_t handlerCount();

    // Handlers: `bool handler(group, cmd, data)` with a writable `data`.
    bool avfilter_onSdkReady(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onLogin(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallEnd(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onEndReason(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallConnected(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallFailed(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onCallStatusChanged(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onEndMeetingBtnClicked(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onInviteBtnClicked(const std::string& group, const std::string& cmd, std::string& data);
    // Participants.
    bool avfilter_onUserJoin(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onUserLeft(const std::string& group, const std::string& cmd, std::string& data);
    bool simulate_participant_join_toapp(const std::string& group, const std::string& cmd, std::string& data);
    bool simulate_participant_leave_toapp(const std::string& group, const std::string& cmd, std::string& data);
    // Status and roles.
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
    // H.323 call-outs.
    bool onH323CalloutStatusNotifyConfSdk(const std::string& group, const std::string& cmd, std::string& data);
    bool avfilter_onH323DeviceJoin(const std::string& group, const std::string& cmd, std::string& data);

    // Whether the application has heard of this participant by simulation.
    bool simulated(const std::string& userid) const { return simulatedGuids_.count(userid) != 0; }
    // Whether the engine has a host in the meeting.
    bool isHostInMeeting();
    // A new meeting: nothing of the participants of the last one stays.
    void forgetParticipants();

private:
    // The report of changed endpoints: to the application, and to the
    // conference manager when `toPortal`. False when there was something
    // to report, so the engine's own event goes no further.
    bool reportEndpoints(const nlohmann::json& endpoints, bool toPortal);
    // Sets one flag of a participant; the report of it when it changed.
    nlohmann::json setFlag(const std::string& userid, bool EpStatus::*flag, bool value, const char* action);
    void sendHostRequest(const nlohmann::json& request);
    void sendSyncData(const nlohmann::json& data);
    // "JOIN" or "LEAVE" to the conference manager; nothing when `userid`
    // is not a number, which the manager could not take.
    void sendDeviceEvent(const char* event, const std::string& userid, nlohmann::json params);

    OrvaneSDKPrivate& core_;
    // The engine has reported that it is ready; set on its thread, read by
    // the thread that delivers the credentials.
    std::atomic<bool> sdkReady_{false};
    std::set<std::string> simulatedGuids_;
    // The engine reports a room system more than once.
    std::string last_h323_userid_;
};

// The engine's password arrives in base64: a new NUL-terminated buffer of
// the decoded bytes, to be released with free(). Decoding stops at the first
// "=" or character outside the standard alphabet. Null when out of memory.
char* base64Decode(const char* text, int length);

}  // namespace ORVANE
