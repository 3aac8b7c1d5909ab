#include "lobby/lobby_window.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "console_output.h"
#include "lobby/lobby_session.h"
#include "logger.h"

namespace ORVANE {
namespace {

// Process-wide; the lock is a leaf: nothing that holds it calls the close
// action or anything else outside this file.
struct LobbyState {
    std::mutex mutex;
    std::condition_variable ended;
    std::thread thread;
    bool open = false;  // from create_lobby_windows to the end of the thread
    bool window = false;
    bool closeRequested = false;
    bool runCloseAction = true;
    bool actionTaken = false;
    std::function<void()> closeAction;
    std::function<void()> wake;
};

// Never destroyed: a lobby may still be open when the process exits, and its
// thread, which uses this state, must neither be joined then nor outlive it.
LobbyState& state() {
    static LobbyState* s = new LobbyState;
    return *s;
}

// Joins the thread of a lobby that has ended. Caller holds the lock; the
// thread no longer needs it once `open` is false.
void joinEndedThread(LobbyState& s) {
    if (!s.thread.joinable()) return;
    if (s.thread.get_id() == std::this_thread::get_id())
        s.thread.detach();
    else
        s.thread.join();
}

void lobbyThreadMain() {
    runContained("lobby thread", lobby::runLobby);
    lobby::printLobbyLine("lobby thread exit\n");

    std::function<void()> action, wake;
    {
        LobbyState& s = state();
        std::lock_guard<std::mutex> lock(s.mutex);
        action.swap(s.closeAction);
        wake.swap(s.wake);
        s.window = false;
        s.open = false;
        s.ended.notify_all();
    }
    // The action's captures go here, outside the lock.
}

}  // namespace

int create_lobby_windows(std::function<void()> closeAction) {
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.open) return 0;
    joinEndedThread(s);

    s.open = true;
    s.window = false;
    s.closeRequested = false;
    s.runCloseAction = true;
    s.actionTaken = false;
    s.closeAction = std::move(closeAction);
    lobby::printLobbyLine("++++++++++++++++ create_lobby_windows ++++++++++++\n");
    try {
        s.thread = std::thread(lobbyThreadMain);
    } catch (const std::system_error& e) {
        LOG_ERROR("lobby thread not started: {}", e.what());
        s.open = false;
        s.closeAction = nullptr;
    }
    return 0;
}

int close_lobby_window(bool runCloseAction) {
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    if (!s.open) return 0;
    s.runCloseAction = runCloseAction;
    s.closeRequested = true;
    if (s.wake) s.wake();
    return 0;
}

bool lobby_wait_closed(std::chrono::milliseconds timeout) {
    LobbyState& s = state();
    std::unique_lock<std::mutex> lock(s.mutex);
    if (!s.ended.wait_for(lock, timeout, [&s] { return !s.open; })) return false;
    joinEndedThread(s);
    return true;
}

bool lobby_is_open() {
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.open;
}

bool lobby_has_window() {
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.window;
}

namespace lobby {

bool lobbyReady(bool realWindow, std::function<void()> wake) {
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.window = realWindow;
    s.wake = std::move(wake);
    return s.closeRequested;
}

bool lobbyCloseRequested() {
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.closeRequested;
}

void lobbyWindowGone() {
    std::function<void()> wake;
    LobbyState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.window = false;
    wake.swap(s.wake);
}

void lobbyRunCloseAction() {
    std::function<void()> action;
    {
        LobbyState& s = state();
        std::lock_guard<std::mutex> lock(s.mutex);
        if (s.actionTaken || !s.runCloseAction) return;
        s.actionTaken = true;
        action.swap(s.closeAction);
    }
    if (action) runContained("lobby close action", action);
}

void printLobbyLine(const char* line) {
    if (!consoleOutput()) return;
    std::fputs(line, stdout);
    std::fflush(stdout);
}

void printNoWindowOnce() {
    static std::atomic<bool> told{false};
    if (!told.exchange(true)) printLobbyLine("LOBBY: no display, the lobby is shown without a window\n");
}

}  // namespace lobby
}  // namespace ORVANE
