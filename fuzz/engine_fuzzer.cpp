// The engine's notifications (AVSDK::Listener::onNotify). In each record the
// first byte picks the event among those the library handles (and one it
// does not), its top bit the other group; the rest is the event's data.
#include <string>

#include "world.h"

namespace {

void feed(orvfuzz::World& world, std::string_view record) {
    if (record.empty() || world.timeRecord(record)) return;
    const auto& events = orvfuzz::engineEvents();
    const unsigned char pick = static_cast<unsigned char>(record[0]);
    const size_t index = (pick & 0x7f) % (events.size() + 1);
    const std::string cmd = index < events.size() ? events[index] : "onUnknownEvent";
    bool auth = cmd == "onSdkReady" || cmd == "onLogin";
    if (pick & 0x80) auth = !auth;
    world.fromEngine(auth ? "AuthServiceEvent" : "MeetingServiceEvent", cmd, std::string(record.substr(1)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return orvfuzz::runInput(data, size, feed);
}
