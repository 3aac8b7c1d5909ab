// Values are placed with the JSON library, not pasted into text: a passcode
// or a display name with a quotation mark or a backslash reaches the server
// as the user typed it, and no value can overflow anything.
#include "CallSignal/call_signals.h"

#include <algorithm>
#include <cstring>

#include "CallSignal/callid.h"
#include "ctrlsdk_utils.h"
#include "device_identity.h"
#include "logger.h"
#include "orvaneconference.h"
#include "vocabulary_internal.h"

namespace ORVANE {

using json = nlohmann::json;

namespace {

// The sequence number is constant; only the method word after it is read.
const char* const kCseq = "123456789 ";

json header(const std::string& from, const json& to, const std::string& callId, const std::string& method) {
    return json{{"from", {{"dialNumber", from}}}, {"to", to}, {"cseq", kCseq + method}, {"callId", callId}};
}

}  // namespace

CallSignalSender::CallSignalSender(OrvaneConference& conf, const DeviceIdentity& identity, OrvaneControlSDk_private& control,
                                   std::function<void()> closeCall)
    : conf_(conf), identity_(identity), control_(control), closeCall_(std::move(closeCall)) {}

void CallSignalSender::storeCallId(const std::string& id) {
    std::memset(conf_.callid, 0, sizeof conf_.callid);
    std::memcpy(conf_.callid, id.data(), std::min(id.size(), sizeof conf_.callid - 1));
}

void CallSignalSender::send(const char* type, const std::string& text) { control_.sendCallSignal(type, text); }

int CallSignalSender::sendRegistration(const char* command, json body) {
    const std::string callId = newCallId();
    storeCallId(callId);
    json signal = {{"startLine", {{"command", command}}},
                   {"signalHeader", header(identity_.dialNumber(), json::object(), callId, command)},
                   {"signalBody", std::move(body)}};
    signal["signalHeader"]["contact"] = json::object();
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    send(command, text);
    return 0;
}

int CallSignalSender::callserver_register() {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_register");
    LOG_DEBUG("Send REGISTER");
    // Capital S here, while the server's signals say "sdpParameters".
    return sendRegistration(SIGNAL::REGISTER, {{"SdpParameters", json::object()}});
}

int CallSignalSender::callserver_invite(std::string dialnum) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_invite");
    LOG_DEBUG("Send INVITE");
    const std::string callId = newCallId();
    storeCallId(callId);
    const json signal = {
        {"startLine", {{"command", SIGNAL::INVITE}}},
        {"signalHeader", header(identity_.dialNumber(), {{"dialNumber", dialnum}}, callId, SIGNAL::INVITE)},
        {"signalBody", {{"joinPassword", conf_.passcode}, {"deviceName", conf_.dispname}, {"force", conf_.force}}}};
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    send(SIGNAL::INVITE, text);
    return 0;
}

int CallSignalSender::callserver_bye(const std::string& dialnum) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_bye");
    LOG_DEBUG("Send BYE, dialnum={}", dialnum);
    // BYE has an identifier of its own; the call keeps the one it had.
    json signal = {
        {"startLine", {{"command", SIGNAL::BYE}}},
        {"signalHeader", header(identity_.dialNumber(), {{"dialNumber", conf_.dialnum}}, newCallId(), SIGNAL::BYE)},
        {"signalBody", json::object()}};
    json contact;  // null when the saved signal has none
    if (conf_.signal.is_object()) {
        auto h = conf_.signal.find("signalHeader");
        if (h != conf_.signal.end() && h->is_object()) {
            auto c = h->find("contact");
            if (c != h->end()) contact = *c;
        }
    }
    signal["signalHeader"]["contact"] = contact;
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    send(SIGNAL::BYE, text);
    closeCall_();
    return 0;
}

int CallSignalSender::callserver_ack() {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_ack");
    LOG_DEBUG("Send ACK, avsdk userid={}", conf_.engine_userid);
    conf_.signal["startLine"]["command"] = SIGNAL::ACK;
    conf_.signal["signalHeader"]["cseq"] = std::string(kCseq) + SIGNAL::ACK;
    conf_.signal["signalBody"]["externalGuid"] = conf_.engine_userid;
    send(SIGNAL::ACK, CtrlSDKUtils::dump(conf_.signal));
    return 0;
}

int CallSignalSender::callserver_accepted(std::string /*dialnum*/) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_accepted");
    LOG_DEBUG("Send ACCEPTED, avsdk userid={}", conf_.engine_userid);
    conf_.signal["startLine"]["command"] = SIGNAL::ACCEPTED;
    conf_.signal["signalBody"]["externalGuid"] = conf_.engine_userid;
    send(SIGNAL::ACCEPTED, CtrlSDKUtils::dump(conf_.signal));
    return 0;
}

int CallSignalSender::callserver_ok(const std::string& av_userid) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_ok");
    LOG_DEBUG("Send OK");
    conf_.signal["startLine"]["command"] = SIGNAL::OK;
    conf_.signal["signalBody"]["externalGuid"] = av_userid;
    send(SIGNAL::OK, CtrlSDKUtils::dump(conf_.signal));
    return 0;
}

int CallSignalSender::callserver_update(const std::string& av_userid) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_update");
    LOG_DEBUG("Send UPDATE, av_userid={}, _conf.engine_userid={}\n", av_userid, conf_.engine_userid);
    conf_.signal["startLine"]["command"] = SIGNAL::UPDATE;
    conf_.signal["startLine"]["statusCode"] = nullptr;
    conf_.signal["signalHeader"]["cseq"] = std::string(kCseq) + SIGNAL::UPDATE;
    conf_.signal["signalBody"]["externalGuid"] = av_userid;
    send(SIGNAL::UPDATE, CtrlSDKUtils::dump(conf_.signal));
    return 0;
}

int CallSignalSender::callserver_error(int code, const std::string& message) {
    return callserver_error_to(conf_.signal, code, message);
}

int CallSignalSender::callserver_error_to(const json& answered, int code, const std::string& message) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_error");
    LOG_DEBUG("Send ERROR, err code ={}", code);
    json signal = answered;
    signal["startLine"] = {{"command", SIGNAL::ERROR}, {"statusCode", {{"code", code}, {"message", message}}}};
    send(SIGNAL::ERROR, CtrlSDKUtils::dump(signal));
    return 0;
}

}  // namespace ORVANE
