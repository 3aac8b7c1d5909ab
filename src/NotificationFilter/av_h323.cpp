// The engine's reports on the H.323 call-outs: how the call under way goes,
// and a room system it brought into the meeting.
#include "NotificationFilter/av_event_filter.h"
#include "confsdk_p.h"
#include "ctrlsdk_utils.h"
#include "logger.h"

using json = nlohmann::json;

namespace ORVANE {

bool AvEventFilter::onH323CalloutStatusNotifyConfSdk(const std::string& group, const std::string& cmd,
                                                     std::string& data) {
    LOG_DEBUG("OrvaneSDKPrivate::avfilter_onCalloutStatusNotify group={}, cmd={}, data={}", group, cmd, data);
    // A report without a status is not about the call: it goes on as it came.
    const json j = CtrlSDKUtils::parseQuiet(data);
    if (!j.is_object() || !j.contains("status")) return true;
    return core_.h323().onCalloutStatus(j["status"].get<std::string>());
}

bool AvEventFilter::avfilter_onH323DeviceJoin(const std::string&, const std::string&, std::string& data) {
    const json j = json::parse(data);
    const std::string userid = j.at("userid").get<std::string>();
    j.at("deviceName").get<std::string>();  // read for its type alone, like the others
    const std::string cmdId = j.at("cmdId").get<std::string>();
    // The engine answers for a device it called itself; the queue is not
    // concerned.
    const std::string text = H323Callout::joinedAnswer(cmdId, userid, "OrvaneSDKPrivate::avfilter_onH323DeviceJoin");
    LOG_DEBUG("Client SDK ControlCommandResp:= {}\n", text);
    core_.h323().send(text);
    return false;
}

}  // namespace ORVANE
