#pragma once

#include <spdlog/spdlog.h>

#include <atomic>
#include <memory>
#include <string>

namespace ORVANE {

// The logger of every log statement: the application's, or the console
// fallback "tmp_console_log" with an error line on standard output first;
// null (nothing is logged) while the console output is turned off.
std::shared_ptr<spdlog::logger> OrvaneGlobalLogger();
// Replaces the application's logger; an empty handle brings the fallback back.
void setOrvaneGlobalLogger(std::shared_ptr<spdlog::logger> logger);
// The application's logger as it stands, possibly empty (no fallback).
std::shared_ptr<spdlog::logger> orvaneLoggerHandle();
// Reads the level of the application's logger again. A line below it costs
// one relaxed load and nothing else, so the level is read once per entry
// into the library (the application may change it at any time), not per
// line.
void refreshLogLevel();

// Runs `call` on a thread of the library's or of a foreign module: an
// exception is logged under `context` and goes no further.
template <typename F>
void runContained(const char* context, F&& call);

namespace detail {
// The least level of a line that may be written. Trace while the
// application has set no logger: every line then reaches the fallback.
extern std::atomic<int> logThreshold;
inline bool logLevelOn(spdlog::level::level_enum level) {
    return static_cast<int>(level) >= logThreshold.load(std::memory_order_relaxed);
}

// "ORVANE::ConfSDK::sendCommand" out of a __PRETTY_FUNCTION__ text.
std::string qualifiedFunctionName(const char* prettyFunction);

// A call site's function name, worked out once.
class FunctionName {
public:
    explicit FunctionName(const char* prettyFunction) : name_(qualifiedFunctionName(prettyFunction)) {}
    const char* c_str() const { return name_.c_str(); }

private:
    std::string name_;
};
}  // namespace detail

}  // namespace ORVANE

// Neither the logger nor the arguments are touched for a line below the level.
#define ORV_LOG(level, ...)                                                                                   \
    do {                                                                                                      \
        if (::ORVANE::detail::logLevelOn(level)) {                                                            \
            static const ::ORVANE::detail::FunctionName orv_function_name_(__PRETTY_FUNCTION__);              \
            if (auto orv_logger_ = ::ORVANE::OrvaneGlobalLogger())                                            \
                orv_logger_->log(::spdlog::source_loc{__FILE__, __LINE__, orv_function_name_.c_str()}, level, \
                                 __VA_ARGS__);                                                                \
        }                                                                                                     \
    } while (0)

#define LOG_DEBUG(...) ORV_LOG(::spdlog::level::debug, __VA_ARGS__)
#define LOG_INFO(...) ORV_LOG(::spdlog::level::info, __VA_ARGS__)
#define LOG_WARN(...) ORV_LOG(::spdlog::level::warn, __VA_ARGS__)
#define LOG_ERROR(...) ORV_LOG(::spdlog::level::err, __VA_ARGS__)
#define LOG_CRITICAL(...) ORV_LOG(::spdlog::level::critical, __VA_ARGS__)

// The qualified name of the enclosing function, for messages that carry it.
#define ORV_FUNCTION_NAME (::ORVANE::detail::qualifiedFunctionName(__PRETTY_FUNCTION__))

// The one form of a JSON error, in every catch.
#define LOG_JSON_ERROR(what, data) LOG_JSON_ERROR_AT(ORV_FUNCTION_NAME, what, data)
// The same, for a helper that reports in the name of its caller.
#define LOG_JSON_ERROR_AT(where, what, data) \
    LOG_ERROR("json ERROR! confsdk:{}, json error={}, data={}", (where), (what), (data))

template <typename F>
void ORVANE::runContained(const char* context, F&& call) {
    try {
        call();
    } catch (const std::exception& e) {
        LOG_ERROR("{}: {}", context, e.what());
    } catch (...) {
        LOG_ERROR("{}: unknown exception", context);
    }
}
