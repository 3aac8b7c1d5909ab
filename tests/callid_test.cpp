// Call identifiers: random version-4 ids, from a known generator and layout.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "CallSignal/callid.h"

using namespace ORVANE;

TEST(CallId, GeneratorLayoutAndUniqueness) {
    // From a known state, worked by hand: s1 = 1, s0 = 2; s1 ^= s1 << 23 gives
    // 0x800001; the new second word is 0x800001 ^ 2 ^ (0x800001 >> 18) ^
    // (2 >> 5) = 0x800023; the number drawn is 0x800023 + 2.
    detail::XorShift128Plus g{{1, 2}};
    EXPECT_EQ(g.next(), 0x800025u);
    EXPECT_EQ(g.s[0], 2u);
    EXPECT_EQ(g.s[1], 0x800023u);

    // Half-bytes fill the text low half first; "y" keeps two bits and picks from "89ab".
    const uint8_t bytes[16] = {0x21, 0x43, 0x65, 0x87, 0xa9, 0xcb, 0xed, 0x0f,
                               0x21, 0x43, 0x65, 0x87, 0xa9, 0xcb, 0xed, 0x0f};
    EXPECT_EQ(detail::formatCallId(bytes), "12345678-9abc-4def-8123-456789abcdef");

    const std::regex uuid4("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string id = newCallId();
        ASSERT_TRUE(std::regex_match(id, uuid4)) << id;
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 1000u);
}

// The operating system's random source (CryptGenRandom on Windows,
// /dev/urandom elsewhere) answers, and with fresh bytes each time: a source
// that gave the same bytes twice would start both seedings at the same
// point and draw the same identifier.
TEST(CallId, SeedsFromTheSystemsRandomSource) {
    ASSERT_EQ(seedCallIdGenerator(), 0);
    const std::string first = newCallId();
    ASSERT_EQ(seedCallIdGenerator(), 0);
    const std::string second = newCallId();
    EXPECT_NE(first, second);
}
