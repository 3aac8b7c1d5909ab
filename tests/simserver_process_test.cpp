// Console clients in processes of their own calling each other through a
// real orvane-simserver process, and through a server that is killed in the
// middle of a call and started again. Everything on 127.0.0.1.
#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>

#include "child_process.h"

using orvtest::ChildProcess;

namespace {

class SimServerProcess : public ::testing::Test {
protected:
    // Starts the server, on `port` or on one the system picks.
    void startServer(unsigned short port = 0) {
        server = std::make_unique<ChildProcess>(
            std::vector<std::string>{ORVANE_SIMSERVER, "--port", std::to_string(port)});
        const int at = server->expect("^orvane-simserver: listening on ws://127\\.0\\.0\\.1:[0-9]+$");
        ASSERT_GE(at, 0) << server->text();
        const std::string line = server->lines.items()[static_cast<std::size_t>(at)];
        port_ = static_cast<unsigned short>(std::stoi(line.substr(line.rfind(':') + 1)));
    }
    // A console client that asks for `number`, registered and idle.
    std::unique_ptr<ChildProcess> client(const std::string& number) {
        auto c = std::make_unique<ChildProcess>(std::vector<std::string>{
            ORVANE_CLI, "--server", "ws://127.0.0.1:" + std::to_string(port_) + "/" + number});
        EXPECT_GE(c->expect("state +AVSTATE_IDLE"), 0) << c->text();
        return c;
    }
    // Waits for a line on `who` after line `from`; fails the test with the
    // output when it does not come. Gives the line's index.
    static int see(ChildProcess& who, const std::string& pattern, std::size_t from = 0) {
        const int at = who.expect(pattern, from);
        EXPECT_GE(at, 0) << "no line matching " << pattern << " in:\n" << who.text();
        return at < 0 ? static_cast<int>(who.lineCount()) : at;
    }
    // A calls B's number, B answers, and both are in B's room's meeting.
    static void callAndAnswer(ChildProcess& a, ChildProcess& b, const std::string& aNumber,
                              const std::string& bNumber) {
        const std::size_t aFrom = a.lineCount(), bFrom = b.lineCount();
        a.type("call " + bNumber);
        see(b, "notify +0/confmanager_event confsdknotify_recv_invite \"Call from Room " + aNumber + " \\(" +
                   aNumber + "\\)\"",
            bFrom);
        b.type("answer");
        see(a, "state +AVSTATE_IN_MEETING", aFrom);
        see(b, "state +AVSTATE_IN_MEETING", bFrom);
        see(a, "confmgr_participant_join Room " + bNumber, aFrom);
        see(b, "confmgr_participant_join Room " + aNumber, bFrom);
    }

    std::unique_ptr<ChildProcess> server;
    unsigned short port_ = 0;
};

TEST_F(SimServerProcess, TwoClientsCallEachOtherAndAThirdJoinsByTheNumber) {
    startServer();
    auto a = client("1001");
    auto b = client("1002");
    see(*a, "link +connected ws://127\\.0\\.0\\.1:[0-9]+/1001");
    callAndAnswer(*a, *b, "1001", "1002");
    // Each side's engine gives its own user ids: the other's is apart.
    see(*a, "confmgr_participant_join Room 1002 \\(engine id 170020[0-9][0-9]\\)");

    auto c = client("1003");
    std::size_t aFrom = a->lineCount(), bFrom = b->lineCount();
    c->type("call 1002");
    see(*c, "state +AVSTATE_IN_MEETING");
    see(*c, "confmgr_participant_join Room 1001");
    see(*c, "confmgr_participant_join Room 1002");
    see(*a, "confmgr_participant_join Room 1003", aFrom);
    see(*b, "confmgr_participant_join Room 1003", bFrom);

    aFrom = a->lineCount();
    b->type("leave");
    see(*b, "state +AVSTATE_IDLE", bFrom);
    see(*a, "confmgr_participant_leave Room 1002", aFrom);
    see(*c, "confmgr_participant_leave Room 1002");
    // The server logged the messages both ways.
    see(*server, "^ +[0-9.]+ +1002> .*\"BYE\"");
    see(*server, "^ +[0-9.]+ +1001< .*confmgr_participant_leave");

    // The clients end with their input; the server with SIGTERM.
    for (auto* cl : {a.get(), b.get(), c.get()}) {
        cl->closeInput();
        EXPECT_EQ(cl->wait(), 0);
    }
    server->kill(SIGTERM);
    EXPECT_EQ(server->wait(), 0);
    see(*server, "^orvane-simserver: stopped$");
}

TEST_F(SimServerProcess, AServerKilledMidCallIsFoundAgainAndTheNextCallWorks) {
    startServer();
    auto a = client("1001");
    auto b = client("1002");
    callAndAnswer(*a, *b, "1001", "1002");

    std::size_t aFrom = a->lineCount(), bFrom = b->lineCount();
    server->kill(SIGKILL);
    EXPECT_EQ(server->wait(), 128 + SIGKILL);
    aFrom = static_cast<std::size_t>(see(*a, "link +reconnecting ", aFrom));
    bFrom = static_cast<std::size_t>(see(*b, "link +reconnecting ", bFrom));

    // The same port: the clients come back by themselves, each asking for
    // its number again, and register anew.
    startServer(port_);
    see(*a, "link +connected ws://127\\.0\\.0\\.1:[0-9]+/1001", aFrom);
    see(*b, "link +connected ws://127\\.0\\.0\\.1:[0-9]+/1002", bFrom);
    see(*server, "1001 +connected");
    see(*server, "1002 +connected");
    see(*a, "notify +confsdknotify_callsignal_ok", aFrom);
    see(*b, "notify +confsdknotify_callsignal_ok", bFrom);

    // A meeting ends only by the server's BYE, the user's leave or the
    // engine: the lost link is none of them. The application leaves; its
    // BYE goes to the new server, which has no such call.
    EXPECT_LT(a->expect("state +AVSTATE_IDLE", aFrom, std::chrono::milliseconds(200)), 0);
    a->type("leave");
    b->type("leave");
    see(*a, "state +AVSTATE_IDLE", aFrom);
    see(*b, "state +AVSTATE_IDLE", bFrom);
    see(*server, "1001> .*\"BYE\"");

    // The next call goes through.
    callAndAnswer(*a, *b, "1001", "1002");
}

}  // namespace
