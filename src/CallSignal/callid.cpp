#include "callid.h"

#include <chrono>
#include <cstring>
#include <mutex>

#if defined(_WIN32)
#include <windows.h>
#include <wincrypt.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace ORVANE {

namespace {

std::mutex g_mutex;
bool g_seeded = false;
// Used only when the random source fails: a start that still differs
// between processes, so that identifiers never repeat as all zeros would.
detail::XorShift128Plus g_state{{0x9e3779b97f4a7c15ULL ^ static_cast<uint64_t>(
                                      std::chrono::steady_clock::now().time_since_epoch().count()),
                                  0xbf58476d1ce4e5b9ULL ^ reinterpret_cast<uintptr_t>(&g_mutex)}};

bool randomBytes(uint8_t* out, size_t size) {
#if defined(_WIN32)
    HCRYPTPROV provider = 0;
    if (!CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
        return false;
    const bool ok = CryptGenRandom(provider, static_cast<DWORD>(size), out) != 0;
    CryptReleaseContext(provider, 0);
    return ok;
#else
    int fd = ::open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    size_t got = 0;
    while (got < size) {
        ssize_t n = ::read(fd, out + got, size - got);
        if (n <= 0) break;
        got += static_cast<size_t>(n);
    }
    ::close(fd);
    return got == size;
#endif
}

int seedLocked() {
    uint8_t bytes[16];
    if (!randomBytes(bytes, sizeof bytes)) return -1;
    std::memcpy(g_state.s, bytes, sizeof bytes);
    // An all-zero state would stay zero for ever.
    if (g_state.s[0] == 0 && g_state.s[1] == 0) g_state.s[1] = 1;
    g_seeded = true;
    return 0;
}

}  // namespace

int seedCallIdGenerator() {
    std::lock_guard<std::mutex> lock(g_mutex);
    return seedLocked();
}

std::string newCallId() {
    uint8_t bytes[16];
    {
        std::lock_guard<std::mutex> lock(g_mutex);
        if (!g_seeded) seedLocked();
        const uint64_t a = g_state.next();
        const uint64_t b = g_state.next();
        for (int i = 0; i < 8; ++i) {
            bytes[i] = static_cast<uint8_t>(a >> (8 * i));
            bytes[8 + i] = static_cast<uint8_t>(b >> (8 * i));
        }
    }
    return detail::formatCallId(bytes);
}

namespace detail {

uint64_t XorShift128Plus::next() {
    uint64_t s1 = s[0];
    const uint64_t s0 = s[1];
    s[0] = s0;
    s1 ^= s1 << 23;
    s[1] = s1 ^ s0 ^ (s1 >> 18) ^ (s0 >> 5);
    return s[1] + s0;
}

std::string formatCallId(const uint8_t bytes[16]) {
    static const char kHex[] = "0123456789abcdef";
    static const char kVariant[] = "89ab";
    static const char kTemplate[] = "xxxxxxxx-xxxx-4xxx-yxxx-xxxxxxxxxxxx";
    std::string out;
    out.reserve(36);
    int nibble = 0;
    for (const char* t = kTemplate; *t; ++t) {
        if (*t != 'x' && *t != 'y') {
            out.push_back(*t);
            continue;
        }
        // Low half of each byte first.
        const uint8_t byte = bytes[nibble / 2];
        const int value = (nibble % 2 == 0) ? (byte & 0x0f) : (byte >> 4);
        ++nibble;
        out.push_back(*t == 'x' ? kHex[value] : kVariant[value & 3]);
    }
    return out;
}

}  // namespace detail
}  // namespace ORVANE
