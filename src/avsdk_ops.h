#pragma once

#include "orvane/avsdk.h"

// Every operation of AVSDK in interface order, for code that must treat all of
// them alike (the serialising wrapper, recording doubles):
//   X(result type, name, (parameters), (argument names), QUEUED | DIRECT, ENTER)
// QUEUED operations run on the application's UI thread for platform "QV";
// DIRECT ones run at once on the caller's thread. ENTER is the debug line the
// "QV" wrapper logs with the arguments before anything else, or "" for none.
#define ORVANE_AVSDK_OPERATIONS(X) \
    X(int, setListener, (ORVANE::AVSDK::Listener* listener), (listener), DIRECT, "") \
    X(int, setOrvaneLogger, (std::shared_ptr<spdlog::logger> logger), (logger), DIRECT, "") \
    X(int, passThrough1, (), (), DIRECT, "") \
    X(int, init, (const std::string& initPara), (initPara), QUEUED, "AVSDKWrapper_QV::init() enter") \
    X(int, deinit, (), (), DIRECT, "") \
    X(int, passThrough2, (), (), DIRECT, "") \
    X(int, passThrough3, (), (), DIRECT, "") \
    X(int, passThrough4, (), (), DIRECT, "") \
    X(int, passThrough5, (), (), DIRECT, "") \
    X(int, passThrough6, (int32_t a, int32_t b, int32_t c, int32_t d, int32_t e), (a, b, c, d, e), DIRECT, "") \
    X(int, passThrough7, (int32_t a, int32_t b, int32_t c, int32_t d, int32_t e), (a, b, c, d, e), DIRECT, "") \
    X(int, login, (const std::string& user, const std::string& password), (user, password), QUEUED, "") \
    X(int, logout, (), (), QUEUED, "") \
    X(int, join, (const std::string& meetingNumber, const std::string& passcode, const std::string& displayName), (meetingNumber, passcode, displayName), DIRECT, "") \
    X(int, leave, (), (), QUEUED, "") \
    X(int, endMeeting, (), (), QUEUED, "") \
    X(int, passThrough8, (), (), DIRECT, "") \
    X(bool, isHostUser, (), (), DIRECT, "") \
    X(int, changeUserName, (const std::string& userid, const std::string& newName, bool bSaveUserName), (userid, newName, bSaveUserName), DIRECT, "AVSDKWrapper_QV::changeUserName enter userid={}, newName={}, bSaveUserName={}") \
    X(int, setLayout, (std::vector<ORVANE::AvLayoutItem>& items, int a, int b), (items, a, b), DIRECT, "") \
    X(int, getUserList, (ORVANE::AvUserMap& out), (out), DIRECT, "") \
    X(int, passThrough9, (), (), DIRECT, "") \
    X(int, muteLocalAudio, (), (), QUEUED, "") \
    X(int, unmuteLocalAudio, (), (), DIRECT, "") \
    X(bool, canUnmuteByMyself, (), (), DIRECT, "") \
    X(int, passThrough10, (), (), DIRECT, "") \
    X(int, passThrough11, (), (), DIRECT, "") \
    X(int, passThrough12, (), (), QUEUED, "") \
    X(int, passThrough13, (), (), QUEUED, "") \
    X(int, muteAllAudio, (bool allowUnmute), (allowUnmute), QUEUED, "") \
    X(int, unmuteAllAudio, (), (), QUEUED, "") \
    X(bool, passThrough14, (const std::string& a, bool b), (a, b), QUEUED, "") \
    X(int, muteAudio, (const std::string& userid, bool allowUnmute), (userid, allowUnmute), QUEUED, "") \
    X(int, unmuteAudio, (const std::string& userid), (userid), QUEUED, "") \
    X(int, passThrough15, (bool a), (a), QUEUED, "") \
    X(int, passThrough16, (), (), DIRECT, "") \
    X(int, unmuteVideo, (const std::string& userid), (userid), QUEUED, "") \
    X(int, muteVideo, (const std::string& userid), (userid), QUEUED, "") \
    X(int, passThrough17, (bool a), (a), QUEUED, "") \
    X(int, passThrough18, (), (), DIRECT, "") \
    X(int, lockMeeting, (bool lock), (lock), QUEUED, "") \
    X(int, passThrough19, (), (), DIRECT, "") \
    X(int, setHost, (const std::string& userid), (userid), QUEUED, "") \
    X(int, reclaimHost, (), (), QUEUED, "") \
    X(int, assignCohost, (const std::string& userid), (userid), QUEUED, "") \
    X(int, revokeCohost, (const std::string& userid), (userid), QUEUED, "") \
    X(int, enableWaitingRoom, (bool enable), (enable), QUEUED, "") \
    X(std::string, passThrough20, (), (), DIRECT, "") \
    X(int, passThrough21, (), (), DIRECT, "") \
    X(std::string, passThrough22, (), (), DIRECT, "") \
    X(int, passThrough23, (), (), DIRECT, "") \
    X(int, passThrough24, (), (), DIRECT, "") \
    X(int, passThrough25, (), (), DIRECT, "") \
    X(std::string, passThrough26, (), (), DIRECT, "") \
    X(int, passThrough27, (), (), DIRECT, "") \
    X(int, passThrough28, (), (), DIRECT, "") \
    X(int, passThrough29, (), (), DIRECT, "") \
    X(int, passThrough30, (), (), DIRECT, "") \
    X(int, passThrough31, (), (), DIRECT, "") \
    X(int, passThrough32, (), (), DIRECT, "") \
    X(int, passThrough33, (), (), DIRECT, "") \
    X(int, passThrough34, (), (), DIRECT, "") \
    X(int, passThrough35, (), (), DIRECT, "") \
    X(int, passThrough36, (), (), DIRECT, "") \
    X(int, passThrough37, (), (), DIRECT, "") \
    X(int, passThrough38, (void* a), (a), QUEUED, "") \
    X(int, passThrough39, (int a), (a), QUEUED, "") \
    X(int, passThrough40, (), (), QUEUED, "") \
    X(int, passThrough41, (), (), DIRECT, "") \
    X(int, passThrough42, (const std::string& a), (a), QUEUED, "") \
    X(int, passThrough43, (), (), QUEUED, "") \
    X(int, passThrough44, (), (), QUEUED, "") \
    X(int, passThrough45, (), (), QUEUED, "") \
    X(int, callH323device, (const std::string& deviceName, const std::string& deviceIp, const std::string& deviceType, const std::string& cmdId), (deviceName, deviceIp, deviceType, cmdId), QUEUED, "AVSDKWrapper_QV::callH323device deviceName={}, deviceIp={}, deviceType={}, cmdId={} enter") \
    X(int, cancelCallH323device, (), (), QUEUED, "AVSDKWrapper_QV::cancelCallH323device enter") \
    X(int, hangupH323device, (const std::string& userId, const std::string& cmdId), (userId, cmdId), QUEUED, "AVSDKWrapper_QV::hangupH323device userId={}, cmdId={} enter") \
    X(int, passThrough46, (const std::string& a, const std::string& b, const std::string& c), (a, b, c), QUEUED, "") \
    X(int, passThrough47, (const std::string& a, const std::string& b), (a, b), QUEUED, "") \
    X(int, passThrough48, (), (), DIRECT, "") \
    X(int, passThrough49, (), (), DIRECT, "") \
    X(int, passThrough50, (), (), DIRECT, "") \
    X(int, passThrough51, (), (), DIRECT, "") \
    X(int, passThrough52, (bool a), (a), QUEUED, "") \
    X(int, passThrough53, (), (), DIRECT, "") \
    X(int, passThrough54, (bool a), (a), QUEUED, "") \
    X(int, passThrough55, (), (), DIRECT, "") \
    X(int, passThrough56, (bool a), (a), QUEUED, "") \
    X(int, passThrough57, (), (), DIRECT, "") \
    X(int, passThrough58, (bool a), (a), QUEUED, "") \
    X(int, setConfSignal, (const std::string& signalJson), (signalJson), DIRECT, "") \
    X(int, passThrough59, (), (), DIRECT, "") \
    X(int, passThrough60, (), (), DIRECT, "") \
    X(int, passThrough61, (const std::string& a, const std::string& b, const std::string& c), (a, b, c), QUEUED, "") \
    X(ORVANE::AvInterpretationService*, getInterpretationService, (), (), DIRECT, "") \
    X(ORVANE::AvUiControlService*, getUiControlService, (), (), DIRECT, "") \
    X(int, passThrough62, (), (), DIRECT, "") \
    X(int, setZak, (const std::string& zak), (zak), DIRECT, "") \
    X(void, setCustomUIOption, (int uiType, bool visible), (uiType, visible), DIRECT, "--- AVSDKWrapper_QV : uiType {}, visible {} ---")
