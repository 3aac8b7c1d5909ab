#pragma once

#include <string>

namespace ORVANE {

// The transport module: one channel of text messages to the servers.
// Connecting and closing belong to the concrete transport.
class TransSDK {
public:
    // Receiver of every text message from the server. onProcess is called on
    // the transport's own thread with the name "textmessage_process" and the
    // whole message as data.
    class Process {
    public:
        Process() = default;
        virtual ~Process() = default;
        virtual void onProcess(const std::string& name, const std::string& data) = 0;
    };

    virtual ~TransSDK() = default;

    // Registers the receiver; from then on server messages reach it.
    virtual int addProcess(Process* process) = 0;
    // Queues or sends one text message to the server; must not block on the
    // thread that delivers to the receiver.
    virtual int sendTextMessage(const std::string& text) = 0;
    // Whether a guest login holds.
    virtual bool isGuestLogined() = 0;
    // The human text for an error id.
    virtual std::string getErrMsgFromId(std::string id) = 0;
};

}  // namespace ORVANE
