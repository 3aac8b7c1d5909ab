// Every command the library does not carry out is told to an application
// that asked for it, with the command and one reason of a fixed set; an
// application that did not ask hears nothing new, and the log keeps its line.
#include <gtest/gtest.h>

#include "harness.h"
#include "orvane/vocabulary.h"
#include "server_events.h"

using namespace orvtest;

namespace {

// Where the library stands when the command comes.
enum class Stage {
    NoTransport,  // engine up and registered, then the transport taken away
    NoEngine,     // nothing but a transport: no initMediaService, no registration
    Idle,         // engine up, registered, no call
    InMeeting,    // in meeting conf-1; the user may unmute
    HostMuted,    // the same, but the host keeps the user muted
};

const char* const kNone = "";

struct Row {
    const char* name;
    Stage stage;
    const char* command;
    const char* data;
    const char* reason;  // kNone: carried out, nothing told
};

const Row kRows[] = {
    // The control channel.
    {"unknown name", Stage::Idle, "confNoSuchThing", "{}", "unknown_command"},
    {"builder the channel does not send", Stage::Idle, "confControllayout", "{}", "unknown_command"},
    {"rest data not json", Stage::Idle, "confinfo", "{conf", "malformed_json"},
    {"rest key missing", Stage::Idle, "confinfo", "{}", "bad_field"},
    {"rest key of the wrong type", Stage::Idle, "confinfo", R"({"confid":7})", "bad_field"},
    {"rest request formed", Stage::Idle, "confinfo", R"({"confid":"conf-9"})", kNone},
    {"rest without transport", Stage::NoTransport, "confinfo", R"({"confid":"conf-9"})", "no_transport"},
    {"unknown name without transport", Stage::NoTransport, "confNoSuchThing", "{}", "no_transport"},
    {"call signal not json", Stage::Idle, "BYE", "bye", "malformed_json"},
    {"sync of a device", Stage::InMeeting, "confSyncdata", R"({"synctype":"device","camera":true})", "bad_field"},
    {"sync data not json", Stage::InMeeting, "confSyncdata", "sync", "malformed_json"},
    {"sync of the conference", Stage::InMeeting, "confSyncdata", R"({"synctype":"conference","isLock":true})",
     kNone},
    {"endpoints not json", Stage::Idle, "confControlendpoints", "[", "malformed_json"},
    {"endpoints without confid", Stage::Idle, "confControlendpoints", R"({"id":"x"})", "bad_field"},
    {"endpoints confid a number", Stage::Idle, "confControlendpoints", R"({"confid":1})", "bad_field"},
    {"endpoints asked", Stage::Idle, "confControlendpoints", R"({"confid":"conf-9"})", kNone},
    {"endpoints without transport", Stage::NoTransport, "confControlendpoints", R"({"confid":"c"})",
     "no_transport"},
    {"device name not json", Stage::Idle, "confUpdatedevicename", "name", "malformed_json"},
    {"device name in an array", Stage::Idle, "confUpdatedevicename", "[1]", "bad_field"},
    {"device name changed", Stage::Idle, "confUpdatedevicename", R"({"devicename":"Hall"})", kNone},
    // The call machine.
    {"second start during a meeting", Stage::InMeeting, "startconf", R"({"conferenceDialNumber":"8002"})",
     "wrong_state"},
    {"start before registration", Stage::NoEngine, "startconf", R"({"conferenceDialNumber":"8002"})",
     "wrong_state"},
    {"start when idle", Stage::Idle, "startconf", R"({"conferenceDialNumber":"8002"})", kNone},
    {"reject with nothing ringing", Stage::Idle, "rejectconf", "", "wrong_state"},
    {"leave before registration", Stage::NoEngine, "leaveconf", "", "wrong_state"},
    {"leave a meeting", Stage::InMeeting, "leaveconf", "", kNone},
    // The media engine.
    {"end without an engine", Stage::NoEngine, "endconf", "", "wrong_state"},
    {"end a meeting", Stage::InMeeting, "endconf", "", kNone},
    {"lock without an engine", Stage::NoEngine, "confControllockmeeting", R"({"lock":true})", "wrong_state"},
    {"lock data not json", Stage::InMeeting, "confControllockmeeting", "lock", "malformed_json"},
    {"lock without its key", Stage::InMeeting, "confControllockmeeting", R"({"locked":true})", "bad_field"},
    {"lock with a word", Stage::InMeeting, "confControllockmeeting", R"({"lock":"yes"})", "bad_field"},
    {"lock", Stage::InMeeting, "confControllockmeeting", R"({"lock":true})", kNone},
    {"mute-all half given", Stage::InMeeting, "confControlmuteAll", R"({"mute":true})", "bad_field"},
    {"mute somebody not there", Stage::InMeeting, "confControlmuteaudio", R"({"guid":"dev-x","mute":true})",
     "bad_field"},
    {"video of somebody not there", Stage::InMeeting, "confControlmutevideo", R"({"guid":"dev-x","mute":true})",
     "bad_field"},
    {"host to somebody not there", Stage::InMeeting, "confControlmakehost", R"({"externalDeviceId":"dev-x"})",
     "bad_field"},
    {"co-host to somebody not there", Stage::InMeeting, "confControlmakecohost",
     R"({"externalDeviceId":"dev-x","bCohost":true})", "bad_field"},
    {"unmute kept by the host", Stage::HostMuted, "confControlmuteaudiolocal", R"({"mute":false})", "wrong_state"},
    {"unmute allowed", Stage::InMeeting, "confControlmuteaudiolocal", R"({"mute":false})", kNone},
};

std::string lastCallId(const FakeTransport& trans, const std::string& command) {
    std::string id;
    for (const std::string& text : trans.sent()) {
        const json m = json::parse(text, nullptr, false);
        if (!m.is_object() || !m.contains("params")) continue;
        const json& p = m["params"][0];
        if (p.value("type", "") == "MQ_CALLMASTER" && p["payload"]["startLine"]["command"] == command)
            id = p["payload"]["signalHeader"]["callId"];
    }
    return id;
}

void reach(Harness& h, Stage stage) {
    if (stage == Stage::NoEngine) return;
    ASSERT_EQ(h.initMedia("QC"), 0);
    deliverEvent(h.trans, "devicemgr_event", deviceRegister("QC"));
    deliverEvent(h.trans, "callmaster_event", callSignal("OK", "REGISTER", lastCallId(h.trans, "REGISTER")));
    ASSERT_EQ(h.state(), AVSTATE_IDLE);
    if (stage == Stage::NoTransport) h.sdk->setOrvaneTrans(nullptr);
    if (stage != Stage::InMeeting && stage != Stage::HostMuted) return;
    h.engine.setBool("canUnmuteByMyself", stage == Stage::InMeeting);
    h.sdk->sendCommand(ORVANE::CONF::STARTCONF, R"({"conferenceDialNumber":"8001","conferenceId":"conf-1"})");
    deliverEvent(h.trans, "callmaster_event",
                 callSignal("ACCEPTED", "INVITE", lastCallId(h.trans, "INVITE"),
                            {{"conferenceId", "conf-1"}, {"externalDialNumber", "99001"}}));
    h.engine.emit("MeetingServiceEvent", "onCallConnected", R"({"userid":"16778240","is_host":true})");
    ASSERT_EQ(h.state(), AVSTATE_IN_MEETING);
}

std::vector<AppEvent> refusals(const AppListener& app) { return app.ofType(ORVANE::CONFNOTIFY::COMMAND_REFUSED); }

}  // namespace

