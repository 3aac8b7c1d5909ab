#pragma once

#include <memory>
#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "orvane/avsdk.h"
#include "orvane/export.h"
#include "orvane/transsdk.h"
#include "orvane/types.h"

namespace spdlog {
class logger;
}

class OrvaneSDKPrivate;

namespace ORVANE {

// The library as the application sees it. Every member forwards to the one
// central object of the process. The object lives until the process ends.
class ORVANE_API ConfSDK {
public:
    // Implemented by the application. Called on library threads: return soon.
    class Listener {
    public:
        // The reply to a command; type is the command's name.
        virtual void onConfCommand(const std::string& type, const std::string& data) = 0;
        // A notification: a CONFNOTIFY value or a server event name.
        virtual void onConfNotify(const std::string& type, const std::string& data) = 0;
        virtual ~Listener() = default;
    };

    class ConfInterpretationService;
    class ConfUiControlService;

    class ConfControlService {
    public:
        // True while a conference is under way.
        virtual bool isRunning() = 0;
        // Hands the application's video layout to the media engine, in one
        // call for the whole list. On "QV" each item's device becomes the
        // engine's user id (empty for a device not in the meeting; "-2" for
        // type 1) and device and name are left out; on "QC" device and name
        // pass as given and the user id is the low byte of `id` as one
        // character; on other platforms only type, rectangle and visibility
        // pass. `a` and `b` go to the engine unread. Returns 0: the engine's
        // answer is not read. Any thread; call it after initMediaService.
        virtual int setLayout(const std::vector<LayoutItem>& items, int a, int b) = 0;
        virtual ConfInterpretationService* getConfInterpretationService() = 0;
        virtual ConfUiControlService* getConfUiControlService() = 0;
        // The layout catalogue, for an application that draws its own
        // meeting window. Layouts are named by id (10 to 17 speaker, 20 to 28
        // gallery, 30 to 32 shared; docs/layouts.md draws them all); each is
        // a grid whose cells can change with the number of participants,
        // `sumCount`. A count without a grid of its own uses the layout's
        // default grid. Nothing fails loudly: an unknown layout or a
        // participant without a cell gives four zeros, or leaves the
        // out-arguments as they were. Any thread, no lock of the call; nothing
        // throws.
        //
        // The proportions (width to height) of the layout's grid for
        // `sumCount`; `container` is not looked at. Null pointers are not
        // written.
        virtual void getLayoutSize(Rect container, int layoutId, int sumCount, int* width, int* height) = 0;
        // The largest rectangle of `width` to `height` centred in `container`;
        // `container` itself when either is 0.
        virtual Rect fitRect(Rect container, int width, int height) = 0;
        // Where participant `index` (from 0) of `sumCount` goes in `container`.
        virtual Rect getCellRect(Rect container, int layoutId, int sumCount, int index) = 0;
        // The same for a grid given by its numbers; `width` and `height` are
        // not looked at. Four zeros when a cell does not fit in `container`.
        virtual Rect computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int width,
                                     int height, int rowStart, int rowEnd, int colStart, int colEnd) = 0;
        // The application's orders of participants (user ids, say) under keys
        // that mean nothing to the library. Stores `list` under `key`.
        virtual void setLayoutOrder(std::string key, std::vector<std::string> list) = 0;
        // A copy of the list under `key`, or an empty list.
        virtual std::vector<std::string> getLayoutOrder(std::string key) = 0;
        // `list` in the order stored under `key`: those already there keep
        // their order, newcomers follow. Stores nothing.
        virtual std::vector<std::string> mergeLayoutOrder(std::string key, std::vector<std::string> list) = 0;

    protected:
        ~ConfControlService() = default;
    };

    // Simultaneous interpretation, with participants named by device id.
    class ConfInterpretationService {
    public:
        virtual std::vector<std::string> interpretationList() = 0;
        virtual int interpretationUserSet(const std::string& deviceId, int a, int b) = 0;
        virtual int interpretationUserClear(const std::string& deviceId) = 0;
        virtual int interpretationUserChange(const std::string& deviceId, int a, int b) = 0;
        virtual int interpretationStart() = 0;
        virtual int interpretationStop() = 0;

    protected:
        ~ConfInterpretationService() = default;
    };

    class ConfUiControlService {
    public:
        virtual int uiControlCall() = 0;

    protected:
        ~ConfUiControlService() = default;
    };

    ConfSDK(const std::string& platformName, const std::string& createParam);
    ConfSDK(const ConfSDK&) = default;
    ConfSDK& operator=(const ConfSDK&) = default;
    ConfSDK(ConfSDK&&) = default;
    ConfSDK& operator=(ConfSDK&&) = default;

    // The one command entry. Failures come back through the listener.
    void sendCommand(const std::string& type, const std::string& data);
    ConfControlService& getConfControlService();

    void setListener(Listener* listener);
    void setMediaServiceListener(AVSDK::Listener* listener);
    void setOrvaneLogger(std::shared_ptr<spdlog::logger> logger);
    void setOrvaneTrans(TransSDK* trans);

    int initMediaService(const std::string& platformName, const std::string& initPara);
    int cleanMediaService();
    int reinit();
    AVSDK* getMediaService();

    std::string getMyInfo();
    std::string getUniformUserID();
    std::string getUniformUserName();
    bool isMeetingRoomDevice();

    void setMeetingPanelVisible(bool visible);
    void setInviteButtonVisible(bool visible);
    void setShareButtonVisible(bool visible);
    void setRecordButtonVisible(bool visible);
    void setChatButtonVisible(bool visible);
    // "CUSTOMIZE": the application draws its own meeting window.
    void setMediaServiceUIType(const std::string& type);
    // Runs one queued engine call; call it on the UI thread once for every
    // "confsdknotify_do_internal_task_must_in_ui_thread".
    void DoInternalTaskMustCalledByUIThread();

private:
    ::OrvaneSDKPrivate* d;
    ConfControlService* services_;
};

class ORVANE_API OrvaneSDK_Factory {
public:
    // The one instance of the process; a later call returns it and ignores
    // its arguments.
    static ConfSDK* createInstance(const std::string& platformName, const std::string& createParam);
    // Null before createInstance.
    static ConfSDK* getInstance();

private:
    static std::atomic<ConfSDK*> _sdk;
    static std::mutex _mutex;
};

}  // namespace ORVANE
