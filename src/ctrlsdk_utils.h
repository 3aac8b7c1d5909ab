#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CtrlSDKUtils {

using json = nlohmann::json;

// A string of an object, or the default when the value is not an object, the
// key is missing or its value is null. A value of another type throws
// json::type_error, as a plain read would.
std::string safeString(const json& j, const char* key, const std::string& def = "");
bool safeBool(const json& j, const char* key, bool def = false);

// Splits at one character; a trailing piece counts, so "a/b/" gives a, b, "".
std::vector<std::string> split(const std::string& text, char sep);

// The library's JSON text: compact, UTF-8 left as it is, keys in ascending
// byte order. Bytes that are not UTF-8 become U+FFFD instead of throwing.
std::string dump(const json& j);

// Appends `text` as a JSON string, quoted and escaped exactly as dump writes
// it, for messages written straight from their parts.
void appendJsonString(std::string& out, std::string_view text);
// Whether `text` goes into a JSON string as it is, between its quotes.
bool isPlainJsonText(std::string_view text);

// Parses without exceptions; text that does not parse gives a discarded value.
json parseQuiet(const std::string& text);

// An engine user id as the number the servers take; none when the text is
// not a whole decimal number that fits.
std::optional<long long> userIdNumber(const std::string& userid);

// A message the servers take as it stands: one element of `type` carrying
// `payload`, in the method envelope.
json methodMessage(const char* type, json payload);

}  // namespace CtrlSDKUtils
