// The lobby on systems other than Windows: a real window when an X display
// can be opened, otherwise a lobby without a window that only
// close_lobby_window ends.
#if !defined(_WIN32)

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "lobby/lobby_posix.h"
#include "lobby/lobby_session.h"
#include "logger.h"

namespace ORVANE {
namespace lobby {

WakePipe::WakePipe() {
    int fds[2];
    if (::pipe(fds) != 0) {
        LOG_ERROR("lobby: no wake-up pipe, errno {}", errno);
        return;
    }
    for (int fd : fds) {
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        // A full pipe already says "wake up": a writer never blocks.
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    }
    readFd_ = fds[0];
    writeFd_ = fds[1];
}

WakePipe::~WakePipe() {
    // Nobody may write to a descriptor that is about to be closed and reused.
    lobbyWindowGone();
    if (readFd_ >= 0) ::close(readFd_);
    if (writeFd_ >= 0) ::close(writeFd_);
}

std::function<void()> WakePipe::waker() const {
    const int fd = writeFd_;
    return [fd] {
        if (fd < 0) return;
        const char byte = 1;
        ssize_t r = ::write(fd, &byte, 1);
        (void)r;
    };
}

void WakePipe::drain() const {
    if (readFd_ < 0) return;
    char buf[64];
    while (::read(readFd_, buf, sizeof buf) > 0) {
    }
}

int WakePipe::pollTimeoutMs() const { return readFd_ >= 0 ? -1 : 100; }

namespace {

void runHeadless(WakePipe& wake) {
    printNoWindowOnce();
    lobbyReady(false, wake.waker());
    while (!lobbyCloseRequested()) {
        pollfd p{wake.readFd(), POLLIN, 0};
        ::poll(&p, wake.readFd() >= 0 ? 1 : 0, wake.pollTimeoutMs());
        wake.drain();
    }
    printLobbyLine("LOBBY_WIN: WM_CLOSE\n");
    lobbyRunCloseAction();
    lobbyWindowGone();
    printLobbyLine("LOBBY_WIN: WM_DESTROY\n");
}

}  // namespace

void runLobby() {
    WakePipe wake;
#if defined(ORVANE_LOBBY_X11)
    if (runX11Lobby(wake)) return;
#endif
    runHeadless(wake);
}

}  // namespace lobby
}  // namespace ORVANE

#endif  // !_WIN32