TEST(CommandRefused, EveryRefusalNamesCommandAndReason) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.name);
        Harness h("QC");
        reach(h, row.stage);
        if (HasFatalFailure()) return;
        h.sdk->app().setRefusalNotify(true);
        h.app.clear();
        bool heldDuringCall = true;
        h.app.onNotifyHook = [&](const std::string&, const std::string&) {
            heldDuringCall = ORVANE::CallLock::held();
        };
        h.sdk->sendCommand(row.command, row.data);
        // Told before sendCommand returns, with no lock held.
        const auto told = refusals(h.app);
        if (*row.reason == '\0') {
            EXPECT_TRUE(told.empty()) << told.front().data;
            continue;
        }
        ASSERT_EQ(told.size(), 1u);
        EXPECT_EQ(json::parse(told[0].data), (json{{"command", row.command}, {"reason", row.reason}}));
        EXPECT_FALSE(heldDuringCall);
    }
}

TEST(CommandRefused, OffByDefaultAndStillLogged) {
    Harness h("QC");
    reach(h, Stage::Idle);
    h.app.clear();
    h.sdk->sendCommand(ORVANE::CONF::UPDATEDEVICENAME, "name");
    h.sdk->sendCommand("confNoSuchThing", "{}");
    EXPECT_TRUE(h.app.events().empty());
    EXPECT_TRUE(h.logs.has("json ERROR! confsdk:"));

    h.sdk->app().setRefusalNotify(true);
    h.sdk->sendCommand("confNoSuchThing", "{}");
    h.sdk->app().setRefusalNotify(false);
    h.sdk->sendCommand("confNoSuchThing", "{}");
    EXPECT_EQ(refusals(h.app).size(), 1u);
}

// A refused command of the application is told as such; the commands the
// library sends of its own while carrying out an accepted one are not.
TEST(CommandRefused, AcceptedStartWithoutTransportIsNotRefused) {
    Harness h("QC");
    reach(h, Stage::NoTransport);
    h.sdk->app().setRefusalNotify(true);
    h.sdk->sendCommand(ORVANE::CONF::STARTCONF, R"({"conferenceDialNumber":"8001","extension":"12"})");
    EXPECT_EQ(h.state(), AVSTATE_ACTIVE_WAITING_INVITE_RESULT);
    EXPECT_TRUE(refusals(h.app).empty());
}
