#include "ctrlsdk_utils.h"

#include <charconv>

namespace CtrlSDKUtils {

std::string safeString(const json& j, const char* key, const std::string& def) {
    if (!j.is_object()) return def;
    auto it = j.find(key);
    if (it == j.end() || it->is_null()) return def;
    return it->get<std::string>();
}

bool safeBool(const json& j, const char* key, bool def) {
    if (!j.is_object()) return def;
    auto it = j.find(key);
    if (it == j.end() || it->is_null()) return def;
    return it->get<bool>();
}

std::vector<std::string> split(const std::string& text, char sep) {
    std::vector<std::string> parts;
    std::string::size_type start = 0;
    for (;;) {
        auto pos = text.find(sep, start);
        if (pos == std::string::npos) {
            parts.push_back(text.substr(start));
            return parts;
        }
        parts.push_back(text.substr(start, pos - start));
        start = pos + 1;
    }
}

std::string dump(const json& j) { return j.dump(-1, ' ', false, json::error_handler_t::replace); }

json parseQuiet(const std::string& text) { return json::parse(text, nullptr, false); }

std::optional<long long> userIdNumber(const std::string& userid) {
    long long id = 0;
    const char* end = userid.data() + userid.size();
    const auto parsed = std::from_chars(userid.data(), end, id);
    if (userid.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
    return id;
}

json methodMessage(const char* type, json payload) {
    return {{"id", "id"},
            {"method", "quelmar"},
            {"msg", "method"},
            {"params", json::array({{{"payload", std::move(payload)}, {"type", type}}})}};
}

}  // namespace CtrlSDKUtils
