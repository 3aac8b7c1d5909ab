#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace ORVANE {

// The conference record of the current call.
struct OrvaneConference {
    std::string dispname;      // the local user's display name in this meeting
    std::string passcode;
    std::string dialnum;       // "conferenceDialNumber"
    std::string ext_dialnum;   // "externalDialNumber": the media meeting's number
    std::string confid;
    std::string zak;           // access token handed to the engine
    bool force = false;        // sent in INVITE
    bool is_user_call_leave = false;
    bool bye_reason_sent = false;
    nlohmann::json signal;     // the last call signal that opened or changed the call
    char callid[37] = {};      // 36 characters and a terminator
    std::string engine_userid; // "-1", "-2", "-3" while there is none yet
    bool microphone = true;

    // Back to the values of a new record. The signal keeps its JSON type.
    void reset();
};


}  // namespace ORVANE
