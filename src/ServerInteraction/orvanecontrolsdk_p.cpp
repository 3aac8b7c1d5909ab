#include "orvanecontrolsdk_p.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <unordered_map>

#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "orvanecmdtojson.h"

namespace ORVANE {

using json = nlohmann::json;

namespace {

// What the channel makes of a command; most are REST requests.
enum class Wire { Rest, Whole, SyncData, CallSignal };

Wire wireOf(const std::string& type) {
    // Every command asks: one hash instead of a row of comparisons.
    static const std::unordered_map<std::string_view, Wire> kWires = {
        {CONF::CONTROLCOMMANDRESP, Wire::Whole}, {CONF::SYNCDATA, Wire::SyncData},
        {"REGISTER", Wire::CallSignal},          {"RINGING", Wire::CallSignal},
        {"INVITE", Wire::CallSignal},            {"ACK", Wire::CallSignal},
        {"BYE", Wire::CallSignal},               {"UNREGISTER", Wire::CallSignal},
        {"CONNECTING", Wire::CallSignal},        {"ACCEPTED", Wire::CallSignal},
        {"UPDATE", Wire::CallSignal},            {"ERROR", Wire::CallSignal},
        {"OK", Wire::CallSignal},
    };
    const auto found = kWires.find(type);
    return found == kWires.end() ? Wire::Rest : found->second;
}

// Where "fileserver" is a WebSocket address, the web form of the same host.
std::string webFormOf(const std::string& fileserver) {
    if (fileserver.rfind("wss://", 0) == 0) return "https://" + fileserver.substr(6);
    if (fileserver.rfind("ws://", 0) == 0) return "http://" + fileserver.substr(5);
    return fileserver;
}

// The envelope of a call signal, around its JSON text.
std::string callSignalEnvelope(const std::string& type, const std::string& payload) {
    const std::string id = type + "_MQ_CALLMASTER";
    std::string out;
    out.reserve(96 + 2 * id.size() + payload.size());
    out += "{\"id\":";
    CtrlSDKUtils::appendJsonString(out, id);
    out += ",\"method\":\"quelmar\",\"msg\":\"method\",\"params\":[{\"id\":";
    CtrlSDKUtils::appendJsonString(out, id);
    out += ",\"payload\":";
    out += payload;
    out += ",\"type\":\"MQ_CALLMASTER\"}]}";
    return out;
}

}  // namespace

void OrvaneControlSDk_private::TextListener::onCtrlCommand(const std::string& type, const std::string& json) {
    if (ControlSDK::Listner* l = listener) l->onCtrlCommand(type, json);
}

void OrvaneControlSDk_private::TextListener::onCtrlEvent(const std::string& type, nlohmann::json& args) {
    if (ControlSDK::Listner* l = listener) l->onCtrlNotify(type, CtrlSDKUtils::dump(args));
}

void OrvaneControlSDk_private::setOrvaneTrans(TransSDK* t) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        trans = t;
    }
    if (t) t->addProcess(this);
}

void OrvaneControlSDk_private::setListener(ControlSDK::Listner* l) {
    textListener_.listener = l;
    setReceiver(l ? &textListener_ : nullptr);
}

void OrvaneControlSDk_private::setReceiver(ControlReceiver* r) {
    std::lock_guard<std::mutex> lock(mutex_);
    receiver = r;
}

std::string OrvaneControlSDk_private::wrapCallSignal(const std::string& type, const std::string& data) {
    const json payload = CtrlSDKUtils::parseQuiet(data);
    if (payload.is_discarded()) return {};
    return callSignalEnvelope(type, CtrlSDKUtils::dump(payload));
}

Refusal OrvaneControlSDk_private::buildRequest(const std::string& type, const std::string& data, std::string& text) {
    const Wire wire = wireOf(type);
    if (wire == Wire::Whole) {
        text = data;  // already a whole wire message
        return Refusal::None;
    }
    if (wire == Wire::SyncData) {
        // Only conference state is pushed to the server.
        const json j = CtrlSDKUtils::parseQuiet(data);
        if (CtrlSDKUtils::safeString(j, "synctype") != "conference")
            return refusalForData(j);
    }
    if (wire == Wire::CallSignal) {
        text = wrapCallSignal(type, data);
        if (text.empty()) {
            LOG_JSON_ERROR("call signal is not JSON", data);
            return Refusal::MalformedJson;
        }
        LOG_DEBUG("Confsdk - CallSignal dump={}", text);
        return Refusal::None;
    }
    const auto builder = CtrlSDKUtils::OrvaneCmdToJson::restBuilderFor(type);
    if (!builder) return Refusal::UnknownCommand;
    text = builder(type, data);
    return Refusal::None;
}

