#pragma once

#include <cstdint>
#include <string>

namespace ORVANE {

// Seeds the call identifier generator with 16 bytes from the operating
// system's cryptographic random source. Returns 0, or -1 when the source
// failed (the generator then keeps its time-based start).
int seedCallIdGenerator();

// A new call identifier: a random version-4 UUID text of 36 lower-case
// characters. Seeds the generator first if nobody has.
std::string newCallId();

namespace detail {
// The generator's steps, open for tests.
struct XorShift128Plus {
    uint64_t s[2];
    uint64_t next();
};
std::string formatCallId(const uint8_t bytes[16]);
}  // namespace detail

}  // namespace ORVANE
