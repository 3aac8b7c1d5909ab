#include "loopback_transport.h"

#include <cstddef>
#include <cstdio>
#include <exception>
#include <utility>

namespace orvsim {

// The texts the library shows for the ids it asks about: its own failure
// codes, the call server's failure names and end reasons, the media engine's
// end reasons.
const std::map<std::string, std::string>& builtinErrMsgs() {
    static const std::map<std::string, std::string> texts = {
        // Call server and conference manager
        {"CONFERENCE_ROOM_CONFLICT", "The meeting room is in use by another conference."},
        {"CONFERENCE_ADHOC_CONFLICT", "The device is already in another ad-hoc conference."},
        {"CONFERENCE_JOIN_FAIL_MISSING_PASSCODE", "This conference needs a passcode."},
        {"CONFERENCE_JOIN_FAIL_INVALID_PASSCODE", "The passcode is not correct."},
        {"CONFERENCE_JOIN_FAIL_LOCKED_STATUS", "The conference is locked."},
        {"CONFERENCE_NOT_EXIST", "The conference does not exist."},
        {"CONF_END_BY_HOST", "The host ended the conference."},
        {"HOST_DISCONNECT", "The host removed you from the meeting."},
        {"conf_exception_03", "The server reported an error."},
        // Media engine
        {"AVSDK_AVSERVER_LOGIN_FAILED", "Logging in to the media server failed."},
        {"EndMeetingReason_KickByHost", "The host removed you from the meeting."},
        {"EndMeetingReason_JBHTimeOut", "The meeting ended because the host did not join in time."},
        {"EndMeetingReason_NoAttendee", "The meeting ended because nobody else was in it."},
        {"EndMeetingReason_FreeMeetingTimeOut", "The meeting ended because its free time ran out."},
        {"EndMeetingReason_NetworkBroken", "The meeting ended because the network connection was lost."},
        {"EndMeetingReason_None", "The meeting ended."},
        // The library's own
        {"CONFSDK_NO_ACCEPTED", "The call server did not accept the call."},
        {"CONFSDK_TIMEOUT_ON_JOIN", "Joining the meeting took too long."},
        {"CONFSDK_AVSERVER_TIMEOUT", "The connection to the media server was lost."},
        {"CONFSDK_NO_INVITATION_INFORMATION", "There is no invitation information for this meeting."},
        {"CONFSDK_JOIN_MEETING_FAILED", "Joining the meeting failed."},
        {"CONFSDK_JOIN_FAILED_USER_FULL", "The meeting is full."},
        {"CONFSDK_JOIN_FAIL_NETWORK_ERR", "Joining failed because of a network error."},
        {"CONFSDK_JOIN_FAIL_RECONNECT_ERR", "Reconnecting to the meeting failed."},
        {"CONFSDK_JOIN_FAIL_MMR_ERR", "The media server reported an error."},
        {"CONFSDK_JOIN_FAIL_PASSWORD_ERR", "The meeting password is not correct."},
        {"CONFSDK_JOIN_FAIL_SESSION_ERR", "The meeting session could not be set up."},
        {"CONFSDK_JOIN_FAIL_MEETING_OVER", "The meeting is over."},
        {"CONFSDK_JOIN_FAIL_MEETING_NOT_START", "The meeting has not started yet."},
        {"CONFSDK_JOIN_FAIL_MEETING_NOT_EXIST", "The meeting does not exist."},
        {"CONFSDK_JOIN_FAIL_CLIENT_INCOMPATIBLE", "This client version cannot join the meeting."},
        {"CONFSDK_JOIN_FAIL_NO_MMR", "No media server is available."},
        {"CONFSDK_JOIN_FAIL_LOCKED_STATUS", "The meeting is locked."},
        {"CONFSDK_JOIN_FAIL_MEETING_RESTRICTED", "The meeting is restricted."},
        {"CONFSDK_JOIN_FAIL_MEETING_RESTRICTED_JBH", "The meeting cannot be joined before the host."},
        {"CONFSDK_JOIN_FAIL_CANNOT_EMIT_WEBREQUEST", "A web request could not be sent."},
        {"CONFSDK_JOIN_FAIL_CANNOT_START_TOKENEXPIRE", "The meeting cannot start: the token has expired."},
        {"CONFSDK_JOIN_FAIL_SESSION_VIDEO_ERR", "Video could not be started."},
        {"CONFSDK_JOIN_FAIL_SESSION_AUDIO_AUTOSTARTERR", "Audio could not be started."},
        {"CONFSDK_JOIN_FAIL_REGISTERWEBINAR_FULL", "The webinar is full."},
        {"CONFSDK_JOIN_FAIL_REGISTERWEBINAR_HOSTREGISTER", "The host cannot register for the webinar."},
        {"CONFSDK_JOIN_FAIL_REGISTERWEBINAR_PANELISTREGISTER", "A panelist cannot register for the webinar."},
        {"CONFSDK_JOIN_FAIL_REGISTERWEBINAR_DENIED_EMAIL", "The webinar registration was denied."},
        {"CONFSDK_JOIN_FAIL_ENFORCE_LOGIN", "You must sign in to join this meeting."},
        {"CONFSDK_JOIN_FAIL_ZC_CERTIFICATE_CHANGED", "The server certificate has changed."},
        {"CONFSDK_JOIN_FAIL_VANITY_NOT_EXIST", "The personal meeting link does not exist."},
        {"CONFSDK_JOIN_FAIL_JOIN_WEBINAR_WITHSAMEEMAIL", "Someone has joined the webinar with the same e-mail."},
        {"CONFSDK_JOIN_FAIL_DISALLOW_HOST_MEETING", "You may not host this meeting."},
        {"CONFSDK_JOIN_FAIL_WRITE_CONFIG_FILE", "A configuration file could not be written."},
        {"CONFSDK_JOIN_FAIL_FORBID_TO_JOIN_INTERNAL_MEETING", "You may not join this internal meeting."},
        {"CONFSDK_JOIN_FAIL_REMOVED_BY_HOST", "The host removed you from the meeting."},
        {"CONFSDK_JOIN_FAIL_INVALID_ARGUMENTS", "The join request was not valid."},
        {"CONFSDK_JOIN_FAIL_INVALID_USERTYPE", "This kind of user cannot join the meeting."},
        {"CONFSDK_JOIN_FAIL_IN_ANOTHER_MEETING", "You are in another meeting."},
        {"CONFSDK_JOIN_FAIL_TOO_FREQUENCE_CALL", "Too many join attempts; try again later."},
        {"CONFSDK_JOIN_FAIL_WRONG_USAGE", "The meeting was joined the wrong way."},
        {"CONFSDK_JOIN_FAIL_USE_API_FAILED", "A media service call failed."},
        {"CONFSDK_JOIN_FAIL_VB_BASE", "The virtual background failed."},
        {"CONFSDK_JOIN_FAIL_VB_SETERROR", "The virtual background could not be set."},
        {"CONFSDK_JOIN_FAIL_VB_MAXIMUMNUM", "There are too many virtual backgrounds."},
        {"CONFSDK_JOIN_FAIL_VB_SAVEIMAGE", "The virtual background image could not be saved."},
        {"CONFSDK_JOIN_FAIL_VB_REMOVENONE", "There is no virtual background to remove."},
        {"CONFSDK_JOIN_FAIL_VB_NOSUPPORT", "Virtual backgrounds are not supported."},
        {"CONFSDK_JOIN_FAIL_VB_GREENSCREEN_NOSUPPORT", "Green screen backgrounds are not supported."},
        {"CONFSDK_JOIN_FAIL_INCORRECT_MEETING_NUMBER", "The meeting number is not correct."},
        {"CONFSDK_JOIN_FAIL_TIMEOUT", "Joining the meeting timed out."},
        {"CONFSDK_JOIN_FAIL_WEBSERVICE_FAILED", "The meeting web service failed."},
        {"CONFSDK_JOIN_FAIL_EXIT_WHEN_WAITING_HOSTSTART", "You left while waiting for the host."},
        {"CONFSDK_JOIN_FAIL_INVALID_STATUS", "The meeting cannot be joined in its present state."},
    };
    return texts;
}

LoopbackTransport::LoopbackTransport() : thread_([this] { run(); }) {}

LoopbackTransport::~LoopbackTransport() { stop(); }

void LoopbackTransport::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stop_ = true;
    }
    cv_.notify_all();
    if (thread_.joinable()) thread_.join();
}

