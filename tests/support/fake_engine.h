#pragma once

#include <spdlog/spdlog.h>

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "avsdk_ops.h"
#include "orvane/avsdk.h"

namespace orvtest {

struct EngineCall {
    std::string name;
    std::vector<std::string> args;
};

// An engine that records every call with its arguments, answers with
// configurable results, and emits any notification on the caller's thread.
class FakeEngine : public ORVANE::AVSDKBase {
public:

#define ORVTEST_FAKE_OP(RET, NAME, PARAMS, ARGS, KIND, ENTER)   \
    RET NAME PARAMS override {                                   \
        auto orvArgs = std::forward_as_tuple ARGS;               \
        record(#NAME, orvArgs);                                  \
        effect(orvArgs);                                         \
        return answer<RET>(#NAME);                               \
    }
    ORVANE_AVSDK_OPERATIONS(ORVTEST_FAKE_OP)
#undef ORVTEST_FAKE_OP

    // Notifies the listener on the caller's thread.
    void emit(const std::string& group, const std::string& cmd, const std::string& data) {
        ORVANE::AVSDK::Listener* l = listener();
        if (l) l->onNotify(group, cmd, data);
    }
    std::vector<EngineCall> calls() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }
    std::vector<EngineCall> callsOf(const std::string& name) const {
        std::vector<EngineCall> out;
        for (auto& c : calls())
            if (c.name == name) out.push_back(c);
        return out;
    }
    size_t count(const std::string& name) const { return callsOf(name).size(); }
    void clearCalls() {
        std::lock_guard<std::mutex> lock(mutex_);
        calls_.clear();
    }
    ORVANE::AVSDK::Listener* listener() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return listener_;
    }

    // Results by operation name; unset ones give 0, false, "", null.
    void setResult(const std::string& name, int value) {
        std::lock_guard<std::mutex> lock(mutex_);
        intResults_[name] = value;
    }
    void setBool(const std::string& name, bool value) {
        std::lock_guard<std::mutex> lock(mutex_);
        boolResults_[name] = value;
    }
    void setUsers(ORVANE::AvUserMap users) {
        std::lock_guard<std::mutex> lock(mutex_);
        users_ = std::move(users);
    }
    ORVANE::AvInterpretationService* interpretation = nullptr;
    ORVANE::AvUiControlService* uiControl = nullptr;
    // Sees every call as it is recorded; set before the library runs.
    std::function<void(const EngineCall&)> onCall;

private:

    static std::string text(const std::string& s) { return s; }
    static std::string text(bool b) { return b ? "true" : "false"; }
    static std::string text(int v) { return std::to_string(v); }
    static std::string text(void* p) {
        std::ostringstream o;
        o << p;
        return o.str();
    }
    static std::string text(ORVANE::AVSDK::Listener* l) { return l ? "listener" : "null"; }
    static std::string text(const std::shared_ptr<spdlog::logger>& l) { return l ? l->name() : "null"; }
    static std::string text(const ORVANE::AvUserMap& m) { return "users:" + std::to_string(m.size()); }
    static std::string text(const std::vector<ORVANE::AvLayoutItem>& items) {
        std::string out;
        for (const auto& i : items) {
            out += "{" + i.userid + "|" + i.deviceId + "|" + i.displayName + "|" + std::to_string(i.type) + "|" +
                   std::to_string(i.rc.left) + "," + std::to_string(i.rc.top) + "," + std::to_string(i.rc.right) +
                   "," + std::to_string(i.rc.bottom) + "|" + (i.isShow ? "show" : "hide") + "}";
        }
        return out;
    }

    template <typename Tuple>
    void record(const char* name, const Tuple& args) {
        EngineCall call{name, {}};
        std::apply([&](const auto&... a) { (call.args.push_back(text(a)), ...); }, args);
        if (onCall) onCall(call);
        std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(std::move(call));
    }

    template <typename Tuple>
    void effect(const Tuple&) {}
    void effect(const std::tuple<ORVANE::AVSDK::Listener*&>& t) {
        std::lock_guard<std::mutex> lock(mutex_);
        listener_ = std::get<0>(t);
    }
    void effect(const std::tuple<ORVANE::AvUserMap&>& t) {
        std::lock_guard<std::mutex> lock(mutex_);
        std::get<0>(t) = users_;
    }

    template <typename R>
    R answer(const char* name) {
        std::lock_guard<std::mutex> lock(mutex_);
        if constexpr (std::is_same_v<R, int>) {
            auto it = intResults_.find(name);
            return it == intResults_.end() ? 0 : it->second;
        } else if constexpr (std::is_same_v<R, bool>) {
            auto it = boolResults_.find(name);
            return it != boolResults_.end() && it->second;
        } else if constexpr (std::is_same_v<R, ORVANE::AvInterpretationService*>) {
            return interpretation;
        } else if constexpr (std::is_same_v<R, ORVANE::AvUiControlService*>) {
            return uiControl;
        } else if constexpr (std::is_void_v<R>) {
            return;
        } else {
            return R{};
        }
    }

    mutable std::mutex mutex_;
    std::vector<EngineCall> calls_;
    ORVANE::AVSDK::Listener* listener_ = nullptr;
    std::map<std::string, int> intResults_;
    std::map<std::string, bool> boolResults_;
    ORVANE::AvUserMap users_;
};

}  // namespace orvtest
