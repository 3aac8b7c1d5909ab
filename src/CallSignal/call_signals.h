#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

#include "ServerInteraction/orvanecontrolsdk_p.h"

namespace ORVANE {

struct OrvaneConference;
class DeviceIdentity;

// The call signals this client sends to the call server. REGISTER, INVITE
// and BYE are written afresh (no state ever unregisters); ACK, ACCEPTED, OK, UPDATE
// and ERROR are the last signal the server sent, changed, so that
// everything the server put in it goes back to it. Used under the call lock.
class CallSignalSender {
public:
    // `closeCall` empties the call's data once BYE has gone out.
    CallSignalSender(OrvaneConference& conf, const DeviceIdentity& identity, OrvaneControlSDk_private& control,
                     std::function<void()> closeCall);

    int callserver_register();
    int callserver_invite(std::string dialnum);
    int callserver_bye(const std::string& dialnum);
    int callserver_ack();
    // `dialnum` is only passed along by the callers.
    int callserver_accepted(std::string dialnum);
    int callserver_ok(const std::string& av_userid);
    int callserver_update(const std::string& av_userid);
    int callserver_error(int code, const std::string& message);
    // ERROR in answer to `signal`, a signal of a call this client has left.
    int callserver_error_to(const nlohmann::json& signal, int code, const std::string& message);

private:
    // REGISTER: a new call id, no party on the other side.
    int sendRegistration(const char* command, nlohmann::json body);
    void storeCallId(const std::string& id);
    void send(const char* type, const std::string& text);

    OrvaneConference& conf_;
    const DeviceIdentity& identity_;
    OrvaneControlSDk_private& control_;
    std::function<void()> closeCall_;
};

}  // namespace ORVANE
