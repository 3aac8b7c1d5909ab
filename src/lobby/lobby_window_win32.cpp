// The lobby as a Win32 window with its own message loop.
#if defined(_WIN32)

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include "lobby/lobby_session.h"
#include "logger.h"

namespace ORVANE {
namespace lobby {
namespace {

const wchar_t kClassName[] = L"InjectedDLLWindowClass";
const wchar_t kTitle[] = L"In Meeting - LOBBY";
// Ends a lobby whose window could not be made: posted to the thread itself.
constexpr UINT kEndWindowlessLobby = WM_APP + 1;

LRESULT CALLBACK lobbyWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_DESTROY:
            // Nothing may be posted to this handle any more: it can be reused.
            lobbyWindowGone();
            printLobbyLine("LOBBY_WIN: WM_DESTROY\n");
            PostQuitMessage(0);
            return 0;
        case WM_CLOSE:
            printLobbyLine("LOBBY_WIN: WM_CLOSE\n");
            // The window stays on screen until the action has returned.
            lobbyRunCloseAction();
            DestroyWindow(window);
            return 0;
        case WM_COMMAND:
            return 0;
        default:
            return DefWindowProcW(window, message, wParam, lParam);
    }
}

}  // namespace

void runLobby() {
    MSG msg;
    // Gives the thread its message queue before anyone can post to it.
    PeekMessageW(&msg, nullptr, WM_USER, WM_USER, PM_NOREMOVE);

    const HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW cls{};
    cls.cbSize = sizeof cls;
    cls.style = CS_DBLCLKS;
    cls.lpfnWndProc = lobbyWindowProc;
    cls.hInstance = instance;
    cls.lpszClassName = kClassName;
    cls.hIcon = LoadIconW(nullptr, IDI_APPLICATION);
    cls.hIconSm = LoadIconW(nullptr, IDI_APPLICATION);
    cls.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    // System colour 1 in the form of a brush handle.
    cls.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(1));
    // Fails harmlessly when an earlier lobby of this process registered it.
    RegisterClassExW(&cls);

    const HWND window = CreateWindowExW(0, kClassName, kTitle, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                                        400, 300, nullptr, nullptr, instance, nullptr);
    if (window) {
        // Reachable before it is shown: whoever sees the window can close it.
        const auto post = [window] { PostMessageW(window, WM_CLOSE, 0, 0); };
        if (lobbyReady(true, post)) post();
        SetWindowPos(window, nullptr, 400, 200, 900, 600, SWP_SHOWWINDOW);
        ShowWindow(window, SW_SHOWNORMAL);
        UpdateWindow(window);
    } else {
        // No desktop to show it on (under Wine: no X display); the lobby
        // goes on without a window, as elsewhere.
        LOG_ERROR("lobby window not created, error {}", static_cast<unsigned long>(GetLastError()));
        printNoWindowOnce();
        const DWORD thread = GetCurrentThreadId();
        const auto post = [thread] { PostThreadMessageW(thread, kEndWindowlessLobby, 0, 0); };
        if (lobbyReady(false, post)) post();
    }

    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (msg.hwnd == nullptr && msg.message == kEndWindowlessLobby) {
            printLobbyLine("LOBBY_WIN: WM_CLOSE\n");
            lobbyRunCloseAction();
            lobbyWindowGone();
            printLobbyLine("LOBBY_WIN: WM_DESTROY\n");
            break;
        }
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

}  // namespace lobby
}  // namespace ORVANE

#endif  // _WIN32
