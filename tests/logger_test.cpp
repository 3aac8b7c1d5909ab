// The logging frame: the fallback logger, the error line before each of its
// statements, and the function names passed with every line.
#include <gtest/gtest.h>

#include "console_output.h"
#include "harness.h"
#include "log_capture.h"
#include "logger.h"
#include "server_events.h"

using namespace orvtest;

namespace {
void logSomething() { LOG_ERROR("fallback line {}", 42); }

struct Widget {
    int method(const std::vector<std::pair<int, int>>&) {
        LOG_DEBUG("in method");
        return 0;
    }
};
}  // namespace

TEST(Logger, FallbackPrintsErrorLineBeforeEachStatement) {
    ORVANE::setOrvaneGlobalLogger(nullptr);
    testing::internal::CaptureStdout();
    logSomething();
    logSomething();
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string error = "Logger ERROR: can NOT find OrvaneGlobalLogger, return default log\n";
    const size_t first = out.find(error);
    ASSERT_NE(first, std::string::npos);
    const size_t line = out.find("fallback line 42", first);
    ASSERT_NE(line, std::string::npos);
    EXPECT_NE(out.find(error, line), std::string::npos);  // again before the second
    // The fallback is registered once and reused.
    auto fallback = spdlog::get("tmp_console_log");
    ASSERT_NE(fallback, nullptr);
    EXPECT_EQ(spdlog::default_logger(), fallback);
}

TEST(Logger, SetLoggerReplacesAndEmptyHandleRestoresFallback) {
    {
        LogCapture logs;
        testing::internal::CaptureStdout();
        logSomething();
        EXPECT_EQ(testing::internal::GetCapturedStdout().find("Logger ERROR"), std::string::npos);
        ASSERT_EQ(logs.lines().size(), 1u);
        EXPECT_EQ(logs.lines()[0].text, "fallback line 42");
        EXPECT_EQ(logs.lines()[0].level, spdlog::level::err);
        EXPECT_EQ(logs.lines()[0].function, "{anonymous}::logSomething");
    }
    testing::internal::CaptureStdout();
    logSomething();
    EXPECT_NE(testing::internal::GetCapturedStdout().find("Logger ERROR"), std::string::npos);
}

// A line below the level costs a load and nothing else: its arguments are
// not even worked out. The application's level is read again as the
// library is next entered, and a logger keeping a backtrace gets every line.
TEST(Logger, LinesBelowTheLevelAreNotFormatted) {
    LogCapture logs;
    int formatted = 0;
    auto argument = [&] { return ++formatted; };
    logs.logger()->set_level(spdlog::level::info);
    ORVANE::refreshLogLevel();
    LOG_DEBUG("debug {}", argument());
    LOG_INFO("info {}", argument());
    EXPECT_EQ(formatted, 1);
    EXPECT_EQ(logs.lines().size(), 1u);

    logs.logger()->set_level(spdlog::level::debug);
    LOG_DEBUG("not yet {}", argument());
    EXPECT_EQ(formatted, 1);
    std::recursive_mutex callMutex;
    { ORVANE::CallLock entry(callMutex); }
    LOG_DEBUG("now {}", argument());
    EXPECT_EQ(formatted, 2);

    logs.logger()->set_level(spdlog::level::off);
    logs.logger()->enable_backtrace(4);
    { ORVANE::CallLock entry(callMutex); }
    LOG_DEBUG("kept for the backtrace {}", argument());
    EXPECT_EQ(formatted, 3);
    logs.logger()->disable_backtrace();
}

TEST(Logger, QualifiedFunctionNames) {
    using ORVANE::detail::qualifiedFunctionName;
    EXPECT_EQ(qualifiedFunctionName("void ORVANE::ConfSDK::sendCommand(const string&, const string&)"),
              "ORVANE::ConfSDK::sendCommand");
    EXPECT_EQ(qualifiedFunctionName("uint64_t OrvaneSDKPrivate::add_timer_task(int64_t, "
                                    "std::function<void(std::__cxx11::basic_string<char>)>, std::string)"),
              "OrvaneSDKPrivate::add_timer_task");
    EXPECT_EQ(qualifiedFunctionName("ORVANE::ConfSDK::ConfSDK(const string&, const string&)"),
              "ORVANE::ConfSDK::ConfSDK");
    EXPECT_EQ(qualifiedFunctionName("std::vector<std::pair<int, int> >* ns::f<int>(int)"), "ns::f<int>");
    EXPECT_EQ(qualifiedFunctionName("const char* name()"), "name");

    LogCapture logs;
    Widget().method({});
    EXPECT_EQ(logs.lines().at(0).function, "{anonymous}::Widget::method");
}

// An application that keeps standard output to itself: no fallback line, no
// fallback logger, no call-signal intake lines; and back on, all as before.
TEST(ConsoleOutput, TurnedOffNothingReachesStandardOutput) {
    // What writes to standard output: a log line without a logger, and a
    // call signal taken in.
    auto printed = [] {
        ORVANE::setOrvaneGlobalLogger(nullptr);
        testing::internal::CaptureStdout();
        logSomething();
        {
            Harness h("QC");
            h.initMedia("QC");
            deliverEvent(h.trans, "callmaster_event", callSignal("OK", "REGISTER", "call-1"));
        }
        ORVANE::setOrvaneGlobalLogger(nullptr);
        return testing::internal::GetCapturedStdout();
    };
    ORVANE::setConsoleOutput(false);
    const std::string quiet = printed();
    ORVANE::setConsoleOutput(true);
    EXPECT_EQ(quiet, "");

    const std::string loud = printed();
    EXPECT_NE(loud.find("Logger ERROR: can NOT find OrvaneGlobalLogger"), std::string::npos);
    EXPECT_NE(loud.find("fallback line 42"), std::string::npos);
    EXPECT_NE(loud.find("\nonCtrlNotify CSEQ=123456789 REGISTER\n"), std::string::npos);
}

// The fallback logs to the console, but an spdlog default logger the
// application has set stays its default and gets none of the library's lines.
TEST(ConsoleOutput, FallbackKeepsTheApplicationsDefaultLogger) {
    const auto before = spdlog::default_logger();
    LogCapture appLogs;  // its logger, named "capture", made the default below
    ORVANE::setOrvaneGlobalLogger(nullptr);
    spdlog::set_default_logger(appLogs.logger());
    testing::internal::CaptureStdout();
    logSomething();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(spdlog::default_logger(), appLogs.logger());
    EXPECT_TRUE(appLogs.lines().empty());
    EXPECT_NE(out.find("fallback line 42"), std::string::npos);
    spdlog::set_default_logger(before);
}
