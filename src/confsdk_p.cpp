#include "confsdk_p.h"

#include <chrono>
#include <exception>
#include <string_view>
#include <unordered_map>

#include "OrvaneLogic/orvanelogic_qv.h"
#include "avsdk_serialization.h"
#include "call_lock.h"
#include "command_refusal.h"
#include "ctrlsdk_utils.h"
#include "layout/layout_catalogue.h"
#include "logger.h"
#include "orvane/vocabulary.h"
#include "vocabulary_internal.h"

using namespace ORVANE;
using json = nlohmann::json;

namespace {

std::shared_ptr<Clock> clockOf(const SdkEnv& env) { return env.clock ? env.clock : systemClock(); }

// Tells the application of a command that was not carried out, once, as
// the command's handling ends (under the call lock: it is delivered after).
// A command cut short by an exception is told by the facade instead.
class RefusalReport {
public:
    RefusalReport(const AppChannel& app, const std::string& command) : app_(app), command_(command) {}
    ~RefusalReport() {
        if (std::uncaught_exceptions() == 0) app_.commandRefused(command_, refusal_);
    }
    void note(Refusal refusal) {
        if (refusal_ == Refusal::None) refusal_ = refusal;
    }

private:
    const AppChannel& app_;
    const std::string& command_;
    Refusal refusal_ = Refusal::None;
};

// Where a command of the application goes.
enum class Route { Servers, Start, Reject, Leave, End, Logic, Endpoints, SyncData, DeviceName };

Route routeOf(const std::string& type) {
    // Every command asks: one hash instead of a row of comparisons.
    static const std::unordered_map<std::string_view, Route> kRoutes = {
        {CONF::STARTCONF, Route::Start},         {CONF::REJECTCONF, Route::Reject},
        {CONF::LEAVECONF, Route::Leave},         {CONF::ENDCONF, Route::End},
        {CONF::MUTEAUDIOLOCAL, Route::Logic},    {CONF::MUTEAUDIO, Route::Logic},
        {CONF::MUTEVIDEO, Route::Logic},         {CONF::MUTEALL, Route::Logic},
        {CONF::LOCKMEETING, Route::Logic},       {CONF::MAKEHOST, Route::Logic},
        {CONF::MAKECOHOST, Route::Logic},        {CONF::ENDPOINTS, Route::Endpoints},
        {CONF::SYNCDATA, Route::SyncData},       {CONF::UPDATEDEVICENAME, Route::DeviceName},
    };
    const auto found = kRoutes.find(type);
    return found == kRoutes.end() ? Route::Servers : found->second;
}

}  // namespace

OrvaneSDKPrivate::OrvaneSDKPrivate(const std::string& platformName, const std::string& /*createParam*/, SdkEnv env)
    : clock_(clockOf(env)),
      layoutConfig_(std::make_unique<LayoutCatalogue>()),
      timerTasks_(clock_),
      signals_(conf_, identity_, control_, [this] { resetConference(); }),
      machine_(*this, timerTasks_),
      h323_(callMutex_, timerTasks_, control_, [this] { return av_; }),
      filter_(*this),
      avPlatformName_(platformName) {
    conf_.reset();
    control_.setReceiver(this);

    if (env.logic != nullptr) {
        logic_ = env.logic;
    } else if (env.processWide) {
        logic_ = OrvaneLogic_Factory::createInstance(LTYPE_QV);
    } else {
        ownedLogic_ = std::make_unique<OrvaneLogic_QV>();
        logic_ = ownedLogic_.get();
    }
    logic_->setConfptr(this);

    if (env.timerWorker) {
        worker_ = std::thread(&OrvaneSDKPrivate::_task_worker_loop, this);
        // The worker has said hello before the object is handed out: a program
        // that ends at once must not meet its first log line during exit.
        workerStarted_.get_future().wait();
    }
}

