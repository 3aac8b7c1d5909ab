// The lobby window on a real X server (ctest runs this under xvfb-run, with
// no window manager). The test's own connection plays the window manager and
// the user: it looks the window up, sends the close request a click on the
// close button would make, destroys the window or kills its connection.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include "app_listener.h"
#include "lobby/lobby_window.h"
#include "log_capture.h"

// Last: Xlib's macros (None, Bool, Status) clash with the headers above.
#include <X11/Xlib.h>

using namespace std::chrono_literals;
using orvtest::eventually;

namespace {

const char kTitle[] = "In Meeting - LOBBY";

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
    XProbe() : d_(XOpenDisplay(nullptr)) {}
    ~XProbe() {
        if (d_) XCloseDisplay(d_);
    }
    Display* display() const { return d_; }

    // The lobby's window among the top-level windows, or 0.
    Window find() {
        Window root, parent, *children = nullptr, found = 0;
        unsigned int n = 0;
        if (!XQueryTree(d_, DefaultRootWindow(d_), &root, &parent, &children, &n)) return 0;
        for (unsigned int i = 0; i < n && !found; ++i) {
            char* name = nullptr;
            if (XFetchName(d_, children[i], &name) && name) {
                if (std::strcmp(name, kTitle) == 0) found = children[i];
                XFree(name);
            }
        }
        if (children) XFree(children);
        return found;
    }

    Window waitViewable() {
        Window w = 0;
        eventually([&] {
            w = find();
            XWindowAttributes a;
            return w && XGetWindowAttributes(d_, w, &a) && a.map_state == IsViewable;
        });
        return w;
    }

    std::string netWmName(Window w) {
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

    // What a window manager sends when the user clicks the close button.
    void sendDelete(Window w) {
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

class LobbyX11 : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_NE(probe.display(), nullptr) << "no X display: run under xvfb-run"; }
    void TearDown() override {
        ORVANE::close_lobby_window(false);
        EXPECT_TRUE(ORVANE::lobby_wait_closed(5s));
    }
    std::function<void()> counting(std::atomic<int>& runs) {
        return [&runs] { ++runs; };
    }

    orvtest::LogCapture logs;
    XProbe probe;
};

}  // namespace

TEST_F(LobbyX11, UserCloseRunsTheActionOnceAfterwardsTheWindowGoes) {
    std::atomic<int> runs{0};
    std::atomic<bool> shownDuringAction{false};
    testing::internal::CaptureStdout();
    ORVANE::create_lobby_windows([&] {
        ++runs;
        XProbe own;  // this runs on the lobby thread: a connection of its own
        shownDuringAction = own.find() != 0;
    });

    const Window w = probe.waitViewable();
    ASSERT_NE(w, 0u);
    EXPECT_TRUE(ORVANE::lobby_has_window());
    EXPECT_EQ(probe.netWmName(w), kTitle);
    XWindowAttributes a;
    ASSERT_TRUE(XGetWindowAttributes(probe.display(), w, &a));
    EXPECT_EQ(a.width, 900);
    EXPECT_EQ(a.height, 600);
    int x = -1, y = -1;
    Window child;
    XTranslateCoordinates(probe.display(), w, DefaultRootWindow(probe.display()), 0, 0, &x, &y, &child);
    EXPECT_EQ(x - a.border_width, 400);
    EXPECT_EQ(y - a.border_width, 200);

    // A double click on the close button.
    probe.sendDelete(w);
    probe.sendDelete(w);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(shownDuringAction);
    EXPECT_EQ(probe.find(), 0u);
    EXPECT_FALSE(ORVANE::lobby_has_window());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "++++++++++++++++ create_lobby_windows ++++++++++++\n"
              "LOBBY_WIN: WM_CLOSE\n"
              "LOBBY_WIN: WM_DESTROY\n"
              "lobby thread exit\n");
}

TEST_F(LobbyX11, CloseWithActionRunsItOnTheLobbyThreadWhichMayCallBack) {
    std::atomic<int> runs{0}, laterRuns{0};
    std::thread::id ranOn;
    ORVANE::create_lobby_windows([&] {
        ++runs;
        ranOn = std::this_thread::get_id();
        // The library's answer to the close may come straight back here.
        ORVANE::close_lobby_window(true);
        ORVANE::create_lobby_windows(counting(laterRuns));
    });
    ASSERT_NE(probe.waitViewable(), 0u);
    ORVANE::close_lobby_window(true);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(runs, 1);
    EXPECT_NE(ranOn, std::this_thread::get_id());
    EXPECT_FALSE(ORVANE::lobby_is_open());
    EXPECT_EQ(laterRuns, 0);
    EXPECT_EQ(probe.find(), 0u);
}

// A close before the window is up is carried out once it is; one with no
// lobby open is forgotten, or it would run the next lobby's action.
TEST_F(LobbyX11, CloseBeforeTheWindowIsUpOrWithNoLobbyOpen) {
    std::atomic<int> runs{0};
    ORVANE::create_lobby_windows(counting(runs));
    ORVANE::close_lobby_window(false);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(probe.find(), 0u);

    ORVANE::close_lobby_window(true);
    ORVANE::create_lobby_windows(counting(runs));
    ASSERT_NE(probe.waitViewable(), 0u);
    ORVANE::close_lobby_window(false);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(probe.find(), 0u);
}

TEST_F(LobbyX11, OneLobbyAtATimeAndALaterOneGetsAWindowAgain) {
    std::atomic<int> first{0}, dropped{0}, second{0};
    testing::internal::CaptureStdout();
    ORVANE::create_lobby_windows(counting(first));
    ORVANE::create_lobby_windows(counting(dropped));
    ASSERT_NE(probe.waitViewable(), 0u);
    ORVANE::close_lobby_window(true);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("create_lobby_windows"), out.rfind("create_lobby_windows"));
    EXPECT_EQ(first, 1);
    EXPECT_EQ(dropped, 0);

    ORVANE::create_lobby_windows(counting(second));
    const Window w = probe.waitViewable();
    ASSERT_NE(w, 0u);
    probe.sendDelete(w);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(second, 1);
    EXPECT_EQ(first, 1);
}

// A window destroyed outright (xdotool windowclose, a window manager) is the
// user's dismissal too: the lobby ends, without a second destroy.
TEST_F(LobbyX11, DestroyedWindowEndsTheLobby) {
    std::atomic<int> runs{0};
    testing::internal::CaptureStdout();
    ORVANE::create_lobby_windows(counting(runs));
    const Window w = probe.waitViewable();
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
    const Window w = probe.waitViewable();
    ASSERT_NE(w, 0u);
    XKillClient(probe.display(), w);
    XSync(probe.display(), False);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(runs, 1);

    ORVANE::create_lobby_windows(counting(runs));
    EXPECT_NE(probe.waitViewable(), 0u);
}

TEST_F(LobbyX11, ErrorsOfOtherConnectionsStillReachTheirHandler) {
    ORVANE::create_lobby_windows([] {});
    ASSERT_NE(probe.waitViewable(), 0u);
    Display* d = probe.display();
    const Window gone = XCreateSimpleWindow(d, DefaultRootWindow(d), 0, 0, 10, 10, 0, 0, 0);
    XDestroyWindow(d, gone);
    const int before = foreignBadWindows;
    XMapWindow(d, gone);
    XSync(d, False);
    EXPECT_EQ(foreignBadWindows, before + 1);
    EXPECT_TRUE(handlerInstalled);
}
