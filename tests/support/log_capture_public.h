#pragma once

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace orvtest {

// A logger that keeps every line, for programs that use only the exported
// interface (they hand it to ConfSDK::setOrvaneLogger themselves).
class PublicLogCapture {
public:
    PublicLogCapture() : sink_(std::make_shared<Sink>()) {
        logger_ = std::make_shared<spdlog::logger>("capture", sink_);
        logger_->set_level(spdlog::level::trace);
    }
    std::shared_ptr<spdlog::logger> logger() const { return logger_; }
    bool has(const std::string& part) const {
        std::lock_guard<std::mutex> lock(sink_->linesMutex);
        for (const auto& l : sink_->lines)
            if (l.find(part) != std::string::npos) return true;
        return false;
    }

private:
    struct Sink : spdlog::sinks::base_sink<std::mutex> {
        std::mutex linesMutex;
        std::vector<std::string> lines;

    protected:
        void sink_it_(const spdlog::details::log_msg& msg) override {
            std::lock_guard<std::mutex> lock(linesMutex);
            lines.emplace_back(msg.payload.data(), msg.payload.size());
        }
        void flush_() override {}
    };
    std::shared_ptr<Sink> sink_;
    std::shared_ptr<spdlog::logger> logger_;
};

}  // namespace orvtest