OrvaneSDKPrivate::~OrvaneSDKPrivate() {
    workerRunning_ = false;
    timerTasks_.shutdown();
    if (worker_.joinable()) worker_.join();
}

// ---------------------------------------------------------------------------
// Commands from the application

void OrvaneSDKPrivate::sendCommand(const std::string& type, const std::string& data) {
    CallLock lock(callMutex_);
    RefusalReport refused(app_, type);
    // The parts that answer nothing leave their outcome on this thread.
    auto toControl = [&](const std::string& text) {
        refused.note(outcomeOf([&] { control_.sendCommand(type, text); }));
    };
    const Route route = routeOf(type);
    if (route == Route::Start) {
        // Read first, take only when the machine accepts the start: a start
        // refused during a call must leave that call's record as it is.
        PendingConference pending = readConfinfo(data);
        const json& confinfo = pending.parsed;
        if (confinfo.empty()) LOG_ERROR("ConfSDK::sendCommand - STARTCONF, json data is null");
        const int started = machine_.start_conf([&] {
            commitConfinfo(pending);
            TransSDK* trans = app_.transport();
            if (trans && trans->isGuestLogined() && !identity_.isMeetingRoomDevice()) {
                control_.sendCommand(CONF::UPDATEGUESTNAME, CtrlSDKUtils::dump(json{
                                                                {"deviceid", identity_.deviceId()},
                                                                {"name", conf_.dispname}}));
            }
            if (confinfo.is_object() && confinfo.contains("extension")) {
                // A bad extension is the application's error; the call still starts.
                try {
                    const std::string extension = confinfo["extension"].get<std::string>();
                    control_.sendCommand(CONF::DEVICEMGR_EXTENSION,
                                         CtrlSDKUtils::dump(json{{"extension", extension}}));
                } catch (const json::exception& e) {
                    LOG_JSON_ERROR(e.what(), data);
                }
            }
        });
        if (started == STATE_INVALID) refused.note(Refusal::WrongState);
    } else if (route == Route::Reject) {
        if (machine_.reject_conf() == STATE_INVALID) refused.note(Refusal::WrongState);
    } else if (route == Route::Leave) {
        conf_.is_user_call_leave = true;
        LOG_DEBUG("---Call leave conf...--");
        if (machine_.leave_conf() == STATE_INVALID) refused.note(Refusal::WrongState);
        LOG_DEBUG("---Call leave conf completed...--");
        // Whatever the state made of the leave, the call is over here, and
        // with it the time-out of the state it was in.
        machine_.setState(AVSTATE_IDLE);
        LOG_DEBUG("----ConfState change to idle state---");
    } else if (route == Route::End) {
        conf_.is_user_call_leave = true;
        if (av_) {
            av_->endMeeting();
        } else {
            LOG_ERROR("ERROR! getMediaService return null, please call initMediaService first.\n");
            refused.note(Refusal::WrongState);
        }
    } else if (route == Route::Logic) {
        try {
            refused.note(outcomeOf([&] { logic_->sendCommand(type, data); }));
        } catch (const json::exception& e) {
            // A value of the wrong type in the application's data.
            LOG_JSON_ERROR(e.what(), data);
            refused.note(Refusal::BadField);
        }
    } else if (route == Route::Endpoints) {
        const json j = CtrlSDKUtils::parseQuiet(data);
        if (!j.is_object() || !j.contains("confid")) {
            refused.note(refusalForData(j));
            return;
        }
        try {
            std::string confid = j["confid"].get<std::string>();
            if (confid.empty()) confid = conf_.confid;
            toControl(CtrlSDKUtils::dump(json{{"confid", confid}}));
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), data);
            refused.note(Refusal::BadField);
        }
    } else if (route == Route::SyncData) {
        const std::string request = checkSyncCommand(data);
        toControl(request.empty() ? data : request);
    } else if (route == Route::DeviceName) {
        try {
            json j = json::parse(data);
            j["deviceid"] = identity_.deviceId();
            toControl(CtrlSDKUtils::dump(j));
        } catch (const json::exception& e) {
            LOG_JSON_ERROR(e.what(), data);
            refused.note(refusalOf(e));
        }
    } else {
        toControl(data);
    }
}

