// The stand-alone readiness handshake between a creator and a thread it manages itself.
#include <gtest/gtest.h>

#include <thread>

#include "zal/msg/controlmessagehelper.h"
#include "zal/threads/zmqthreadcontroller.h"

using namespace zal;
using Result = zalmsg::ControlMessage::ResultType;

namespace {

// One handshake: a worker thread sends `signal` through a copy of a fresh controller.
template <class Signal>
bool handshake(Signal signal) {
    ZmqThreadController controller;
    bool sent = false;
    std::thread worker([copy = controller, &sent, signal]() mutable { sent = signal(copy); });
    const bool ready = controller.waitForThread(10000);
    worker.join();
    EXPECT_TRUE(sent);
    return ready;
}

}  // namespace

TEST(ZmqThreadController, OnlyASuccessfulCreatedMessageMeansReady) {
    EXPECT_TRUE(handshake([](ZmqThreadController& c) { return c.signalReady(); }));
    EXPECT_FALSE(handshake([](ZmqThreadController& c) { return c.signalError(); }));
    EXPECT_FALSE(handshake([](ZmqThreadController& c) {
        return c.sendToCreator(ZmqThreadController::makeCreatedControlMessage(Result::Warning));
    }));
    EXPECT_FALSE(handshake([](ZmqThreadController& c) {
        return c.sendToCreator(ControlMessageHelper::makeMessage(zalmsg::ControlMessage::MessageType::Query));
    }));

    ZmqThreadController silent;
    EXPECT_FALSE(silent.waitForThread(10)) << "nothing was sent";
}
