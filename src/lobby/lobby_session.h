#pragma once

// What the platform code of the lobby sees of the shared lobby state. All of
// it is called on the lobby thread.

#include <functional>

namespace ORVANE {
namespace lobby {

// Provided by the platform: shows the lobby and returns when it has ended.
void runLobby();

// The lobby can now be reached: a close request calls wake (under the state
// lock, so wake must neither block nor call into the library). realWindow
// says whether the user sees a window. Returns true when a close was asked
// before this point.
bool lobbyReady(bool realWindow, std::function<void()> wake);

// Whether close_lobby_window has been called for this lobby.
bool lobbyCloseRequested();

// The window is gone: no more wake calls once this returns.
void lobbyWindowGone();

// Runs the close action unless it has run or the last close_lobby_window
// said not to; with no lock held, exceptions caught.
void lobbyRunCloseAction();

// The four lines of standard output.
void printLobbyLine(const char* line);

// The lobby has no window to show: said once per process, on standard output.
void printNoWindowOnce();

}  // namespace lobby
}  // namespace ORVANE
