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
        host = host_;
        if (plan.failReason.empty()) {
            // Moving to another meeting drops the old identity.
            if (!myUserId_.empty()) users_.erase(myUserId_);
            myUserId_ = userid;
            inMeeting_ = true;
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

void SimEngine::endCall(const std::string& reason) { reportEnd(reason); }

int SimEngine::setAudio(const std::vector<std::string>& userids, bool muted) {
    json changes = json::array();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& id : userids) {
            auto it = users_.find(id);
            if (it == users_.end()) continue;
            it->second.audioMuted = muted;
            changes.push_back({{"userid", id}, {"audio_status", muted ? "Audio_Muted" : "Audio_UnMuted"}});
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

int SimEngine::muteLocalAudio() {
    trace("muteLocalAudio");
    return setAudio({myUserId()}, true);
}

int SimEngine::unmuteLocalAudio() {
    trace("unmuteLocalAudio");
    return setAudio({myUserId()}, false);
}

bool SimEngine::canUnmuteByMyself() {
    std::lock_guard<std::mutex> lock(mutex_);
    return selfUnmuteAllowed_;
}

int SimEngine::muteAllAudio(bool allowUnmute) {
    trace("muteAllAudio", allowUnmute ? "self-unmute allowed" : "self-unmute not allowed");
    std::vector<std::string> others;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        selfUnmuteAllowed_ = allowUnmute;
        for (const auto& u : users_)
            if (u.first != myUserId_) others.push_back(u.first);
    }
    return setAudio(others, true);
}

int SimEngine::unmuteAllAudio() {
    trace("unmuteAllAudio");
    std::vector<std::string> all;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        selfUnmuteAllowed_ = true;
        for (const auto& u : users_) all.push_back(u.first);
    }
    return setAudio(all, false);
}

int SimEngine::muteAudio(const std::string& userid, bool allowUnmute) {
    trace("muteAudio", userid);
    (void)allowUnmute;
    return setAudio({userid}, true);
}

int SimEngine::unmuteAudio(const std::string& userid) {
    trace("unmuteAudio", userid);
    return setAudio({userid}, false);
}

int SimEngine::muteVideo(const std::string& userid) {
    trace("muteVideo", userid);
    return setVideo(userid, true);
}

int SimEngine::unmuteVideo(const std::string& userid) {
    trace("unmuteVideo", userid);
    return setVideo(userid, false);
}

int SimEngine::lockMeeting(bool lock) {
    trace("lockMeeting", lock ? "on" : "off");
    notifySoon("MeetingServiceEvent", "onMeetingLocked", json{{"lock", lock}}.dump());
    return 0;
}

int SimEngine::setHost(const std::string& userid) {
    trace("setHost", userid);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = users_.find(userid);
        if (it == users_.end()) return -1;
        for (auto& u : users_) u.second.isHost = false;
        it->second.isHost = true;
        host_ = userid == myUserId_;
    }
    notifySoon("MeetingServiceEvent", "onHostChangeNotification", json{{"new_host_userid", userid}}.dump());
    return 0;
}

void SimEngine::reportEnd(const std::string& reason) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        inMeeting_ = false;
        meeting_.clear();
        if (!myUserId_.empty()) users_.erase(myUserId_);
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

void SimEngine::setHost(bool host) {
    std::lock_guard<std::mutex> lock(mutex_);
    host_ = host;
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

}  // namespace orvsim
