// What the library costs at rest: the memory it adds to a bare process once
// created and registered, the threads it keeps, and how often they wake
// while nothing happens. scripts/bench.sh prints these beside the speeds.
//   orvane-resource-probe [IDLE_SECONDS]
#include <dirent.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "bench_world.h"

namespace {

long statusField(const std::string& path, const std::string& field) {
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line))
        if (line.compare(0, field.size(), field) == 0 && line.size() > field.size() && line[field.size()] == ':')
            return std::atol(line.c_str() + field.size() + 1);
    return -1;
}

long rssKb() { return statusField("/proc/self/status", "VmRSS"); }

struct Threads {
    int count = 0;
    long switches = 0;  // context switches of every thread but the caller's
};

Threads threads() {
    Threads t;
    const std::string self = std::to_string(static_cast<long>(gettid()));
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* e = readdir(dir)) {
            if (e->d_name[0] == '.') continue;
            ++t.count;
            if (self == e->d_name) continue;
            const std::string status = std::string("/proc/self/task/") + e->d_name + "/status";
            t.switches += statusField(status, "voluntary_ctxt_switches") +
                          statusField(status, "nonvoluntary_ctxt_switches");
        }
        closedir(dir);
    }
    return t;
}

}  // namespace

int main(int argc, char** argv) {
    const int idleSeconds = argc > 1 ? std::atoi(argv[1]) : 3;
    const long bare = rssKb();
    orvbench::World::get();
    // Whatever the start set going settles first.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const long created = rssKb();
    const Threads before = threads();
    std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
    const Threads after = threads();
    std::printf("rss_bare_kb=%ld rss_kb=%ld rss_added_kb=%ld threads=%d idle_wakeups=%ld idle_seconds=%d\n", bare,
                created, created - bare, after.count, after.switches - before.switches, idleSeconds);
    return 0;
}
