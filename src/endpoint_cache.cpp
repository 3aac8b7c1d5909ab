#include "endpoint_cache.h"

#include <type_traits>

namespace ORVANE {

using json = nlohmann::json;

json EpStatus::toJson() const {
    return {{"externalDeviceId", externalDeviceId}, {"isOperator", isHost || isCohost},
            {"adminMute", adminMute},               {"videoMute", videoMute},
            {"isHost", isHost},                     {"isCohost", isCohost}};
}

// ---------------------------------------------------------------------------
// Editor: the caller holds the cache's lock.

EpStatus& EndpointCache::Editor::entry(const std::string& userid) {
    auto found = cache_.entries_.lower_bound(userid);
    if (found != cache_.entries_.end() && found->first == userid) return found->second;
    return cache_.add(found, userid)->second;
}

const EpStatus* EndpointCache::Editor::find(const std::string& userid) const {
    auto found = cache_.entries_.find(userid);
    return found == cache_.entries_.end() ? nullptr : &found->second;
}

void EndpointCache::Editor::setDevice(const std::string& userid, const std::string& deviceId) {
    EpStatus& e = entry(userid);
    if (e.externalDeviceId == deviceId) return;
    cache_.unindex(userid, e.externalDeviceId);
    e.externalDeviceId = deviceId;
    cache_.byDevice_[deviceId].insert(userid);
}

void EndpointCache::Editor::erase(const std::string& userid) {
    auto found = cache_.entries_.find(userid);
    if (found == cache_.entries_.end()) return;
    cache_.unindex(userid, found->second.externalDeviceId);
    cache_.entries_.erase(found);
    cache_.dropped_.insert(userid);
}

std::optional<json> EndpointCache::Editor::report(const std::string& userid, const char* action) const {
    const EpStatus* e = find(userid);
    if (e == nullptr || e->externalDeviceId.empty()) return std::nullopt;
    json status = e->toJson();
    status["action"] = action;
    return status;
}

std::vector<std::string> EndpointCache::Editor::hosts() const {
    std::vector<std::string> out;
    for (const auto& entry : cache_.entries_)
        if (entry.second.isHost) out.push_back(entry.first);
    return out;
}

ConferenceFlags& EndpointCache::Editor::flags() { return cache_.flags_; }

// ---------------------------------------------------------------------------

EndpointCache::Entries::iterator EndpointCache::add(Entries::iterator hint, const std::string& userid) {
    // A new entry has no device yet, which the index keeps too: the lookup
    // of the empty device finds it.
    byDevice_[""].insert(userid);
    return entries_.emplace_hint(hint, userid, EpStatus());
}

void EndpointCache::unindex(const std::string& userid, const std::string& deviceId) {
    auto ids = byDevice_.find(deviceId);
    if (ids == byDevice_.end()) return;
    ids->second.erase(userid);
    if (ids->second.empty()) byDevice_.erase(ids);
}

std::string EndpointCache::userIdOfDevice(const std::string& deviceId) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto ids = byDevice_.find(deviceId);
    return ids == byDevice_.end() ? std::string() : *ids->second.begin();
}

std::string EndpointCache::deviceOfUserId(const std::string& userid) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = entries_.find(userid);
    return it == entries_.end() ? std::string() : it->second.externalDeviceId;
}

bool EndpointCache::contains(const std::string& userid) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return entries_.count(userid) != 0;
}

size_t EndpointCache::size() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return entries_.size();
}

void EndpointCache::applyEngineUsers(const AvUserMap& users) {
    std::lock_guard<std::mutex> lock(mutex_);
    // Both are in user id order: one walk through the two rather than a
    // search of the cache for each user.
    static_assert(std::is_same_v<AvUserMap::key_compare, Entries::key_compare>);
    auto entry = entries_.begin();
    for (const auto& user : users) {
        while (entry != entries_.end() && entry->first < user.first) ++entry;
        if (entry == entries_.end() || entry->first != user.first) entry = add(entry, user.first);
        EpStatus& status = entry->second;
        status.adminMute = user.second.audioMuted;
        status.videoMute = user.second.videoMuted;
        status.isHost = user.second.isHost;
        status.isCohost = user.second.isCohost;
    }
    engineUsersStale_ = false;
    dropped_.clear();
}

void EndpointCache::engineUsersChanged() {
    std::lock_guard<std::mutex> lock(mutex_);
    engineUsersStale_ = true;
}

void EndpointCache::engineUserJoined(const std::string& userid, bool audioMuted, bool videoMuted) {
    edit([&](Editor& e) {
        EpStatus& status = e.entry(userid);
        status.adminMute = audioMuted;
        status.videoMute = videoMuted;
        status.isHost = false;
        status.isCohost = false;
    });
    std::lock_guard<std::mutex> lock(mutex_);
    dropped_.erase(userid);
}

void EndpointCache::engineUserLeft(const std::string& userid) {
    std::lock_guard<std::mutex> lock(mutex_);
    dropped_.insert(userid);
}

bool EndpointCache::needsEngineUsers(const std::string& userid) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return engineUsersStale_ || dropped_.count(userid) != 0;
}

std::optional<EpStatus> EndpointCache::tieToDevice(const std::string& userid, const std::string& deviceId,
                                                   const std::string& name) {
    return edit([&](Editor& e) -> std::optional<EpStatus> {
        auto ids = byDevice_.find(deviceId);
        if (ids != byDevice_.end()) {
            const std::string first = *ids->second.begin();
            if (first != userid) e.erase(first);
        }
        if (userid.empty()) return std::nullopt;
        e.setDevice(userid, deviceId);
        EpStatus& entry = e.entry(userid);
        entry.name = name;
        return entry;
    });
}

void EndpointCache::erase(const std::string& userid) {
    edit([&](Editor& e) { e.erase(userid); });
}

void EndpointCache::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
    byDevice_.clear();
    flags_ = ConferenceFlags();
    engineUsersStale_ = true;
    dropped_.clear();
}

void EndpointCache::setFlags(const ConferenceFlags& flags) {
    std::lock_guard<std::mutex> lock(mutex_);
    flags_ = flags;
}

json EndpointCache::controlPanel(const std::string& confid, const json& endpoints) const {
    std::lock_guard<std::mutex> lock(mutex_);
    json panel = {
        {"allowUnmute", flags_.allowUnmute},
        {"conferenceId", confid},
        {"hostVideoWhenEntering", flags_.hostVideoWhenEntering},
        {"locked", flags_.locked},
        {"muteAll", flags_.muteAll},
        {"participantVideoWhenEntering", flags_.participantVideoWhenEntering},
    };
    if (!endpoints.is_null() && !endpoints.empty()) {
        panel["endpoints"] = endpoints;
        return panel;
    }
    json all = json::array();
    for (const auto& entry : entries_)
        if (!entry.second.externalDeviceId.empty()) all.push_back(entry.second.toJson());
    panel["endpoints"] = all;
    return panel;
}

}  // namespace ORVANE
