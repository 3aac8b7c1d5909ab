// The transport's text into the library (TransSDK::Process::onProcess).
//
// A record is the text as it comes, or, when its first byte is one of the
// frames below, the rest of the record put into the envelope the servers
// use, so that mutations land inside a message instead of breaking it:
//   0x01..0x05  a server event of that kind, the rest being the event (args[0])
//   0x06        a call signal "COMMAND CSEQWORD BODY" with the current call id
//   0x07        a reply "ID DATA"
#include <string>

#include "world.h"

namespace {

const char* const kEventKinds[] = {"confmanager_event", "callmaster_event", "devicemgr_event",
                                   "trans_server_autonomy", "callmaster_ctrl_cmd"};

void feed(orvfuzz::World& world, std::string_view record) {
    if (world.timeRecord(record)) return;
    const unsigned char frame = record.empty() ? 0 : static_cast<unsigned char>(record[0]);
    std::string rest(record.substr(record.empty() ? 0 : 1));
    if (frame >= 0x01 && frame <= 0x05) {
        world.event(kEventKinds[frame - 1], rest);
    } else if (frame == 0x06) {
        const std::string command = orvfuzz::takeWord(rest);
        const std::string cseq = orvfuzz::takeWord(rest);
        world.signal(command, cseq, rest.empty() ? "{}" : rest);
    } else if (frame == 0x07) {
        const std::string id = orvfuzz::takeWord(rest);
        world.fromServer(R"({"msg":"result","id":")" + id + R"(","data":)" + (rest.empty() ? "null" : rest) + "}");
    } else {
        world.fromServer(std::string(record));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return orvfuzz::runInput(data, size, feed);
}
