#include "command_refusal.h"

#include <nlohmann/json.hpp>

namespace ORVANE {

namespace {
thread_local Refusal t_last = Refusal::None;
}  // namespace

const char* refusalReason(Refusal refusal) {
    switch (refusal) {
        case Refusal::UnknownCommand:
            return "unknown_command";
        case Refusal::MalformedJson:
            return "malformed_json";
        case Refusal::BadField:
            return "bad_field";
        case Refusal::WrongState:
            return "wrong_state";
        case Refusal::NoTransport:
            return "no_transport";
        case Refusal::None:
            break;
    }
    return "";
}

Refusal refusalForData(const nlohmann::json& data) {
    return data.is_discarded() ? Refusal::MalformedJson : Refusal::BadField;
}

Refusal refusalOf(const std::exception& jsonError) {
    return dynamic_cast<const nlohmann::json::parse_error*>(&jsonError) ? Refusal::MalformedJson : Refusal::BadField;
}

RefusalRecord::~RefusalRecord() { t_last = refusal_; }

Refusal lastRefusal() { return t_last; }

void clearLastRefusal() { t_last = Refusal::None; }

}  // namespace ORVANE
