#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <queue>
#include <string>
#include <thread>
#include <vector>

#include "orvane/avsdk.h"

namespace orvsim {

// A media engine that behaves like a real one, without media: it answers on
// a thread of its own after a short delay, keeps the meeting's user list,
// and reports what a real engine would report. Programs install it with
// SimEngine::install, which hands it to the library through AVSDK_Factory.
class SimEngine : public ORVANE::AVSDKBase {
public:
    struct Options {
        std::chrono::milliseconds delay{20};  // between a call and its answer
        int loginResult = 0;                  // "result" of onLogin
        int initResult = 0;                   // "result" of onSdkReady
    };

    // How the next join goes.
    struct JoinPlan {
        int refuse = 0;             // non-zero: join() returns it and nothing follows
        bool silent = false;        // the join starts and the engine never answers
        std::string waitingStatus;  // "MEETING_STATUS_IN_WAITING_ROOM" or "MEETING_STATUS_WAITINGFORHOST" first
        std::chrono::milliseconds waitFor{0};  // how long the waiting status lasts
        std::string failReason;     // non-empty: "onCallFailed" with this reason instead of connecting
        int failResult = 0;         // its "result"
    };

    SimEngine();
    explicit SimEngine(Options options);
    ~SimEngine() override;
    // Ends the engine's thread; notifications still due are not sent.
    void stop();

    // Makes this engine the one AVSDK_Factory gives out; null removes it.
    static void install(SimEngine* engine);

    // AVSDK
    int setListener(ORVANE::AVSDK::Listener* listener) override;
    int init(const std::string& initPara) override;
    int login(const std::string& user, const std::string& password) override;
    int logout() override;
    int join(const std::string& meetingNumber, const std::string& passcode, const std::string& displayName) override;
    int leave() override;
    int endMeeting() override;
    int setConfSignal(const std::string& signalJson) override;
    bool isHostUser() override;
    // Meeting controls: each takes effect in the user list and is reported
    // back as the engine's status notification.
    int muteLocalAudio() override;
    int unmuteLocalAudio() override;
    bool canUnmuteByMyself() override;
    int muteAllAudio(bool allowUnmute) override;
    int unmuteAllAudio() override;
    int muteAudio(const std::string& userid, bool allowUnmute) override;
    int unmuteAudio(const std::string& userid) override;
    int muteVideo(const std::string& userid) override;
    int unmuteVideo(const std::string& userid) override;
    int lockMeeting(bool lock) override;
    int setHost(const std::string& userid) override;
    int assignCohost(const std::string& userid) override;
    int revokeCohost(const std::string& userid) override;
    int getUserList(ORVANE::AvUserMap& out) override;
    int changeUserName(const std::string& userid, const std::string& newName, bool bSaveUserName) override;
    // Room systems over H.323, answered as setCalloutAnswer says.
    int callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType,
                       const std::string& cmdId) override;
    int cancelCallH323device() override;
    // The device leaves the meeting; a user id nobody has changes nothing.
    int hangupH323device(const std::string& userId, const std::string& cmdId) override;

    // What an engine answers when the local user's role forbids the call.
    static constexpr int kNotAllowed = 3;
    // ... when the call needs a meeting and there is none, or names a user
    // who is not in it. Each refusal is traced as "refused" with why.
    static constexpr int kNoMeeting = 4;
    static constexpr int kNoSuchUser = -1;

    // How the engine answers a call-out to a room system.
    enum class CalloutAnswer {
        Success,  // it rings, connects, and the device joins the meeting
        Failure,  // a failure status (kCalloutFailed); also outside a meeting
        Silence,  // nothing at all: only the library's limit ends the call
    };
    static constexpr const char* kCalloutFailed = "H323Callout_Failed";

    // The simulator's own controls.
    // How call-outs are answered from now on: all of them, or those to the
    // device of this name.
    void setCalloutAnswer(CalloutAnswer answer);
    void setCalloutAnswer(const std::string& deviceName, CalloutAnswer answer);
    // Whether the local user is host, now and in every meeting it joins.
    void setHost(bool host);
    // Applies to the next join only; later joins succeed plainly again.
    void planNextJoin(const JoinPlan& plan);
    // The engine ends the call by itself, with this end reason first; false,
    // traced, when there is no call.
    bool endCall(const std::string& reason);
    // The reason reported when the call ends by leave() or endMeeting().
    void setEndReason(const std::string& reason);
    bool inMeeting() const;
    std::string meetingNumber() const;
    std::string myUserId() const;
    void addUser(const std::string& userid, const ORVANE::AvUserInfo& info);
    void removeUser(const std::string& userid);