TransSDK* OrvaneControlSDk_private::transportFor(const std::string& type, const std::string& data) {
    TransSDK* t;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        t = trans;
        if (t != nullptr) {
            auto it = requests.find(type);
            if (it != requests.end())
                it->second = data;
            else
                requests.emplace(type, data);
        }
    }
    if (t == nullptr) LOG_ERROR("OrvaneControlSDk_private::sendCommand: 没有发送通道,无法处理\n");
    return t;
}

void OrvaneControlSDk_private::sendCommand(const std::string& type, const std::string& data) {
    RefusalRecord outcome;
    TransSDK* t = transportFor(type, data);
    if (t == nullptr) {
        outcome.refuse(Refusal::NoTransport);
        return;
    }
    std::string text;
    try {
        const Refusal refusal = buildRequest(type, data, text);
        if (refusal != Refusal::None) {
            outcome.refuse(refusal);
            return;
        }
    } catch (const json::exception& e) {
        // A value of the wrong type in the application's data: nothing goes out.
        LOG_JSON_ERROR(e.what(), data);
        outcome.refuse(Refusal::BadField);
        return;
    }
    // A builder that finds a required key missing gives an empty text, which
    // the server gets all the same.
    if (text.empty())
        outcome.refuse(refusalForData(CtrlSDKUtils::parseQuiet(data)));
    t->sendTextMessage(text);
}

void OrvaneControlSDk_private::sendCallSignal(const char* type, const std::string& signalText) {
    const std::string name = type;
    TransSDK* t = transportFor(name, signalText);
    if (t == nullptr) return;
    const std::string text = callSignalEnvelope(name, signalText);
    LOG_DEBUG("Confsdk - CallSignal dump={}", text);
    t->sendTextMessage(text);
}

void OrvaneControlSDk_private::onProcess(const std::string& name, const std::string& data) {
    if (name != "textmessage_process") return;
    refreshLogLevel();
    // Whatever the server sends, the transport's thread must go on.
    try {
        process(data);
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
    } catch (const std::exception& e) {
        LOG_ERROR("OrvaneControlSDk_private::onProcess - {}, data={}", e.what(), data);
    } catch (...) {
        LOG_ERROR("OrvaneControlSDk_private::onProcess - unknown exception, data={}", data);
    }
}

void OrvaneControlSDk_private::process(const std::string& data) {
    json message = CtrlSDKUtils::parseQuiet(data);
    if (!message.is_object() || !message.contains("msg")) {
        LOG_ERROR("OrvaneControlSDk_private::onProcess - data does NOT contain msg key! data={}", data);
        return;
    }
    const std::string msg = message["msg"].get<std::string>();

    ControlReceiver* r;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        r = receiver;
    }
    if (r == nullptr) return;

    if (msg == "result") {
        const std::string id = message.at("id").get<std::string>();
        std::string reqdata;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            auto it = requests.find(id);
            // Replies to call signals end here too: their ids carry "_MQ_CALLMASTER".
            if (it == requests.end()) return;
            reqdata = it->second;
        }
        json reply = {{"reqdata", std::move(reqdata)}};
        if (message.contains("data")) reply["result"] = std::move(message);
        r->onCtrlCommand(id.substr(0, id.find('@')), CtrlSDKUtils::dump(reply));
    } else if (msg == "internal_info") {
        // Nothing reads the web form of the file server yet; the message goes
        // on as the server sent it, whatever it holds.
        auto fileserver = message.find("fileserver");
        if (fileserver != message.end() && fileserver->is_string())
            LOG_DEBUG("internal_info: fileserver={}", webFormOf(fileserver->get<std::string>()));
        r->onCtrlCommand("login_info", CtrlSDKUtils::dump(message));
    } else if (msg == "changed") {
        auto collection = message.find("collection");
        if (collection == message.end() || !collection->is_string()) return;
        const std::string& c = collection->get_ref<const std::string&>();
        if (c != "stream-quelmar-notify-user" && c != "stream-quelmar-notify-device") return;
        auto fields = message.find("fields");
        if (fields == message.end() || !fields->is_object()) return;
        auto event = fields->find("eventName");
        auto args = fields->find("args");
        if (event == fields->end() || args == fields->end()) return;
        r->onCtrlEvent(event->get<std::string>(), *args);
    }
}

}  // namespace ORVANE
