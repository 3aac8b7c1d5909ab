#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sim_servers.h"

namespace orvsim {

// The simulated servers for several clients at once. Each client is a device
// of its own, with a dial number of its own, served by a SimServers of its
// own behind a loopback. Every device number is also the number of that
// device's meeting room, which each client can call: calling a device's
// number puts the caller in the room and rings the device, unless it is in
// a call already; anyone else who calls the number joins the same meeting.
// The conference manager tells each member of a room who joins and who
// leaves it.
class Switchboard {
public:
    using json = nlohmann::json;
    // Hands a message to a client. Called on that client's own server thread.
    using Sink = std::function<void(int client, const std::string& text)>;
    // Every message both ways, before it is handled: `toClient` for what the
    // servers send. Called on the client's server thread.
    using Trace = std::function<void(const std::string& dialNumber, bool toClient, const std::string& text)>;

    static constexpr int kFirstNumber = 1001;

    explicit Switchboard(Sink sink, Trace trace = nullptr);
    ~Switchboard();
    Switchboard(const Switchboard&) = delete;
    Switchboard& operator=(const Switchboard&) = delete;

    // A client has connected. It gets `wanted` as its number when that is
    // free, else the lowest free one from kFirstNumber; the servers send it
    // its device registration. Gives the number.
    std::string open(int client, const std::string& wanted = "");
    // A message from the client.
    void fromClient(int client, const std::string& text);
    // The client has gone: it leaves its meeting. Not on a server thread.
    void close(int client);

    // The members of the meeting in a device's room, by dial number.
    std::vector<std::string> membersOf(const std::string& roomNumber) const;
    // The server's view of a client's call ("none", "ringing", "in-call"...).
    std::string callStateOf(const std::string& dialNumber) const;

    struct Line;

private:
    void observe(const std::shared_ptr<Line>& line, bool toClient, const std::string& text);
    void joined(const std::shared_ptr<Line>& line, const std::string& confid, const std::string& guid);
    void left(const std::shared_ptr<Line>& line);
    void ring(const std::shared_ptr<Line>& caller, const std::string& number);
    std::shared_ptr<Line> byNumber(const std::string& number) const;

    Sink sink_;
    Trace trace_;
    // Guards the lines and the meetings. A leaf: nothing is called on the
    // servers while it is held.
    mutable std::mutex mutex_;
    std::map<int, std::shared_ptr<Line>> lines_;  // by client
    // The members of each meeting, by conference id: dial number to the
    // member's engine user id.
    std::map<std::string, std::map<std::string, std::string>> meetings_;
    std::map<std::string, std::string> ringing_;  // dial number -> conference it is rung for
};

}  // namespace orvsim
