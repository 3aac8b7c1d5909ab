#include "avsdk_serialization.h"

#include "logger.h"

namespace ORVANE {

TaskQueue& getTaskQueue() {
    static TaskQueue queue;
    return queue;
}

AVSDKWrapper_QV::AVSDKWrapper_QV(AVSDK* engine, std::function<void()> notifyTask)
    : engine(engine), queue(getTaskQueue()), notifyTask(std::move(notifyTask)) {}

void AVSDKWrapper_QV::enqueue(std::function<void()> call) {
    {
        std::lock_guard<std::mutex> lock(queue.mutex);
        queue.tasks.push_back(std::move(call));
    }
    if (notifyTask) notifyTask();
}

void AVSDKWrapper_QV::runTask() {
    LOG_DEBUG("AVSDKWrapper_QV::runTask() enter");
    std::function<void()> call;
    {
        std::lock_guard<std::mutex> lock(queue.mutex);
        if (queue.tasks.empty()) return;
        call = std::move(queue.tasks.front());
        queue.tasks.pop_front();
    }
    // Run outside the queue's lock: the engine may report synchronously into
    // the library, which may queue the next call from another thread.
    try {
        call();
    } catch (const std::exception& e) {
        LOG_ERROR("AVSDKWrapper_QV::runTask: engine call threw: {}", e.what());
    } catch (...) {
        LOG_ERROR("AVSDKWrapper_QV::runTask: engine call threw an unknown exception");
    }
}

namespace {

// The line an operation logs on entry, when it has one.
template <typename... A>
void logEnter(fmt::string_view format, const A&... args) {
    if (auto logger = OrvaneGlobalLogger()) logger->log(spdlog::level::debug, fmt::runtime(format), args...);
}

// What a queued operation answers: the engine's own result comes too late.
template <typename R>
R queuedResult() {
    return R();
}

}  // namespace

// Every operation from the one table: a queued one binds copies of its
// arguments for the UI thread, a direct one calls through.
#define ORVANE_WRAPPER_QUEUED(RET, NAME, ARGS) \
    AVSDK* eng = engine;                      \
    enqueue([=] { eng->NAME ARGS; });         \
    return queuedResult<RET>();
#define ORVANE_WRAPPER_DIRECT(RET, NAME, ARGS) return engine->NAME ARGS;
#define ORVANE_WRAPPER_DEFINE(RET, NAME, PARAMS, ARGS, KIND, ENTER)      \
    RET AVSDKWrapper_QV::NAME PARAMS {                                  \
        [&](const auto&... orvArgs) {                                   \
            if constexpr (sizeof(ENTER) > 1) logEnter(ENTER, orvArgs...); \
        } ARGS;                                                         \
        ORVANE_WRAPPER_##KIND(RET, NAME, ARGS)                            \
    }
ORVANE_AVSDK_OPERATIONS(ORVANE_WRAPPER_DEFINE)
#undef ORVANE_WRAPPER_DEFINE
#undef ORVANE_WRAPPER_DIRECT
#undef ORVANE_WRAPPER_QUEUED

}  // namespace ORVANE
