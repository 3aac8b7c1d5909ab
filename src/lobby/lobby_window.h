#pragma once

#include <chrono>
#include <functional>

namespace ORVANE {

// The library's own window for a call that has no media meeting yet, titled
// "In Meeting - LOBBY", on a thread of its own. Closing it ends the call
// through closeAction; the state machine closes it when the meeting arrives.
//
// Choices beyond the plain open-once behaviour:
// - One lobby at a time. A later lobby in the same process gets a window
//   again: the state is reset when the lobby thread ends, and the old thread
//   is joined by the next create_lobby_windows.
// - A close_lobby_window that arrives before the window exists is kept and
//   carried out as soon as the window is up, so a lobby that the meeting has
//   already replaced never stays on screen. One that arrives when no lobby is
//   open does nothing.
// - The close action runs on the lobby thread with no lock of the lobby held
//   (it calls back into the library, possibly into close_lobby_window), and at
//   most once per lobby. No exception leaves the lobby thread.
// - A window that vanishes without being asked to close (destroyed by a
//   window manager or a tool, or its X connection killed) counts as the
//   user's close: the close action runs as for the close button.
// - Without a display (or in a build without X11) the lobby has no window but
//   keeps both operations and their effects; this is said once per process on
//   standard output.

// Opens the lobby unless one is open (the argument is then dropped).
// Returns 0 without waiting for the window.
int create_lobby_windows(std::function<void()> closeAction);

// Asks the lobby to close, from any thread; runCloseAction says whether the
// close action runs. Returns 0.
int close_lobby_window(bool runCloseAction);

// For tests.
// Waits until no lobby is open and its thread has been joined; false on time-out.
bool lobby_wait_closed(std::chrono::milliseconds timeout);
// Whether a lobby is open, from create_lobby_windows to the end of its thread.
bool lobby_is_open();
// Whether the open lobby shows a real window.
bool lobby_has_window();

}  // namespace ORVANE
