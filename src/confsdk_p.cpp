#include "confsdk_p.h"

#include <chrono>
#include <future>

#include "CallSignal/conf_state.h"
#include "OrvaneLogic/orvanelogic_qv.h"
#include "avsdk_serialization.h"
#include "call_lock.h"
#include "ctrlsdk_utils.h"
#include "logger.h"
#include "orvane/vocabulary.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {
std::atomic<OrvaneSDKPrivate*> g_confsdkPrivate{nullptr};

std::shared_ptr<Clock> clockOf(const SdkEnv& env) { return env.clock ? env.clock : systemClock(); }

bool isLogicCommand(const std::string& type) {
    return type == CONF::MUTEAUDIOLOCAL || type == CONF::MUTEAUDIO || type == CONF::MUTEVIDEO ||
           type == CONF::MUTEALL || type == CONF::LOCKMEETING || type == CONF::MAKEHOST ||
           type == CONF::MAKECOHOST;
}
}  // namespace

namespace ORVANE {
OrvaneSDKPrivate* confsdkPrivate() { return g_confsdkPrivate.load(); }
void setConfsdkPrivate(OrvaneSDKPrivate* p) { g_confsdkPrivate.store(p); }
}  // namespace ORVANE

OrvaneSDKPrivate::OrvaneSDKPrivate(const std::string& platformName, const std::string& createParamIn, SdkEnv env)
    : createParam(createParamIn), timerTasks(clockOf(env)), h323Timer(clockOf(env)), clock_(clockOf(env)) {
    _conf.reset();
    stateMachine = new ConfStateMachine(this);

    control = new ControlSDK();
    av_platform_name = platformName;
    control->setListener(this);

    if (env.logic != nullptr) {
        logic = env.logic;
    } else if (env.processWide) {
        logic = OrvaneLogic_Factory::createInstance(LTYPE_QV);
    } else {
        ownedLogic_ = new OrvaneLogic_QV();
        logic = ownedLogic_;
    }
    logic->setConfptr(this);

    if (workerThread == nullptr) {
        workerThread = new std::thread(&OrvaneSDKPrivate::_task_worker_loop, this);
        // The worker has said hello before the object is handed out: a program
        // that ends at once must not meet its first log line during exit.
        workerStarted_.get_future().wait();
    }
}

OrvaneSDKPrivate::~OrvaneSDKPrivate() {
    workerRunning = false;
    timerTasks.shutdown();
    if (workerThread) {
        workerThread->join();
        delete workerThread;
    }
    h323Timer.stopThread();
    delete ownedLogic_;
    delete avWrapper;
    delete control;
    delete stateMachine;
    if (confsdkPrivate() == this) setConfsdkPrivate(nullptr);
}

// ---------------------------------------------------------------------------
// Commands from the application

void OrvaneSDKPrivate::sendCommand(const std::string& type, const std::string& data) {
    CallLock lock(callMutex_);
    if (type == CONF::STARTCONF) {
        const json confinfo = parseConfinfo(data);
        if (confinfo.empty()) LOG_ERROR("ConfSDK::sendCommand - STARTCONF, json data is null");
        if (trans && trans->isGuestLogined() && !is_meeting_room_device) {
            control->sendCommand(CONF::UPDATEGUESTNAME,
                                 CtrlSDKUtils::dump(json{{"deviceid", device_id}, {"name", _conf.dispname}}));
        }
        if (confinfo.is_object() && confinfo.contains("extension")) {
            // A bad extension is the application's error; the call still starts.
            try {
                const std::string extension = confinfo["extension"].get<std::string>();
                control->sendCommand(CONF::DEVICEMGR_EXTENSION, CtrlSDKUtils::dump(json{{"extension", extension}}));
            } catch (const json::exception& e) {
                LOG_JSON_ERROR(e.what(), data);
            }
        }
        stateMachine->start_conf();
    } else if (type == CONF::REJECTCONF) {
        stateMachine->reject_conf();
    } else if (type == CONF::LEAVECONF) {
        _conf.is_user_call_leave = true;
        LOG_DEBUG("---Call leave conf...--");
        stateMachine->leave_conf();
        LOG_DEBUG("---Call leave conf completed...--");
        stateMachine->cur_state = AVSTATE_IDLE;
        LOG_DEBUG("----ConfState change to idle state---");
    } else if (type == CONF::ENDCONF) {
        _conf.is_user_call_leave = true;
        if (av)
            av->endMeeting();
        else
            LOG_ERROR("ERROR! getMediaService return null, please call initMediaService first.\n");
    } else if (isLogicCommand(type)) {
        try {
            logic->sendCommand(type, data);
        } catch (const json::exception& e) {
            // A value of the wrong type in the application's data.
            LOG_JSON_ERROR(e.what(), data);
        }
    } else if (type == CONF::ENDPOINTS) {
        const json j = CtrlSDKUtils::parseQuiet(data);
        if (!j.is_object() || !j.contains("confid")) return;
        try {
            std::string confid = j["confid"].get<std::string>();
            if (confid.empty()) confid = _conf.confid;
            control->sendCommand(type, CtrlSDKUtils::dump(json{{"confid", confid}}));
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), data);
        }
    } else if (type == CONF::SYNCDATA) {
        const std::string request = checkSyncCommand(data);
        control->sendCommand(type, request.empty() ? data : request);
    } else if (type == CONF::UPDATEDEVICENAME) {
        try {
            json j = json::parse(data);
            j["deviceid"] = device_id;
            control->sendCommand(type, CtrlSDKUtils::dump(j));
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), data);
        }
    } else {
        control->sendCommand(type, data);
    }
}

