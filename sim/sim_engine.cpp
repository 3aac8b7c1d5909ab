#include "sim_engine.h"

#include <nlohmann/json.hpp>

namespace orvsim {

using json = nlohmann::json;

SimEngine::SimEngine() : SimEngine(Options{}) {}

SimEngine::SimEngine(Options options) : options_(options), thread_([this] { run(); }) {}

SimEngine::~SimEngine() { stop(); }

void SimEngine::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    cv_.notify_all();
    if (thread_.joinable()) thread_.join();
}

void SimEngine::install(SimEngine* engine) {
    if (engine == nullptr) {
        ORVANE::AVSDK_Factory::setCreator(nullptr);
        return;
    }
    ORVANE::AVSDK_Factory::setCreator([engine](const std::string&, const std::string&) { return engine; });
}

void SimEngine::setTrace(std::function<void(const std::string&, const std::string&)> trace) {
    std::lock_guard<std::mutex> lock(mutex_);
    trace_ = std::move(trace);
}

void SimEngine::trace(const std::string& op, const std::string& detail) {
    std::function<void(const std::string&, const std::string&)> t;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        t = trace_;
    }
    if (t) t(op, detail);
}

int SimEngine::setListener(ORVANE::AVSDK::Listener* listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    listener_ = listener;
    return 0;
}

int SimEngine::init(const std::string& initPara) {
    trace("init", initPara);
    notifySoon("AuthServiceEvent", "onSdkReady", json{{"result", options_.initResult}}.dump());
    return 0;
}

int SimEngine::login(const std::string& user, const std::string& password) {
    trace("login", user);
    (void)password;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (options_.loginResult == 0) user_ = user;
    }
    notifySoon("AuthServiceEvent", "onLogin", json{{"result", options_.loginResult}}.dump());
    return 0;
}

int SimEngine::logout() {
    trace("logout");
    std::lock_guard<std::mutex> lock(mutex_);
    user_.clear();
    return 0;
}

int SimEngine::join(const std::string& meetingNumber, const std::string& passcode, const std::string& displayName) {
    trace("join", meetingNumber + " as " + displayName);
    (void)passcode;
    JoinPlan plan;
    std::string userid;
    bool host;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        plan = plan_;
        plan_ = JoinPlan{};
        if (plan.refuse != 0) return plan.refuse;
        meeting_ = meetingNumber;
        if (plan.silent) return 0;
        userid = std::to_string(nextUserId_++);
        host = hostOnJoin_;
        if (plan.failReason.empty()) {
            // Moving to another meeting drops the old identity; the others
            // move along. The meeting is a new one: unlocked, not recorded,
            // and this device takes its usual role in it.
            if (!myUserId_.empty()) users_.erase(myUserId_);
            myUserId_ = userid;
            inMeeting_ = true;
            host_ = host;
            locked_ = false;
            recording_ = false;
            if (host)
                for (auto& u : users_) u.second.isHost = false;
            ORVANE::AvUserInfo me;
            me.isHost = host;
            me.name = displayName;
            users_[userid] = me;
        }
    }
    auto after = options_.delay;
    if (!plan.waitingStatus.empty()) {
        notifyLater("MeetingServiceEvent", "onCallStatusChanged", json{{"status", plan.waitingStatus}}.dump(), after);
        after += plan.waitFor;
    }
    if (!plan.failReason.empty()) {
        json failed = {{"reason", plan.failReason}};
        if (plan.failResult != 0) failed["result"] = plan.failResult;
        notifyLater("MeetingServiceEvent", "onCallFailed", failed.dump(), after);
        return 0;
    }
    notifyLater("MeetingServiceEvent", "onCallConnected", json{{"userid", userid}, {"is_host", host}}.dump(), after);
    return 0;
}

int SimEngine::leave() {
    trace("leave");
    return endOwnCall();
}

int SimEngine::endMeeting() {
    trace("endMeeting");
    return endOwnCall();
}

int SimEngine::endOwnCall() {
    std::string reason;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!inMeeting_) return 0;
        reason = endReason_;
    }
    reportEnd(reason);
    return 0;
}

