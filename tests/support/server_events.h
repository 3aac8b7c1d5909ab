#pragma once

#include <nlohmann/json.hpp>

#include <string>

#include "fake_transport.h"

namespace orvtest {

using json = nlohmann::json;

// A server event as the transport delivers it: `kind` is the second part of
// the event name, `element` the event object (args[0]).
inline std::string serverEvent(const std::string& kind, const json& element) {
    return json{{"msg", "changed"},
                {"collection", "stream-quelmar-notify-device"},
                {"fields", {{"eventName", "0/" + kind}, {"args", json::array({element})}}}}
        .dump();
}

// The device registration of a "QV" terminal whose media password is
// "secret".
inline json deviceRegister(const std::string& platform = "QV") {
    return json{{"event", "device_register"}, {"deviceId", "dev-1"},     {"serialNumber", "SN-1"},
                {"dialNumber", "1001"},       {"deviceName", "Room A"},  {"deviceType", "terminal"},
                {"regUserId", "u-9"},         {"regUserName", "Ann"},    {"isMeetingRoomDevice", true},
                {"mediaPlatform", platform},  {"qvUserName", "qvuser"},  {"qvPassword", "c2VjcmV0"},
                {"qvHostAddress", "h"},       {"qvJwt", "j"}};
}

// A call signal from the call server.
inline json callSignal(const std::string& command, const std::string& cseqMethod, const std::string& callId,
                       const json& body = json::object()) {
    return json{{"startLine", {{"command", command}}},
                {"signalHeader",
                 {{"from", {{"dialNumber", "2002"}}},
                  {"to", {{"dialNumber", "1001"}}},
                  {"cseq", "123456789 " + cseqMethod},
                  {"callId", callId},
                  {"contact", {{"route", "cm-1"}}}}},
                {"signalBody", body}};
}

inline json errorSignal(const std::string& cseqMethod, const std::string& callId, int code) {
    json e = callSignal("ERROR", cseqMethod, callId);
    e["startLine"]["statusCode"] = {{"code", code}, {"message", "m"}};
    return e;
}

inline void deliverEvent(FakeTransport& trans, const std::string& kind, const json& element) {
    trans.deliver(serverEvent(kind, element));
}

}  // namespace orvtest
