// The one ZeroMQ context of the process, shared by every thread of the middleware.
#pragma once

#include <memory>

#include "zal/platform/iabstractterminationtarget.h"

namespace zmq {
class context_t;
}

namespace zal {

class Context : public IAbstractTerminationTarget {
public:
    ~Context() override;

    // Created on first use (thread-safe) with one I/O thread and room for 4095 sockets.
    static Context& Instance();

    // A copy of the context pointer, empty after reset(). Take it only to create a socket:
    // sockets hold no reference, so the caller must not keep the pointer beyond that.
    static std::shared_ptr<zmq::context_t> getZMQContext();

    // Drops the process's reference; the last reference destroys the context, which blocks
    // until every socket is closed. Must not race with getZMQContext(): call it at shutdown only.
    static void reset();

    void aboutToTerminate() override;

    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

private:
    Context();

    std::shared_ptr<zmq::context_t> context;
};

}  // namespace zal
