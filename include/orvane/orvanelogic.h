#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "orvane/export.h"

/// @file
/// The meeting-control logic that the library runs inside.

class OrvaneSDKPrivate;

/// The meeting-control logic: the part of the library that depends on the
/// media platform. It carries out the application's mute, lock and host
/// commands on the engine, hands the servers' control commands to the
/// application on a thread of its own, and merges the servers' participant
/// list with the engine's.
///
/// The library creates and uses the one logic object of the process
/// (OrvaneLogic_Factory); an application has no need to call it. It is not
/// deleted, so the destructor is not virtual and not public.
///
/// @par Thread Safety
/// Called by the library with its call lock held.
///
/// @par Exceptions
/// A JSON fault in the data is logged with the JSON error line.
class ORVANE_API OrvaneLogic_Interface {
public:
    /// Carries out a control command on the media engine.
    /// @param type The command's name ("confControlmuteaudio" and the other
    ///        six commands carried out on the engine).
    /// @param data Its JSON text.
    virtual void sendCommand(const std::string& type, const std::string& data) {
        (void)type;
        (void)data;
    }
    /// A reply from the control channel; the logic takes the participant
    /// list ("confControlendpoints").
    /// @param type The command's name.
    /// @param data The reply, as ControlSDK::Listner::onCtrlCommand() has it.
    virtual void onCtrlCommand(const std::string& type, const std::string& data) {
        (void)type;
        (void)data;
    }
    /// A server control command ("ctrl_cmd_*"), queued for the logic's
    /// control thread.
    /// @param type The event's name.
    /// @param data Its "args" as JSON text.
    virtual void onCtrlNotify(const std::string& type, const std::string& data) {
        (void)type;
        (void)data;
    }
    /// Hands over the central object, which lives until the process ends.
    /// @param conf The central object.
    virtual void setConfptr(OrvaneSDKPrivate* conf) { (void)conf; }

protected:
    /// Not deleted through this interface.
    ~OrvaneLogic_Interface() = default;
};

/// The kinds of logic object.
enum LTYPE {
    LTYPE_AV = 0,  ///< The empty logic: the commands given to it are dropped.
    LTYPE_QV = 1,  ///< The working logic of the platforms in use ("QV" and "QC").
};

/// Creates the one logic object of the process.
///
/// @par Thread Safety
/// Any thread; creation holds a mutex of its own.
class ORVANE_API OrvaneLogic_Factory {
public:
    /// The one logic object of the process, created on the first call; a
    /// later call returns the first instance whatever `type` says.
    /// @param type LTYPE_AV for the empty logic; any other value gives the
    ///        working one.
    /// @return The object, owned by the library and never destroyed.
    static OrvaneLogic_Interface* createInstance(LTYPE type);
    /// @return The object; null before createInstance().
    static OrvaneLogic_Interface* getInstance();

private:
    static std::atomic<OrvaneLogic_Interface*> m_pInterface;
    static std::mutex m_mtx;
};
