// Opens the lobby and waits until it is closed or the time is up:
//   orvane-lobby-screenshot [SECONDS]
// Prints "lobby close action ran" when the close action runs; exits 0 when
// the lobby was closed, 1 on time-out. scripts/lobby-screenshot.sh runs it
// under Xvfb to take a picture of the window.
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "lobby/lobby_window.h"

int main(int argc, char** argv) {
    const long seconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 60;
    ORVANE::create_lobby_windows([] {
        std::puts("lobby close action ran");
        std::fflush(stdout);
    });
    if (ORVANE::lobby_wait_closed(std::chrono::seconds(seconds))) return 0;
    std::puts("lobby still open, closing it");
    ORVANE::close_lobby_window(false);
    ORVANE::lobby_wait_closed(std::chrono::seconds(5));
    return 1;
}
