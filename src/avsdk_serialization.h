#pragma once

#include <deque>
#include <functional>
#include <mutex>

#include "avsdk_ops.h"
#include "orvane/avsdk.h"

namespace ORVANE {

// The process's one queue of engine calls that wait for the UI thread.
struct TaskQueue {
    std::deque<std::function<void()>> tasks;
    std::mutex mutex;
};
TaskQueue& getTaskQueue();

// Platform "QV" wants most engine calls on the application's UI thread. The
// wrapper stands in for the engine: the calls marked QUEUED are put in the
// queue, the application is told with notifyTask, and runs them one at a
// time with runTask on its UI thread; all others go through at once.
class AVSDKWrapper_QV final : public AVSDK {
public:
    AVSDKWrapper_QV(AVSDK* engine, std::function<void()> notifyTask);
    ~AVSDKWrapper_QV() = default;
    AVSDKWrapper_QV(const AVSDKWrapper_QV&) = delete;
    AVSDKWrapper_QV& operator=(const AVSDKWrapper_QV&) = delete;

    // Runs the oldest queued call, if any. UI thread only.
    void runTask();

#define ORVANE_WRAPPER_DECLARE(RET, NAME, PARAMS, ARGS, KIND, ENTER) RET NAME PARAMS override;
    ORVANE_AVSDK_OPERATIONS(ORVANE_WRAPPER_DECLARE)
#undef ORVANE_WRAPPER_DECLARE

private:
    void enqueue(std::function<void()> call);

    AVSDK* engine;
    TaskQueue& queue;
    std::function<void()> notifyTask;
};

}  // namespace ORVANE
