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

void appendJsonString(std::string& out, std::string_view text) {
    // Printable ASCII is written here; a text with bytes above it goes to the
    // JSON library whole, so that what is not UTF-8 is replaced as dump does.
    for (unsigned char c : text) {
        if (c >= 0x80) {
            out += dump(json(std::string(text)));
            return;
        }
    }
    static const char kHex[] = "0123456789abcdef";
    out += '"';
    size_t plain = 0;  // start of the run not yet copied
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\') continue;
        out.append(text.data() + plain, i - plain);
        plain = i + 1;
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\b': out += "\\b"; break;
            case '\f': out += "\\f"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                out += "\\u00";
                out += kHex[c >> 4];
                out += kHex[c & 0xf];
        }
    }
    out.append(text.data() + plain, text.size() - plain);
    out += '"';
}

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
