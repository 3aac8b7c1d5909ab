// The lobby where no window can be shown: the same operations and lines,
// and one line on standard output that says so.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <stdexcept>
#include <string>

#include "lobby/lobby_window.h"
#include "log_capture.h"

using namespace std::chrono_literals;

namespace {

#if defined(_WIN32)
// Windows makes no window without a desktop to show it on: under Wine, in a
// process started without DISPLAY (ctest starts this one so), which Wine
// reads before main.
const bool noDisplay = getenv("DISPLAY") == nullptr;
#else
const bool noDisplay = (unsetenv("DISPLAY"), true);
#endif

}  // namespace

// First in the file: the "no window" line is said once per process.
TEST(LobbyHeadless, KeepsBothOperationsAndSaysOnceThatThereIsNoWindow) {
    ASSERT_TRUE(noDisplay);
    orvtest::LogCapture logs;
    std::atomic<int> first{0}, second{0};
    testing::internal::CaptureStdout();

    ORVANE::create_lobby_windows([&] { ++first; });
    EXPECT_TRUE(ORVANE::lobby_is_open());
    EXPECT_FALSE(ORVANE::lobby_wait_closed(100ms));  // nobody can close it but the library
    EXPECT_FALSE(ORVANE::lobby_has_window());
    ORVANE::close_lobby_window(true);
    ORVANE::close_lobby_window(true);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(first, 1);

    ORVANE::create_lobby_windows([&] { ++second; });
    ORVANE::close_lobby_window(false);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_EQ(second, 0);
    EXPECT_FALSE(ORVANE::lobby_is_open());

    const std::string out = testing::internal::GetCapturedStdout();
    const std::string lobby =
        "LOBBY_WIN: WM_CLOSE\n"
        "LOBBY_WIN: WM_DESTROY\n"
        "lobby thread exit\n";
    const std::string create = "++++++++++++++++ create_lobby_windows ++++++++++++\n";
    static bool firstLobbiesOfProcess = true;
    std::string noWindow;
    if (firstLobbiesOfProcess) {
        noWindow = out.substr(create.size(), out.find('\n', create.size()) + 1 - create.size());
        EXPECT_NE(noWindow.find("window"), std::string::npos) << noWindow;
        firstLobbiesOfProcess = false;
    }
    EXPECT_EQ(out, create + noWindow + lobby + create + lobby);
}

TEST(LobbyHeadless, ThrowingCloseActionEndsOnlyTheLobby) {
    orvtest::LogCapture logs;
    ORVANE::create_lobby_windows([] { throw std::runtime_error("leave failed"); });
    ORVANE::close_lobby_window(true);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(5s));
    EXPECT_TRUE(logs.has("leave failed"));
}
