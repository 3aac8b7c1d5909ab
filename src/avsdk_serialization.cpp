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

int AVSDKWrapper_QV::setListener(AVSDK::Listener* listener) {
    return engine->setListener(listener);
}

int AVSDKWrapper_QV::setOrvaneLogger(std::shared_ptr<spdlog::logger> logger) {
    return engine->setOrvaneLogger(logger);
}

int AVSDKWrapper_QV::passThrough1() {
    return engine->passThrough1();
}

int AVSDKWrapper_QV::init(const std::string& initPara) {
    LOG_DEBUG("AVSDKWrapper_QV::init() enter");
    AVSDK* eng = engine;
    enqueue([=] { eng->init(initPara); });
    return {};
}

int AVSDKWrapper_QV::deinit() {
    return engine->deinit();
}

int AVSDKWrapper_QV::passThrough2() {
    return engine->passThrough2();
}

int AVSDKWrapper_QV::passThrough3() {
    return engine->passThrough3();
}

int AVSDKWrapper_QV::passThrough4() {
    return engine->passThrough4();
}

int AVSDKWrapper_QV::passThrough5() {
    return engine->passThrough5();
}

int AVSDKWrapper_QV::passThrough6(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) {
    return engine->passThrough6(a, b, c, d, e);
}

int AVSDKWrapper_QV::passThrough7(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) {
    return engine->passThrough7(a, b, c, d, e);
}

int AVSDKWrapper_QV::login(const std::string& user, const std::string& password) {
    AVSDK* eng = engine;
    enqueue([=] { eng->login(user, password); });
    return {};
}

int AVSDKWrapper_QV::logout() {
    AVSDK* eng = engine;
    enqueue([=] { eng->logout(); });
    return {};
}

int AVSDKWrapper_QV::join(const std::string& meetingNumber, const std::string& passcode, const std::string& displayName) {
    return engine->join(meetingNumber, passcode, displayName);
}

int AVSDKWrapper_QV::leave() {
    AVSDK* eng = engine;
    enqueue([=] { eng->leave(); });
    return {};
}

int AVSDKWrapper_QV::endMeeting() {
    AVSDK* eng = engine;
    enqueue([=] { eng->endMeeting(); });
    return {};
}

int AVSDKWrapper_QV::passThrough8() {
    return engine->passThrough8();
}

bool AVSDKWrapper_QV::isHostUser() {
    return engine->isHostUser();
}

int AVSDKWrapper_QV::changeUserName(const std::string& userid, const std::string& newName, bool bSaveUserName) {
    LOG_DEBUG("AVSDKWrapper_QV::changeUserName enter userid={}, newName={}, bSaveUserName={}", userid, newName,
              bSaveUserName);
    return engine->changeUserName(userid, newName, bSaveUserName);
}

int AVSDKWrapper_QV::setLayout(std::vector<AvLayoutItem>& items, int a, int b) {
    return engine->setLayout(items, a, b);
}

int AVSDKWrapper_QV::getUserList(AvUserMap& out) {
    return engine->getUserList(out);
}

int AVSDKWrapper_QV::passThrough9() {
    return engine->passThrough9();
}

int AVSDKWrapper_QV::muteLocalAudio() {
    AVSDK* eng = engine;
    enqueue([=] { eng->muteLocalAudio(); });
    return {};
}

int AVSDKWrapper_QV::unmuteLocalAudio() {
    return engine->unmuteLocalAudio();
}

bool AVSDKWrapper_QV::canUnmuteByMyself() {
    return engine->canUnmuteByMyself();
}

int AVSDKWrapper_QV::passThrough10() {
    return engine->passThrough10();
}

int AVSDKWrapper_QV::passThrough11() {
    return engine->passThrough11();
}

int AVSDKWrapper_QV::passThrough12() {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough12(); });
    return {};
}

int AVSDKWrapper_QV::passThrough13() {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough13(); });
    return {};
}

int AVSDKWrapper_QV::muteAllAudio(bool allowUnmute) {
    AVSDK* eng = engine;
    enqueue([=] { eng->muteAllAudio(allowUnmute); });
    return {};
}