int SimEngine::setConfSignal(const std::string& signalJson) {
    trace("setConfSignal", signalJson);
    return 0;
}

bool SimEngine::endCall(const std::string& reason) {
    if (noMeeting("endCall") != 0) return false;
    reportEnd(reason);
    return true;
}

int SimEngine::setAudio(const std::vector<std::string>& userids, bool muted, const char* status) {
    json changes = json::array();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& id : userids) {
            auto it = users_.find(id);
            if (it == users_.end()) continue;
            it->second.audioMuted = muted;
            changes.push_back({{"userid", id}, {"audio_status", status}});
        }
    }
    if (!changes.empty())
        notifySoon("MeetingServiceEvent", "onUserAudioStatusChange", json{{"change_list", changes}}.dump());
    return 0;
}

int SimEngine::setVideo(const std::string& userid, bool muted) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = users_.find(userid);
        if (it == users_.end()) return -1;
        it->second.videoMuted = muted;
    }
    notifySoon("MeetingServiceEvent", "onUserVideoStatusChange", json{{"userid", userid}, {"muted", muted}}.dump());
    return 0;
}

bool SimEngine::moderates() const {
    if (host_) return true;
    auto me = users_.find(myUserId_);
    return me != users_.end() && me->second.isCohost;
}

bool SimEngine::moderatesNow() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return moderates();
}

bool SimEngine::knows(const std::string& userid) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return users_.count(userid) != 0;
}

int SimEngine::muteLocalAudio() {
    trace("muteLocalAudio");
    return setAudio({myUserId()}, true, "Audio_Muted");
}

int SimEngine::unmuteLocalAudio() {
    trace("unmuteLocalAudio");
    return setAudio({myUserId()}, false, "Audio_UnMuted");
}

bool SimEngine::canUnmuteByMyself() {
    std::lock_guard<std::mutex> lock(mutex_);
    return selfUnmuteAllowed_;
}

int SimEngine::refuse(const std::string& op) {
    return refuse(op, "the local user's role does not allow it", kNotAllowed);
}

int SimEngine::refuse(const std::string& op, const std::string& why, int code) {
    trace("refused", op + ": " + why);
    return code;
}

int SimEngine::noMeeting(const std::string& op) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (inMeeting_) return 0;
    }
    return refuse(op, "not in a meeting", kNoMeeting);
}

int SimEngine::unknownUser(const std::string& op, const std::string& userid) {
    if (knows(userid)) return 0;
    return refuse(op, "nobody in the meeting has the id " + (userid.empty() ? "\"\"" : userid), kNoSuchUser);
}

int SimEngine::muteAllAudio(bool allowUnmute) {
    trace("muteAllAudio", allowUnmute ? "self-unmute allowed" : "self-unmute not allowed");
    if (const int no = noMeeting("muteAllAudio")) return no;
    if (!moderatesNow()) return refuse("muteAllAudio");
    std::vector<std::string> others;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        selfUnmuteAllowed_ = allowUnmute;
        for (const auto& u : users_)
            if (u.first != myUserId_) others.push_back(u.first);
    }
    return setAudio(others, true, "Audio_MutedAll_ByHost");
}

int SimEngine::unmuteAllAudio() {
    trace("unmuteAllAudio");
    if (const int no = noMeeting("unmuteAllAudio")) return no;
    if (!moderatesNow()) return refuse("unmuteAllAudio");
    std::vector<std::string> all;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        selfUnmuteAllowed_ = true;
        for (const auto& u : users_) all.push_back(u.first);
    }
    return setAudio(all, false, "Audio_UnMutedAll_ByHost");
}

int SimEngine::muteAudio(const std::string& userid, bool allowUnmute) {
    trace("muteAudio", userid);
    (void)allowUnmute;
    if (!moderatesNow()) return refuse("muteAudio");
    if (const int no = unknownUser("muteAudio", userid)) return no;
    return setAudio({userid}, true, "Audio_Muted_ByHost");
}