void OrvaneSDKPrivate::setOrvaneTrans(TransSDK* t) {
    app_.setTransport(t);
    // Not under the call lock: the transport may start delivering at once.
    control_.setOrvaneTrans(t);
}

void OrvaneSDKPrivate::continueAfterDeliveries(std::function<void()> step) {
    CallLock::deliver([this, step = std::move(step)] {
        CallLock lock(callMutex_);
        step();
    });
}

// ---------------------------------------------------------------------------
// Media service life cycle

int OrvaneSDKPrivate::initMediaService(const std::string& platformName, const std::string& initPara) {
    CallLock lock(callMutex_);
    LOG_DEBUG("{}:{}() enter", "confsdk", "initMediaService");
    LOG_DEBUG("av_platform_name={}, init_para={}", platformName, initPara);
    if (av_) {
        LOG_DEBUG("confsdk initMediaService: -------AVSDK Object instance has existed-------------");
        const std::string text = CtrlSDKUtils::dump(json{{"result", 0}});
        onNotify("AuthServiceEvent", "onSdkReady", text);
        LOG_DEBUG("confsdk initMediaService: -------call onNotify 'onSdkReady'-------------");
        return 0;
    }
    AVSDK* engine = AVSDK_Factory::createInstance(platformName, initPara);
    if (engine == nullptr) return -1;
    av_ = engine;
    if (platformName == PLATFORM::QV) {
        avWrapper_ = std::make_unique<AVSDKWrapper_QV>(
            engine, [this] { app_.notify(CONFNOTIFY::DO_INTERNAL_TASK_MUST_IN_UI_THREAD, ""); });
        av_ = avWrapper_.get();
    }
    av_->setListener(this);
    avPlatformName_ = platformName;
    av_->setOrvaneLogger(orvaneLoggerHandle());
    return av_->init(initPara);
}

int OrvaneSDKPrivate::reinit() {
    AVSDK* engine;
    {
        CallLock lock(callMutex_);
        engine = av_;
        if (engine) engine->logout();
    }
    // The engine is given time between logout and deinit, and the library
    // stays open to its notifications meanwhile.
    if (engine) clock_->sleepFor(std::chrono::milliseconds(200));
    CallLock lock(callMutex_);
    if (engine) engine->deinit();
    timerTasks_.clear();
    // The call-outs belong to the login that ends here.
    h323_.forgetOrders();
    reporter_.clear();
    resetConference();
    return 0;
}

void OrvaneSDKPrivate::resetConference() {
    conf_.reset();
    endpoints_.clear();
}

AVSDK* OrvaneSDKPrivate::getMediaService() {
    AVSDK* av = mediaQuiet();
    if (av == nullptr) LOG_ERROR("ERROR! getMediaService return null, please call initMediaService first.\n");
    return av;
}

AVSDK* OrvaneSDKPrivate::mediaQuiet() {
    CallLock lock(callMutex_);
    return av_;
}

void OrvaneSDKPrivate::setCustomUIOption(const char* operation, int uiType, bool visible) {
    CallLock lock(callMutex_);
    if (av_ == nullptr) return;
    LOG_DEBUG("--- {} : visible {} --", operation, visible);
    av_->setCustomUIOption(uiType, visible);
}

void OrvaneSDKPrivate::setMediaServiceUIType(const std::string& type) {
    CallLock lock(callMutex_);
    customUiMode_ = type == "CUSTOMIZE";
}

void OrvaneSDKPrivate::runUiTask() {
    AVSDKWrapper_QV* wrapper;
    {
        CallLock lock(callMutex_);
        wrapper = avWrapper_.get();
    }
    // Engine calls run outside the call lock: the engine may report at once.
    if (wrapper) wrapper->runTask();
}

