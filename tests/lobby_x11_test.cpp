// The lobby window on a real X server (ctest runs this under xvfb-run, with
// no window manager). The test's own connection plays the window manager and
// the user: it looks the window up, sends the close request a click on the
// close button would make, destroys the window or kills its connection.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>

#include "lobby_window_cases.h"

// Last: Xlib's macros (None, Bool, Status) clash with the headers above.
#include <X11/Xlib.h>

using namespace std::chrono_literals;
using orvtest::eventually;

namespace {

// Installed before any lobby: the lobby's error handler must pass errors of
// other connections on to it, and it keeps the test's own probing from
// ending the process when a window vanishes under it.
std::atomic<int> foreignBadWindows{0};
int recordError(Display*, XErrorEvent* e) {
    if (e->error_code == BadWindow) ++foreignBadWindows;
    return 0;
}
const bool handlerInstalled = (XSetErrorHandler(recordError), true);

class XProbe {
public:
    using Handle = Window;
    static const char* const unavailable;

    XProbe() : d_(XOpenDisplay(nullptr)) {}
    ~XProbe() {
        if (d_) XCloseDisplay(d_);
    }
    Display* display() const { return d_; }
    bool ready() const { return d_ != nullptr; }

    // The lobby's window among the top-level windows, or 0.
    Window find() {
        Window root, parent, *children = nullptr, found = 0;
        unsigned int n = 0;
        if (!XQueryTree(d_, DefaultRootWindow(d_), &root, &parent, &children, &n)) return 0;
        for (unsigned int i = 0; i < n && !found; ++i) {
            char* name = nullptr;
            if (XFetchName(d_, children[i], &name) && name) {
                if (std::strcmp(name, orvtest::kLobbyTitle) == 0) found = children[i];
                XFree(name);
            }
        }
        if (children) XFree(children);
        return found;
    }

    Window waitShown() {
        Window w = 0;
        eventually([&] {
            w = find();
            XWindowAttributes a;
            return w && XGetWindowAttributes(d_, w, &a) && a.map_state == IsViewable;
        });
        return w;
    }

    // _NET_WM_NAME, the UTF-8 title.
    std::string title(Window w) {
        Atom type;
        int format;
        unsigned long n, after;
        unsigned char* data = nullptr;
        std::string out;
        if (XGetWindowProperty(d_, w, XInternAtom(d_, "_NET_WM_NAME", False), 0, 256, False,
                               XInternAtom(d_, "UTF8_STRING", False), &type, &format, &n, &after, &data) == Success &&
            data) {
            out.assign(reinterpret_cast<char*>(data), n);
            XFree(data);
        }
        return out;
    }

    // The window's corner on the root window (without a window manager it
    // has no frame) and its size.
    orvtest::Placement placement(Window w) {
        XWindowAttributes a{};
        int x = -1, y = -1;
        Window child;
        if (XGetWindowAttributes(d_, w, &a))
            XTranslateCoordinates(d_, w, DefaultRootWindow(d_), 0, 0, &x, &y, &child);
        return {x - a.border_width, y - a.border_width, a.width, a.height};
    }

    // What a window manager sends when the user clicks the close button.
    void userClose(Window w) {
        XEvent ev{};
        ev.xclient.type = ClientMessage;
        ev.xclient.window = w;
        ev.xclient.message_type = XInternAtom(d_, "WM_PROTOCOLS", False);
        ev.xclient.format = 32;
        ev.xclient.data.l[0] = static_cast<long>(XInternAtom(d_, "WM_DELETE_WINDOW", False));
        ev.xclient.data.l[1] = CurrentTime;
        XSendEvent(d_, w, False, NoEventMask, &ev);
        XSync(d_, False);
    }

private:
    Display* d_;
};

const char* const XProbe::unavailable = "no X display: run under xvfb-run";

}  // namespace

namespace orvtest {
INSTANTIATE_TYPED_TEST_SUITE_P(X11, LobbyWindow, XProbe);
}  // namespace orvtest

namespace {
class LobbyX11 : public orvtest::LobbyWindow<XProbe> {};
}  // namespace

// A window destroyed outright (xdotool windowclose, a window manager) is the
// user's dismissal too: the lobby ends, without a second destroy.
TEST_F(LobbyX11, DestroyedWindowEndsTheLobby) {
    std::atomic<int> runs{0};
    testing::internal::CaptureStdout();
    ORVANE::create_lobby_windows(counting(runs));
    const Window w = probe.waitShown();
    ASSERT_NE(w, 0u);
    XDestroyWindow(probe.display(), w);
    XSync(probe.display(), False);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(runs, 1);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("WM_CLOSE"), std::string::npos);
    EXPECT_NE(out.find("LOBBY_WIN: WM_DESTROY\nlobby thread exit\n"), std::string::npos);
}

// xkill on the lobby: Xlib would end the whole process by default.
TEST_F(LobbyX11, KilledConnectionEndsOnlyTheLobby) {
    std::atomic<int> runs{0};
    ORVANE::create_lobby_windows(counting(runs));
    const Window w = probe.waitShown();
    ASSERT_NE(w, 0u);
    XKillClient(probe.display(), w);
    XSync(probe.display(), False);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(runs, 1);

    ORVANE::create_lobby_windows(counting(runs));
    EXPECT_NE(probe.waitShown(), 0u);
}

TEST_F(LobbyX11, ErrorsOfOtherConnectionsStillReachTheirHandler) {
    ORVANE::create_lobby_windows([] {});
    ASSERT_NE(probe.waitShown(), 0u);
    Display* d = probe.display();
    const Window gone = XCreateSimpleWindow(d, DefaultRootWindow(d), 0, 0, 10, 10, 0, 0, 0);
    XDestroyWindow(d, gone);
    const int before = foreignBadWindows;
    XMapWindow(d, gone);
    XSync(d, False);
    EXPECT_EQ(foreignBadWindows, before + 1);
    EXPECT_TRUE(handlerInstalled);
}
