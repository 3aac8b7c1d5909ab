// The lobby as an X11 window. The thread has a Display of its own and is the
// only one to use it, so Xlib needs no XInitThreads. close_lobby_window
// reaches the thread through the wake-up pipe rather than an X event: a
// second connection sending to a window that may just have vanished would
// raise an X error in the caller's thread.
#if defined(ORVANE_LOBBY_X11)

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>

#include <cstring>
#include <mutex>

#include "lobby/lobby_posix.h"
#include "lobby/lobby_session.h"
#include "logger.h"

namespace ORVANE {
namespace lobby {
namespace {

const char kTitle[] = "In Meeting - LOBBY";
const char kText[] = "Waiting for the meeting. Close this window to leave.";
constexpr int kX = 400, kY = 200, kWidth = 900, kHeight = 600;

// Xlib's default handlers end the process on any error. Ours may see
// BadWindow when the window vanishes under us, and a lost connection when the
// window's client is killed: neither may take the application down. The
// handlers are process-wide, so they pass every other display's errors on to
// whatever handler was there before.
thread_local Display* lobbyDisplay = nullptr;
XErrorHandler previousErrorHandler = nullptr;
XIOErrorHandler previousIOErrorHandler = nullptr;

int onXError(Display* display, XErrorEvent* error) {
    if (display == lobbyDisplay) {
        LOG_DEBUG("lobby window: X error {} on request {} ignored", static_cast<int>(error->error_code),
                  static_cast<int>(error->request_code));
        return 0;
    }
    return previousErrorHandler ? previousErrorHandler(display, error) : 0;
}

int onXIOError(Display* display) {
    // Returning lets the display's own exit handler decide.
    if (display == lobbyDisplay) return 0;
    return previousIOErrorHandler ? previousIOErrorHandler(display) : 0;
}

#if defined(ORVANE_HAVE_X_IO_EXIT_HANDLER)
// Called instead of exit() when the lobby's connection is lost.
void onLobbyConnectionLost(Display*, void* lost) { *static_cast<bool*>(lost) = true; }
#endif

void installErrorHandlers() {
    static std::once_flag once;
    std::call_once(once, [] {
        previousErrorHandler = XSetErrorHandler(onXError);
        previousIOErrorHandler = XSetIOErrorHandler(onXIOError);
    });
}

class LobbyWindow {
public:
    explicit LobbyWindow(Display* d) : d_(d) {}
    ~LobbyWindow() {
        // On a lost connection these only free the client's memory.
        if (titleFont_) XFreeFont(d_, titleFont_);
        if (textFont_) XFreeFont(d_, textFont_);
        if (gc_) XFreeGC(d_, gc_);
        // Still ours while closing: the final sync may bring in late errors.
        XCloseDisplay(d_);
        lobbyDisplay = nullptr;
    }

