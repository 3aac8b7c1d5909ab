#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "orvane/types.h"

namespace ORVANE {

// One participant of the media meeting, keyed by the engine's user id.
struct EpStatus {
    std::string userid;            // the participant's user id at the conference manager, where known
    std::string externalDeviceId;  // empty: not yet tied to a device; changed through the cache only
    std::string name;
    bool adminMute = false;
    bool videoMute = false;
    bool isHost = false;
    bool isCohost = false;

    // The endpoint status object sent to the servers.
    nlohmann::json toJson() const;
};

// The conference's status as the control panel shows it.
struct ConferenceFlags {
    bool muteAll = false;
    bool allowUnmute = false;
    bool locked = false;
    bool hostVideoWhenEntering = false;
    bool participantVideoWhenEntering = false;
};

// Who is in the meeting: the only bridge between the engine, which names
// participants by its user ids, and the conference manager, which names them
// by device. One mutex guards the entries and the flags; it is held for each
// call and never while calling out, so any thread may use the cache. An
// index by device keeps every lookup and change independent of the
// meeting's size.
class EndpointCache {
public:
    // Changes made under the cache's lock, through edit().
    class Editor {
    public:
        // The entry of `userid`, made empty when missing.
        EpStatus& entry(const std::string& userid);
        const EpStatus* find(const std::string& userid) const;
        void setDevice(const std::string& userid, const std::string& deviceId);
        void erase(const std::string& userid);
        // The entry's status object with "action" naming the change, or
        // nothing when the entry is not tied to a device.
        std::optional<nlohmann::json> report(const std::string& userid, const char* action) const;
        // The user ids of the entries with `isHost`, in user id order.
        std::vector<std::string> hosts() const;
        ConferenceFlags& flags();
        // Every entry in user id order; `visit` may change devices.
        template <typename F>
        void forEach(F&& visit) {
            for (auto& entry : cache_.entries_) visit(entry.first, entry.second);
        }

    private:
        friend class EndpointCache;
        explicit Editor(EndpointCache& cache) : cache_(cache) {}
        EndpointCache& cache_;
    };

    template <typename F>
    auto edit(F&& change) {
        std::lock_guard<std::mutex> lock(mutex_);
        Editor editor(*this);
        return change(editor);
    }

    // The user id of the first entry, in user id order, tied to `deviceId`;
    // empty when none is.
    std::string userIdOfDevice(const std::string& deviceId) const;
    // The device of `userid`, empty when unknown.
    std::string deviceOfUserId(const std::string& userid) const;
    bool contains(const std::string& userid) const;
    size_t size() const;

    // The engine's view of each user's audio, video and roles; names and
    // devices stay, and users the engine no longer reports stay too. The
    // cache holds the engine's view of everybody from here on.
    void applyEngineUsers(const AvUserMap& users);
    // The engine has reported a change in who is in the meeting.
    void engineUsersChanged();
    // The engine announced `userid` with its own view of the user's audio
    // and video: that entry is current without reading the whole list, and
    // a newcomer has no role yet (roles come with their own events).
    void engineUserJoined(const std::string& userid, bool audioMuted, bool videoMuted);
    // The engine reports that `userid` left: only that entry stops being
    // vouched for; everybody else's stays current.
    void engineUserLeft(const std::string& userid);
    // Whether the engine's list of users must be read again before the
    // entry of `userid` can be trusted: the engine has reported a change of
    // users since it was last read, or the cache dropped the entry since
    // then while the engine may still hold the user. Otherwise a user
    // missing from the cache is missing from the engine too, and the
    // engine's own reports have kept every entry current.
    bool needsEngineUsers(const std::string& userid) const;
    // The server says `userid` is the participant of `deviceId`: an older
    // entry of that device under another user id goes, so a participant
    // who came back has one entry. Gives the entry as it now stands; with
    // an empty `userid` only the older entry goes, and nothing is given.
    std::optional<EpStatus> tieToDevice(const std::string& userid, const std::string& deviceId,
                                        const std::string& name);
    void erase(const std::string& userid);

    // Entries and flags back to those of no meeting; the engine's users
    // are to be read again.
    void clear();
    void setFlags(const ConferenceFlags& flags);

    // The control panel of conference `confid`: `endpoints` when it holds
    // any, else the status of every entry tied to a device.
    nlohmann::json controlPanel(const std::string& confid, const nlohmann::json& endpoints) const;

private:
    using Entries = std::map<std::string, EpStatus>;

    // A new entry for `userid`, placed at `hint`.
    Entries::iterator add(Entries::iterator hint, const std::string& userid);
    void unindex(const std::string& userid, const std::string& deviceId);

    mutable std::mutex mutex_;
    Entries entries_;
    // Device to the user ids tied to it, in user id order.
    std::unordered_map<std::string, std::set<std::string>> byDevice_;
    ConferenceFlags flags_;
    bool engineUsersStale_ = true;
    // Entries dropped since the engine's users were last applied.
    std::unordered_set<std::string> dropped_;
};

}  // namespace ORVANE
