// The application's commands (ConfSDK::sendCommand). In each record the
// first byte picks the command name from the vocabulary, or, past its end,
// takes the record's first word as the name; the rest is the command's data.
#include <string>

#include "world.h"

namespace {

void feed(orvfuzz::World& world, std::string_view record) {
    if (record.empty() || world.timeRecord(record)) return;
    const auto& names = orvfuzz::commandNames();
    const size_t index = static_cast<unsigned char>(record[0]) % (names.size() + 1);
    std::string rest(record.substr(1));
    const std::string type = index < names.size() ? names[index] : orvfuzz::takeWord(rest);
    world.fromApp(type, rest);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return orvfuzz::runInput(data, size, feed, /*jsonOnWire=*/false);
}
