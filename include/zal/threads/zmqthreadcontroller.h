// A readiness handshake over a private in-process pipe, for code that manages its own threads.
#pragma once

#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/msg/controlmessage.h"

namespace zal {

// The creating thread constructs it (binding the pipe) and calls waitForThread(); the worker
// calls signalReady() or signalError() from its own thread, once: the pipe takes one peer. Copies share the
// bound socket and so belong to the creating thread as well; only the signal operations may be called
// elsewhere.
class ZmqThreadController {
public:
    ZmqThreadController();

    // "inproc://ZAL/__" + the owner's address in hexadecimal + "__": unique among live owners.
    std::string makeUniqueSocketAddress() const;
    static std::string makeUniqueSocketAddress(const void* owner);
    std::string getAddress() const { return address; }

    static zalmsg::ControlMessage makeCreatedControlMessage(int resultType);
    bool signalReady();
    bool signalError();
    // Sends over a socket of its own, made and closed for this one message.
    bool sendToCreator(const zalmsg::ControlMessage& message);

    // True exactly for a "Created" message with result "Success". The parameterless form blocks
    // until a message arrives; the other gives up after timeoutMs.
    bool waitForThread();
    bool waitForThread(long timeoutMs);

private:
    std::shared_ptr<zmq::socket_t> socket;
    std::string address;
};

}  // namespace zal