int SimEngine::unmuteAudio(const std::string& userid) {
    trace("unmuteAudio", userid);
    if (!moderatesNow()) return refuse("unmuteAudio");
    if (const int no = unknownUser("unmuteAudio", userid)) return no;
    return setAudio({userid}, false, "Audio_UnMuted_ByHost");
}

int SimEngine::muteVideo(const std::string& userid) {
    trace("muteVideo", userid);
    if (userid != myUserId() && !moderatesNow()) return refuse("muteVideo");
    if (const int no = unknownUser("muteVideo", userid)) return no;
    return setVideo(userid, true);
}

int SimEngine::unmuteVideo(const std::string& userid) {
    trace("unmuteVideo", userid);
    if (userid != myUserId() && !moderatesNow()) return refuse("unmuteVideo");
    if (const int no = unknownUser("unmuteVideo", userid)) return no;
    return setVideo(userid, false);
}

int SimEngine::lockMeeting(bool lock) {
    trace("lockMeeting", lock ? "on" : "off");
    if (const int no = noMeeting("lockMeeting")) return no;
    if (!moderatesNow()) return refuse("lockMeeting");
    {
        std::lock_guard<std::mutex> guard(mutex_);
        locked_ = lock;
    }
    notifySoon("MeetingServiceEvent", "onMeetingLocked", json{{"lock", lock}}.dump());
    return 0;
}

// Only the host hands roles on.
int SimEngine::setHost(const std::string& userid) {
    trace("setHost", userid);
    if (!isHostUser()) return refuse("setHost");
    if (const int no = unknownUser("setHost", userid)) return no;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = users_.find(userid);
        if (it == users_.end()) return -1;
        for (auto& u : users_) u.second.isHost = false;
        it->second.isHost = true;
        it->second.isCohost = false;
        host_ = userid == myUserId_;
    }
    notifySoon("MeetingServiceEvent", "onHostChangeNotification", json{{"new_host_userid", userid}}.dump());
    return 0;
}

int SimEngine::assignCohost(const std::string& userid) {
    trace("assignCohost", userid);
    if (!isHostUser()) return refuse("assignCohost");
    if (const int no = unknownUser("assignCohost", userid)) return no;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = users_.find(userid);
        if (it == users_.end() || it->second.isHost) return -1;
        it->second.isCohost = true;
    }
    notifySoon("MeetingServiceEvent", "onCoHostChangeNotification",
               json{{"userid", userid}, {"is_cohost", true}}.dump());
    return 0;
}

int SimEngine::revokeCohost(const std::string& userid) {
    trace("revokeCohost", userid);
    if (!isHostUser()) return refuse("revokeCohost");
    if (const int no = unknownUser("revokeCohost", userid)) return no;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = users_.find(userid);
        if (it == users_.end()) return -1;
        it->second.isCohost = false;
    }
    notifySoon("MeetingServiceEvent", "onCoHostChangeNotification",
               json{{"userid", userid}, {"is_cohost", false}}.dump());
    return 0;
}

std::string SimEngine::userJoins(const std::string& name, const std::string& participantID) {
    if (noMeeting("join of " + name) != 0) return {};
    ORVANE::AvUserInfo info;
    info.name = name;
    std::string userid;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        userid = std::to_string(nextOtherId_++);
        users_[userid] = info;
    }
    notifySoon("MeetingServiceEvent", "onUserJoin",
               json{{"userid", userid},
                    {"username", name},
                    {"participantID", participantID},
                    {"isAudioMuted", info.audioMuted},
                    {"isVideoOn", !info.videoMuted}}
                   .dump());
    return userid;
}

