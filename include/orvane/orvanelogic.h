#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "orvane/export.h"

class OrvaneSDKPrivate;

// Meeting-control logic: the part that depends on the media platform.
// The library never deletes it, so the destructor is not virtual and not public.
class ORVANE_API OrvaneLogic_Interface {
public:
    // Carries out a control command on the media engine.
    virtual void sendCommand(const std::string& type, const std::string& data) {
        (void)type;
        (void)data;
    }
    // A reply from the control channel.
    virtual void onCtrlCommand(const std::string& type, const std::string& data) {
        (void)type;
        (void)data;
    }
    // A server control notification.
    virtual void onCtrlNotify(const std::string& type, const std::string& data) {
        (void)type;
        (void)data;
    }
    // Hands over the central object.
    virtual void setConfptr(OrvaneSDKPrivate* conf) { (void)conf; }

protected:
    ~OrvaneLogic_Interface() = default;
};

enum LTYPE {
    LTYPE_AV = 0,
    LTYPE_QV = 1,
};

class ORVANE_API OrvaneLogic_Factory {
public:
    // The one logic object of the process; a later call returns the first
    // instance whatever type says. Any value but LTYPE_AV gives the "QV" logic.
    static OrvaneLogic_Interface* createInstance(LTYPE type);
    static OrvaneLogic_Interface* getInstance();

private:
    static std::atomic<OrvaneLogic_Interface*> m_pInterface;
    static std::mutex m_mtx;
};
