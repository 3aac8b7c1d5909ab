#include "orvane/confsdk.h"

#include "CallSignal/callid.h"
#include "confsdk_p.h"
#include "console_output.h"
#include "logger.h"

namespace ORVANE {

namespace {

// No exception leaves the exported interface: a fault is logged and the
// call answers with its neutral result.
template <typename R, typename F>
R guarded(const char* operation, R fallback, F&& body) {
    try {
        return body();
    } catch (const nlohmann::json::exception& e) {
        LOG_ERROR("json ERROR! confsdk:{}, json error={}, data={}", operation, e.what(), "");
    } catch (const std::exception& e) {
        LOG_ERROR("ConfSDK::{} failed: {}", operation, e.what());
    } catch (...) {
        LOG_ERROR("ConfSDK::{} failed with an unknown exception", operation);
    }
    return fallback;
}

template <typename F>
void guardedVoid(const char* operation, F&& body) {
    guarded(operation, 0, [&] {
        body();
        return 0;
    });
}

// The services as the application reaches them. The engine's code runs
// inside several of them, so each is guarded like the facade's members.
class GuardedServices final : public ConfSDK::ConfControlService,
                              public ConfSDK::ConfInterpretationService,
                              public ConfSDK::ConfUiControlService {
public:
    explicit GuardedServices(OrvaneSDKPrivate& core) : core_(core) {}

    bool isRunning() override { return guarded("isRunning", false, [&] { return core_.isRunning(); }); }
    int setLayout(const std::vector<LayoutItem>& items, int a, int b) override {
        return guarded("setLayout", 0, [&] { return core_.setLayout(items, a, b); });
    }
    ConfSDK::ConfInterpretationService* getConfInterpretationService() override {
        const bool present = guarded("getConfInterpretationService", false,
                                     [&] { return core_.getConfInterpretationService() != nullptr; });
        return present ? this : nullptr;
    }
    ConfSDK::ConfUiControlService* getConfUiControlService() override {
        const bool present =
            guarded("getConfUiControlService", false, [&] { return core_.getConfUiControlService() != nullptr; });
        return present ? this : nullptr;
    }
    void getLayoutSize(Rect container, int layoutId, int sumCount, int* width, int* height) override {
        guardedVoid("getLayoutSize", [&] { core_.getLayoutSize(container, layoutId, sumCount, width, height); });
    }
    Rect fitRect(Rect container, int width, int height) override {
        return guarded("fitRect", Rect{}, [&] { return core_.fitRect(container, width, height); });
    }
    Rect getCellRect(Rect container, int layoutId, int sumCount, int index) override {
        return guarded("getCellRect", Rect{}, [&] { return core_.getCellRect(container, layoutId, sumCount, index); });
    }
    Rect computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int width, int height,
                         int rowStart, int rowEnd, int colStart, int colEnd) override {
        return guarded("computeCellRect", Rect{}, [&] {
            return core_.computeCellRect(container, spacing, margin, gridRow, gridColumn, width, height, rowStart,
                                         rowEnd, colStart, colEnd);
        });
    }
    void setLayoutOrder(std::string key, std::vector<std::string> list) override {
        guardedVoid("setLayoutOrder", [&] { core_.setLayoutOrder(std::move(key), std::move(list)); });
    }
    std::vector<std::string> getLayoutOrder(std::string key) override {
        return guarded("getLayoutOrder", std::vector<std::string>(),
                       [&] { return core_.getLayoutOrder(std::move(key)); });
    }
    std::vector<std::string> mergeLayoutOrder(std::string key, std::vector<std::string> list) override {
        return guarded("mergeLayoutOrder", std::vector<std::string>(),
                       [&] { return core_.mergeLayoutOrder(std::move(key), std::move(list)); });
    }

    std::vector<std::string> interpretationList() override {
        return guarded("interpretationList", std::vector<std::string>(), [&] { return core_.interpretationList(); });
    }
    int interpretationUserSet(const std::string& deviceId, int a, int b) override {
        return guarded("interpretationUserSet", -1, [&] { return core_.interpretationUserSet(deviceId, a, b); });
    }
    int interpretationUserClear(const std::string& deviceId) override {
        return guarded("interpretationUserClear", -1, [&] { return core_.interpretationUserClear(deviceId); });
    }
    int interpretationUserChange(const std::string& deviceId, int a, int b) override {
        return guarded("interpretationUserChange", -1, [&] { return core_.interpretationUserChange(deviceId, a, b); });
    }
    int interpretationStart() override {
        return guarded("interpretationStart", -1, [&] { return core_.interpretationStart(); });
    }
    int interpretationStop() override {
        return guarded("interpretationStop", -1, [&] { return core_.interpretationStop(); });
    }

    int uiControlCall() override { return guarded("uiControlCall", -1, [&] { return core_.uiControlCall(); }); }

private:
    OrvaneSDKPrivate& core_;
};

}  // namespace

// ---------------------------------------------------------------------------

std::atomic<ConfSDK*> OrvaneSDK_Factory::_sdk{nullptr};
std::mutex OrvaneSDK_Factory::_mutex;

ConfSDK* OrvaneSDK_Factory::createInstance(const std::string& platformName, const std::string& createParam) {
    std::lock_guard<std::mutex> lock(_mutex);
    if (_sdk.load() == nullptr) {
        _sdk = guarded("createInstance", static_cast<ConfSDK*>(nullptr),
                       [&] { return new ConfSDK(platformName, createParam); });
    }
    return _sdk.load();
}

