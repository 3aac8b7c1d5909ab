#include "trace_recorder.h"

#include <tuple>
#include <type_traits>

#include "avsdk_ops.h"
#include "orvane/vocabulary.h"

namespace orvtrace {

namespace {

template <typename T>
json resultJson(const T& value) {
    if constexpr (std::is_pointer_v<T>)
        return value ? json("pointer") : json();
    else
        return argJson(value);
}

}  // namespace

class Recorder::AppListener : public ORVANE::ConfSDK::Listener {
public:
    AppListener(Recorder& recorder, ORVANE::ConfSDK::Listener* inner) : recorder_(recorder), inner_(inner) {}
    void onConfCommand(const std::string& type, const std::string& data) override {
        recorder_.write(Side::App, Dir::Out, "reply " + type + (data.empty() ? "" : " " + encodeText(data)));
        inner_->onConfCommand(type, data);
    }
    void onConfNotify(const std::string& type, const std::string& data) override {
        // The UI thread's engine calls: a replay runs them after every input.
        if (type != ORVANE::CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD)
            recorder_.write(Side::App, Dir::Out, "notify " + type + (data.empty() ? "" : " " + encodeText(data)));
        inner_->onConfNotify(type, data);
    }

private:
    Recorder& recorder_;
    ORVANE::ConfSDK::Listener* inner_;
};

class Recorder::MediaListener : public ORVANE::AVSDK::Listener {
public:
    MediaListener(Recorder& recorder, ORVANE::AVSDK::Listener* inner) : recorder_(recorder), inner_(inner) {}
    void onNotify(std::string group, std::string cmd, std::string data) override {
        recorder_.write(Side::App, Dir::Out,
                        "media " + group + "/" + cmd + (data.empty() ? "" : " " + encodeText(data)));
        inner_->onNotify(group, cmd, data);
    }

private:
    Recorder& recorder_;
    ORVANE::AVSDK::Listener* inner_;
};

class Recorder::Transport : public ORVANE::TransSDK, private ORVANE::TransSDK::Process {
public:
    Transport(Recorder& recorder, ORVANE::TransSDK* inner) : recorder_(recorder), inner_(inner) {}

    int addProcess(ORVANE::TransSDK::Process* process) override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            process_ = process;
        }
        return inner_->addProcess(process ? this : nullptr);
    }
    int sendTextMessage(const std::string& text) override {
        recorder_.write(Side::Server, Dir::Out, encodeText(text));
        return inner_->sendTextMessage(text);
    }
    bool isGuestLogined() override {
        const bool guest = inner_->isGuestLogined();
        recorder_.write(Side::Server, Dir::Ask, formatCall({"isGuestLogined", json::array(), guest}));
        return guest;
    }
    std::string getErrMsgFromId(std::string id) override {
        std::string text = inner_->getErrMsgFromId(id);
        recorder_.write(Side::Server, Dir::Ask, formatCall({"getErrMsgFromId", json::array({id}), text}));
        return text;
    }

private:
    void onProcess(const std::string& name, const std::string& data) override {
        ORVANE::TransSDK::Process* process;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            process = process_;
        }
        // The transports in this tree name every message "textmessage_process".
        recorder_.write(Side::Server, Dir::In, encodeText(data));
        if (process) process->onProcess(name, data);
    }

    Recorder& recorder_;
    ORVANE::TransSDK* inner_;
    std::mutex mutex_;
    ORVANE::TransSDK::Process* process_ = nullptr;
};

class Recorder::Engine : public ORVANE::AVSDK, private ORVANE::AVSDK::Listener {
public:
    Engine(Recorder& recorder, ORVANE::AVSDK* inner) : recorder_(recorder), inner_(inner) {}
    ORVANE::AVSDK* inner() const { return inner_; }

#define ORVTRACE_RECORD_OP(RET, NAME, PARAMS, ARGS, KIND, ENTER)                                         \
    RET NAME PARAMS override {                                                                           \
        auto orvArgs = std::forward_as_tuple ARGS;                                                       \
        return forward<RET>(#NAME, orvArgs, [&](auto&... a) -> RET { return inner_->NAME(adapt(a)...); }); \
    }
    ORVANE_AVSDK_OPERATIONS(ORVTRACE_RECORD_OP)
#undef ORVTRACE_RECORD_OP

private:
    // The engine tells this recorder, which tells the library.
    ORVANE::AVSDK::Listener* adapt(ORVANE::AVSDK::Listener*& listener) {
        std::lock_guard<std::mutex> lock(mutex_);
        listener_ = listener;
        return listener ? this : nullptr;
    }
    template <typename T>
    T& adapt(T& value) {
        return value;
    }

    void onNotify(std::string group, std::string cmd, std::string data) override {
        ORVANE::AVSDK::Listener* listener;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            listener = listener_;
        }
        recorder_.write(Side::Engine, Dir::In, group + " " + cmd + (data.empty() ? "" : " " + encodeText(data)));
        if (listener) listener->onNotify(group, cmd, data);
    }