int LoopbackTransport::addProcess(Process* process) {
    // Does not wait for a delivery in progress: the library registers under
    // its own lock, which that delivery may be waiting for.
    std::lock_guard<std::mutex> lock(mutex_);
    process_ = process;
    return 0;
}

int LoopbackTransport::sendTextMessage(const std::string& text) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back({true, text, std::chrono::steady_clock::now()});
    }
    cv_.notify_all();
    return 0;
}

bool LoopbackTransport::isGuestLogined() {
    std::lock_guard<std::mutex> lock(mutex_);
    return guest_;
}

std::string LoopbackTransport::getErrMsgFromId(std::string id) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = errMsgs_.find(id);
        if (it != errMsgs_.end()) return it->second;
    }
    const auto& builtin = builtinErrMsgs();
    auto it = builtin.find(id);
    return it != builtin.end() ? it->second : id;
}

void LoopbackTransport::setServer(std::function<void(const std::string& text)> handler) {
    std::unique_lock<std::mutex> lock(mutex_);
    server_ = std::move(handler);
    // The old handler's owner may be about to go away: let a call into it
    // finish first. On the transport's own thread that call is our caller.
    if (std::this_thread::get_id() != thread_.get_id()) cv_.wait(lock, [this] { return !inServer_; });
}

void LoopbackTransport::deliver(const std::string& text, std::chrono::milliseconds delay) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back({false, text, std::chrono::steady_clock::now() + delay});
    }
    cv_.notify_all();
}

