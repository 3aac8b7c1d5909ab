#pragma once

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "logger.h"

namespace orvtest {

struct LogLine {
    spdlog::level::level_enum level;
    std::string text;
    std::string function;
};

// A logger that keeps every line, installed as the library's logger for the
// life of the object.
class LogCapture {
public:
    LogCapture() : sink_(std::make_shared<Sink>()) {
        logger_ = std::make_shared<spdlog::logger>("capture", sink_);
        logger_->set_level(spdlog::level::trace);
        ORVANE::setOrvaneGlobalLogger(logger_);
    }
    ~LogCapture() { ORVANE::setOrvaneGlobalLogger(nullptr); }

    std::vector<LogLine> lines() const {
        std::lock_guard<std::mutex> lock(sink_->linesMutex);
        return sink_->lines;
    }
    void clear() {
        std::lock_guard<std::mutex> lock(sink_->linesMutex);
        sink_->lines.clear();
    }
    // Lines that contain `part`, at any level or at the given one.
    size_t count(const std::string& part) const { return countAt(part, spdlog::level::off); }
    size_t countAt(const std::string& part, spdlog::level::level_enum level) const {
        auto all = lines();
        return std::count_if(all.begin(), all.end(), [&](const LogLine& l) {
            return l.text.find(part) != std::string::npos && (level == spdlog::level::off || l.level == level);
        });
    }
    bool has(const std::string& part) const { return count(part) > 0; }
    std::shared_ptr<spdlog::logger> logger() const { return logger_; }

private:
    struct Sink : spdlog::sinks::base_sink<std::mutex> {
        std::mutex linesMutex;
        std::vector<LogLine> lines;

    protected:
        void sink_it_(const spdlog::details::log_msg& msg) override {
            std::lock_guard<std::mutex> lock(linesMutex);
            lines.push_back({msg.level, std::string(msg.payload.data(), msg.payload.size()),
                             msg.source.funcname ? msg.source.funcname : ""});
        }
        void flush_() override {}
    };

    std::shared_ptr<Sink> sink_;
    std::shared_ptr<spdlog::logger> logger_;
};

}  // namespace orvtest
