#include "ctrlsdk_utils.h"

#include <charconv>
#include <cstdint>
#include <cstring>

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

namespace {

// For each byte: 0 written as it is, 1 escaped, 2 not ASCII.
struct ByteKinds {
    unsigned char kind[256] = {};
    constexpr ByteKinds() {
        for (int c = 0; c < 0x20; ++c) kind[c] = 1;
        kind[static_cast<unsigned char>('"')] = 1;
        kind[static_cast<unsigned char>('\\')] = 1;
        for (int c = 0x80; c < 0x100; ++c) kind[c] = 2;
    }
};
constexpr ByteKinds kByteKinds;

// Whether any of the eight bytes of `word` is one that a JSON string cannot
// carry as it is: below 0x20, '"', '\\', or not ASCII. Exact, never a false
// alarm, so a word that passes is copied without a look at its bytes.
bool needsEscape(std::uint64_t word) {
    constexpr std::uint64_t kOnes = 0x0101010101010101ULL;
    constexpr std::uint64_t kHighs = 0x8080808080808080ULL;
    const auto hasZero = [](std::uint64_t x) { return (x - kOnes) & ~x & kHighs; };
    const std::uint64_t control = (word - kOnes * 0x20) & ~word & kHighs;
    return ((control | hasZero(word ^ (kOnes * '"')) | hasZero(word ^ (kOnes * '\\'))) | (word & kHighs)) != 0;
}

// The length of the leading part of `text` that needs no escape.
size_t plainPrefix(std::string_view text) {
    size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, sizeof word);
        if (needsEscape(word)) break;
    }
    while (i < text.size() && kByteKinds.kind[static_cast<unsigned char>(text[i])] == 0) ++i;
    return i;
}

}  // namespace

bool isPlainJsonText(std::string_view text) { return plainPrefix(text) == text.size(); }

void appendJsonString(std::string& out, std::string_view text) {
    // Most texts need no escape: find the first byte that does, and copy
    // what comes before it in one piece.
    size_t i = plainPrefix(text);
    if (i == text.size()) {
        out.reserve(out.size() + text.size() + 2);
        out += '"';
        out.append(text.data(), text.size());
        out += '"';
        return;
    }
    const size_t start = out.size();
    out.reserve(start + text.size() + 8);
    out += '"';
    size_t plain = 0;  // start of the run not yet copied
    for (; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const unsigned char kind = kByteKinds.kind[c];
        if (kind == 0) continue;
        if (kind == 2) {
            // Bytes above ASCII go to the JSON library with the whole text,
            // so that what is not UTF-8 is replaced as dump does.
            out.resize(start);
            out += dump(json(std::string(text)));
            return;
        }
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
            default: {
                static const char kHex[] = "0123456789abcdef";
                const char escape[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xf]};
                out.append(escape, sizeof escape);
            }
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