// ---------------------------------------------------------------------------
// Listeners and services

void OrvaneSDKPrivate::setListener(ConfSDK::Listener* l) {
    CallLock lock(callMutex_);
    listener = l;
}

void OrvaneSDKPrivate::setMediaServiceListener(AVSDK::Listener* l) {
    CallLock lock(callMutex_);
    avListener = l;
}

void OrvaneSDKPrivate::setOrvaneTrans(TransSDK* t) {
    {
        CallLock lock(callMutex_);
        trans = t;
    }
    // Not under the call lock: the transport may start delivering at once.
    control->setOrvaneTrans(t);
}

void OrvaneSDKPrivate::notifyConf(const std::string& type, const std::string& data) {
    ConfSDK::Listener* l = listener;
    if (l == nullptr) return;
    CallLock::deliver([l, type, data] { l->onConfNotify(type, data); });
}

void OrvaneSDKPrivate::replyConf(const std::string& type, const std::string& data) {
    ConfSDK::Listener* l = listener;
    if (l == nullptr) return;
    CallLock::deliver([l, type, data] { l->onConfCommand(type, data); });
}

void OrvaneSDKPrivate::notifyAvListener(const std::string& group, const std::string& cmd, const std::string& data) {
    AVSDK::Listener* l = avListener;
    if (l == nullptr) return;
    CallLock::deliver([l, group, cmd, data] { l->onNotify(group, cmd, data); });
}

void OrvaneSDKPrivate::continueAfterDeliveries(std::function<void()> step) {
    CallLock::deliver([this, step = std::move(step)] {
        CallLock lock(callMutex_);
        step();
    });
}

std::string OrvaneSDKPrivate::errMsgFromId(const std::string& id) { return trans ? trans->getErrMsgFromId(id) : ""; }

// ---------------------------------------------------------------------------
// Media service life cycle

int OrvaneSDKPrivate::initMediaService(const std::string& platformName, const std::string& initPara) {
    CallLock lock(callMutex_);
    LOG_DEBUG("{}:{}() enter", "confsdk", "initMediaService");
    LOG_DEBUG("av_platform_name={}, init_para={}", platformName, initPara);
    if (av) {
        LOG_DEBUG("confsdk initMediaService: -------AVSDK Object instance has existed-------------");
        const std::string text = CtrlSDKUtils::dump(json{{"result", 0}});
        onNotify("AuthServiceEvent", "onSdkReady", text);
        LOG_DEBUG("confsdk initMediaService: -------call onNotify 'onSdkReady'-------------");
        return 0;
    }
    AVSDK* engine = AVSDK_Factory::createInstance(platformName, initPara);
    if (engine == nullptr) return -1;
    av = engine;
    if (platformName == "QV") {
        delete avWrapper;
        avWrapper = new AVSDKWrapper_QV(engine, [this] { notifyConf(CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD, ""); });
        av = avWrapper;
    }
    av->setListener(this);
    av_platform_name = platformName;
    av->setOrvaneLogger(orvaneLoggerHandle());
    return av->init(initPara);
}

