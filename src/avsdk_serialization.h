#pragma once

#include <deque>
#include <functional>
#include <mutex>

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

    int setListener(AVSDK::Listener* listener) override;
    int setOrvaneLogger(std::shared_ptr<spdlog::logger> logger) override;
    int passThrough1() override;
    int init(const std::string& initPara) override;
    int deinit() override;
    int passThrough2() override;
    int passThrough3() override;
    int passThrough4() override;
    int passThrough5() override;
    int passThrough6(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) override;
    int passThrough7(int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) override;
    int login(const std::string& user, const std::string& password) override;
    int logout() override;
    int join(const std::string& meetingNumber, const std::string& passcode, const std::string& displayName) override;
    int leave() override;
    int endMeeting() override;
    int passThrough8() override;
    bool isHostUser() override;
    int changeUserName(const std::string& userid, const std::string& newName, bool bSaveUserName) override;
    int setLayout(std::vector<AvLayoutItem>& items, int a, int b) override;
    int getUserList(AvUserMap& out) override;
    int passThrough9() override;
    int muteLocalAudio() override;
    int unmuteLocalAudio() override;
    bool canUnmuteByMyself() override;
    int passThrough10() override;
    int passThrough11() override;
    int passThrough12() override;
    int passThrough13() override;
    int muteAllAudio(bool allowUnmute) override;
    int unmuteAllAudio() override;
    bool passThrough14(const std::string& a, bool b) override;
    int muteAudio(const std::string& userid, bool allowUnmute) override;
    int unmuteAudio(const std::string& userid) override;
    int passThrough15(bool a) override;
    int passThrough16() override;
    int unmuteVideo(const std::string& userid) override;
    int muteVideo(const std::string& userid) override;
    int passThrough17(bool a) override;
    int passThrough18() override;
    int lockMeeting(bool lock) override;
    int passThrough19() override;
    int setHost(const std::string& userid) override;
    int reclaimHost() override;
    int assignCohost(const std::string& userid) override;
    int revokeCohost(const std::string& userid) override;
    int enableWaitingRoom(bool enable) override;
    std::string passThrough20() override;
    int passThrough21() override;
    std::string passThrough22() override;
    int passThrough23() override;
    int passThrough24() override;
    int passThrough25() override;
    std::string passThrough26() override;
    int passThrough27() override;
    int passThrough28() override;
    int passThrough29() override;
    int passThrough30() override;
    int passThrough31() override;
    int passThrough32() override;
    int passThrough33() override;
    int passThrough34() override;
    int passThrough35() override;
    int passThrough36() override;
    int passThrough37() override;
    int passThrough38(void* a) override;
    int passThrough39(int a) override;
    int passThrough40() override;
    int passThrough41() override;
    int passThrough42(const std::string& a) override;
    int passThrough43() override;
    int passThrough44() override;
    int passThrough45() override;
    int callH323device(const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType, const std::string& cmdId) override;
    int cancelCallH323device() override;
    int hangupH323device(const std::string& userId, const std::string& cmdId) override;
    int passThrough46(const std::string& a, const std::string& b, const std::string& c) override;
    int passThrough47(const std::string& a, const std::string& b) override;
    int passThrough48() override;
    int passThrough49() override;
    int passThrough50() override;
    int passThrough51() override;
    int passThrough52(bool a) override;
    int passThrough53() override;
    int passThrough54(bool a) override;
    int passThrough55() override;
    int passThrough56(bool a) override;
    int passThrough57() override;
    int passThrough58(bool a) override;
    int setConfSignal(const std::string& signalJson) override;
    int passThrough59() override;
    int passThrough60() override;
    int passThrough61(const std::string& a, const std::string& b, const std::string& c) override;
    AvInterpretationService* getInterpretationService() override;
    AvUiControlService* getUiControlService() override;
    int passThrough62() override;
    int setZak(const std::string& zak) override;
    void setCustomUIOption(int uiType, bool visible) override;

private:
    void enqueue(std::function<void()> call);

    AVSDK* engine;
    TaskQueue& queue;
    std::function<void()> notifyTask;
};

}  // namespace ORVANE
