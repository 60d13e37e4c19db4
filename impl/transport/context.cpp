#include "zal/transport/context.h"

#include <zmq.hpp>

namespace zal {

namespace {
constexpr int ioThreads = 1;
constexpr int maxSockets = 4095;  // ZeroMQ's default of 1023 is too few for large pipelines
}  // namespace

// context_t(io, max) creates the context (throwing zmq::error_t when ZeroMQ cannot) and sets both
// options; its destructor terminates it once, when the last shared reference goes.
Context::Context() : context(std::make_shared<zmq::context_t>(ioThreads, maxSockets)) {}

Context::~Context() = default;

Context& Context::Instance() {
    static Context instance;
    return instance;
}

std::shared_ptr<zmq::context_t> Context::getZMQContext() {
    return Instance().context;
}

void Context::reset() {
    Instance().context.reset();
}

void Context::aboutToTerminate() {
    context.reset();
}

}  // namespace zal