int OrvaneSDKPrivate::reinit() {
    AVSDK* engine;
    {
        CallLock lock(callMutex_);
        engine = av;
    }
    // The engine is given time between logout and deinit; the library stays
    // open to its notifications meanwhile.
    if (engine) {
        engine->logout();
        clock_->sleepFor(std::chrono::milliseconds(200));
        engine->deinit();
    }
    CallLock lock(callMutex_);
    timerTasks.clear();
    resetConference();
    return 0;
}

void OrvaneSDKPrivate::resetConference() {
    _conf.reset();
    std::lock_guard<std::mutex> epLock(epStatusMutex);
    muteAll = allowUnmute = locked = hostVideoWhenEntering = participantVideoWhenEntering = false;
    epStatusList.clear();
}

AVSDK* OrvaneSDKPrivate::getMediaService() {
    CallLock lock(callMutex_);
    if (av == nullptr) LOG_ERROR("ERROR! getMediaService return null, please call initMediaService first.\n");
    return av;
}

void OrvaneSDKPrivate::setCustomUIOption(const char* operation, int uiType, bool visible) {
    CallLock lock(callMutex_);
    if (av == nullptr) return;
    LOG_DEBUG("--- {} : visible {} --", operation, visible);
    av->setCustomUIOption(uiType, visible);
}

void OrvaneSDKPrivate::setMediaServiceUIType(const std::string& type) {
    CallLock lock(callMutex_);
    customUiMode = type == "CUSTOMIZE";
}

void OrvaneSDKPrivate::runUiTask() {
    AVSDKWrapper_QV* wrapper;
    {
        CallLock lock(callMutex_);
        wrapper = avWrapper;
    }
    // Engine calls run outside the call lock: the engine may report at once.
    if (wrapper) wrapper->runTask();
}

// ---------------------------------------------------------------------------
// Identity

std::string OrvaneSDKPrivate::getMyInfo() {
    CallLock lock(callMutex_);
    const json info = {
        {"my_dial_num", my_dial_num},
        {"user_id", user_id},
        {"serial_number", serial_number},
        {"device_name", device_name},
        {"device_type", device_type},
        {"device_id", device_id},
        {"is_meeting_room_device", is_meeting_room_device},
        {"register_user_name", register_user_name},
        {"register_user_id", register_user_id},
        {"av_user", av_user},
    };
    return CtrlSDKUtils::dump(info);
}

std::string OrvaneSDKPrivate::getUniformUserID() {
    CallLock lock(callMutex_);
    return is_meeting_room_device ? device_id : user_id;
}

std::string OrvaneSDKPrivate::getUniformUserName() {
    CallLock lock(callMutex_);
    if (is_meeting_room_device) return device_name;
    if (!register_user_name.empty()) return register_user_name;
    return _conf.dispname;
}

bool OrvaneSDKPrivate::isMeetingRoomDevice() {
    CallLock lock(callMutex_);
    return is_meeting_room_device;
}

bool OrvaneSDKPrivate::isRunning() {
    CallLock lock(callMutex_);
    LOG_DEBUG("{}:{}() enter", "confsdk", "isRunning");
    switch (stateMachine->cur_state) {
        case AVSTATE_ACTIVE_WAITING_INVITE_RESULT:
        case AVSTATE_ACTIVE_WAITING_AV_USERID:
        case AVSTATE_PASSIVE_WAITING_AV_USERID:
        case AVSTATE_PASSIVE_WAITING_ACK:
        case AVSTATE_IN_MEETING:
            LOG_DEBUG("  cur sts={}, return ture;", stateMachine->cur_state_name());
            return true;
        default:
            LOG_DEBUG("  cur sts={}, return false;", stateMachine->cur_state_name());
            return false;
    }
}

// ---------------------------------------------------------------------------
// Conference record