bool SimEngine::userLeaves(const std::string& userid) {
    if (unknownUser("leave", userid) != 0) return false;
    if (userid == myUserId()) return refuse("leave", "the local user leaves with leave()", kNoSuchUser) == 0;
    std::string newHost;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = users_.find(userid);
        if (it == users_.end() || userid == myUserId_) return false;
        // The meeting keeps a host: the role comes back to this device.
        if (it->second.isHost && inMeeting_) {
            newHost = myUserId_;
            host_ = true;
            users_[myUserId_].isHost = true;
            users_[myUserId_].isCohost = false;
        }
        users_.erase(it);
    }
    notifySoon("MeetingServiceEvent", "onUserLeft", json{{"userid", userid}}.dump());
    if (!newHost.empty())
        notifySoon("MeetingServiceEvent", "onHostChangeNotification", json{{"new_host_userid", newHost}}.dump());
    return true;
}

std::string SimEngine::userIdOf(const std::string& name) const {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& u : users_)
        if (u.second.name == name && u.first != myUserId_) return u.first;
    return {};
}

bool SimEngine::userSetsAudio(const std::string& userid, bool muted) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!users_.count(userid)) return false;
    }
    setAudio({userid}, muted, muted ? "Audio_Muted" : "Audio_UnMuted");
    return true;
}

bool SimEngine::userSetsVideo(const std::string& userid, bool videoOn) { return setVideo(userid, !videoOn) == 0; }

void SimEngine::setRecording(bool recording) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        recording_ = recording;
    }
    notifySoon("MeetingServiceEvent", "onCloudRecordingStatus", json{{"is_cloud_record", recording}}.dump());
}

bool SimEngine::setSharing(const std::string& userid, bool sharing) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!users_.count(userid)) return false;
    }
    notifySoon("MeetingServiceEvent", "onSharingStatus",
               json{{"status", sharing ? "Share_Started" : "Share_Stopped"}, {"userid", userid}}.dump());
    return true;
}

void SimEngine::plugCamera(bool plugged) {
    notifySoon("MeetingServiceEvent", "onComputerCamDeviceChanged", json{{"camera", plugged}}.dump());
}

void SimEngine::plugMicrophone(bool plugged) {
    notifySoon("MeetingServiceEvent", "onComputerMicDeviceChanged", json{{"microphone", plugged}}.dump());
}

bool SimEngine::locked() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return locked_;
}

bool SimEngine::recording() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return recording_;
}

void SimEngine::reportEnd(const std::string& reason) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        inMeeting_ = false;
        meeting_.clear();
        // Out of the meeting, the engine knows nobody in it.
        users_.clear();
        myUserId_.clear();
    }
    notifySoon("MeetingServiceEvent", "onEndReason", json{{"reason", reason}}.dump());
    notifySoon("MeetingServiceEvent", "onCallEnd", json{{"result", 0}}.dump());
}

void SimEngine::planNextJoin(const JoinPlan& plan) {
    std::lock_guard<std::mutex> lock(mutex_);
    plan_ = plan;
}

void SimEngine::setEndReason(const std::string& reason) {
    std::lock_guard<std::mutex> lock(mutex_);
    endReason_ = reason;
}

bool SimEngine::inMeeting() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return inMeeting_;
}

std::string SimEngine::meetingNumber() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return meeting_;
}

std::string SimEngine::myUserId() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return myUserId_;
}

bool SimEngine::isHostUser() {
    std::lock_guard<std::mutex> lock(mutex_);
    return host_;
}

int SimEngine::getUserList(ORVANE::AvUserMap& out) {
    std::lock_guard<std::mutex> lock(mutex_);
    out = users_;
    return 0;
}

int SimEngine::changeUserName(const std::string& userid, const std::string& newName, bool) {
    trace("changeUserName", userid + " to " + newName);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = users_.find(userid);
    if (it == users_.end()) return -1;
    it->second.name = newName;
    return 0;
}

void SimEngine::setCalloutAnswer(CalloutAnswer answer) {
    std::lock_guard<std::mutex> lock(mutex_);
    calloutAnswer_ = answer;
    calloutAnswers_.clear();
}

void SimEngine::setCalloutAnswer(const std::string& deviceName, CalloutAnswer answer) {
    std::lock_guard<std::mutex> lock(mutex_);
    calloutAnswers_[deviceName] = answer;
}

