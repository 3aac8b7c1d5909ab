// Creates the library through its exported interface and shows what it holds.
#include <orvane/orvane.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <cstdio>

namespace {
class PrintingListener : public ORVANE::ConfSDK::Listener {
public:
    void onConfCommand(const std::string& type, const std::string& data) override {
        std::printf("reply        %s %s\n", type.c_str(), data.c_str());
    }
    void onConfNotify(const std::string& type, const std::string& data) override {
        std::printf("notification %s %s\n", type.c_str(), data.c_str());
    }
};
}  // namespace

int main() {
    ORVANE::ConfSDK* sdk = ORVANE::OrvaneSDK_Factory::createInstance("QV", "");
    auto logger = spdlog::stdout_color_mt("orvane-hello");
    logger->set_level(spdlog::level::warn);
    sdk->setOrvaneLogger(logger);
    PrintingListener listener;
    sdk->setListener(&listener);

    std::printf("orvaneControl created\n");
    std::printf("  same instance again: %s\n",
                ORVANE::OrvaneSDK_Factory::createInstance("QC", "x") == sdk ? "yes" : "no");
    std::printf("  conference running:  %s\n", sdk->getConfControlService().isRunning() ? "yes" : "no");
    std::printf("  my info:             %s\n", sdk->getMyInfo().c_str());
    std::printf("  media service:       %s\n", sdk->getMediaService() ? "present" : "none yet");
    std::printf("  init media service:  %d (no engine installed)\n", sdk->initMediaService("QV", ""));
    return 0;
}