int AVSDKWrapper_QV::unmuteAllAudio() {
    AVSDK* eng = engine;
    enqueue([=] { eng->unmuteAllAudio(); });
    return {};
}

bool AVSDKWrapper_QV::passThrough14(const std::string& a, bool b) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough14(a, b); });
    return {};
}

int AVSDKWrapper_QV::muteAudio(const std::string& userid, bool allowUnmute) {
    AVSDK* eng = engine;
    enqueue([=] { eng->muteAudio(userid, allowUnmute); });
    return {};
}

int AVSDKWrapper_QV::unmuteAudio(const std::string& userid) {
    AVSDK* eng = engine;
    enqueue([=] { eng->unmuteAudio(userid); });
    return {};
}

int AVSDKWrapper_QV::passThrough15(bool a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough15(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough16() {
    return engine->passThrough16();
}

int AVSDKWrapper_QV::unmuteVideo(const std::string& userid) {
    AVSDK* eng = engine;
    enqueue([=] { eng->unmuteVideo(userid); });
    return {};
}

int AVSDKWrapper_QV::muteVideo(const std::string& userid) {
    AVSDK* eng = engine;
    enqueue([=] { eng->muteVideo(userid); });
    return {};
}

int AVSDKWrapper_QV::passThrough17(bool a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough17(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough18() {
    return engine->passThrough18();
}

int AVSDKWrapper_QV::lockMeeting(bool lock) {
    AVSDK* eng = engine;
    enqueue([=] { eng->lockMeeting(lock); });
    return {};
}

int AVSDKWrapper_QV::passThrough19() {
    return engine->passThrough19();
}

int AVSDKWrapper_QV::setHost(const std::string& userid) {
    AVSDK* eng = engine;
    enqueue([=] { eng->setHost(userid); });
    return {};
}

int AVSDKWrapper_QV::reclaimHost() {
    AVSDK* eng = engine;
    enqueue([=] { eng->reclaimHost(); });
    return {};
}

int AVSDKWrapper_QV::assignCohost(const std::string& userid) {
    AVSDK* eng = engine;
    enqueue([=] { eng->assignCohost(userid); });
    return {};
}

int AVSDKWrapper_QV::revokeCohost(const std::string& userid) {
    AVSDK* eng = engine;
    enqueue([=] { eng->revokeCohost(userid); });
    return {};
}

int AVSDKWrapper_QV::enableWaitingRoom(bool enable) {
    AVSDK* eng = engine;
    enqueue([=] { eng->enableWaitingRoom(enable); });
    return {};
}

std::string AVSDKWrapper_QV::passThrough20() {
    return engine->passThrough20();
}

int AVSDKWrapper_QV::passThrough21() {
    return engine->passThrough21();
}

std::string AVSDKWrapper_QV::passThrough22() {
    return engine->passThrough22();
}

int AVSDKWrapper_QV::passThrough23() {
    return engine->passThrough23();
}

int AVSDKWrapper_QV::passThrough24() {
    return engine->passThrough24();
}

int AVSDKWrapper_QV::passThrough25() {
    return engine->passThrough25();
}

std::string AVSDKWrapper_QV::passThrough26() {
    return engine->passThrough26();
}

int AVSDKWrapper_QV::passThrough27() {
    return engine->passThrough27();
}

int AVSDKWrapper_QV::passThrough28() {
    return engine->passThrough28();
}

int AVSDKWrapper_QV::passThrough29() {
    return engine->passThrough29();
}

int AVSDKWrapper_QV::passThrough30() {
    return engine->passThrough30();
}

int AVSDKWrapper_QV::passThrough31() {
    return engine->passThrough31();
}

int AVSDKWrapper_QV::passThrough32() {
    return engine->passThrough32();
}

int AVSDKWrapper_QV::passThrough33() {
    return engine->passThrough33();
}

int AVSDKWrapper_QV::passThrough34() {
    return engine->passThrough34();
}

int AVSDKWrapper_QV::passThrough35() {
    return engine->passThrough35();
}

int AVSDKWrapper_QV::passThrough36() {
    return engine->passThrough36();
}

int AVSDKWrapper_QV::passThrough37() {
    return engine->passThrough37();
}

int AVSDKWrapper_QV::passThrough38(void* a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough38(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough39(int a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough39(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough40() {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough40(); });
    return {};
}

int AVSDKWrapper_QV::passThrough41() {
    return engine->passThrough41();
}

int AVSDKWrapper_QV::passThrough42(const std::string& a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough42(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough43() {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough43(); });
    return {};
}

int AVSDKWrapper_QV::passThrough44() {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough44(); });
    return {};
}

int AVSDKWrapper_QV::passThrough45() {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough45(); });
    return {};
}

int AVSDKWrapper_QV::callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType, const std::string& cmdId) {
    LOG_DEBUG("AVSDKWrapper_QV::callH323device deviceName={}, deviceIp={}, deviceType={}, cmdId={} enter", deviceName,
              deviceIp, deviceType, cmdId);
    AVSDK* eng = engine;
    enqueue([=] { eng->callH323device(deviceName, deviceIp, deviceType, cmdId); });
    return {};
}

int AVSDKWrapper_QV::cancelCallH323device() {
    LOG_DEBUG("AVSDKWrapper_QV::cancelCallH323device enter");
    AVSDK* eng = engine;
    enqueue([=] { eng->cancelCallH323device(); });
    return {};
}

int AVSDKWrapper_QV::hangupH323device(const std::string& userId, const std::string& cmdId) {
    LOG_DEBUG("AVSDKWrapper_QV::hangupH323device userId={}, cmdId={} enter", userId, cmdId);
    AVSDK* eng = engine;
    enqueue([=] { eng->hangupH323device(userId, cmdId); });
    return {};
}

int AVSDKWrapper_QV::passThrough46(const std::string& a, const std::string& b, const std::string& c) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough46(a, b, c); });
    return {};
}