json OrvaneSDKPrivate::parseConfinfo(const std::string& data) {
    CallLock lock(callMutex_);
    LOG_DEBUG("confsdk parseConfinfo enter data={}", data);
    try {
        json j = json::parse(data);
        const bool isObject = j.is_object();

        std::string zak;
        if (isObject && j.contains("zak")) zak = j["zak"].get<std::string>();
        _conf.zak = zak;
        if (av) av->setZak(zak);

        auto present = [&](const char* key) { return isObject && j.contains(key) && !j[key].is_null(); };
        if (present("conferenceDialNumber")) _conf.dialnum = j["conferenceDialNumber"].get<std::string>();
        if (present("externalDialNumber")) _conf.ext_dialnum = j["externalDialNumber"].get<std::string>();
        if (present("force")) _conf.force = j["force"].get<bool>();

        std::string dispname = CtrlSDKUtils::safeString(j, "dispname");
        if (dispname.empty()) dispname = getUniformUserName();
        _conf.dispname = dispname;
        _conf.passcode = CtrlSDKUtils::safeString(j, "passcode");
        LOG_DEBUG("parseConfinfo: dialnum={}, dispname={}\n", _conf.dialnum, getUniformUserName());

        // "conferenceId" wins whenever the key is there, even when null.
        std::string confid;
        if (isObject && j.contains("conferenceId")) {
            confid = CtrlSDKUtils::safeString(j, "conferenceId");
        } else {
            confid = CtrlSDKUtils::safeString(j, "confId");
        }
        std::lock_guard<std::mutex> epLock(epStatusMutex);
        _conf.confid = confid;
        muteAll = CtrlSDKUtils::safeBool(j, "muteAll");
        allowUnmute = CtrlSDKUtils::safeBool(j, "allowUnmute");
        hostVideoWhenEntering = CtrlSDKUtils::safeBool(j, "hostVideoWhenEntering");
        participantVideoWhenEntering = CtrlSDKUtils::safeBool(j, "participantVideoWhenEntering");
        return j;
    } catch (const json::exception& e) {
        LOG_JSON_ERROR(e.what(), data);
        return json();
    }
}

std::string OrvaneSDKPrivate::getAvUseridFromDeviceID(const std::string& deviceId) {
    std::string userid;
    {
        std::lock_guard<std::mutex> lock(epStatusMutex);
        for (const auto& entry : epStatusList) {
            if (entry.second.externalDeviceId == deviceId) {
                userid = entry.first;
                break;
            }
        }
    }
    // Logged after the cache's lock is released: the logger is the application's.
    if (!userid.empty()) LOG_DEBUG("OrvaneSDKPrivate::getAvUseridFromDeviceID, found userid={}\n", userid);
    return userid;
}

std::string OrvaneSDKPrivate::getDeviceidFromAvUserid(const std::string& userid) {
    std::vector<std::pair<std::string, std::string>> entries;
    {
        std::lock_guard<std::mutex> lock(epStatusMutex);
        for (const auto& entry : epStatusList) entries.emplace_back(entry.first, entry.second.externalDeviceId);
    }
    LOG_DEBUG("print epStatusList start......");
    const std::string* found = nullptr;
    for (const auto& entry : entries) {
        LOG_DEBUG("userid={}, deviceId={}", entry.first, entry.second);
        if (entry.first == userid) found = &entry.second;
    }
    LOG_DEBUG("print epStatusList end......");
    if (found == nullptr) {
        LOG_DEBUG("OrvaneSDKPrivate::getDeviceidFromAvUserid userid={}, not found", userid);
        return {};
    }
    LOG_DEBUG("OrvaneSDKPrivate::getDeviceidFromAvUserid userid={}, deviceid={}", userid, *found);
    return *found;
}

// ---------------------------------------------------------------------------
// Timed tasks

uint64_t OrvaneSDKPrivate::add_timer_task(int64_t seconds, std::function<void(std::string)> callback,
                                          std::string arg) {
    LOG_DEBUG("[{}] add_timer_task enter;", stateMachine->cur_state_name());
    return timerTasks.add(seconds, std::move(callback), std::move(arg));
}

void OrvaneSDKPrivate::cancel_timer_task(uint64_t id) {
    LOG_DEBUG("[{}] cancel_timer_task enter;", stateMachine->cur_state_name());
    timerTasks.cancel(id);
}

void OrvaneSDKPrivate::_task_worker_loop() {
    LOG_DEBUG("confsdk _timer_task_worker_loop: enter");
    workerStarted_.set_value();
    while (workerRunning) {
        TimerTaskItem task;
        if (!timerTasks.takeNext(task)) break;
        try {
            task.callback(task.arg);
        } catch (const std::exception& e) {
            LOG_ERROR("confsdk _timer_task_worker_loop: task {} failed: {}", task.id, e.what());
        }
    }
    LOG_DEBUG("confsdk _timer_task_worker_loop: exit");
}

// ---------------------------------------------------------------------------
// Layout and sub-services

