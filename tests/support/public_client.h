#pragma once

#include <orvane/orvane.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include "app_listener.h"
#include "sim_engine.h"
#include "ui_thread.h"

namespace orvtest {

// An application on the exported interface, on the simulated engine and the
// transport of the test's choice.
template <typename Transport>
struct PublicClient {
    PublicClient() : ui(nullptr, app) {}
    // Both threads that report into the library stop before either object
    // dies: each side's late report may reach the other.
    ~PublicClient() {
        trans.stop();
        engine.stop();
        orvsim::SimEngine::install(nullptr);
    }

    // Creates the library as an application does, up to initMediaService.
    void start() {
        orvsim::SimEngine::install(&engine);
        sdk = ORVANE::OrvaneSDK_Factory::createInstance("QV", "");
        ui.sdk = sdk;
        sdk->setOrvaneLogger(logger);
        sdk->setListener(&app);
        sdk->setMediaServiceListener(&app);
        sdk->setOrvaneTrans(&trans);
        sdk->initMediaService("QV", "");
    }

    // The library's lines go nowhere: these tests read what the sides see.
    std::shared_ptr<spdlog::logger> logger =
        std::make_shared<spdlog::logger>("e2e", std::make_shared<spdlog::sinks::null_sink_mt>());
    AppListener app;
    Transport trans;
    orvsim::SimEngine engine;
    ORVANE::ConfSDK* sdk = nullptr;
    UiThread ui;
};

}  // namespace orvtest
