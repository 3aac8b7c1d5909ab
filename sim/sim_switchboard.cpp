#include "sim_switchboard.h"

#include <cctype>
#include <set>
#include <utility>

namespace orvsim {

namespace {

using json = nlohmann::json;

std::string str(const json& j, const char* key) {
    if (!j.is_object()) return {};
    auto it = j.find(key);
    return it != j.end() && it->is_string() ? it->get<std::string>() : std::string();
}

const json& member(const json& j, const char* key) {
    static const json none;
    if (!j.is_object()) return none;
    auto it = j.find(key);
    return it != j.end() ? *it : none;
}

// The call signal a message carries, either way, or null.
json signalIn(const json& message) {
    // From the client: {"msg":"method","params":[{"type":"MQ_CALLMASTER","payload":SIGNAL}]}
    const json& params = member(message, "params");
    if (params.is_array() && !params.empty() && str(params[0], "type") == "MQ_CALLMASTER")
        return member(params[0], "payload");
    // From the servers: {"msg":"changed","fields":{"eventName":"0/callmaster_event","args":[SIGNAL]}}
    const json& fields = member(message, "fields");
    const json& args = member(fields, "args");
    if (str(fields, "eventName") == "0/callmaster_event" && args.is_array() && !args.empty()) return args[0];
    return json();
}

bool isNumber(const std::string& text) {
    if (text.empty() || text.size() > 9) return false;
    for (unsigned char c : text)
        if (!std::isdigit(c)) return false;
    return true;
}

SimServers::Conference roomOf(const std::string& number, const std::string& subject) {
    SimServers::Conference room;
    room.confid = "conf-" + number;
    room.dialNumber = number;
    room.externalDialNumber = "77" + number;
    room.subject = subject;
    return room;
}

std::string deviceName(const std::string& number) { return "Room " + number; }

bool inCall(const std::string& state) { return state == "ringing" || state == "accepted" || state == "in-call"; }

}  // namespace

// One client: its device's servers behind a loopback of their own.
struct Switchboard::Line {
    // The servers' messages, handed to the client.
    struct Forward : ORVANE::TransSDK::Process {
        Switchboard* board = nullptr;
        int client = 0;
        void onProcess(const std::string&, const std::string& data) override { board->sink_(client, data); }
    };

    Line(Switchboard& board, int client, const std::string& number) : number(number) {
        forward.board = &board;
        forward.client = client;
        SimServers::Device device;
        device.deviceId = "dev-" + number;
        device.serialNumber = "SN-" + number;
        device.dialNumber = number;
        device.deviceName = deviceName(number);
        device.qvUserName = "room" + number;
        device.userId = "u-" + number;
        servers = std::make_unique<SimServers>(loop, device);
    }
    ~Line() {
        loop.stop();
        servers.reset();
    }

    const std::string number;
    LoopbackTransport loop;
    Forward forward;
    std::unique_ptr<SimServers> servers;
};

Switchboard::Switchboard(Sink sink, Trace trace) : sink_(std::move(sink)), trace_(std::move(trace)) {}

Switchboard::~Switchboard() {
    std::map<int, std::shared_ptr<Line>> lines;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        lines.swap(lines_);
    }
    for (auto& entry : lines) entry.second->loop.stop();
}

std::string Switchboard::open(int client, const std::string& wanted) {
    std::shared_ptr<Line> line;
    std::vector<std::shared_ptr<Line>> others;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::set<std::string> taken;
        for (const auto& entry : lines_) taken.insert(entry.second->number);
        std::string number = wanted;
        if (!isNumber(number) || taken.count(number)) {
            int n = kFirstNumber;
            while (taken.count(std::to_string(n))) ++n;
            number = std::to_string(n);
        }
        line = std::make_shared<Line>(*this, client, number);
        for (const auto& entry : lines_) others.push_back(entry.second);
        lines_[client] = line;
    }
    std::weak_ptr<Line> weak = line;
    line->loop.setTrace([this, weak](bool toServer, const std::string& text) {
        if (auto self = weak.lock()) observe(self, !toServer, text);
    });
    line->loop.addProcess(&line->forward);
    // Every room is known to every client's servers.
    line->servers->addConference(roomOf(line->number, deviceName(line->number)));
    for (const auto& other : others) {
        other->servers->addConference(roomOf(line->number, deviceName(line->number)));
        line->servers->addConference(roomOf(other->number, deviceName(other->number)));
    }
    line->servers->attach();
    return line->number;
}

void Switchboard::fromClient(int client, const std::string& text) {
    std::shared_ptr<Line> line;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = lines_.find(client);
        if (it == lines_.end()) return;
        line = it->second;
    }
    line->loop.sendTextMessage(text);
}

void Switchboard::close(int client) {
    std::shared_ptr<Line> line;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = lines_.find(client);
        if (it == lines_.end()) return;
        line = it->second;
        lines_.erase(it);
        ringing_.erase(line->number);
    }
    // What it was handling ends first; then it leaves, as a BYE would.
    line->loop.stop();
    left(line);
}

