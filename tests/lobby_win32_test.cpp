// The lobby as a Win32 window (under Wine on Linux: scripts/test-windows.sh
// gives Wine an X display). The test finds the window by its class and title
// and plays the user through the messages a click on the close button makes.
#include <gtest/gtest.h>

#include <windows.h>

#include <cwchar>
#include <string>

#include "lobby_window_cases.h"

namespace {

class Win32Probe {
public:
    using Handle = HWND;
    static const char* const unavailable;

    bool ready() const { return true; }

    // Only this process's: other tests may show a lobby on the same desktop.
    HWND find() {
        struct Search {
            HWND found = nullptr;
        } search;
        EnumWindows(
            [](HWND w, LPARAM param) -> BOOL {
                DWORD process = 0;
                GetWindowThreadProcessId(w, &process);
                wchar_t cls[64] = {}, title[64] = {};
                GetClassNameW(w, cls, 64);
                InternalGetWindowText(w, title, 64);
                if (process != GetCurrentProcessId() || wcscmp(cls, L"InjectedDLLWindowClass") != 0 ||
                    wcscmp(title, L"In Meeting - LOBBY") != 0)
                    return TRUE;
                reinterpret_cast<Search*>(param)->found = w;
                return FALSE;
            },
            reinterpret_cast<LPARAM>(&search));
        return search.found;
    }

    HWND waitShown() {
        HWND w = nullptr;
        orvtest::eventually([&] {
            w = find();
            return w && IsWindowVisible(w);
        });
        return w;
    }

    std::string title(HWND w) {
        wchar_t wide[128];
        const int n = GetWindowTextW(w, wide, 128);
        char utf8[512];
        const int m = WideCharToMultiByte(CP_UTF8, 0, wide, n, utf8, sizeof utf8, nullptr, nullptr);
        return std::string(utf8, m > 0 ? m : 0);
    }

    // The outer frame, title bar and borders included.
    orvtest::Placement placement(HWND w) {
        RECT r{};
        GetWindowRect(w, &r);
        return {r.left, r.top, r.right - r.left, r.bottom - r.top};
    }

    // The close button: the window procedure's default turns it into WM_CLOSE.
    void userClose(HWND w) { PostMessageW(w, WM_SYSCOMMAND, SC_CLOSE, 0); }
};

const char* const Win32Probe::unavailable = "";

}  // namespace

namespace orvtest {
INSTANTIATE_TYPED_TEST_SUITE_P(Win32, LobbyWindow, Win32Probe);
}  // namespace orvtest