int SimEngine::callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string&,
                              const std::string&) {
    trace("callH323device", deviceName + " at " + deviceIp);
    CalloutAnswer answer;
    std::string userid;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = calloutAnswers_.find(deviceName);
        answer = it != calloutAnswers_.end() ? it->second : calloutAnswer_;
        // Without a meeting there is nothing to bring the device into.
        if (answer == CalloutAnswer::Success && !inMeeting_) answer = CalloutAnswer::Failure;
        if (answer == CalloutAnswer::Success) {
            userid = std::to_string(nextOtherId_++);
            ORVANE::AvUserInfo device;
            device.name = deviceName;
            users_[userid] = device;
        }
    }
    auto status = [](const char* s) { return json{{"status", s}}.dump(); };
    const char* const group = "MeetingServiceEvent";
    if (answer == CalloutAnswer::Failure) {
        notifySoon(group, "onH323CalloutStatusNotifyConfSdk", status(kCalloutFailed));
    } else if (answer == CalloutAnswer::Success) {
        // It rings, picks up, and joins a moment later, as a room system does.
        notifyLater(group, "onH323CalloutStatusNotifyConfSdk", status("H323Callout_Ring"), options_.delay);
        notifyLater(group, "onH323CalloutStatusNotifyConfSdk", status("H323Callout_Success"), options_.delay * 2);
        notifyLater(group, "onUserJoin",
                    json{{"userid", userid},
                         {"username", deviceName},
                         {"participantID", "h323"},
                         {"isH323User", true},
                         {"isAudioMuted", false},
                         {"isVideoOn", true}}
                        .dump(),
                    options_.delay * 3);
    }
    return 0;
}

int SimEngine::cancelCallH323device() {
    trace("cancelCallH323device");
    return 0;
}

int SimEngine::hangupH323device(const std::string& userId, const std::string&) {
    trace("hangupH323device", userId);
    return userLeaves(userId) ? 0 : -1;
}

void SimEngine::setHost(bool host) {
    std::lock_guard<std::mutex> lock(mutex_);
    host_ = host;
    hostOnJoin_ = host;
    auto me = users_.find(myUserId_);
    if (me != users_.end()) me->second.isHost = host;
}

void SimEngine::addUser(const std::string& userid, const ORVANE::AvUserInfo& info) {
    std::lock_guard<std::mutex> lock(mutex_);
    users_[userid] = info;
}

void SimEngine::removeUser(const std::string& userid) {
    std::lock_guard<std::mutex> lock(mutex_);
    users_.erase(userid);
}

std::string SimEngine::loggedInUser() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return user_;
}

void SimEngine::notifySoon(const std::string& group, const std::string& cmd, const std::string& data) {
    notifyLater(group, cmd, data, options_.delay);
}

void SimEngine::notifyLater(const std::string& group, const std::string& cmd, const std::string& data,
                            std::chrono::milliseconds delay) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        pending_.push({std::chrono::steady_clock::now() + delay, seq_++, group, cmd, data});
    }
    cv_.notify_all();
}

bool SimEngine::idle(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    return cv_.wait_for(lock, timeout, [this] { return pending_.empty() && delivering_ == 0; });
}

void SimEngine::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        if (stopping_) return;
        if (pending_.empty()) {
            cv_.wait(lock);
            continue;
        }
        const auto due = pending_.top().due;
        if (std::chrono::steady_clock::now() < due) {
            cv_.wait_until(lock, due);
            continue;
        }
        Pending next = pending_.top();
        pending_.pop();
        ORVANE::AVSDK::Listener* listener = listener_;
        ++delivering_;
        // The library is called without the engine's lock, as a real engine
        // would: it may call back into the engine at once.
        lock.unlock();
        if (listener) listener->onNotify(next.group, next.cmd, next.data);
        lock.lock();
        --delivering_;
        cv_.notify_all();
    }
}

void SimEngine::setFirstUserId(uint64_t id) {
    std::lock_guard<std::mutex> lock(mutex_);
    nextUserId_ = id;
}

}  // namespace orvsim
