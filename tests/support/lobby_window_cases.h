#pragma once

// What every real lobby window must do, whatever draws it. A platform's test
// defines a probe that finds the window and plays the user, then instantiates
// these cases with it:
//
//   struct Probe {
//       using Handle = ...;                  // a window; Handle{} for none
//       static const char* const unavailable;  // why ready() is false
//       bool ready() const;                  // the window system can be reached
//       Handle find();                       // the lobby's window, or Handle{}
//       Handle waitShown();                  // find(), once it is on screen
//       std::string title(Handle);           // as UTF-8
//       orvtest::Placement placement(Handle);
//       void userClose(Handle);              // a click on the close button
//   };
//
// A probe is also made on the lobby thread, inside the close action.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "app_listener.h"
#include "lobby/lobby_window.h"
#include "log_capture.h"

namespace orvtest {

// Where the window stands on screen and its size.
struct Placement {
    int x, y, width, height;
};

inline const char kLobbyTitle[] = "In Meeting - LOBBY";

template <class Probe>
class LobbyWindow : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(probe.ready()) << Probe::unavailable; }
    void TearDown() override {
        ORVANE::close_lobby_window(false);
        EXPECT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    }
    static std::function<void()> counting(std::atomic<int>& runs) {
        return [&runs] { ++runs; };
    }

    LogCapture logs;
    Probe probe;
};

TYPED_TEST_SUITE_P(LobbyWindow);

TYPED_TEST_P(LobbyWindow, UserCloseRunsTheActionOnceAfterwardsTheWindowGoes) {
    using Handle = typename TypeParam::Handle;
    std::atomic<int> runs{0};
    std::atomic<bool> shownDuringAction{false};
    testing::internal::CaptureStdout();
    ORVANE::create_lobby_windows([&] {
        ++runs;
        TypeParam own;
        shownDuringAction = own.find() != Handle{};
    });

    const Handle w = this->probe.waitShown();
    ASSERT_NE(w, Handle{});
    EXPECT_TRUE(ORVANE::lobby_has_window());
    EXPECT_EQ(this->probe.title(w), kLobbyTitle);
    const Placement p = this->probe.placement(w);
    EXPECT_EQ(p.x, 400);
    EXPECT_EQ(p.y, 200);
    EXPECT_EQ(p.width, 900);
    EXPECT_EQ(p.height, 600);

    // A double click on the close button.
    this->probe.userClose(w);
    this->probe.userClose(w);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(shownDuringAction);
    EXPECT_EQ(this->probe.find(), Handle{});
    EXPECT_FALSE(ORVANE::lobby_has_window());
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "++++++++++++++++ create_lobby_windows ++++++++++++\n"
              "LOBBY_WIN: WM_CLOSE\n"
              "LOBBY_WIN: WM_DESTROY\n"
              "lobby thread exit\n");
}

TYPED_TEST_P(LobbyWindow, CloseWithActionRunsItOnTheLobbyThreadWhichMayCallBack) {
    using Handle = typename TypeParam::Handle;
    std::atomic<int> runs{0}, laterRuns{0};
    std::thread::id ranOn;
    ORVANE::create_lobby_windows([&] {
        ++runs;
        ranOn = std::this_thread::get_id();
        // The library's answer to the close may come straight back here.
        ORVANE::close_lobby_window(true);
        ORVANE::create_lobby_windows(this->counting(laterRuns));
    });
    ASSERT_NE(this->probe.waitShown(), Handle{});
    ORVANE::close_lobby_window(true);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    EXPECT_EQ(runs, 1);
    EXPECT_NE(ranOn, std::this_thread::get_id());
    EXPECT_FALSE(ORVANE::lobby_is_open());
    EXPECT_EQ(laterRuns, 0);
    EXPECT_EQ(this->probe.find(), Handle{});
}

// A close before the window is up is carried out once it is; one with no
// lobby open is forgotten, or it would run the next lobby's action.
TYPED_TEST_P(LobbyWindow, CloseBeforeTheWindowIsUpOrWithNoLobbyOpen) {
    using Handle = typename TypeParam::Handle;
    std::atomic<int> runs{0};
    ORVANE::create_lobby_windows(this->counting(runs));
    ORVANE::close_lobby_window(false);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    EXPECT_EQ(this->probe.find(), Handle{});

    ORVANE::close_lobby_window(true);
    ORVANE::create_lobby_windows(this->counting(runs));
    ASSERT_NE(this->probe.waitShown(), Handle{});
    ORVANE::close_lobby_window(false);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(this->probe.find(), Handle{});
}

TYPED_TEST_P(LobbyWindow, OneLobbyAtATimeAndALaterOneGetsAWindowAgain) {
    using Handle = typename TypeParam::Handle;
    std::atomic<int> first{0}, dropped{0}, second{0};
    testing::internal::CaptureStdout();
    ORVANE::create_lobby_windows(this->counting(first));
    ORVANE::create_lobby_windows(this->counting(dropped));
    ASSERT_NE(this->probe.waitShown(), Handle{});
    ORVANE::close_lobby_window(true);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.find("create_lobby_windows"), out.rfind("create_lobby_windows"));
    EXPECT_EQ(first, 1);
    EXPECT_EQ(dropped, 0);

    ORVANE::create_lobby_windows(this->counting(second));
    const Handle w = this->probe.waitShown();
    ASSERT_NE(w, Handle{});
    this->probe.userClose(w);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    EXPECT_EQ(second, 1);
    EXPECT_EQ(first, 1);
}

// The action runs inside the window system's event dispatch, which an
// exception must not unwind.
TYPED_TEST_P(LobbyWindow, ThrowingCloseActionEndsOnlyTheLobby) {
    using Handle = typename TypeParam::Handle;
    ORVANE::create_lobby_windows([] { throw std::runtime_error("leave failed"); });
    const Handle w = this->probe.waitShown();
    ASSERT_NE(w, Handle{});
    this->probe.userClose(w);
    ASSERT_TRUE(ORVANE::lobby_wait_closed(std::chrono::seconds(5)));
    EXPECT_TRUE(this->logs.has("leave failed"));
    EXPECT_EQ(this->probe.find(), Handle{});
}

REGISTER_TYPED_TEST_SUITE_P(LobbyWindow, UserCloseRunsTheActionOnceAfterwardsTheWindowGoes,
                            CloseWithActionRunsItOnTheLobbyThreadWhichMayCallBack,
                            CloseBeforeTheWindowIsUpOrWithNoLobbyOpen,
                            OneLobbyAtATimeAndALaterOneGetsAWindowAgain, ThrowingCloseActionEndsOnlyTheLobby);

}  // namespace orvtest