int AVSDKWrapper_QV::passThrough47(const std::string& a, const std::string& b) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough47(a, b); });
    return {};
}

int AVSDKWrapper_QV::passThrough48() {
    return engine->passThrough48();
}

int AVSDKWrapper_QV::passThrough49() {
    return engine->passThrough49();
}

int AVSDKWrapper_QV::passThrough50() {
    return engine->passThrough50();
}

int AVSDKWrapper_QV::passThrough51() {
    return engine->passThrough51();
}

int AVSDKWrapper_QV::passThrough52(bool a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough52(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough53() {
    return engine->passThrough53();
}

int AVSDKWrapper_QV::passThrough54(bool a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough54(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough55() {
    return engine->passThrough55();
}

int AVSDKWrapper_QV::passThrough56(bool a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough56(a); });
    return {};
}

int AVSDKWrapper_QV::passThrough57() {
    return engine->passThrough57();
}

int AVSDKWrapper_QV::passThrough58(bool a) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough58(a); });
    return {};
}

int AVSDKWrapper_QV::setConfSignal(const std::string& signalJson) {
    return engine->setConfSignal(signalJson);
}

int AVSDKWrapper_QV::passThrough59() {
    return engine->passThrough59();
}

int AVSDKWrapper_QV::passThrough60() {
    return engine->passThrough60();
}

int AVSDKWrapper_QV::passThrough61(const std::string& a, const std::string& b, const std::string& c) {
    AVSDK* eng = engine;
    enqueue([=] { eng->passThrough61(a, b, c); });
    return {};
}

AvInterpretationService* AVSDKWrapper_QV::getInterpretationService() {
    return engine->getInterpretationService();
}

AvUiControlService* AVSDKWrapper_QV::getUiControlService() {
    return engine->getUiControlService();
}

int AVSDKWrapper_QV::passThrough62() {
    return engine->passThrough62();
}

int AVSDKWrapper_QV::setZak(const std::string& zak) {
    return engine->setZak(zak);
}

void AVSDKWrapper_QV::setCustomUIOption(int uiType, bool visible) {
    LOG_DEBUG("--- AVSDKWrapper_QV : uiType {}, visible {} ---", uiType, visible);
    return engine->setCustomUIOption(uiType, visible);
}
}  // namespace ORVANE
