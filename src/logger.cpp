#include "logger.h"

#include <spdlog/sinks/stdout_color_sinks.h>

#include <cstdio>
#include <mutex>

#include "console_output.h"

namespace ORVANE {

namespace {
// The application's logger. Guarded by a plain mutex rather than the atomic
// shared_ptr functions: reading its level at every entry then costs a lock
// and no reference count.
std::mutex g_loggerMutex;
std::shared_ptr<spdlog::logger> g_logger;
std::mutex g_fallbackMutex;
constexpr const char* kFallbackName = "tmp_console_log";
}  // namespace

namespace detail {
std::atomic<int> logThreshold{spdlog::level::trace};
}  // namespace detail

void setOrvaneGlobalLogger(std::shared_ptr<spdlog::logger> logger) {
    {
        std::lock_guard<std::mutex> lock(g_loggerMutex);
        g_logger.swap(logger);
    }
    // The old logger goes here, outside the lock: its sinks may flush.
    logger.reset();
    refreshLogLevel();
}

std::shared_ptr<spdlog::logger> orvaneLoggerHandle() {
    std::lock_guard<std::mutex> lock(g_loggerMutex);
    return g_logger;
}

void refreshLogLevel() {
    int threshold = spdlog::level::trace;
    {
        std::lock_guard<std::mutex> lock(g_loggerMutex);
        // A logger keeping a backtrace wants the lines below its level too.
        if (g_logger && !g_logger->should_backtrace()) threshold = g_logger->level();
    }
    if (detail::logThreshold.load(std::memory_order_relaxed) != threshold)
        detail::logThreshold.store(threshold, std::memory_order_relaxed);
}

std::shared_ptr<spdlog::logger> OrvaneGlobalLogger() {
    if (auto logger = orvaneLoggerHandle()) return logger;
    // An application that keeps standard output to itself and has set no
    // logger hears nothing from the library.
    if (!consoleOutput()) return nullptr;

    std::shared_ptr<spdlog::logger> fallback;
    {
        // Two threads may both miss the registry; only one may create.
        std::lock_guard<std::mutex> lock(g_fallbackMutex);
        fallback = spdlog::get(kFallbackName);
        if (!fallback) fallback = spdlog::stdout_color_mt(kFallbackName);
        // spdlog's own default logger has no name: one with a name is the
        // application's, and stays its default.
        const auto current = spdlog::default_logger();
        if (!current || current->name().empty()) spdlog::set_default_logger(fallback);
    }
    std::fputs("Logger ERROR: can NOT find ", stdout);
    std::fputs("OrvaneGlobalLogger", stdout);
    std::fputs(", return default log\n", stdout);
    std::fflush(stdout);
    return fallback;
}

namespace detail {

std::string qualifiedFunctionName(const char* prettyFunction) {
    const std::string text = prettyFunction ? prettyFunction : "";
    // The parameter list starts at the first '(' outside template brackets.
    int depth = 0;
    size_t open = std::string::npos;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '<') {
            ++depth;
        } else if (c == '>') {
            if (depth > 0) --depth;
        } else if (c == '(' && depth == 0) {
            open = i;
            break;
        }
    }
    if (open == std::string::npos) return text;
    // The name runs back to the blank that ends the return type.
    size_t start = open;
    depth = 0;
    while (start > 0) {
        char c = text[start - 1];
        if (c == '>') {
            ++depth;
        } else if (c == '<') {
            if (depth > 0) --depth;
        } else if ((c == ' ' || c == '*' || c == '&') && depth == 0) {
            break;
        }
        --start;
    }
    return text.substr(start, open - start);
}

}  // namespace detail
}  // namespace ORVANE
