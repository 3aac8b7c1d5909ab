// The simulated servers of several clients: each client a device with its own
// number, calls between them, and the room's members told of each other.
// The clients here are played by hand, message by message, as the library
// would send them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "sim_switchboard.h"
#include "inbox.h"

using json = nlohmann::json;
using orvtest::Inbox;

namespace {

struct Sent {
    int client;
    json message;
};

json field(const json& j, std::initializer_list<const char*> path) {
    const json* at = &j;
    for (const char* key : path) {
        if (!at->is_object() || !at->contains(key)) return json();
        at = &(*at)[key];
    }
    return *at;
}

// What the servers sent a client: the element of a "changed" message.
json elementOf(const json& message) {
    const json args = field(message, {"fields", "args"});
    return args.is_array() && !args.empty() ? args[0] : json();
}

class SwitchboardTest : public ::testing::Test {
protected:
    SwitchboardTest()
        : board([this](int client, const std::string& text) { sent.add({client, json::parse(text)}); }) {}

    // Waits for the servers to send `client` a signal with this start line.
    json signalTo(int client, const std::string& command) {
        json found;
        const bool ok = sent.waitFor([&](const Sent& s) {
            const json e = elementOf(s.message);
            if (s.client != client || field(e, {"startLine", "command"}) != command) return false;
            found = e;
            return true;
        });
        EXPECT_TRUE(ok) << "no " << command << " for client " << client;
        return found;
    }
    // The names and engine ids of the participants the conference manager
    // told `client` of, for one operation, in order.
    static std::vector<std::string> told(const std::vector<Sent>& all, int client, const std::string& operation) {
        std::vector<std::string> names;
        for (const Sent& s : all) {
            const json e = elementOf(s.message);
            if (s.client == client && field(e, {"event"}) == "confmgr_endpoint_change" &&
                field(e, {"operation"}) == operation)
                names.push_back(field(e, {"endpoint", "name"}).get<std::string>() + "/" +
                                field(e, {"endpoint", "externalGuid"}).get<std::string>());
        }
        return names;
    }
    std::vector<std::string> told(int client, const std::string& operation) {
        return told(sent.items(), client, operation);
    }
    bool waitTold(int client, const std::string& operation, std::size_t n) {
        return sent.waitUntil(
            [&](const std::vector<Sent>& all) { return told(all, client, operation).size() >= n; });
    }
    void send(int client, const json& signal) {
        const std::string command = signal["startLine"]["command"];
        board.fromClient(client, json{{"msg", "method"},
                                      {"method", "quelmar"},
                                      {"id", command + "_MQ_CALLMASTER"},
                                      {"params", json::array({{{"type", "MQ_CALLMASTER"}, {"payload", signal}}})}}
                                     .dump());
    }
    // Everything the servers had for `client` so far has arrived: its lane
    // keeps order, so the answer to a question asked now comes after it.
    void flush(int client) {
        const std::string id = "confDeviceMetadata@flush" + std::to_string(++flushes);
        board.fromClient(client, json{{"id", id},
                                      {"msg", "method"},
                                      {"params", json::array({{{"url", "/metadata"}, {"type", "get"}}})}}
                                     .dump());
        EXPECT_TRUE(sent.waitFor([&](const Sent& s) { return s.client == client && field(s.message, {"id"}) == id; }));
    }
    std::vector<std::string> membersOf(const std::string& room, std::size_t n) {
        for (int i = 0; i < 5000 && board.membersOf(room).size() != n; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return board.membersOf(room);
    }
    // How often `client` was rung.
    int invites(int client) {
        int n = 0;
        for (const Sent& s : sent.items())
            n += s.client == client && field(elementOf(s.message), {"startLine", "command"}) == "INVITE";
        return n;
    }
    static json invite(const std::string& from, const std::string& to) {
        return {{"startLine", {{"command", "INVITE"}}},
                {"signalHeader",
                 {{"from", {{"dialNumber", from}}},
                  {"to", {{"dialNumber", to}}},
                  {"cseq", "123456789 INVITE"},
                  {"callId", "call-" + from}}},
                {"signalBody", {{"joinPassword", ""}, {"deviceName", ""}, {"force", false}}}};
    }
    // The library's answers are the servers' last signal with a new start line.
    static json answer(json signal, const std::string& command, const std::string& guid) {
        signal["startLine"] = {{"command", command}};
        signal["signalBody"]["externalGuid"] = guid;
        return signal;
    }
    // A client calls `number` and gets into its room's meeting.
    void callAndJoin(int client, const std::string& from, const std::string& number, const std::string& guid) {
        send(client, invite(from, number));
        send(client, answer(signalTo(client, "ACCEPTED"), "ACK", guid));
    }

    Inbox<Sent> sent;
    int flushes = 0;
    orvsim::Switchboard board;
};

TEST_F(SwitchboardTest, EachClientIsADeviceWithANumberOfItsOwn) {
    struct Row {
        int client;
        const char* wanted;
        const char* gets;
    };
    const Row rows[] = {
        {1, "", "1001"},       // the first free number
        {2, "1005", "1005"},   // the number asked for
        {3, "1005", "1002"},   // taken: the first free one
        {4, "10a", "1003"},    // no number
        {5, "", "1004"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(board.open(row.client, row.wanted), row.gets) << "client " << row.client;
        // Its registration tells it the number.
        EXPECT_TRUE(sent.waitFor([&](const Sent& s) {
            const json e = elementOf(s.message);
            return s.client == row.client && field(e, {"event"}) == "device_register" &&
                   field(e, {"dialNumber"}) == row.gets && field(e, {"deviceId"}) == "dev-" + std::string(row.gets);
        })) << "client " << row.client;
    }
    // A number that is free again is given again.
    board.close(1);
    EXPECT_EQ(board.open(6, ""), "1001");
}

TEST_F(SwitchboardTest, ACallRingsTheDeviceAndTheRoomsMembersHearOfEachOther) {
    ASSERT_EQ(board.open(1, ""), "1001");
    ASSERT_EQ(board.open(2, ""), "1002");
    ASSERT_EQ(board.open(3, ""), "1003");

    // A calls B: A goes into B's room, B rings with A's name.
    callAndJoin(1, "1001", "1002", "17001000");
    const json ring = signalTo(2, "INVITE");
    EXPECT_EQ(field(ring, {"signalBody", "conferenceId"}), "conf-1002");
    EXPECT_EQ(board.callStateOf("1002"), "ringing");
    board.fromClient(2, json{{"id", "confinfo_by_dialnum@1"},
                             {"msg", "method"},
                             {"params", json::array({{{"url", "/api/quelmar/confmgr/2.0/conference/dialnumber/1002"},
                                                      {"type", "get"}}})}}
                            .dump());
    ASSERT_TRUE(sent.waitFor([](const Sent& s) {
        return s.client == 2 && field(s.message, {"data", "subject"}) == "Call from Room 1001 (1001)";
    }));

    // B answers: both are in the meeting and each hears of the other.
    send(2, answer(ring, "ACCEPTED", "17002000"));
    signalTo(2, "ACK");
    ASSERT_TRUE(waitTold(1, "confmgr_participant_join", 1));
    ASSERT_TRUE(waitTold(2, "confmgr_participant_join", 1));
    EXPECT_EQ(told(1, "confmgr_participant_join"), std::vector<std::string>{"Room 1002/17002000"});
    EXPECT_EQ(told(2, "confmgr_participant_join"), std::vector<std::string>{"Room 1001/17001000"});
    EXPECT_EQ(board.membersOf("1002"), (std::vector<std::string>{"1001", "1002"}));

    // C calls the same number: it joins, and nobody rings again.
    callAndJoin(3, "1003", "1002", "17003000");
    ASSERT_TRUE(waitTold(3, "confmgr_participant_join", 2));
    ASSERT_TRUE(waitTold(1, "confmgr_participant_join", 2));
    ASSERT_TRUE(waitTold(2, "confmgr_participant_join", 2));
    EXPECT_EQ(told(1, "confmgr_participant_join")[1], "Room 1003/17003000");
    EXPECT_EQ(told(2, "confmgr_participant_join")[1], "Room 1003/17003000");
    EXPECT_EQ(told(3, "confmgr_participant_join"),
              (std::vector<std::string>{"Room 1001/17001000", "Room 1002/17002000"}));
    EXPECT_EQ(board.callStateOf("1003"), "in-call");
    flush(2);
    EXPECT_EQ(invites(2), 1);

    // A leaves with BYE, C by going away: the others hear of each.
    send(1, json{{"startLine", {{"command", "BYE"}}}, {"signalHeader", {{"callId", "other"}}}, {"signalBody", {}}});
    ASSERT_TRUE(waitTold(2, "confmgr_participant_leave", 1));
    ASSERT_TRUE(waitTold(3, "confmgr_participant_leave", 1));
    board.close(3);
    ASSERT_TRUE(waitTold(2, "confmgr_participant_leave", 2));
    EXPECT_EQ(told(2, "confmgr_participant_leave"), (std::vector<std::string>{"Room 1001/17001000", "Room 1003/17003000"}));
    EXPECT_TRUE(told(1, "confmgr_participant_leave").empty());
    EXPECT_EQ(board.membersOf("1002"), std::vector<std::string>{"1002"});
}

TEST_F(SwitchboardTest, NobodyRingsWhenTheCalledDeviceIsBusyOrTheCallerLeaves) {
    ASSERT_EQ(board.open(1, ""), "1001");
    ASSERT_EQ(board.open(2, ""), "1002");
    ASSERT_EQ(board.open(3, ""), "1003");

    // A calls B and gives up before B answers: B stops ringing.
    callAndJoin(1, "1001", "1002", "17001000");
    signalTo(2, "INVITE");
    send(1, json{{"startLine", {{"command", "BYE"}}}, {"signalHeader", {{"callId", "x"}}}, {"signalBody", {}}});
    signalTo(2, "CANCEL");
    EXPECT_TRUE(board.membersOf("1002").empty());

    // C is in A's room; B calls C: C is busy and is not rung.
    callAndJoin(3, "1003", "1001", "17003000");
    ASSERT_EQ(membersOf("1001", 1), std::vector<std::string>{"1003"});
    callAndJoin(2, "1002", "1003", "17002000");
    ASSERT_EQ(membersOf("1003", 1), std::vector<std::string>{"1002"});
    flush(3);
    EXPECT_EQ(invites(3), 0);
    // Calling one's own number rings nobody either.
    ASSERT_EQ(board.open(4, ""), "1004");
    callAndJoin(4, "1004", "1004", "17004000");
    EXPECT_EQ(membersOf("1004", 1), std::vector<std::string>{"1004"});
    flush(4);
    EXPECT_EQ(invites(4), 0);
}

}  // namespace