// ---------------------------------------------------------------------------
// Identity

std::string OrvaneSDKPrivate::getMyInfo() {
    CallLock lock(callMutex_);
    return identity_.myInfo();
}

std::string OrvaneSDKPrivate::getUniformUserID() {
    CallLock lock(callMutex_);
    return identity_.uniformUserId();
}

std::string OrvaneSDKPrivate::getUniformUserName() {
    CallLock lock(callMutex_);
    return identity_.uniformUserName(conf_.dispname);
}

bool OrvaneSDKPrivate::isMeetingRoomDevice() {
    CallLock lock(callMutex_);
    return identity_.isMeetingRoomDevice();
}

bool OrvaneSDKPrivate::isRunning() {
    CallLock lock(callMutex_);
    LOG_DEBUG("{}:{}() enter", "confsdk", "isRunning");
    switch (machine_.state()) {
        case AVSTATE_ACTIVE_WAITING_INVITE_RESULT:
        case AVSTATE_ACTIVE_WAITING_AV_USERID:
        case AVSTATE_PASSIVE_WAITING_AV_USERID:
        case AVSTATE_PASSIVE_WAITING_ACK:
        case AVSTATE_IN_MEETING:
            LOG_DEBUG("  cur sts={}, return ture;", machine_.cur_state_name());
            return true;
        default:
            LOG_DEBUG("  cur sts={}, return false;", machine_.cur_state_name());
            return false;
    }
}

int OrvaneSDKPrivate::callState() {
    CallLock lock(callMutex_);
    return machine_.state();
}

// ---------------------------------------------------------------------------
// Conference record

json OrvaneSDKPrivate::parseConfinfo(const std::string& data) {
    CallLock lock(callMutex_);
    PendingConference pending = readConfinfo(data);
    commitConfinfo(pending);
    return std::move(pending.parsed);
}

OrvaneSDKPrivate::PendingConference OrvaneSDKPrivate::readConfinfo(const std::string& data) {
    CallLock lock(callMutex_);
    LOG_DEBUG("confsdk parseConfinfo enter data={}", data);
    // A value of the wrong type ends the reading halfway: what was read
    // before it is still taken.
    PendingConference pending{json(), conf_, std::nullopt, std::nullopt};
    OrvaneConference& conf = pending.conf;
    try {
        json j = json::parse(data);
        const bool isObject = j.is_object();

        std::string zak;
        if (isObject && j.contains("zak")) zak = j["zak"].get<std::string>();
        conf.zak = zak;
        pending.zak = zak;

        auto present = [&](const char* key) { return isObject && j.contains(key) && !j[key].is_null(); };
        if (present("conferenceDialNumber")) conf.dialnum = j["conferenceDialNumber"].get<std::string>();
        if (present("externalDialNumber")) conf.ext_dialnum = j["externalDialNumber"].get<std::string>();
        if (present("force")) conf.force = j["force"].get<bool>();

        std::string dispname = CtrlSDKUtils::safeString(j, "dispname");
        if (dispname.empty()) dispname = identity_.uniformUserName(conf.dispname);
        conf.dispname = dispname;
        conf.passcode = CtrlSDKUtils::safeString(j, "passcode");
        LOG_DEBUG("parseConfinfo: dialnum={}, dispname={}\n", conf.dialnum, identity_.uniformUserName(conf.dispname));

        // "conferenceId" wins whenever the key is there, even when null.
        if (isObject && j.contains("conferenceId"))
            conf.confid = CtrlSDKUtils::safeString(j, "conferenceId");
        else
            conf.confid = CtrlSDKUtils::safeString(j, "confId");
        ConferenceFlags flags;
        flags.muteAll = CtrlSDKUtils::safeBool(j, "muteAll");
        flags.allowUnmute = CtrlSDKUtils::safeBool(j, "allowUnmute");
        flags.hostVideoWhenEntering = CtrlSDKUtils::safeBool(j, "hostVideoWhenEntering");
        flags.participantVideoWhenEntering = CtrlSDKUtils::safeBool(j, "participantVideoWhenEntering");
        pending.flags = flags;
        pending.parsed = std::move(j);
    } catch (const json::exception& e) {
        LOG_ERROR("json ERROR! confsdk:{}, json error={}, data={}", "OrvaneSDKPrivate::parseConfinfo", e.what(), data);
    }
    return pending;
}

