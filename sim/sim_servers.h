#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "loopback_transport.h"

namespace orvsim {

// The servers as one object behind a loopback transport: the call server
// ("callmaster"), the conference manager and the device manager. It answers
// what the library sends as those servers would, starts what they start, and
// records every message it received so tests can assert on them.
class SimServers {
public:
    using json = nlohmann::json;

    // The device the library runs on, as the device manager knows it.
    struct Device {
        std::string deviceId = "dev-1001";
        std::string serialNumber = "SN-1001";
        std::string dialNumber = "1001";
        std::string deviceName = "Room 1001";
        std::string deviceType = "terminal";
        bool isMeetingRoomDevice = true;
        std::string regUserId;
        std::string regUserName;
        std::string mediaPlatform = "QV";
        std::string qvUserName = "room1001";
        std::string qvPassword = "media-secret";  // clear text; sent in base64
        std::string userId = "u-1001";            // in "internal_info"
    };

    // A conference the conference manager knows, by its dial number.
    struct Conference {
        std::string confid;
        std::string dialNumber;          // "conferenceDialNumber"
        std::string externalDialNumber;  // the media meeting; may contain "LOBBY"
        std::string subject;
        std::string passcode;            // non-empty: INVITE must carry it
        bool busy = false;               // in use elsewhere: INVITE needs "force"
        std::string busyConfid;          // the conference that holds the room
    };

    // A participant of the current conference (for the endpoint list and the
    // participant events).
    struct Participant {
        std::string deviceId;
        std::string name;
        std::string engineUserId;  // "externalGuid"
    };

    SimServers(LoopbackTransport& transport, Device device);
    explicit SimServers(LoopbackTransport& transport);
    ~SimServers();

    // Sends "internal_info" and "device_register" for the device. Call it once
    // the library has the transport.
    void attach();

    const Device& device() const { return device_; }
    void addConference(const Conference& conference);
    // REST commands of this type are answered with a failure of this type.
    void failCommand(const std::string& type, const std::string& failureType);
    // The call server takes no notice of the library's signals of this kind
    // ("REGISTER", "ACCEPTED", ...) while `ignore` holds: they are recorded
    // and get no answer, as if lost on the way.
    void ignoreSignal(const std::string& command, bool ignore = true);

    // What the portal knows of the current conference: the conference
    // manager's page that steers a meeting through the client running it
    // (the control commands) and follows it from the client's reports.
    struct PortalView {
        bool syncing = false;  // the client is to report every change
        bool locked = false;
        bool recording = false;
        // By device: the status keys last reported ("adminMute", "isHost"...).
        std::map<std::string, json> endpoints;
    };

    // What the servers start. Each works on the current call, and gives why
    // not, empty when it went out: the servers do not act on an order that
    // cannot be (a call to end when there is none, a participant who is not
    // there), and say so in their log too.
    std::string incomingCall(const std::string& fromDialNumber);  // INVITE for a known conference's number
    std::string cancelCall();                                     // CANCEL
    std::string endCall(const std::string& reason = "CONF_END_BY_HOST");  // BYE
    std::string moveCall(const std::string& externalDialNumber);  // UPDATE to another media meeting, or out of the lobby
    std::string participantJoins(const Participant& participant);
    std::string participantLeaves(const std::string& deviceId);
    // A control command to the library ("ctrl_cmd_mute" and the like) with the
    // event's further fields. "ctrl_cmd_start_sync_control_panel" switches
    // the portal's syncing too, which the endpoint list then tells. A
    // "deviceId" field must name a participant.
    std::string controlCommand(const std::string& event, const json& fields = json::object());
    std::string h323CallOut(const std::string& deviceName, const std::string& dialString,
                            const std::string& protocolType, const std::string& cmdId);
    std::string h323HangUp(const std::string& sdkUserId, const std::string& cmdId);
    // The servers' log: one line for each order or request they turn down.
    void setLog(std::function<void(const std::string&)> log);
    void logout();                                      // "BE_LOGOUT"
    void renameDevice(const std::string& deviceName);   // "devicemgr_device_change_device_name"

    // What the servers have seen.
    std::vector<json> received() const;  // every message, parsed, in order
    // The call signals received, by start line ("" for all).
    std::vector<json> signals(const std::string& command = "") const;
    // The REST requests received, by id ("" for all).
    std::vector<json> requests(const std::string& id = "") const;
    // "none", "inviting", "ringing" (server INVITE sent), "accepted",
    // "in-call", or "ended".
    std::string callState() const;
    std::vector<Participant> participants() const;
    PortalView portal() const;
    // The client's answers to control commands: the "payload" of each
    // "MQ_CONFMGR" message, in order.
    std::vector<json> controlResponses() const;
    // The client's answers to H.323 call-out orders: the "payload" of each
    // "MQ_CALLMASTER_CMD_RESP" message, in order.
    std::vector<json> calloutAnswers() const;
    // The control panels the client reported ("confControlSyncControlpanel"),
    // parsed, in order.
    std::vector<json> panelReports() const;

private:
    // The payloads of the messages of one element type, in order.
    std::vector<json> payloadsOf(const std::string& type) const;
    void onMessage(const std::string& text);
    void onSignal(json signal);
    void onRest(const std::string& id, const json& params);
    void send(const std::string& eventName, const json& element);
    void sendSignal(const json& signal);
    void reply(const std::string& id, const json& data);
    void fail(const std::string& id, const std::string& failureType);
    // Pieces of the servers' answers; all run with mutex_ held.
    void onInvite(const json& invite);
    json conferenceData(const Conference& conference) const;
    json participantEndpoint(const Participant& participant) const;
    json myEndpoint() const;
    json deviceData() const;
    const Conference* conferenceById(const std::string& confid) const;
    void sendEndpointChange(const std::string& operation, const json& endpoint);
    // The call is in conference `confid` now: another conference's
    // participants and portal view go.
    void enterConference(const std::string& confid);
    // The portal takes in a control panel, whole or of one change, and the
    // "confSyncdata" of a device or of the conference.
    void learnPanel(const json& panel);
    void learnSyncData(const std::string& url, const json& data);
    std::string newCallId();
    bool inCall() const;
    // Turns an order or a request down: logs why and gives it back.
    std::string refuse(const std::string& what, const std::string& why);
    bool isParticipant(const std::string& deviceOrGuid) const;
    // The failure type and why, when a request on the meeting cannot be
    // served; empty when it can.
    std::pair<std::string, std::string> meetingRequestRefusal(const std::string& url) const;

    LoopbackTransport& transport_;
    Device device_;
    mutable std::mutex mutex_;
    std::map<std::string, Conference> conferences_;  // by dial number
    std::map<std::string, std::string> failures_;    // REST type -> failure type
    std::set<std::string> ignored_;                  // signal commands left unanswered
    std::vector<json> received_;
    std::vector<Participant> participants_;
    PortalView portal_;
    json call_;               // the call's last signal, the template of what follows
    std::string callState_ = "none";
    std::string callConfid_;
    // The device's name now: device_ keeps the configured one, so that
    // device() can be read from any thread.
    std::string deviceName_;
    std::string myGuid_;  // this device's engine id, as its signals last told
    int nextId_ = 1;      // for the ids the servers make up
    std::mt19937_64 random_;
    std::function<void(const std::string&)> log_;
};

}  // namespace orvsim
