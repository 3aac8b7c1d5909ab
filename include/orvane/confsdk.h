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
        // Hands the application's video layout to the media engine.
        virtual int setLayout(const std::vector<LayoutItem>& items, int a, int b) = 0;
        virtual ConfInterpretationService* getConfInterpretationService() = 0;
        virtual ConfUiControlService* getConfUiControlService() = 0;
        // Geometry of the layout catalogue.
        virtual void getLayoutSize(Rect container, int layoutId, int sumCount, int* width, int* height) = 0;
        virtual Rect fitRect(Rect container, int width, int height) = 0;
        virtual Rect getCellRect(Rect container, int layoutId, int sumCount, int index) = 0;
        virtual Rect computeCellRect(Rect container, int spacing, int margin, int gridRow, int gridColumn, int width,
                                     int height, int rowStart, int rowEnd, int colStart, int colEnd) = 0;
        virtual void setLayoutOrder(std::string key, std::vector<std::string> list) = 0;
        virtual std::vector<std::string> getLayoutOrder(std::string key) = 0;
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