void OrvaneSDKPrivate::commitConfinfo(PendingConference& pending) {
    CallLock lock(callMutex_);
    conf_ = std::move(pending.conf);
    if (pending.zak && av_) av_->setZak(*pending.zak);
    if (pending.flags) endpoints_.setFlags(*pending.flags);
}

std::string OrvaneSDKPrivate::getAvUseridFromDeviceID(const std::string& deviceId) {
    const std::string userid = endpoints_.userIdOfDevice(deviceId);
    if (!userid.empty()) LOG_DEBUG("OrvaneSDKPrivate::getAvUseridFromDeviceID, found userid={}\n", userid);
    return userid;
}

std::string OrvaneSDKPrivate::getDeviceidFromAvUserid(const std::string& userid) {
    const auto deviceId = endpoints_.edit([&](EndpointCache::Editor& e) -> std::optional<std::string> {
        const EpStatus* entry = e.find(userid);
        if (entry == nullptr) return std::nullopt;
        return entry->externalDeviceId;
    });
    if (!deviceId) {
        LOG_DEBUG("OrvaneSDKPrivate::getDeviceidFromAvUserid userid={}, not found", userid);
        return {};
    }
    LOG_DEBUG("OrvaneSDKPrivate::getDeviceidFromAvUserid userid={}, deviceid={}", userid, *deviceId);
    return *deviceId;
}

// ---------------------------------------------------------------------------
// Timed tasks

void OrvaneSDKPrivate::_task_worker_loop() {
    LOG_DEBUG("confsdk _timer_task_worker_loop: enter");
    workerStarted_.set_value();
    while (workerRunning_) {
        TimerTaskItem task;
        if (!timerTasks_.takeNext(task)) break;
        runTimerTask(task);
    }
    LOG_DEBUG("confsdk _timer_task_worker_loop: exit");
}

void OrvaneSDKPrivate::runDueTimers() {
    TimerTaskItem task;
    while (timerTasks_.takeDue(task)) runTimerTask(task);
}

void OrvaneSDKPrivate::runTimerTask(TimerTaskItem& task) {
    runContained("confsdk _timer_task_worker_loop: a task failed", [&task] { task.callback(task.arg); });
}

// ---------------------------------------------------------------------------
// Layout and sub-services

int OrvaneSDKPrivate::setLayout(const std::vector<LayoutItem>& items, int a, int b) {
    CallLock lock(callMutex_);
    const bool qv = avPlatformName_ == PLATFORM::QV;
    std::vector<AvLayoutItem> list;
    list.reserve(items.size());
    for (const auto& item : items) {
        AvLayoutItem out;
        if (qv) {
            out.userid = getAvUseridFromDeviceID(item.deviceId);
            LOG_DEBUG("getAvUseridFromDeviceID devid={}, userid={}", item.deviceId, out.userid);
        } else if (avPlatformName_ == PLATFORM::QC) {
            out.deviceId = item.deviceId;
            out.displayName = item.displayName;
            // The engine of this platform takes the id's low byte as its user id.
            out.userid = std::string(1, static_cast<char>(item.id & 0xff));
        }
        out.type = item.type;
        out.rc = item.rc;
        out.isShow = item.isShow;
        if (qv && item.type == 1) out.userid = PSEUDO_USERID::WAITING_ROOM;
        LOG_DEBUG(
            "OrvaneSDKPrivate::setLayout userid={} deviceId={}, displayname={}, type={}, rc=[{},{},{},{}], isShow={}",
            out.userid, out.deviceId, out.displayName, out.type, out.rc.left, out.rc.top, out.rc.right,
            out.rc.bottom, out.isShow);
        list.push_back(std::move(out));
    }
    if (av_) av_->setLayout(list, a, b);
    return 0;
}

