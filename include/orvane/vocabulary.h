#pragma once

#include "orvane/export.h"

namespace ORVANE {

// Command names accepted by ConfSDK::sendCommand.
namespace CONF {
ORVANE_API extern const char* const ROOMSEARCH;
ORVANE_API extern const char* const ROOMAVAILABLE;
ORVANE_API extern const char* const ROOMSHAREDLINK;
ORVANE_API extern const char* const ROOMOWNER;
ORVANE_API extern const char* const ROOMINFO;
ORVANE_API extern const char* const ROOMUPDATE;
ORVANE_API extern const char* const ROOMCREATE;
ORVANE_API extern const char* const ROOMDELETE;
ORVANE_API extern const char* const TEMPLATEDETAIL;
ORVANE_API extern const char* const TEMPLATEUPDATE;
ORVANE_API extern const char* const TEMPLATECREATE;
ORVANE_API extern const char* const TEMPLATEDELETE;
ORVANE_API extern const char* const TEMPLATESEARCH;
ORVANE_API extern const char* const LOCALROOMDETAIL;
ORVANE_API extern const char* const LOCALROOMSEARCH;
ORVANE_API extern const char* const CALENDARPREVIEW;
ORVANE_API extern const char* const PING;
ORVANE_API extern const char* const SEARCH;
ORVANE_API extern const char* const INFO;
ORVANE_API extern const char* const SHORTINFO;
ORVANE_API extern const char* const CREATE;
ORVANE_API extern const char* const UPDATE;
ORVANE_API extern const char* const CONFDELETE;
ORVANE_API extern const char* const CONFEXTEND;
ORVANE_API extern const char* const CONFINFO_BY_DIALNUM;
ORVANE_API extern const char* const JOIN;
ORVANE_API extern const char* const TERMINATE;
ORVANE_API extern const char* const ADDPARTICIPANT;
ORVANE_API extern const char* const LAYOUT;
ORVANE_API extern const char* const MUTEAUDIO;
ORVANE_API extern const char* const MUTEVIDEO;
ORVANE_API extern const char* const MUTEAUDIOLOCAL;
ORVANE_API extern const char* const ADMINALLOWUNMUTE;
ORVANE_API extern const char* const MUTEALL;
ORVANE_API extern const char* const AUTHORITY;
ORVANE_API extern const char* const MAKEHOST;
ORVANE_API extern const char* const RECLAIMHOST;
ORVANE_API extern const char* const MAKECOHOST;
ORVANE_API extern const char* const HANDUP;
ORVANE_API extern const char* const LOCKMEETING;
ORVANE_API extern const char* const SIGNCONTROL;
ORVANE_API extern const char* const SIGNING;
ORVANE_API extern const char* const ROLLCONTROL;
ORVANE_API extern const char* const ROLLING;
ORVANE_API extern const char* const DISCONNECTPARTICIPANT;
ORVANE_API extern const char* const PRERECORD;
ORVANE_API extern const char* const SYNCDATA;
ORVANE_API extern const char* const CHANGEINVITEMODE;
ORVANE_API extern const char* const CONTENTSHARE;
ORVANE_API extern const char* const ENDPOINTS;
ORVANE_API extern const char* const LEGACYS;
ORVANE_API extern const char* const REFUSE;
ORVANE_API extern const char* const CONNECTIONSTATUS;
ORVANE_API extern const char* const CONTROLCOMMANDRESP;
ORVANE_API extern const char* const SYNCCONTROLPANEL;
ORVANE_API extern const char* const DeviceMetadata;
ORVANE_API extern const char* const DeviceDetails;
ORVANE_API extern const char* const DeviceSearch;
ORVANE_API extern const char* const DeviceList;
ORVANE_API extern const char* const TURNASCONTROLLER;
ORVANE_API extern const char* const STARTCONF;
ORVANE_API extern const char* const REJECTCONF;
ORVANE_API extern const char* const LEAVECONF;
ORVANE_API extern const char* const ENDCONF;
ORVANE_API extern const char* const NOTIFY;
ORVANE_API extern const char* const SHAREDLINK;
ORVANE_API extern const char* const UPDATEDEVICENAME;
ORVANE_API extern const char* const UPDATEGUESTNAME;
ORVANE_API extern const char* const DEVICEMGR_EXTENSION;
}  // namespace CONF

// Notification names given to ConfSDK::Listener::onConfNotify, and failure
// reasons carried in the "type" of an exception object.
namespace CONFNOTIFY {
ORVANE_API extern const char* const ENPOINTCHANGED;
ORVANE_API extern const char* const CANCELED;
ORVANE_API extern const char* const RECV_INVITE;
ORVANE_API extern const char* const DEVICE_NAME_CHANGED;
ORVANE_API extern const char* const INTERNAL_EXCEPTION_IN_MEETING;
ORVANE_API extern const char* const EXCEPTION_IN_MEETING;
ORVANE_API extern const char* const CONF_EVENT_REASON;
ORVANE_API extern const char* const NEED_PASSCODE;
ORVANE_API extern const char* const DO_INTERNAL_TASK_MUST_IN_UI_THREAD;
ORVANE_API extern const char* const REGINFO;
ORVANE_API extern const char* const HOSTREQUEST;
// The call server has not answered REGISTER within "waitedSeconds":
// {"unanswered": n, "waitedSeconds": s}. The device is not registered; the
// library sends REGISTER again at once and waits longer each time (10 s,
// 20 s, 40 s, then every minute). "confsdknotify_callsignal_ok" tells that
// the device is registered.
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

ORVANE_API extern const char* const EXCPT_REASON_SRV_NO_ACCEPTED_AFTER_CLIENT_INVITE;
ORVANE_API extern const char* const EXCPT_REASON_TIMEOUT_ON_JOIN;
ORVANE_API extern const char* const EXCPT_REASON_RECV_ERROR_FROM_SERVER;
ORVANE_API extern const char* const EXCPT_REASON_COMMUNICATE_FAILED_WITH_AVSERVER;
ORVANE_API extern const char* const EXCPT_REASON_CONF_LOCKED;
ORVANE_API extern const char* const EXCPT_REASON_CONF_NETWORK_ERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_RECONNECT_ERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_MMR_ERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_PASSWORD_ERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_SESSION_ERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_OVER;
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_NOT_START;
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_NOT_EXIST;
ORVANE_API extern const char* const EXCPT_REASON_CONF_USER_FULL;
ORVANE_API extern const char* const EXCPT_REASON_CONF_CLIENT_INCOMPATIBLE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_NO_MMR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_LOCKED_STATUS;
ORVANE_API extern const char* const EXCPT_REASON_CONF_MEETING_RESTRICTED;
ORVANE_API extern const char* const EXCPT_REASON_CONF_RESTRICTED_JBH;
ORVANE_API extern const char* const EXCPT_REASON_CONF_EMIT_WEBREQUEST;
ORVANE_API extern const char* const EXCPT_REASON_CONF_CANNOT_START_TOKENEXPIRE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_SESSION_VIDEO_ERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_SESSION_AUDIO_AUTOSTARTERR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_FULL;
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_HOSTREGISTER;
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_PANELISTREGISTER;
ORVANE_API extern const char* const EXCPT_REASON_CONF_REGISTERWEBINAR_DENIED_EMAIL;
ORVANE_API extern const char* const EXCPT_REASON_CONF_ENFORCE_LOGIN;
ORVANE_API extern const char* const EXCPT_REASON_CONF_ZC_CERTIFICATE_CHANGED;
ORVANE_API extern const char* const EXCPT_REASON_CONF_VANITY_NOT_EXIST;
ORVANE_API extern const char* const EXCPT_REASON_CONF_JOIN_WEBINAR_WITHSAMEEMAIL;
ORVANE_API extern const char* const EXCPT_REASON_CONF_DISALLOW_HOST_MEETING;
ORVANE_API extern const char* const EXCPT_REASON_CONF_WRITE_CONFIG_FILE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FORBID_TO_JOIN_INTERNAL_MEETING;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_REMOVED_BY_HOST;
ORVANE_API extern const char* const EXCPT_REASON_CONF_NO_INVITATION_INFORMATION;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INVALID_ARGUMENTS;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INVALID_USERTYPE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_IN_ANOTHER_MEETING;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_TOO_FREQUENCE_CALL;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_WRONG_USAGE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_USE_API_FAILED;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_BASE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_SETERROR;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_MAXIMUMNUM;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_SAVEIMAGE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_REMOVENONE;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_NOSUPPORT;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_VB_GREENSCREEN_NOSUPPORT;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INCORRECT_MEETING_NUMBER;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_FAIL_TIMEOUT;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_FAIL_WEBSERVICE_FAILED;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_EXIT_WHEN_WAITING_HOSTSTART;
ORVANE_API extern const char* const EXCPT_REASON_CONF_FAIL_INVALID_STATUS;
ORVANE_API extern const char* const EXCPT_REASON_JOIN_MEETING_FAILED;
}  // namespace CONFNOTIFY

}  // namespace ORVANE