    // The meeting as others live it: each change is reported as a real
    // engine reports it, from its thread after the usual delay.
    // Somebody joins with a client of their own ("orvane" for a client of
    // this library, which reports itself to the servers); gives their user
    // id, or nothing (traced) when there is no meeting to join.
    std::string userJoins(const std::string& name, const std::string& participantID = "orvane");
    // Somebody leaves; false when nobody has this id. When the host leaves,
    // the local user is host again.
    bool userLeaves(const std::string& userid);
    // The user id of the participant of this name, empty when none.
    std::string userIdOf(const std::string& name) const;
    // A participant mutes or unmutes their own microphone, or switches their
    // camera; false when nobody has this id.
    bool userSetsAudio(const std::string& userid, bool muted);
    bool userSetsVideo(const std::string& userid, bool videoOn);
    // The meeting's recording starts or stops.
    void setRecording(bool recording);
    // A participant starts or stops sharing their screen.
    bool setSharing(const std::string& userid, bool sharing);
    // A camera or a microphone is plugged into this computer, or pulled out.
    void plugCamera(bool plugged);
    void plugMicrophone(bool plugged);
    bool locked() const;
    bool recording() const;
    // Sends a notification from the engine's thread after `delay`.
    void notifyLater(const std::string& group, const std::string& cmd, const std::string& data,
                     std::chrono::milliseconds delay);
    // Waits until every notification sent so far has been delivered.
    bool idle(std::chrono::milliseconds timeout = std::chrono::seconds(5));
    std::string loggedInUser() const;

    // The user id the local user gets at its next join; later joins count
    // up from it. Clients of one server each take their own range, so that
    // their ids never meet in one meeting.
    void setFirstUserId(uint64_t id);

    // Told of every operation the library calls, with a short description.
    void setTrace(std::function<void(const std::string& op, const std::string& detail)> trace);

protected:
    void trace(const std::string& op, const std::string& detail = "");
    // "onEndReason" then "onCallEnd", and the local user leaves the list.
    void reportEnd(const std::string& reason);
    // The local user ends the call (leave or end for all) with the set reason.
    int endOwnCall();
    // Sets the audio state of users and reports it as one change list, with
    // the engine's word for how it came about.
    int setAudio(const std::vector<std::string>& userids, bool muted, const char* status);
    int setVideo(const std::string& userid, bool muted);
    // May the local user steer the others (host or co-host)? Runs with
    // mutex_ held; moderatesNow takes it.
    bool moderates() const;
    bool moderatesNow() const;
    bool knows(const std::string& userid) const;
    // Traces the refusal of an operation the local user's role forbids.
    int refuse(const std::string& op);
    // Traces the refusal of an order that cannot be, and why; gives `code`.
    int refuse(const std::string& op, const std::string& why, int code);
    // The refusal of an operation on the meeting when there is none, or on
    // a user not in it; 0 when it may go on. noMeeting takes mutex_.
    int noMeeting(const std::string& op);
    int unknownUser(const std::string& op, const std::string& userid);
    void notifySoon(const std::string& group, const std::string& cmd, const std::string& data);

    mutable std::mutex mutex_;
    Options options_;
    ORVANE::AvUserMap users_;
    bool host_ = true;
    bool hostOnJoin_ = true;
    bool locked_ = false;
    bool recording_ = false;
    std::string user_;
    JoinPlan plan_;
    bool inMeeting_ = false;
    std::string meeting_;
    std::string myUserId_;
    std::string endReason_ = "EndMeetingReason_None";
    bool selfUnmuteAllowed_ = true;
    uint64_t nextUserId_ = 16778240;
    uint64_t nextOtherId_ = 16779001;  // the others' ids, apart from the local user's
    CalloutAnswer calloutAnswer_ = CalloutAnswer::Success;
    std::map<std::string, CalloutAnswer> calloutAnswers_;  // by device name

private:
    struct Pending {
        std::chrono::steady_clock::time_point due;
        uint64_t seq;
        std::string group, cmd, data;
        bool operator>(const Pending& o) const { return due != o.due ? due > o.due : seq > o.seq; }
    };
    void run();

    ORVANE::AVSDK::Listener* listener_ = nullptr;
    std::function<void(const std::string&, const std::string&)> trace_;
    std::priority_queue<Pending, std::vector<Pending>, std::greater<Pending>> pending_;
    uint64_t seq_ = 0;
    int delivering_ = 0;
    bool stopping_ = false;
    std::condition_variable cv_;
    std::thread thread_;
};

}  // namespace orvsim