ConfSDK::ConfInterpretationService* OrvaneSDKPrivate::getConfInterpretationService() {
    AVSDK* av = mediaQuiet();
    return av && av->getInterpretationService() ? this : nullptr;
}

ConfSDK::ConfUiControlService* OrvaneSDKPrivate::getConfUiControlService() {
    AVSDK* av = mediaQuiet();
    return av && av->getUiControlService() ? this : nullptr;
}

// The geometry and the orders need nothing of the call: no call lock.
void OrvaneSDKPrivate::getLayoutSize(Rect container, int layoutId, int sumCount, int* width, int* height) {
    layoutConfig_->getLayoutSize(container, layoutId, sumCount, width, height);
}

Rect OrvaneSDKPrivate::fitRect(Rect container, int width, int height) {
    return layoutConfig_->fitRect(container, width, height);
}

Rect OrvaneSDKPrivate::getCellRect(Rect container, int layoutId, int sumCount, int index) {
    return layoutConfig_->getCellRect(container, layoutId, sumCount, index);
}

Rect OrvaneSDKPrivate::computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int width,
                                       int height, int rowStart, int rowEnd, int colStart, int colEnd) {
    return layoutConfig_->computeCellRect(container, spacing, margin, gridRow, gridColumn, width, height, rowStart,
                                         rowEnd, colStart, colEnd);
}

void OrvaneSDKPrivate::setLayoutOrder(std::string key, std::vector<std::string> list) {
    layoutConfig_->setLayoutOrder(std::move(key), std::move(list));
}

std::vector<std::string> OrvaneSDKPrivate::getLayoutOrder(std::string key) {
    return layoutConfig_->getLayoutOrder(std::move(key));
}

std::vector<std::string> OrvaneSDKPrivate::mergeLayoutOrder(std::string key, std::vector<std::string> list) {
    return layoutConfig_->mergeLayoutOrder(std::move(key), std::move(list));
}

namespace {
AvInterpretationService* interpretationOf(AVSDK* av) { return av ? av->getInterpretationService() : nullptr; }
}  // namespace

std::vector<std::string> OrvaneSDKPrivate::interpretationList() {
    auto* s = interpretationOf(mediaQuiet());
    return s ? s->interpretationList() : std::vector<std::string>{};
}

int OrvaneSDKPrivate::interpretationUserSet(const std::string& deviceId, int a, int b) {
    auto* s = interpretationOf(mediaQuiet());
    return s ? s->interpretationUserSet(getAvUseridFromDeviceID(deviceId), a, b) : -1;
}

int OrvaneSDKPrivate::interpretationUserClear(const std::string& deviceId) {
    auto* s = interpretationOf(mediaQuiet());
    return s ? s->interpretationUserClear(getAvUseridFromDeviceID(deviceId)) : -1;
}

int OrvaneSDKPrivate::interpretationUserChange(const std::string& deviceId, int a, int b) {
    auto* s = interpretationOf(mediaQuiet());
    return s ? s->interpretationUserChange(getAvUseridFromDeviceID(deviceId), a, b) : -1;
}

int OrvaneSDKPrivate::interpretationStart() {
    auto* s = interpretationOf(mediaQuiet());
    return s ? s->interpretationStart() : -1;
}

int OrvaneSDKPrivate::interpretationStop() {
    auto* s = interpretationOf(mediaQuiet());
    return s ? s->interpretationStop() : -1;
}

int OrvaneSDKPrivate::uiControlCall() {
    AVSDK* engine = mediaQuiet();
    AvUiControlService* s = engine ? engine->getUiControlService() : nullptr;
    return s ? s->uiControlCall() : -1;
}
