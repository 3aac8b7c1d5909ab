#include "orvanecontrolsdk_p.h"

#include <nlohmann/json.hpp>

#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "orvanecmdtojson.h"

namespace ORVANE {

using json = nlohmann::json;

namespace {

bool isCallSignalType(const std::string& type) {
    static const char* const kTypes[] = {"REGISTER", "RINGING",  "INVITE", "ACK",    "BYE", "UNREGISTER",
                                         "CONNECTING", "ACCEPTED", "UPDATE", "ERROR", "OK"};
    for (const char* t : kTypes)
        if (type == t) return true;
    return false;
}

// Where "fileserver" is a WebSocket address, the web form of the same host.
std::string webFormOf(const std::string& fileserver) {
    if (fileserver.rfind("wss://", 0) == 0) return "https://" + fileserver.substr(6);
    if (fileserver.rfind("ws://", 0) == 0) return "http://" + fileserver.substr(5);
    return fileserver;
}

}  // namespace

void OrvaneControlSDk_private::setOrvaneTrans(TransSDK* t) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        trans = t;
    }
    if (t) t->addProcess(this);
}

void OrvaneControlSDk_private::setListener(ControlSDK::Listner* l) {
    std::lock_guard<std::mutex> lock(mutex_);
    listener = l;
}

std::string OrvaneControlSDk_private::wrapCallSignal(const std::string& type, const std::string& data) {
    const json payload = CtrlSDKUtils::parseQuiet(data);
    if (payload.is_discarded()) return {};
    const std::string id = type + "_MQ_CALLMASTER";
    const json inner = {{"type", "MQ_CALLMASTER"}, {"payload", payload}, {"id", id}};
    const json outer = {{"msg", "method"}, {"method", "quelmar"}, {"id", id}, {"params", json::array({inner})}};
    return CtrlSDKUtils::dump(outer);
}

Refusal OrvaneControlSDk_private::buildRequest(const std::string& type, const std::string& data, std::string& text) {
    if (type == CONF::CONTROLCOMMANDRESP) {
        text = data;  // already a whole wire message
        return Refusal::None;
    }
    if (type == CONF::SYNCDATA) {
        // Only conference state is pushed to the server.
        const json j = CtrlSDKUtils::parseQuiet(data);
        if (CtrlSDKUtils::safeString(j, "synctype") != "conference")
            return j.is_discarded() ? Refusal::MalformedJson : Refusal::BadField;
    }
    if (isCallSignalType(type)) {
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

void OrvaneControlSDk_private::sendCommand(const std::string& type, const std::string& data) {
    RefusalRecord outcome;
    TransSDK* t;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        t = trans;
        if (t != nullptr) requests[type] = data;
    }
    if (t == nullptr) {
        LOG_ERROR("OrvaneControlSDk_private::sendCommand: 没有发送通道,无法处理\n");
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
        outcome.refuse(CtrlSDKUtils::parseQuiet(data).is_discarded() ? Refusal::MalformedJson : Refusal::BadField);
    t->sendTextMessage(text);
}

void OrvaneControlSDk_private::onProcess(const std::string& name, const std::string& data) {
    if (name != "textmessage_process") return;
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
    const json message = CtrlSDKUtils::parseQuiet(data);
    if (!message.is_object() || !message.contains("msg")) {
        LOG_ERROR("OrvaneControlSDk_private::onProcess - data does NOT contain msg key! data={}", data);
        return;
    }
    const std::string msg = message["msg"].get<std::string>();

    ControlSDK::Listner* l;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        l = listener;
    }
    if (l == nullptr) return;

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
        json reply = {{"reqdata", reqdata}};
        if (message.contains("data")) reply["result"] = message;
        l->onCtrlCommand(id.substr(0, id.find('@')), CtrlSDKUtils::dump(reply));
    } else if (msg == "internal_info") {
        // Nothing reads the web form of the file server yet; the message goes
        // on as the server sent it, whatever it holds.
        auto fileserver = message.find("fileserver");
        if (fileserver != message.end() && fileserver->is_string())
            LOG_DEBUG("internal_info: fileserver={}", webFormOf(fileserver->get<std::string>()));
        l->onCtrlCommand("login_info", CtrlSDKUtils::dump(message));
    } else if (msg == "changed") {
        auto collection = message.find("collection");
        if (collection == message.end() || !collection->is_string()) return;
        const std::string c = collection->get<std::string>();
        if (c != "stream-quelmar-notify-user" && c != "stream-quelmar-notify-device") return;
        auto fields = message.find("fields");
        if (fields == message.end() || !fields->is_object() || !fields->contains("eventName") ||
            !fields->contains("args"))
            return;
        l->onCtrlNotify(fields->at("eventName").get<std::string>(), CtrlSDKUtils::dump(fields->at("args")));
    }
}

}  // namespace ORVANE
