// Conference information: what parseConfinfo reads. The input's body is the
// data of "startconf" (or, while an incoming call waits for it, the
// conference manager's answer with the conference), and the call then goes
// on as far as it can: accepted, joined, acknowledged, this device's own
// join reported, and left. So what was read reaches the signals, the engine
// and the record's later readers.
#include <string>

#include "orvane/vocabulary.h"
#include "world.h"

namespace {

using orvfuzz::World;

const char* const kOwnJoin =
    R"({"event":"confmgr_endpoint_change","operation":"confmgr_participant_join","conferenceId":"$CONFID",)"
    R"("endpoint":{"deviceId":"$DEVID","externalGuid":"$USERID","externalDeviceId":"$DEVID","name":"Room A"}})";

// One step of the other sides towards the meeting; false when there is none.
bool step(World& world, bool& joinedReported) {
    switch (world.state()) {
        case AVSTATE_ACTIVE_WAITING_INVITE_RESULT:
            world.signal("ACCEPTED", "INVITE", R"({"conferenceId":"$CONFID","externalDialNumber":"99001"})");
            return true;
        case AVSTATE_ACTIVE_WAITING_AV_USERID:
        case AVSTATE_PASSIVE_WAITING_AV_USERID:
            world.fromEngine("MeetingServiceEvent", "onCallConnected", R"({"userid":"16778240","is_host":false})");
            return true;
        case AVSTATE_PASSIVE_WAITING_UI_CONFIRM:
            world.fromApp(ORVANE::CONF::STARTCONF, world.lastInvite());
            return true;
        case AVSTATE_PASSIVE_WAITING_ACK:
            world.signal("ACK", "ACK", "{}");
            return true;
        case AVSTATE_IN_MEETING:
            if (joinedReported) return false;
            world.event("confmanager_event", kOwnJoin);
            joinedReported = true;
            return true;
        default:
            return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    World& world = World::of(data[1]);
    world.begin(data[0] % orvfuzz::kStartCount, data[1]);
    const std::string info(reinterpret_cast<const char*>(data) + 2, size - 2);
    if (world.state() == AVSTATE_PASSIVE_WAITING_CONFINFO)
        world.fromServer(R"({"msg":"result","id":"confinfo_by_dialnum","data":)" + (info.empty() ? "null" : info) + "}");
    else
        world.fromApp(ORVANE::CONF::STARTCONF, info);
    bool joinedReported = false;
    for (int i = 0; i < 8 && step(world, joinedReported); ++i) {
    }
    world.fromApp(ORVANE::CONF::LEAVECONF, "");
    world.end();
    return 0;
}