    // Written once the call returns: the record carries the answer, and the
    // arguments as the engine left them (getUserList fills its map).
    template <typename R, typename Tuple, typename F>
    R forward(const char* name, Tuple& args, F&& call) {
        const EngineOp op = engineOp(name);
        if constexpr (std::is_void_v<R>) {
            std::apply(call, args);
            if (op != EngineOp::Wiring) record(name, op, args, json());
        } else {
            R result = std::apply(call, args);
            if (op != EngineOp::Wiring) record(name, op, args, resultJson(result));
            return result;
        }
    }
    template <typename Tuple>
    void record(const char* name, EngineOp op, const Tuple& args, json result) {
        Call c{name, json::array(), std::move(result)};
        std::apply([&](const auto&... a) { (c.args.push_back(argJson(a)), ...); }, args);
        recorder_.write(Side::Engine, op == EngineOp::Question ? Dir::Ask : Dir::Out, formatCall(c));
    }

    Recorder& recorder_;
    ORVANE::AVSDK* inner_;
    std::mutex mutex_;
    ORVANE::AVSDK::Listener* listener_ = nullptr;
};

Recorder::Recorder() = default;

Recorder::~Recorder() {
    if (file_) std::fclose(file_);
}

bool Recorder::open(const std::string& file) {
    std::lock_guard<std::mutex> lock(mutex_);
    file_ = std::fopen(file.c_str(), "w");
    if (!file_) return false;
    start_ = std::chrono::steady_clock::now();
    std::fprintf(file_, "# orvane session: TIME SIDE DIRECTION PAYLOAD (orvane-replay reads it)\n");
    std::fflush(file_);
    return true;
}

void Recorder::created(const std::string& platform, const std::string& createParam) {
    write(Side::App, Dir::In, "create " + platform + (createParam.empty() ? "" : " " + encodeText(createParam)));
}

void Recorder::initMediaService(const std::string& platform, const std::string& initPara) {
    write(Side::App, Dir::In, "init " + platform + (initPara.empty() ? "" : " " + encodeText(initPara)));
}

void Recorder::command(const std::string& type, const std::string& data) {
    write(Side::App, Dir::In, "command " + type + (data.empty() ? "" : " " + encodeText(data)));
}

void Recorder::end() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!file_) return;
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_);
    std::fprintf(file_, "%s\n", formatEnd(ms.count()).c_str());
    std::fflush(file_);
}

void Recorder::write(Side side, Dir dir, const std::string& payload) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (!file_) return;
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_);
    std::fprintf(file_, "%s\n", formatRecord(ms.count(), side, dir, payload).c_str());
    std::fflush(file_);
}

ORVANE::ConfSDK::Listener* Recorder::app(ORVANE::ConfSDK::Listener* listener) {
    if (!active() || !listener) return listener;
    app_ = std::make_unique<AppListener>(*this, listener);
    return app_.get();
}

ORVANE::AVSDK::Listener* Recorder::media(ORVANE::AVSDK::Listener* listener) {
    if (!active() || !listener) return listener;
    media_ = std::make_unique<MediaListener>(*this, listener);
    return media_.get();
}

ORVANE::TransSDK* Recorder::transport(ORVANE::TransSDK* transport) {
    if (!active() || !transport) return transport;
    transport_ = std::make_unique<Transport>(*this, transport);
    return transport_.get();
}

ORVANE::AVSDK* Recorder::engine(ORVANE::AVSDK* engine) {
    if (!active() || !engine) return engine;
    // The factory may be asked again (a second initMediaService): one
    // wrapper per engine, kept while the library may still hold it.
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& e : engines_)
        if (e->inner() == engine) return e.get();
    engines_.push_back(std::make_unique<Engine>(*this, engine));
    return engines_.back().get();
}

}  // namespace orvtrace
