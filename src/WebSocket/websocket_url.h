#pragma once

#include <chrono>
#include <string>

namespace ORVANE {
namespace detail {

// A WebSocket address taken apart.
struct WebSocketUrl {
    bool tls = false;
    std::string host;          // without the brackets of an IPv6 literal
    std::string port;          // "80" or "443" when the URL names none
    std::string target = "/";  // the path and query the handshake asks for
};

// Reads "ws://HOST[:PORT][/PATH]" or "wss://...". False, with `out` as it
// was, for anything else: another scheme, no host, a port that is no number
// from 1 to 65535, text after an IPv6 literal's bracket that is no port.
bool parseWebSocketUrl(const std::string& text, WebSocketUrl& out);

// The pause before reconnect attempt `attempt` (0 for the first after a
// drop): `initial` doubled per attempt, at most `max`, then cut by
// `jitter` times `random01` (a number in [0, 1)) of itself.
std::chrono::milliseconds backoffDelay(std::chrono::milliseconds initial, std::chrono::milliseconds max,
                                       double jitter, unsigned attempt, double random01);

}  // namespace detail
}  // namespace ORVANE