bool LoopbackTransport::idle(std::chrono::milliseconds timeout) {
    std::unique_lock<std::mutex> lock(mutex_);
    // Waiting on the transport's own thread could never end.
    if (std::this_thread::get_id() == thread_.get_id()) return false;
    return cv_.wait_for(lock, timeout, [this] { return queue_.empty() && busy_ == 0; });
}

void LoopbackTransport::setGuest(bool guest) {
    std::lock_guard<std::mutex> lock(mutex_);
    guest_ = guest;
}

void LoopbackTransport::setErrMsg(const std::string& id, const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    errMsgs_[id] = text;
}

void LoopbackTransport::setTrace(std::function<void(bool toServer, const std::string& text)> trace) {
    std::lock_guard<std::mutex> lock(mutex_);
    trace_ = std::move(trace);
}

// The two directions are two lanes of one connection: each keeps its own
// order, and a delayed message for the library holds back the messages for
// the library behind it, never the library's own messages to the server.
void LoopbackTransport::run() {
    using clock = std::chrono::steady_clock;
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        if (stop_) return;
        const auto now = clock::now();
        auto wake = clock::time_point::max();
        std::size_t pick = queue_.size();
        bool seenServer = false, seenLibrary = false;
        for (std::size_t i = 0; i < queue_.size() && !(seenServer && seenLibrary); ++i) {
            bool& seen = queue_[i].toServer ? seenServer : seenLibrary;
            if (seen) continue;  // not the head of its lane
            seen = true;
            if (queue_[i].due <= now) {
                pick = i;
                break;
            }
            if (queue_[i].due < wake) wake = queue_[i].due;
        }
        if (pick == queue_.size()) {
            if (wake == clock::time_point::max())
                cv_.wait(lock);
            else
                cv_.wait_until(lock, wake);
            continue;
        }

        Item item = std::move(queue_[pick]);
        queue_.erase(queue_.begin() + static_cast<std::ptrdiff_t>(pick));
        auto trace = trace_;
        auto server = server_;
        Process* process = process_;
        ++busy_;
        inServer_ = item.toServer && server;
        lock.unlock();

        // Nobody is called with the transport's lock held: the library and
        // the servers may send from inside their handlers.
        try {
            if (trace) trace(item.toServer, item.text);
            if (item.toServer) {
                if (server) server(item.text);
            } else if (process) {
                // With no receiver registered yet the message is lost, as on
                // a real connection.
                process->onProcess("textmessage_process", item.text);
            }
        } catch (const std::exception& e) {
            std::fprintf(stderr, "LoopbackTransport: a handler threw: %s\n", e.what());
        } catch (...) {
            std::fprintf(stderr, "LoopbackTransport: a handler threw\n");
        }

        lock.lock();
        inServer_ = false;
        --busy_;
        cv_.notify_all();
    }
}

}  // namespace orvsim