int OrvaneSDKPrivate::setLayout(const std::vector<LayoutItem>& items, int a, int b) {
    CallLock lock(callMutex_);
    std::vector<AvLayoutItem> list;
    list.reserve(items.size());
    for (const auto& item : items) {
        AvLayoutItem out;
        if (av_platform_name == "QV") {
            out.userid = getAvUseridFromDeviceID(item.deviceId);
            LOG_DEBUG("getAvUseridFromDeviceID devid={}, userid={}", item.deviceId, out.userid);
        } else if (av_platform_name == "QC") {
            out.deviceId = item.deviceId;
            out.displayName = item.displayName;
            out.userid = std::string(1, static_cast<char>(item.id & 0xff));
        }
        out.type = item.type;
        out.rc = item.rc;
        out.isShow = item.isShow;
        if (av_platform_name == "QV" && item.type == 1) out.userid = "-2";
        LOG_DEBUG(
            "OrvaneSDKPrivate::setLayout userid={} deviceId={}, displayname={}, type={}, rc=[{},{},{},{}], isShow={}",
            out.userid, out.deviceId, out.displayName, out.type, out.rc.left, out.rc.top, out.rc.right,
            out.rc.bottom, out.isShow);
        list.push_back(std::move(out));
    }
    if (av) av->setLayout(list, a, b);
    return 0;
}

ConfSDK::ConfInterpretationService* OrvaneSDKPrivate::getConfInterpretationService() {
    CallLock lock(callMutex_);
    if (av == nullptr || av->getInterpretationService() == nullptr) return nullptr;
    return this;
}

ConfSDK::ConfUiControlService* OrvaneSDKPrivate::getConfUiControlService() {
    CallLock lock(callMutex_);
    if (av == nullptr || av->getUiControlService() == nullptr) return nullptr;
    return this;
}

// The layout catalogue is not part of this build yet: every geometry answer
// is the empty one.
void OrvaneSDKPrivate::getLayoutSize(Rect, int, int, int*, int*) {}
Rect OrvaneSDKPrivate::fitRect(Rect, int, int) { return {}; }
Rect OrvaneSDKPrivate::getCellRect(Rect, int, int, int) { return {}; }
Rect OrvaneSDKPrivate::computeCellRect(Rect, int, int, int, int, int, int, int, int, int, int) { return {}; }
void OrvaneSDKPrivate::setLayoutOrder(std::string, std::vector<std::string>) {}
std::vector<std::string> OrvaneSDKPrivate::getLayoutOrder(std::string) { return {}; }
std::vector<std::string> OrvaneSDKPrivate::mergeLayoutOrder(std::string, std::vector<std::string>) { return {}; }

namespace {
AvInterpretationService* interpretationOf(AVSDK* av) { return av ? av->getInterpretationService() : nullptr; }
}  // namespace

std::vector<std::string> OrvaneSDKPrivate::interpretationList() {
    auto* s = interpretationOf(getMediaServiceQuiet());
    return s ? s->interpretationList() : std::vector<std::string>{};
}

int OrvaneSDKPrivate::interpretationUserSet(const std::string& deviceId, int a, int b) {
    auto* s = interpretationOf(getMediaServiceQuiet());
    return s ? s->interpretationUserSet(getAvUseridFromDeviceID(deviceId), a, b) : -1;
}

int OrvaneSDKPrivate::interpretationUserClear(const std::string& deviceId) {
    auto* s = interpretationOf(getMediaServiceQuiet());
    return s ? s->interpretationUserClear(getAvUseridFromDeviceID(deviceId)) : -1;
}

int OrvaneSDKPrivate::interpretationUserChange(const std::string& deviceId, int a, int b) {
    auto* s = interpretationOf(getMediaServiceQuiet());
    return s ? s->interpretationUserChange(getAvUseridFromDeviceID(deviceId), a, b) : -1;
}

int OrvaneSDKPrivate::interpretationStart() {
    auto* s = interpretationOf(getMediaServiceQuiet());
    return s ? s->interpretationStart() : -1;
}

int OrvaneSDKPrivate::interpretationStop() {
    auto* s = interpretationOf(getMediaServiceQuiet());
    return s ? s->interpretationStop() : -1;
}

int OrvaneSDKPrivate::uiControlCall() {
    AVSDK* engine = getMediaServiceQuiet();
    AvUiControlService* s = engine ? engine->getUiControlService() : nullptr;
    return s ? s->uiControlCall() : -1;
}

AVSDK* OrvaneSDKPrivate::getMediaServiceQuiet() {
    CallLock lock(callMutex_);
    return av;
}
