#include "websocket_url.h"

#include <algorithm>
#include <cctype>

namespace ORVANE {
namespace detail {

namespace {

bool isPort(const std::string& text) {
    if (text.empty() || text.size() > 5) return false;
    if (!std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; })) return false;
    const long value = std::stol(text);
    return value >= 1 && value <= 65535;
}

}  // namespace

bool parseWebSocketUrl(const std::string& text, WebSocketUrl& out) {
    WebSocketUrl url;
    std::string rest;
    if (text.rfind("ws://", 0) == 0) {
        rest = text.substr(5);
    } else if (text.rfind("wss://", 0) == 0) {
        url.tls = true;
        rest = text.substr(6);
    } else {
        return false;
    }
    const auto slash = rest.find_first_of("/?");
    std::string authority = rest.substr(0, slash);
    if (slash != std::string::npos) {
        url.target = rest.substr(slash);
        if (url.target[0] == '?') url.target.insert(0, "/");
    }
    std::string port;
    if (!authority.empty() && authority[0] == '[') {
        const auto close = authority.find(']');
        if (close == std::string::npos) return false;
        url.host = authority.substr(1, close - 1);
        const std::string after = authority.substr(close + 1);
        if (!after.empty()) {
            if (after[0] != ':') return false;
            port = after.substr(1);
            if (!isPort(port)) return false;
        }
    } else {
        const auto colon = authority.find(':');
        url.host = authority.substr(0, colon);
        if (colon != std::string::npos) {
            port = authority.substr(colon + 1);
            if (!isPort(port)) return false;
        }
    }
    if (url.host.empty() || url.host.find('@') != std::string::npos) return false;
    url.port = port.empty() ? (url.tls ? "443" : "80") : port;
    out = url;
    return true;
}

std::chrono::milliseconds backoffDelay(std::chrono::milliseconds initial, std::chrono::milliseconds max,
                                       double jitter, unsigned attempt, double random01) {
    const double cap = static_cast<double>(std::max(max, initial).count());
    double pause = static_cast<double>(initial.count());
    // Doubling stops at the cap, so no attempt count can overflow it.
    for (unsigned i = 0; i < attempt && pause < cap; ++i) pause *= 2;
    pause = std::min(pause, cap);
    jitter = std::clamp(jitter, 0.0, 1.0);
    random01 = std::clamp(random01, 0.0, 1.0);
    return std::chrono::milliseconds(static_cast<long long>(pause * (1.0 - jitter * random01)));
}

}  // namespace detail
}  // namespace ORVANE
