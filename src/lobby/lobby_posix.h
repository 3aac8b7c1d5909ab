#pragma once

#include <functional>

namespace ORVANE {
namespace lobby {

// Lets close_lobby_window wake the lobby thread out of poll(). The request
// itself lives in the shared state; the pipe only interrupts the wait.
class WakePipe {
public:
    WakePipe();
    ~WakePipe();
    WakePipe(const WakePipe&) = delete;
    WakePipe& operator=(const WakePipe&) = delete;

    // -1 when no pipe could be made: then poll with pollTimeoutMs() instead.
    int readFd() const { return readFd_; }
    std::function<void()> waker() const;
    void drain() const;
    int pollTimeoutMs() const;

private:
    int readFd_ = -1;
    int writeFd_ = -1;
};

// Shows the lobby as an X11 window until it ends. False when no display can
// be opened, before anything was shown.
bool runX11Lobby(WakePipe& wake);

}  // namespace lobby
}  // namespace ORVANE
