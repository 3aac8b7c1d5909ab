#pragma once

#include <string>

// The REST requests of the conference manager and the device manager, one
// builder per command. Each builder reads the command's JSON text and gives
// back the finished wire text for the transport: the method message whose
// "params" carry the verb, the url with its query, and the body as text.
//
// Every builder:
// - gives an empty string when no request can be built: a required key is
//   missing, or the text does not parse (which counts as having no keys);
// - lets a nlohmann::json::exception (a type_error in practice) leave it when
//   a key it reads holds the wrong JSON type, "version" included; the control
//   channel catches and logs it. SEARCH's "history" and "future" are the
//   exception: they are tested first, and a value that is not a string is
//   skipped;
// - treats a required key whose value is null as present, so it raises the
//   type error rather than giving an empty string;
// - puts values into the url unescaped: strings as they are, bools as "1"
//   or "0", integers in decimal.
//
// Builders keep no state but the identity below, take no lock but its own,
// and may run on any thread.
namespace CtrlSDKUtils {
namespace OrvaneCmdToJson {

// The local identity read by conf_search, room_search and
// devicemgr_put_extension. Written from the transport's thread; builders read
// a copy. deviceName and reserved are accepted for the caller's convenience
// and not kept.
void setCmdIdentity(bool isMeetingRoomDevice, const std::string& deviceId, const std::string& deviceName,
                    const std::string& userId, const std::string& reserved);

// The outgoing method message of a REST request, compact with sorted keys.
std::string restEnvelope(const std::string& id, const std::string& url, const std::string& verb,
                         const std::string& payload);

// Conferences.
std::string conf_ping(const std::string& data);
std::string conf_info(const std::string& data);
std::string conf_short_info(const std::string& data);
std::string conf_search(const std::string& type, const std::string& data);
std::string conf_create(const std::string& data);
std::string conf_update(const std::string& data);
std::string conf_delete(const std::string& data);
std::string conf_extend(const std::string& data);
std::string conf_info_by_dialnum(const std::string& data);
std::string conf_turn_as_controller(const std::string& data);
std::string conf_prerecord(const std::string& data);
std::string conf_calendar_preview(const std::string& data);
std::string conf_syncdata(const std::string& data);
std::string conf_change_invite_mode(const std::string& data);
std::string conf_shared_link(const std::string& data);
std::string conf_update_guest_name(const std::string& data);

// Meeting rooms and local rooms.
std::string room_search(const std::string& type, const std::string& data);
std::string room_available(const std::string& data);
std::string room_shared_link(const std::string& data);
std::string room_info(const std::string& data);
std::string room_create(const std::string& data);
std::string room_update(const std::string& data);
std::string room_delete(const std::string& data);
std::string room_owner(const std::string& data);
std::string local_room_detail(const std::string& data);
std::string local_room_search(const std::string& data);

// Conference templates.
std::string template_detail(const std::string& data);
std::string template_update(const std::string& data);
std::string template_create(const std::string& data);
std::string template_delete(const std::string& data);
std::string template_search(const std::string& data);

// Control of a running conference.
std::string confControl_join(const std::string& data);
std::string confControl_terminate(const std::string& data);
std::string confControl_add_participant(const std::string& data);
std::string confControl_disconnect_participant(const std::string& data);
std::string confControl_mute_audio(const std::string& data);
std::string confControl_mute_audio_local(const std::string& data);
std::string confControl_admin_allow_unmute(const std::string& data);
std::string confControl_mute_all(const std::string& data);
std::string confControl_authority(const std::string& data);
std::string confControl_reclaim_host(const std::string& data);
std::string confControl_handup(const std::string& data);
std::string confControl_sign_control(const std::string& data);
std::string confControl_signing(const std::string& data);
std::string confControl_roll_control(const std::string& data);
std::string confControl_rolling(const std::string& data);
std::string confControl_content_share(const std::string& data);
std::string confControl_endpoints(const std::string& data);
std::string confControl_legacys(const std::string& data);
std::string confControl_sync_controlpanel(const std::string& type, const std::string& data);
std::string confControl_refuse(const std::string& data);
std::string confControl_connection_status(const std::string& data);
std::string confControl_layout(const std::string& data);

// Devices.
std::string device_search(const std::string& type, const std::string& data);
std::string device_details(const std::string& type, const std::string& data);
std::string device_metadata(const std::string& type, const std::string& data);
std::string device_list(const std::string& type, const std::string& data);
std::string device_update_name(const std::string& data);
std::string devicemgr_put_extension(const std::string& data);

}  // namespace OrvaneCmdToJson
}  // namespace CtrlSDKUtils
