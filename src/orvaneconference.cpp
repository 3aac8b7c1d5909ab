#include "orvaneconference.h"

#include <cstring>

#include "logger.h"

namespace ORVANE {

void OrvaneConference::reset() {
    LOG_DEBUG("_conf reset enter");
    dispname.clear();
    passcode.clear();
    dialnum.clear();
    ext_dialnum.clear();
    confid.clear();
    zak.clear();
    force = false;
    is_user_call_leave = false;
    bye_reason_sent = false;
    switch (signal.type()) {
        case nlohmann::json::value_t::object:
        case nlohmann::json::value_t::array:
            signal.clear();
            break;
        case nlohmann::json::value_t::string:
            signal = "";
            break;
        case nlohmann::json::value_t::boolean:
            signal = false;
            break;
        case nlohmann::json::value_t::number_integer:
        case nlohmann::json::value_t::number_unsigned:
        case nlohmann::json::value_t::number_float:
            signal.clear();  // keeps the number type, value 0
            break;
        default:
            break;
    }
    std::memset(callid, 0, sizeof callid);
    engine_userid.clear();
    microphone = true;
}


}  // namespace ORVANE
