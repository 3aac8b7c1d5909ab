#pragma once

/// @file
/// The names of the commands, notifications and failure reasons.

#include "orvane/export.h"

namespace ORVANE {

/// The names of the commands of ConfSDK::sendCommand(). The JSON each one
/// takes and what comes back: `docs/commands.md`.
namespace CONF {
ORVANE_API extern const char* const ROOMSEARCH;  ///< Searches the meeting rooms of the user.
ORVANE_API extern const char* const ROOMAVAILABLE;  ///< The meeting rooms free in a period.
ORVANE_API extern const char* const ROOMSHAREDLINK;  ///< A meeting room's shared link.
ORVANE_API extern const char* const ROOMOWNER;  ///< The meeting rooms a user owns.
ORVANE_API extern const char* const ROOMINFO;  ///< One meeting room.
ORVANE_API extern const char* const ROOMUPDATE;  ///< Changes a meeting room.
ORVANE_API extern const char* const ROOMCREATE;  ///< Has no route: nothing is sent.
ORVANE_API extern const char* const ROOMDELETE;  ///< Deletes a meeting room.
ORVANE_API extern const char* const TEMPLATEDETAIL;  ///< One conference template.
ORVANE_API extern const char* const TEMPLATEUPDATE;  ///< Changes a conference template.
ORVANE_API extern const char* const TEMPLATECREATE;  ///< Creates a conference template.
ORVANE_API extern const char* const TEMPLATEDELETE;  ///< Deletes a conference template.
ORVANE_API extern const char* const TEMPLATESEARCH;  ///< The conference templates of a user.
ORVANE_API extern const char* const LOCALROOMDETAIL;  ///< One local room of the device manager.
ORVANE_API extern const char* const LOCALROOMSEARCH;  ///< The local rooms of the device manager.
ORVANE_API extern const char* const CALENDARPREVIEW;  ///< The conferences of a user in a period.
ORVANE_API extern const char* const PING;  ///< Tells the conference manager the device is still in the conference.
ORVANE_API extern const char* const SEARCH;  ///< Searches the user's conferences.
ORVANE_API extern const char* const INFO;  ///< One conference.
ORVANE_API extern const char* const SHORTINFO;  ///< One conference, in short.
ORVANE_API extern const char* const CREATE;  ///< Creates a conference.
ORVANE_API extern const char* const UPDATE;  ///< Changes a conference.
ORVANE_API extern const char* const CONFDELETE;  ///< Deletes a conference.
ORVANE_API extern const char* const CONFEXTEND;  ///< Extends a running conference.
ORVANE_API extern const char* const CONFINFO_BY_DIALNUM;  ///< A conference by its dial number (the library's own lookup of an incoming call).
ORVANE_API extern const char* const JOIN;  ///< The invitation of a conference by dial number and passcode.
ORVANE_API extern const char* const TERMINATE;  ///< Ends a conference for everybody on the servers.
ORVANE_API extern const char* const ADDPARTICIPANT;  ///< Invites participants.
ORVANE_API extern const char* const LAYOUT;  ///< Has no route: nothing is sent.
ORVANE_API extern const char* const MUTEAUDIO;  ///< Mutes or unmutes a participant, on the engine.
ORVANE_API extern const char* const MUTEVIDEO;  ///< Stops or asks for a participant's video, on the engine.
ORVANE_API extern const char* const MUTEAUDIOLOCAL;  ///< Mutes or unmutes the local microphone, on the engine.
ORVANE_API extern const char* const ADMINALLOWUNMUTE;  ///< Whether participants may unmute themselves.
ORVANE_API extern const char* const MUTEALL;  ///< Mutes or unmutes everybody, on the engine.
ORVANE_API extern const char* const AUTHORITY;  ///< Gives or takes a participant's control rights.
ORVANE_API extern const char* const MAKEHOST;  ///< Hands the host role to a participant, on the engine.
ORVANE_API extern const char* const RECLAIMHOST;  ///< Takes the host role back, on the servers.
ORVANE_API extern const char* const MAKECOHOST;  ///< Gives or takes the co-host role, on the engine.
ORVANE_API extern const char* const HANDUP;  ///< Raises or lowers a participant's hand.
ORVANE_API extern const char* const LOCKMEETING;  ///< Locks or unlocks the meeting, on the engine.
ORVANE_API extern const char* const SIGNCONTROL;  ///< Starts a sign-in.
ORVANE_API extern const char* const SIGNING;  ///< A participant's sign-in result.
ORVANE_API extern const char* const ROLLCONTROL;  ///< Starts a roll call.
ORVANE_API extern const char* const ROLLING;  ///< A participant's roll-call result.
ORVANE_API extern const char* const DISCONNECTPARTICIPANT;  ///< Disconnects a participant.
ORVANE_API extern const char* const PRERECORD;  ///< Starts or stops the recording.
ORVANE_API extern const char* const SYNCDATA;  ///< Tells the conference manager of a change of status.
ORVANE_API extern const char* const CHANGEINVITEMODE;  ///< Changes who may invite.
ORVANE_API extern const char* const CONTENTSHARE;  ///< Starts or stops a participant's content sharing.
ORVANE_API extern const char* const ENDPOINTS;  ///< The participant list.
ORVANE_API extern const char* const LEGACYS;  ///< The legacy devices of a type (the reply is dropped).
ORVANE_API extern const char* const REFUSE;  ///< Refuses a participant.
ORVANE_API extern const char* const CONNECTIONSTATUS;  ///< Reports a participant's connection status.
ORVANE_API extern const char* const CONTROLCOMMANDRESP;  ///< The answer to a control command of the servers, sent as it stands (the library sends it).
ORVANE_API extern const char* const SYNCCONTROLPANEL;  ///< Hands the servers the whole control panel.
ORVANE_API extern const char* const DeviceMetadata;  ///< The device manager's metadata.
ORVANE_API extern const char* const DeviceDetails;  ///< One device.
ORVANE_API extern const char* const DeviceSearch;  ///< Searches the devices.
ORVANE_API extern const char* const DeviceList;  ///< Several devices.
ORVANE_API extern const char* const TURNASCONTROLLER;  ///< Makes a device the conference's controller.
ORVANE_API extern const char* const STARTCONF;  ///< Starts an outgoing call.
ORVANE_API extern const char* const REJECTCONF;  ///< Declines an incoming call.
ORVANE_API extern const char* const LEAVECONF;  ///< Leaves the call.
ORVANE_API extern const char* const ENDCONF;  ///< Ends the media meeting for everybody.
ORVANE_API extern const char* const NOTIFY;  ///< A name without a command: nothing is done.
ORVANE_API extern const char* const SHAREDLINK;  ///< A conference's shared link.
ORVANE_API extern const char* const UPDATEDEVICENAME;  ///< Renames this device.
ORVANE_API extern const char* const UPDATEGUESTNAME;  ///< Sets a guest's name.
ORVANE_API extern const char* const DEVICEMGR_EXTENSION;  ///< Sets this device's extension.
}  // namespace CONF

/// The names of the notifications of ConfSDK::Listener::onConfNotify(), and
/// the failure reasons carried in the "type" of a failure report. The JSON
/// of each: `docs/commands.md`.
namespace CONFNOTIFY {
ORVANE_API extern const char* const ENPOINTCHANGED;  ///< A participant's mute, video or role changed, or the meeting was locked.
ORVANE_API extern const char* const CANCELED;  ///< The servers cancelled the call.
ORVANE_API extern const char* const RECV_INVITE;  ///< An incoming call: stands in the "event" of a passed-on "confmanager_event", not as a notification's name.
ORVANE_API extern const char* const DEVICE_NAME_CHANGED;  ///< The device registered, or the servers renamed it.
ORVANE_API extern const char* const INTERNAL_EXCEPTION_IN_MEETING;  ///< A failure the library found itself, with a failure report.
ORVANE_API extern const char* const EXCEPTION_IN_MEETING;  ///< A failure the servers or the engine reported, with a failure report.
ORVANE_API extern const char* const CONF_EVENT_REASON;  ///< Why the meeting ended.
ORVANE_API extern const char* const NEED_PASSCODE;  ///< The meeting wants a passcode.
ORVANE_API extern const char* const DO_INTERNAL_TASK_MUST_IN_UI_THREAD;  ///< An engine call waits for the UI thread: answer with ConfSDK::DoInternalTaskMustCalledByUIThread().
ORVANE_API extern const char* const REGINFO;  ///< The device registered.
ORVANE_API extern const char* const HOSTREQUEST;  ///< The servers or the engine ask the application to do something.
/// The call server has not answered the registration ("waitedSeconds"):
/// {"unanswered": n, "waitedSeconds": s}. The library sends it again at once
/// and waits longer each time (10 s, 20 s, 40 s, then every minute);
/// "confsdknotify_callsignal_ok" tells that the device is registered.
ORVANE_API extern const char* const NOT_REGISTERED;
/** A command of the application was not carried out: "confsdknotify_command_refused".

    Sent only to an application that has asked for it with
    ConfSDK::setRefusalNotify(true); otherwise the refusal is only logged.
    The data names the command as it was sent and why:
    @code
    {"command":"confControlmuteaudio","reason":"bad_field"}
    @endcode
    "reason" is one of:
    - "unknown_command": no part of the library takes this command name;
    - "malformed_json": the data is not JSON;
    - "bad_field": a field the command needs is missing or of the wrong
      type, or names a participant who is not in the meeting;
    - "wrong_state": not now (a second "startconf" during a call, a
      "rejectconf" with nothing ringing, a command for the media engine
      before ConfSDK::initMediaService, an unmute the host forbids);
    - "no_transport": the servers are to do it and ConfSDK::setOrvaneTrans
      has not been called.

    A command that is carried out but then fails at the servers or the
    engine is not refused: its reply or the engine's notifications tell.

    @par Thread Safety
    Arrives on the thread that called ConfSDK::sendCommand, before that call
    returns, with no library lock held.
*/
ORVANE_API extern const char* const COMMAND_REFUSED;

ORVANE_API extern const char* const EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE;  ///< The call server did not accept the invitation in time (15 s).
ORVANE_API extern const char* const EXCPT_REASON_TIMEOUT_ON_JOIN;  ///< The media join did not finish in time (55 s).
ORVANE_API extern const char* const EXCPT_REASON_RECV_ERROR_FROM_SERVER;  ///< The call server answered with an error.
ORVANE_API extern const char* const EXCPT_REASON_COMMUNICATE_FAILED_WITH_AVSERVER;  ///< The engine could not reach its server.
ORVANE_API extern const char* const EXCPT_REASON_CONF_LOCKED;  ///< The servers' word for a locked conference; the library reports EXCPT_REASON_CONF_LOCKED_STATUS.
ORVANE_API extern const char* const EXCPT_REASON_CONF_NETWORK_ERR;  ///< Network error.
ORVANE_API extern const char* const EXCPT_REASON_CONF_RECONNECT_ERR;  ///< Reconnecting failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_MMR_ERR;  ///< The media server failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_PASSWORD_ERR;  ///< Wrong passcode.
ORVANE_API extern const char* const EXCPT_REASON_CONF_SESSION_ERR;  ///< The media session failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_OVER;  ///< The meeting is over.
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_NOT_START;  ///< The meeting has not started.
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_NOT_EXIST;  ///< No such meeting.
ORVANE_API extern const char* const EXCPT_REASON_CONF_USER_FULL;  ///< The meeting is full.
ORVANE_API extern const char* const EXCPT_REASON_CONF_CLIENT_INCOMPATIBLE;  ///< The engine is too old for the meeting.
ORVANE_API extern const char* const EXCPT_REASON_CONF_NO_MMR;  ///< No media server.
ORVANE_API extern const char* const EXCPT_REASON_CONF_LOCKED_STATUS;  ///< The media meeting is locked.
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_RESTRICTED;  ///< The meeting is restricted.
ORVANE_API extern const char* const EXCPT_REASON_CONF_RESTRICTED_JBH;  ///< Joining before the host is not allowed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_EMIT_WEBREQUEST;  ///< The engine could not send a web request.
ORVANE_API extern const char* const EXCPT_REASON_CONF_CANNOT_START_TOKENEXPIRE;  ///< The access token has expired.
ORVANE_API extern const char* const EXCPT_REASON_CONF_SESSION_VIDEO_ERR;  ///< Video could not start.
ORVANE_API extern const char* const EXCPT_REASON_CONF_SESSION_AUDIO_AUTOSTARTERR;  ///< Audio could not start.
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_FULL;  ///< The webinar is full.
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_HOSTREGISTER;  ///< A host cannot register for the webinar.
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_PANELISTREGISTER;  ///< A panelist cannot register for the webinar.
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_DENIED_EMAIL;  ///< The webinar denies this e-mail address.
ORVANE_API extern const char* const EXCPT_REASON_CONF_ENFORCE_LOGIN;  ///< The meeting wants a logged-in user.
ORVANE_API extern const char* const EXCPT_REASON_CONF_ZC_CERTIFICATE_CHANGED;  ///< The server's certificate changed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_VANITY_NOT_EXIST;  ///< The personal link does not exist.
ORVANE_API extern const char* const EXCPT_REASON_CONF_JOIN_WEBINAR_WITHSAMEEMAIL;  ///< Somebody joined the webinar with the same e-mail address.
ORVANE_API extern const char* const EXCPT_REASON_CONF_DISALLOW_HOST_MEETING;  ///< This user may not host meetings.
ORVANE_API extern const char* const EXCPT_REASON_CONF_WRITE_CONFIG_FILE;  ///< The engine could not write its configuration.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FORBID_TO_JOIN_INTERNAL_MEETING;  ///< The meeting is internal to another organisation.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_REMOVED_BY_HOST;  ///< The host removed this participant.
ORVANE_API extern const char* const EXCPT_REASON_CONF_NO_INVITATION_INFORMATION;  ///< The invitation carried no conference information.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INVALID_ARGUMENTS;  ///< The engine took the join's arguments as invalid.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INVALID_USERTYPE;  ///< Wrong kind of user.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_IN_ANOTHER_MEETING;  ///< The engine is in another meeting.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_TOO_FREQUENCE_CALL;  ///< Too many joins in a short time.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_WRONG_USAGE;  ///< The engine was used wrongly.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_USE_API_FAILED;  ///< An engine call failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_BASE;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_SETERROR;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_MAXIMUMNUM;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_SAVEIMAGE;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_REMOVENONE;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_NOSUPPORT;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_GREENSCREEN_NOSUPPORT;  ///< The virtual background failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INCORRECT_MEETING_NUMBER;  ///< Wrong meeting number.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_FAIL_TIMEOUT;  ///< The engine timed out.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_FAIL_WEBSERVICE_FAILED;  ///< The engine's web service failed.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_EXIT_WHEN_WAITING_HOSTSTART;  ///< The wait for the host ended.
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INVALID_STATUS;  ///< The engine was in the wrong state.
ORVANE_API extern const char* const EXCPT_REASON_JOIN_MEETING_FAILED;  ///< The join failed for another reason.
}  // namespace CONFNOTIFY

}  // namespace ORVANE