    void run(WakePipe& wake) {
        lobbyDisplay = d_;
        installErrorHandlers();
#if defined(ORVANE_HAVE_X_IO_EXIT_HANDLER)
        XSetIOErrorExitHandler(d_, onLobbyConnectionLost, &lost_);
#endif
        create();

        bool closing = lobbyReady(true, wake.waker());
        for (;;) {
            while (!lost_ && !destroyed_ && !closing && XPending(d_) > 0) {
                XEvent ev;
                XNextEvent(d_, &ev);
                closing = handle(ev);
            }
            if (lost_ || destroyed_) {
                // Destroyed by someone else (a window manager, xdotool, a
                // killed connection): the user has dismissed the lobby.
                lobbyWindowGone();
                printLobbyLine("LOBBY_WIN: WM_DESTROY\n");
                lobbyRunCloseAction();
                return;
            }
            if (closing || lobbyCloseRequested()) {
                close();
                return;
            }
            pollfd fds[2] = {{ConnectionNumber(d_), POLLIN, 0}, {wake.readFd(), POLLIN, 0}};
            ::poll(fds, 2, wake.pollTimeoutMs());
            wake.drain();
        }
    }

private:
    void create() {
        const int screen = DefaultScreen(d_);
        window_ = XCreateSimpleWindow(d_, RootWindow(d_, screen), kX, kY, kWidth, kHeight, 1,
                                      BlackPixel(d_, screen), WhitePixel(d_, screen));

        XStoreName(d_, window_, kTitle);
        const Atom utf8 = XInternAtom(d_, "UTF8_STRING", False);
        XChangeProperty(d_, window_, XInternAtom(d_, "_NET_WM_NAME", False), utf8, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(kTitle), static_cast<int>(std::strlen(kTitle)));

        // Ask the window manager for our place, as the user sees it elsewhere.
        if (XSizeHints* hints = XAllocSizeHints()) {
            hints->flags = USPosition | USSize;
            hints->x = kX;
            hints->y = kY;
            hints->width = kWidth;
            hints->height = kHeight;
            XSetWMNormalHints(d_, window_, hints);
            XFree(hints);
        }
        if (XClassHint* cls = XAllocClassHint()) {
            char name[] = "orvaneLobby", klass[] = "OrvaneLobby";
            cls->res_name = name;
            cls->res_class = klass;
            XSetClassHint(d_, window_, cls);
            XFree(cls);
        }

        wmProtocols_ = XInternAtom(d_, "WM_PROTOCOLS", False);
        wmDeleteWindow_ = XInternAtom(d_, "WM_DELETE_WINDOW", False);
        XSetWMProtocols(d_, window_, &wmDeleteWindow_, 1);
        XSelectInput(d_, window_, ExposureMask | StructureNotifyMask);

        gc_ = XCreateGC(d_, window_, 0, nullptr);
        XSetForeground(d_, gc_, BlackPixel(d_, screen));
        titleFont_ = loadFont({"-*-helvetica-bold-r-normal--24-*-*-*-p-*-iso8859-1", "fixed"});
        textFont_ = loadFont({"-*-helvetica-medium-r-normal--18-*-*-*-p-*-iso8859-1", "fixed"});

        XMapWindow(d_, window_);
        XFlush(d_);
    }

    XFontStruct* loadFont(std::initializer_list<const char*> names) {
        for (const char* name : names)
            if (XFontStruct* f = XLoadQueryFont(d_, name)) return f;
        return nullptr;
    }

    // True when the event asks the lobby to close.
    bool handle(const XEvent& ev) {
        switch (ev.type) {
            case Expose:
                if (ev.xexpose.count == 0) draw();
                return false;
            case ClientMessage:
                return ev.xclient.message_type == wmProtocols_ && ev.xclient.format == 32 &&
                       static_cast<Atom>(ev.xclient.data.l[0]) == wmDeleteWindow_;
            case DestroyNotify:
                if (ev.xdestroywindow.window == window_) destroyed_ = true;
                return false;
            default:
                return false;
        }
    }

    void draw() {
        drawLine(titleFont_, 40, kTitle);
        drawLine(textFont_, 90, kText);
    }

    void drawLine(XFontStruct* font, int y, const char* text) {
        if (font) XSetFont(d_, gc_, font->fid);
        XDrawString(d_, window_, gc_, 40, y + (font ? font->ascent : 0), text, static_cast<int>(std::strlen(text)));
    }

    void close() {
        printLobbyLine("LOBBY_WIN: WM_CLOSE\n");
        // The window stays on screen until the action has returned.
        lobbyRunCloseAction();
        lobbyWindowGone();
        if (!lost_) {
            XDestroyWindow(d_, window_);
            XSync(d_, False);
        }
        printLobbyLine("LOBBY_WIN: WM_DESTROY\n");
    }

    Display* d_;
    Window window_ = 0;
    GC gc_ = nullptr;
    XFontStruct* titleFont_ = nullptr;
    XFontStruct* textFont_ = nullptr;
    Atom wmProtocols_ = 0;
    Atom wmDeleteWindow_ = 0;
    bool destroyed_ = false;
    bool lost_ = false;
};

}  // namespace

bool runX11Lobby(WakePipe& wake) {
    Display* d = XOpenDisplay(nullptr);
    if (!d) return false;
    LobbyWindow window(d);
    window.run(wake);
    return true;
}

}  // namespace lobby
}  // namespace ORVANE

#endif  // ORVANE_LOBBY_X11
