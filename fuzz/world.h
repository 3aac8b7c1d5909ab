#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "confsdk_p.h"

// What every fuzz target stands on: one central object per platform for the
// whole process, with doubles of the transport, the engine and the
// application, a manual clock, and no worker thread. Between inputs the
// object is put back to a known point and driven to the input's starting
// state the way the servers, the engine and the application would drive it.
//
// An input is
//   byte 0    the starting state (Start, modulo kStartCount)
//   byte 1    flags (Flag)
//   the rest  records separated by 0x1e; a record that starts with 0x1f lets
//             as many seconds pass as its next byte says (61 without one).
// Text that reaches the library has its placeholders filled: $CALLID (the
// call id of the client's last REGISTER or INVITE), $CONFID, $DEVID (this
// device), $USERID (the engine's user id for this client) and $DIAL (the
// conference's dial number), so that a message gets past the id checks.
namespace orvfuzz {

enum Start : int {
    kUnregistered,
    kWaitingRegisterAnswer,
    kRegistered,
    kInviting,          // waiting for the INVITE's answer
    kJoiningOutgoing,   // waiting for the engine's user id
    kWaitingConfinfo,   // an incoming call, its conference information asked for
    kRinging,           // waiting for the user
    kJoiningIncoming,   // taken, waiting for the engine's user id
    kWaitingAck,
    kInMeeting,
    kHosting,           // in the meeting as its host, another participant there
    kInLobby,           // in the meeting through the lobby (no window: headless)
    kStartCount
};

enum Flag : uint8_t {
    kQv = 0x01,             // platform "QV": most engine calls wait for the UI thread
    kOwnWindow = 0x02,      // the application draws its own meeting window
    kGuest = 0x04,          // the transport is logged in as a guest
    kEngineHost = 0x08,     // the engine says this client is the host
    kTimePasses = 0x10,     // after the input every pending time-out runs
    kJoinRefused = 0x20,    // once started, the engine refuses joins
    kAnswerRinging = 0x40,  // the application takes an incoming call as soon as it is shown
    kSyncing = 0x80,        // the control panel is synchronised with a portal
};

class FuzzEngine;
class FuzzTransport;
class FuzzApp;

class World {
public:
    // The world of the input's platform (flag kQv), made on first use.
    static World& of(uint8_t flags);
    ~World();

    // Puts the object back to a known point and drives it to `start`.
    void begin(int start, uint8_t flags);
    // Lets time pass when the input asked for it, and checks what must hold
    // after any input.
    void end();

    // One record of the input, in the way of each side.
    void fromServer(std::string text);
    void fromEngine(const std::string& group, const std::string& cmd, std::string data);
    void fromApp(const std::string& type, std::string data);
    // Handles a time record; false when the record is not one.
    bool timeRecord(std::string_view record);
    void timePasses(int seconds);

    // Whatever the library sends must be JSON. Off for inputs whose own text
    // the library may pass on as it is.
    void requireJsonOnWire(bool on);

    // Call signals and events as the servers send them.
    void signal(const std::string& command, const std::string& cseqWord, const std::string& body,
                const std::string& callId = "$CALLID");
    void event(const std::string& kind, const std::string& element);

    int state();
    // What the application was shown of the last incoming call, or "{}".
    std::string lastInvite() const;
    OrvaneSDKPrivate& sdk() { return *sdk_; }
    std::string fill(std::string text);

private:
    explicit World(bool qv);
    void driveTo(int start);
    void registerDevice();
    void startOutgoing(const std::string& dialNumber, const std::string& confid, const std::string& ext);
    void ringIncoming();
    // Runs the queued engine calls and waits for the library's threads.
    void settle();

    const std::string platform_;
    std::shared_ptr<ORVANE::ManualClock> clock_;
    std::unique_ptr<FuzzEngine> engine_;
    std::unique_ptr<FuzzTransport> trans_;
    std::unique_ptr<FuzzApp> app_;
    std::unique_ptr<OrvaneSDKPrivate> sdk_;
    uint8_t flags_ = 0;
    std::string canonicalInfo_;  // getMyInfo of the identity every input starts with
};

// Runs one input: byte 0 picks the start, byte 1 the flags, and `feed` gets
// every record of the rest, at most 16. With `jsonOnWire` off the library
// may send text that is not JSON (the application's own text, passed on).
int runInput(const uint8_t* data, size_t size, void (*feed)(World&, std::string_view), bool jsonOnWire = true);

// The first word of `rest`, which loses it and the blank after it.
std::string takeWord(std::string& rest);

// The application's command names and the engine events the library has a
// handler for, read from the library's own tables when the build is set up.
const std::vector<std::string>& commandNames();
const std::vector<std::string>& engineEvents();

}  // namespace orvfuzz
