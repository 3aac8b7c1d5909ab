#pragma once

#include <chrono>
#include <string>
#include <thread>

#include "harness.h"
#include "server_events.h"

namespace orvtest {

// A registered client in idle on a harness, with the helpers to play the
// call server and the engine through a call.
struct CallFixture {
    explicit CallFixture(const std::string& platform = "QC") : h(platform) {
        h.initMedia(platform);
        {
            ORVANE::CallLock lock(h.sdk->callMutex());
            h.sdk->my_dial_num = "1001";
            h.sdk->device_id = "dev-me";
        }
        h.setState(AVSTATE_IDLE);
    }

    // The last call signal on the wire, or null.
    json lastSignal() {
        const auto sent = h.trans.sent();
        for (auto it = sent.rbegin(); it != sent.rend(); ++it) {
            json s = signalIn(*it);
            if (s.is_object()) return s;
        }
        return json();
    }
    static json signalIn(const std::string& wire) {
        const json j = json::parse(wire, nullptr, false);
        if (!j.is_object() || !j.contains("params") || !j["params"][0].contains("payload") ||
            !j["params"][0]["payload"].is_object())
            return json();
        return j["params"][0]["payload"];
    }
    // The start lines of every call signal sent so far.
    std::vector<std::string> signalsSent() {
        std::vector<std::string> out;
        for (const auto& w : h.trans.sent()) {
            const json s = signalIn(w);
            if (s.is_object()) out.push_back(s["startLine"]["command"]);
        }
        return out;
    }
    std::string callid() {
        ORVANE::CallLock lock(h.sdk->callMutex());
        return h.sdk->_conf.callid;
    }

    // "startconf", then the server's ACCEPTED for the INVITE it sent.
    void startAndAccept(const std::string& extDialNumber = "99001", const std::string& confid = "conf-1") {
        h.sdk->sendCommand("startconf",
                           R"({"conferenceDialNumber":"8001","passcode":"4711","dispname":"Ann","conferenceId":")" +
                               confid + R"("})");
        accept(extDialNumber, confid);
    }
    void accept(const std::string& extDialNumber, const std::string& confid = "conf-1") {
        const json invite = lastSignal();
        json accepted = invite;
        accepted["startLine"]["command"] = "ACCEPTED";
        accepted["signalHeader"]["contact"] = {{"route", "cm-1"}};
        accepted["signalBody"] = {{"conferenceId", confid}};
        if (!extDialNumber.empty()) accepted["signalBody"]["externalDialNumber"] = extDialNumber;
        deliverEvent(h.trans, "callmaster_event", accepted);
    }
    // The server's signal of this call: same call id and parties as the
    // saved one.
    json serverSignal(const std::string& command, const std::string& cseqMethod, json body) {
        json s = callSignal(command, cseqMethod, callid(), std::move(body));
        return s;
    }
    void serverSends(const json& signal) { deliverEvent(h.trans, "callmaster_event", signal); }
    json byeFor(const std::string& confid, const std::string& code = "CONFERENCE_ENDED") {
        return serverSignal("BYE", "BYE", {{"conferenceId", confid}, {"signalMessage", {{"messageCode", code}}}});
    }
    void engineSays(const std::string& cmd, const json& data) {
        h.engine.emit("MeetingServiceEvent", cmd, data.is_null() ? std::string() : data.dump());
    }
    void connected(const std::string& userid, bool isHost = false) {
        engineSays("onCallConnected", {{"userid", userid}, {"is_host", isHost}});
    }
    // Waits until the application has heard `type`.
    bool heard(const std::string& type) { return h.app.waitFor(type); }

    Harness h;
};

}  // namespace orvtest