std::vector<std::string> Switchboard::membersOf(const std::string& roomNumber) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> out;
    auto it = meetings_.find(roomOf(roomNumber, "").confid);
    if (it != meetings_.end())
        for (const auto& entry : it->second) out.push_back(entry.first);
    return out;
}

std::string Switchboard::callStateOf(const std::string& dialNumber) const {
    auto line = byNumber(dialNumber);
    return line ? line->servers->callState() : "none";
}

std::shared_ptr<Switchboard::Line> Switchboard::byNumber(const std::string& number) const {
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& entry : lines_)
        if (entry.second->number == number) return entry.second;
    return nullptr;
}

// The signals that move a client into a meeting or out of it. Runs on the
// client's server thread before the message is handled or delivered, so
// what it sends the client comes after the message itself.
void Switchboard::observe(const std::shared_ptr<Line>& line, bool toClient, const std::string& text) {
    if (trace_) trace_(line->number, toClient, text);
    const json signal = signalIn(json::parse(text, nullptr, false));
    if (!signal.is_object()) return;
    const std::string command = str(member(signal, "startLine"), "command");
    const json& body = member(signal, "signalBody");
    if (!toClient) {
        if (command == "INVITE") {
            ring(line, str(member(member(signal, "signalHeader"), "to"), "dialNumber"));
        } else if (command == "ACK") {
            // The end of the client's own call into a meeting.
            joined(line, str(body, "conferenceId"), str(body, "externalGuid"));
        } else if (command == "BYE" || command == "ERROR") {
            // An ERROR from a ringing client declines the call; from a
            // member it ends its part in the meeting.
            {
                std::lock_guard<std::mutex> lock(mutex_);
                ringing_.erase(line->number);
            }
            left(line);
        }
    } else if (command == "ACK") {
        // The servers' last word on a call the client answered.
        joined(line, str(body, "conferenceId"), str(body, "externalGuid"));
    } else if (command == "BYE") {
        left(line);
    } else if (command == "CANCEL") {
        std::lock_guard<std::mutex> lock(mutex_);
        ringing_.erase(line->number);
    }
}

void Switchboard::ring(const std::shared_ptr<Line>& caller, const std::string& number) {
    auto callee = byNumber(number);
    if (!callee || callee == caller) return;
    const std::string confid = roomOf(number, "").confid;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        // A device in a call, or rung already, is not rung again; a device
        // whose room is in use has answered once.
        if (ringing_.count(number) || meetings_.count(confid)) return;
        for (const auto& meeting : meetings_)
            if (meeting.second.count(number)) return;
    }
    if (inCall(callee->servers->callState())) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ringing_[number] = confid;
    }
    // The callee hears who calls in the room's subject.
    callee->servers->addConference(
        roomOf(number, "Call from " + deviceName(caller->number) + " (" + caller->number + ")"));
    callee->servers->incomingCall(number);
}

void Switchboard::joined(const std::shared_ptr<Line>& line, const std::string& confid, const std::string& guid) {
    if (confid.empty()) return;
    std::vector<std::pair<std::shared_ptr<Line>, std::string>> others;  // with their engine ids
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ringing_.erase(line->number);
        // A client is in one meeting at a time.
        for (auto it = meetings_.begin(); it != meetings_.end();) {
            if (it->first != confid) it->second.erase(line->number);
            it = it->second.empty() && it->first != confid ? meetings_.erase(it) : std::next(it);
        }
        auto& members = meetings_[confid];
        for (const auto& entry : members) {
            if (entry.first == line->number) continue;
            for (const auto& client : lines_)
                if (client.second->number == entry.first) others.emplace_back(client.second, entry.second);
        }
        members[line->number] = guid;
    }
    for (const auto& [other, otherGuid] : others) {
        other->servers->participantJoins({"dev-" + line->number, deviceName(line->number), guid});
        line->servers->participantJoins({"dev-" + other->number, deviceName(other->number), otherGuid});
    }
}

void Switchboard::left(const std::shared_ptr<Line>& line) {
    std::vector<std::shared_ptr<Line>> others;
    std::vector<std::shared_ptr<Line>> unanswered;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (auto it = meetings_.begin(); it != meetings_.end(); ++it) {
            if (!it->second.erase(line->number)) continue;
            for (const auto& entry : it->second)
                for (const auto& client : lines_)
                    if (client.second->number == entry.first) others.push_back(client.second);
            if (it->second.empty()) {
                // Nobody is left to answer: a device still rung for this
                // meeting stops ringing.
                for (auto r = ringing_.begin(); r != ringing_.end();) {
                    if (r->second != it->first) {
                        ++r;
                        continue;
                    }
                    for (const auto& client : lines_)
                        if (client.second->number == r->first) unanswered.push_back(client.second);
                    r = ringing_.erase(r);
                }
                meetings_.erase(it);
            }
            break;
        }
    }
    for (const auto& other : others) other->servers->participantLeaves("dev-" + line->number);
    for (const auto& callee : unanswered) callee->servers->cancelCall();
}

}  // namespace orvsim
