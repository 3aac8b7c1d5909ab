// The call signals this client sends. REGISTER, UNREGISTER, INVITE and BYE
// are written afresh; ACK, ACCEPTED, OK, UPDATE and ERROR are the last signal
// the server sent, changed, so that everything the server put in it goes
// back to it.
//
// Values are placed with the JSON library, not pasted into text: a passcode
// or a display name with a quotation mark or a backslash reaches the server
// as the user typed it, and no value can overflow anything.
#include <algorithm>
#include <cstring>

#include "callid.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

const char* const kCseq = "123456789 ";

json header(const std::string& from, const json& to, const std::string& callId, const std::string& method) {
    return json{{"from", {{"dialNumber", from}}}, {"to", to}, {"cseq", kCseq + method}, {"callId", callId}};
}

}  // namespace

void OrvaneSDKPrivate::storeCallId(const std::string& id) {
    std::memset(_conf.callid, 0, sizeof _conf.callid);
    std::memcpy(_conf.callid, id.data(), std::min(id.size(), sizeof _conf.callid - 1));
}

void OrvaneSDKPrivate::sendSignal(const char* type, const std::string& text) { control->sendCommand(type, text); }

int OrvaneSDKPrivate::callserver_register() {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_register");
    LOG_DEBUG("Send REGISTER");
    const std::string callId = newCallId();
    storeCallId(callId);
    json signal = {{"startLine", {{"command", SIGNAL::REGISTER}}},
                   {"signalHeader", header(my_dial_num, json::object(), callId, SIGNAL::REGISTER)},
                   {"signalBody", {{"SdpParameters", json::object()}}}};
    signal["signalHeader"]["contact"] = json::object();
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    sendSignal(SIGNAL::REGISTER, text);
    return 0;
}

int OrvaneSDKPrivate::callserver_unregister() {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_unregister");
    LOG_DEBUG("Send UN-REGISTER");
    const std::string callId = newCallId();
    storeCallId(callId);
    json signal = {{"startLine", {{"command", SIGNAL::UNREGISTER}}},
                   {"signalHeader", header(my_dial_num, json::object(), callId, SIGNAL::UNREGISTER)},
                   {"signalBody", json::object()}};
    signal["signalHeader"]["contact"] = json::object();
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    sendSignal(SIGNAL::UNREGISTER, text);
    return 0;
}

int OrvaneSDKPrivate::callserver_invite(std::string dialnum) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_invite");
    LOG_DEBUG("Send INVITE");
    const std::string callId = newCallId();
    storeCallId(callId);
    const json signal = {
        {"startLine", {{"command", SIGNAL::INVITE}}},
        {"signalHeader", header(my_dial_num, {{"dialNumber", dialnum}}, callId, SIGNAL::INVITE)},
        {"signalBody", {{"joinPassword", _conf.passcode}, {"deviceName", _conf.dispname}, {"force", _conf.force}}}};
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    sendSignal(SIGNAL::INVITE, text);
    return 0;
}

int OrvaneSDKPrivate::callserver_bye(const std::string& dialnum) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_bye");
    LOG_DEBUG("Send BYE, dialnum={}", dialnum);
    // BYE has an identifier of its own; the call keeps the one it had.
    json signal = {{"startLine", {{"command", SIGNAL::BYE}}},
                   {"signalHeader", header(my_dial_num, {{"dialNumber", _conf.dialnum}}, newCallId(), SIGNAL::BYE)},
                   {"signalBody", json::object()}};
    json contact;  // null when the saved signal has none
    if (_conf.signal.is_object()) {
        auto h = _conf.signal.find("signalHeader");
        if (h != _conf.signal.end() && h->is_object()) {
            auto c = h->find("contact");
            if (c != h->end()) contact = *c;
        }
    }
    signal["signalHeader"]["contact"] = contact;
    const std::string text = CtrlSDKUtils::dump(signal);
    LOG_DEBUG("payload={}", text);
    sendSignal(SIGNAL::BYE, text);

    resetConference();
    return 0;
}

int OrvaneSDKPrivate::callserver_ack() {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_ack");
    LOG_DEBUG("Send ACK, avsdk userid={}", _conf.engine_userid);
    _conf.signal["startLine"]["command"] = SIGNAL::ACK;
    _conf.signal["signalHeader"]["cseq"] = std::string(kCseq) + SIGNAL::ACK;
    _conf.signal["signalBody"]["externalGuid"] = _conf.engine_userid;
    sendSignal(SIGNAL::ACK, CtrlSDKUtils::dump(_conf.signal));
    return 0;
}

int OrvaneSDKPrivate::callserver_accepted(std::string dialnum) {
    (void)dialnum;
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_accepted");
    LOG_DEBUG("Send ACCEPTED, avsdk userid={}", _conf.engine_userid);
    _conf.signal["startLine"]["command"] = SIGNAL::ACCEPTED;
    _conf.signal["signalBody"]["externalGuid"] = _conf.engine_userid;
    sendSignal(SIGNAL::ACCEPTED, CtrlSDKUtils::dump(_conf.signal));
    return 0;
}

int OrvaneSDKPrivate::callserver_ok(const std::string& av_userid) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_ok");
    LOG_DEBUG("Send OK");
    _conf.signal["startLine"]["command"] = SIGNAL::OK;
    _conf.signal["signalBody"]["externalGuid"] = av_userid;
    sendSignal(SIGNAL::OK, CtrlSDKUtils::dump(_conf.signal));
    return 0;
}

int OrvaneSDKPrivate::callserver_update(const std::string& av_userid) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_update");
    LOG_DEBUG("Send UPDATE, av_userid={}, _conf.engine_userid={}\n", av_userid, _conf.engine_userid);
    _conf.signal["startLine"]["command"] = SIGNAL::UPDATE;
    _conf.signal["startLine"]["statusCode"] = nullptr;
    _conf.signal["signalHeader"]["cseq"] = std::string(kCseq) + SIGNAL::UPDATE;
    _conf.signal["signalBody"]["externalGuid"] = av_userid;
    sendSignal(SIGNAL::UPDATE, CtrlSDKUtils::dump(_conf.signal));
    return 0;
}

int OrvaneSDKPrivate::callserver_error(int code, const std::string& message) {
    LOG_DEBUG("{}:{}() enter", "confsdk", "callserver_error");
    LOG_DEBUG("Send ERROR, err code ={}", code);
    json signal = _conf.signal;
    signal["startLine"] = {{"command", SIGNAL::ERROR}, {"statusCode", {{"code", code}, {"message", message}}}};
    sendSignal(SIGNAL::ERROR, CtrlSDKUtils::dump(signal));
    return 0;
}
