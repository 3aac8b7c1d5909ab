#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "orvane/transsdk.h"

namespace orvtest {

// A transport that records every text sent and delivers any text to the
// registered receiver, on the caller's thread.
class FakeTransport : public ORVANE::TransSDK {
public:
    int addProcess(Process* p) override {
        std::lock_guard<std::mutex> lock(mutex_);
        process_ = p;
        return 0;
    }
    int sendTextMessage(const std::string& text) override {
        std::function<void(const std::string&)> hook;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            sent_.push_back(text);
            hook = onSend;
        }
        cv_.notify_all();
        if (hook) hook(text);
        return 0;
    }
    bool isGuestLogined() override { return guest; }
    std::string getErrMsgFromId(std::string id) override {
        auto it = errMsgs.find(id);
        return it != errMsgs.end() ? it->second : "msg:" + id;
    }

    // Hands a server message to the receiver as the transport's thread would.
    void deliver(const std::string& text, const std::string& name = "textmessage_process") {
        Process* p;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            p = process_;
        }
        if (p) p->onProcess(name, text);
    }

    std::vector<std::string> sent() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return sent_;
    }
    std::string last() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return sent_.empty() ? std::string() : sent_.back();
    }
    void clear() {
        std::lock_guard<std::mutex> lock(mutex_);
        sent_.clear();
    }
    Process* process() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return process_;
    }

    bool guest = false;
    std::map<std::string, std::string> errMsgs;
    // Called after each send, outside the transport's lock: lets a test answer.
    std::function<void(const std::string&)> onSend;

private:
    mutable std::mutex mutex_;
    std::condition_variable cv_;
    Process* process_ = nullptr;
    std::vector<std::string> sent_;
};

}  // namespace orvtest
