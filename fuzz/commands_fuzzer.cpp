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
    std::string type;
    if (index < names.size()) {
        type = names[index];
    } else {
        const size_t blank = rest.find(' ');
        type = rest.substr(0, blank);
        rest.erase(0, blank == std::string::npos ? rest.size() : blank + 1);
    }
    world.fromApp(type, rest);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    orvfuzz::World& world = orvfuzz::World::of(data[1]);
    world.begin(data[0] % orvfuzz::kStartCount, data[1]);
    // The application's own text may go to the servers as it is.
    world.requireJsonOnWire(false);
    orvfuzz::forEachRecord(data + 2, size - 2, [&](std::string_view record) { feed(world, record); });
    world.end();
    return 0;
}
