// The base of every service object that runs in a controlled thread: its creator pipe and poll set.
#pragma once

#include <memory>
#include <zmq.hpp>

#include "zal/transport/socketreader.h"

namespace zal {

// The frame calls initialize(), then process(), then release(), all in the service's own thread.
// The creator pipe is filled in before initialize(); process() polls it and ends when the
// creator speaks (the creator only ever sends "Shutdown", so any message on it means: stop).
class ZmqControllable {
public:
    virtual ~ZmqControllable() = default;
    virtual bool initialize() = 0;
    virtual void process() = 0;
    // The creator check: false once a message arrived on the creator pipe (it is read and
    // dropped). Reads the events of the last wait of `reader`, so it costs no system call.
    virtual bool checkCreatorSocket();
    virtual void release() = 0;

    // Called by the frame in the service's thread, before initialize().
    void setCreatorSocket(std::shared_ptr<zmq::socket_t> socket) { creatorSocket = std::move(socket); }

protected:
    // Adds the creator pipe to the poll set for input and remembers its index; without a pipe
    // (a service driven directly, outside the frame) there is nothing to add and -1 comes back.
    int addCreatorSocket();
    // The whole of process() for a service that only answers: waits for input and calls serve()
    // after each wake-up, until the creator speaks or the wait fails.
    template <class Serve>
    void serveUntilStopped(Serve&& serve) {
        while (reader.waitForSockets() && checkCreatorSocket()) {
            serve();
        }
    }

    std::shared_ptr<zmq::socket_t> creatorSocket;
    SocketReader reader;
    int creatorIndex = -1;
};

}  // namespace zal