ConfSDK* OrvaneSDK_Factory::getInstance() { return _sdk.load(); }

// ---------------------------------------------------------------------------

ConfSDK::ConfSDK(const std::string& platformName, const std::string& createParam) {
    LOG_DEBUG("ConfSDK::ConfSDK ctor enter\n");
    seedCallIdGenerator();
    d = new OrvaneSDKPrivate(platformName, createParam);
    services_ = new GuardedServices(*d);
}

void ConfSDK::sendCommand(const std::string& type, const std::string& data) {
    LOG_INFO("ConfSDK::sendCommand, type={}, data={}\n", type, data);
    try {
        d->sendCommand(type, data);
    } catch (const nlohmann::json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
        d->app().commandRefused(type, refusalOf(e));
    } catch (const std::exception& e) {
        LOG_ERROR("ConfSDK::sendCommand failed: {}, type={}", e.what(), type);
    } catch (...) {
        LOG_ERROR("ConfSDK::sendCommand failed with an unknown exception, type={}", type);
    }
}

ConfSDK::ConfControlService& ConfSDK::getConfControlService() { return *services_; }

void ConfSDK::setRefusalNotify(bool on) { d->app().setRefusalNotify(on); }

void ConfSDK::setConsoleOutput(bool on) { ORVANE::setConsoleOutput(on); }

void ConfSDK::setListener(Listener* listener) {
    guardedVoid("setListener", [&] { d->setListener(listener); });
}

void ConfSDK::setMediaServiceListener(AVSDK::Listener* listener) {
    guardedVoid("setMediaServiceListener", [&] { d->setMediaServiceListener(listener); });
}

void ConfSDK::setOrvaneLogger(std::shared_ptr<spdlog::logger> logger) { setOrvaneGlobalLogger(std::move(logger)); }

void ConfSDK::setOrvaneTrans(TransSDK* trans) {
    guardedVoid("setOrvaneTrans", [&] { d->setOrvaneTrans(trans); });
}

int ConfSDK::initMediaService(const std::string& platformName, const std::string& initPara) {
    return guarded("initMediaService", -1, [&] { return d->initMediaService(platformName, initPara); });
}

int ConfSDK::cleanMediaService() {
    LOG_ERROR("****** Why do you call this function? ******");
    return 0;
}

int ConfSDK::reinit() {
    return guarded("reinit", 0, [&] { return d->reinit(); });
}

AVSDK* ConfSDK::getMediaService() {
    return guarded("getMediaService", static_cast<AVSDK*>(nullptr), [&] { return d->getMediaService(); });
}

std::string ConfSDK::getMyInfo() {
    return guarded("getMyInfo", std::string(), [&] { return d->getMyInfo(); });
}

std::string ConfSDK::getUniformUserID() {
    return guarded("getUniformUserID", std::string(), [&] { return d->getUniformUserID(); });
}

std::string ConfSDK::getUniformUserName() {
    return guarded("getUniformUserName", std::string(), [&] { return d->getUniformUserName(); });
}

bool ConfSDK::isMeetingRoomDevice() { return d->isMeetingRoomDevice(); }

void ConfSDK::setMeetingPanelVisible(bool visible) {
    guardedVoid("setMeetingPanelVisible", [&] { d->setCustomUIOption("setMeetingPanelVisible", 0, visible); });
}

void ConfSDK::setInviteButtonVisible(bool visible) {
    guardedVoid("setInviteButtonVisible", [&] { d->setCustomUIOption("setInviteButtonVisible", 1, visible); });
}

void ConfSDK::setShareButtonVisible(bool visible) {
    guardedVoid("setShareButtonVisible", [&] { d->setCustomUIOption("setShareButtonVisible", 2, visible); });
}

void ConfSDK::setRecordButtonVisible(bool visible) {
    guardedVoid("setRecordButtonVisible", [&] { d->setCustomUIOption("setRecordButtonVisible", 3, visible); });
}

void ConfSDK::setChatButtonVisible(bool visible) {
    guardedVoid("setChatButtonVisible", [&] { d->setCustomUIOption("setChatButtonVisible", 4, visible); });
}

void ConfSDK::setMediaServiceUIType(const std::string& type) {
    guardedVoid("setMediaServiceUIType", [&] { d->setMediaServiceUIType(type); });
}

void ConfSDK::DoInternalTaskMustCalledByUIThread() {
    guardedVoid("DoInternalTaskMustCalledByUIThread", [&] { d->runUiTask(); });
}

// ---------------------------------------------------------------------------

namespace {
std::mutex g_creatorMutex;
AVSDK_Factory::Creator g_creator;
}  // namespace

AVSDK* AVSDK_Factory::createInstance(const std::string& platformName, const std::string& initPara) {
    Creator creator;
    {
        std::lock_guard<std::mutex> lock(g_creatorMutex);
        creator = g_creator;
    }
    return creator ? creator(platformName, initPara) : nullptr;
}

void AVSDK_Factory::setCreator(Creator creator) {
    std::lock_guard<std::mutex> lock(g_creatorMutex);
    g_creator = std::move(creator);
}

}  // namespace ORVANE
