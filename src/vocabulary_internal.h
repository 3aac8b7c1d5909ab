#pragma once

// Words of the library that the application never sees as constants.
namespace ORVANE {

// The second part of a server event's name.
namespace EVENT {
inline constexpr const char* CONFMANAGER = "confmanager_event";
inline constexpr const char* CALLMASTER = "callmaster_event";
inline constexpr const char* DEVICEMGR = "devicemgr_event";
}  // namespace EVENT

// Call signal commands.
namespace SIGNAL {
inline constexpr const char* REGISTER = "REGISTER";
inline constexpr const char* UNREGISTER = "UNREGISTER";
inline constexpr const char* INVITE = "INVITE";
inline constexpr const char* CONNECTING = "CONNECTING";
inline constexpr const char* ACCEPTED = "ACCEPTED";
inline constexpr const char* ACK = "ACK";
inline constexpr const char* UPDATE = "UPDATE";
inline constexpr const char* RINGING = "RINGING";
inline constexpr const char* BYE = "BYE";
inline constexpr const char* OK = "OK";
inline constexpr const char* ERROR = "ERROR";
}  // namespace SIGNAL

// Notification without an exported constant: the call server took REGISTER.
inline constexpr const char* NOTIFY_CALLSIGNAL_OK = "confsdknotify_callsignal_ok";

// The keys of the two media platforms.
namespace PLATFORM {
inline constexpr const char *QV = "QV", *QC = "QC";
}  // namespace PLATFORM

// User ids that stand for this client while the engine has given it none:
// waiting for the host, in the waiting room, in the lobby.
namespace PSEUDO_USERID {
inline constexpr const char *WAITING_FOR_HOST = "-1", *WAITING_ROOM = "-2", *LOBBY = "-3";
}  // namespace PSEUDO_USERID

}  // namespace ORVANE
