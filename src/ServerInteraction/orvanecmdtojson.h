#pragma once

#include <functional>
#include <string>
#include <string_view>

// The REST requests of the conference manager and the device manager, one
// builder per command. Each builder reads the command's JSON text and gives
// back the finished wire text for the transport: the method message whose
// "params" carry the verb, the url with its query, and the body as text. The
// builders and the control channel's routing are made from one table of the
// commands, rest_commands.def.
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

// Builds the wire text of one REST command from (type, data).
using RestBuilder = std::function<std::string(const std::string& type, const std::string& data)>;

// The builder the control channel uses for `type`, or an empty function for a
// type it does not send (unknown types, and those with a builder that the
// channel does not send: the layout and room-creation commands).
RestBuilder restBuilderFor(const std::string& type);

// The outgoing method message of a REST request, compact with sorted keys.
// Written in the url's own buffer when it has the room.
std::string restEnvelope(std::string_view id, std::string url, std::string_view verb, std::string_view payload);

// The builders, one a row of rest_commands.def by the name in its first
// column: conf_ping, conf_info, ..., devicemgr_put_extension.
//   std::string builder(const std::string& data)                           where the row takes Data;
//   std::string builder(const std::string& type, const std::string& data)  where it takes Type.
#define ORVANE_REST_DECLARE_Data(builder) std::string builder(const std::string& data);
#define ORVANE_REST_DECLARE_Type(builder) std::string builder(const std::string& type, const std::string& data);
#define REST_COMMAND(builder, takes, ...) ORVANE_REST_DECLARE_##takes(builder)
#include "rest_commands.def"
#undef REST_COMMAND
#undef ORVANE_REST_DECLARE_Type
#undef ORVANE_REST_DECLARE_Data

}  // namespace OrvaneCmdToJson
}  // namespace CtrlSDKUtils
