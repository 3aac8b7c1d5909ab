#pragma once

// Records a session of the library: what the application, the servers and
// the media engine hand it, and what it does on each of them, one line each
// (see orvane_replay.cpp). The recorder stands between the library and each
// of its three neighbours; until open() succeeds it stands aside and every
// wrap* returns what it was given.

#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "orvane/avsdk.h"
#include "orvane/confsdk.h"
#include "orvane/transsdk.h"
#include "trace_format.h"

namespace orvtrace {

class Recorder {
public:
    Recorder();
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Starts the file and the session's clock; false if it cannot be written.
    bool open(const std::string& file);
    bool active() const { return file_ != nullptr; }

    // The application's own calls on the library.
    void created(const std::string& platform, const std::string& createParam);
    void initMediaService(const std::string& platform, const std::string& initPara);
    void command(const std::string& type, const std::string& data);
    // The session is over: the replay lets the clock run to here.
    void end();

    // What the library is given in place of its neighbours. Each wrapper
    // lives as long as the recorder; the wrapped objects must too.
    ORVANE::ConfSDK::Listener* app(ORVANE::ConfSDK::Listener* listener);
    ORVANE::AVSDK::Listener* media(ORVANE::AVSDK::Listener* listener);
    ORVANE::TransSDK* transport(ORVANE::TransSDK* transport);
    ORVANE::AVSDK* engine(ORVANE::AVSDK* engine);

    // One record, written at once: a session may end with _Exit.
    void write(Side side, Dir dir, const std::string& payload);

private:
    class AppListener;
    class MediaListener;
    class Transport;
    class Engine;

    std::mutex mutex_;
    FILE* file_ = nullptr;
    std::chrono::steady_clock::time_point start_;
    std::unique_ptr<AppListener> app_;
    std::unique_ptr<MediaListener> media_;
    std::unique_ptr<Transport> transport_;
    std::vector<std::unique_ptr<Engine>> engines_;  // one per engine handed out
};

}  // namespace orvtrace
