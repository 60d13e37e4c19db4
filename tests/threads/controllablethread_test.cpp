// Services in real threads: the blocking start and failure reports, and the stand-alone readiness
// handshake of a thread a creator manages itself. The stop over the pipe is every service's.
#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <future>
#include <mutex>
#include <thread>

#include "support/sockets.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/threads/zmqcontrollablethread.h"
#include "zal/threads/zmqthreadcontroller.h"

using namespace zal;
using Events = std::vector<std::string>;

namespace {

// What a service is to do: "" for a step that succeeds, "?" to throw something that is no
// std::exception, "refuse" for an initialize that returns false, other text to throw it.
struct Script {
    std::string initialize{}, process{}, release{};
    // process() waits for this before it fails, so the creator has surely stopped waiting.
    std::shared_future<void> goAhead{};
};

// A service whose every step is logged, readable from the test thread. Every real service loops on
// the base's creator check until Shutdown; this one just waits for the pipe.
class ScriptedService : public ZmqControllable {
public:
    explicit ScriptedService(Script script) : script(std::move(script)) {}
    ~ScriptedService() override { add("destroyed"); }

    bool initialize() override {
        add("initialize");
        failIf(script.initialize);
        addCreatorSocket();
        return script.initialize != "refuse";
    }
    void process() override {
        add("process");
        if (!script.process.empty()) {
            script.goAhead.wait_for(std::chrono::seconds(10));
            failIf(script.process);
        }
        reader.waitForSockets();
    }
    void release() override {
        add("release");
        failIf(script.release);
    }
    static Events events() {
        std::lock_guard<std::mutex> lock(mutex);
        return log;
    }
    // What the start of a service with this script throws; empty when it starts.
    static std::string startFailure(Script script) {
        log.clear();
        return zaltest::whatOf<ThreadError>(
            [&] { ZmqControllableThread<ScriptedService> thread(new ScriptedService(std::move(script))); });
    }
    static inline Events log;

private:
    static void add(std::string event) {
        std::lock_guard<std::mutex> lock(mutex);
        log.push_back(std::move(event));
    }
    static void failIf(const std::string& text) {
        if (text == "?") {
            throw 42;
        }
        if (!text.empty() && text != "refuse") {
            throw std::runtime_error(text);
        }
    }
    static inline std::mutex mutex;
    Script script;
};

const std::string failed = "ControllableThread::run() failed: ";

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

TEST(ControllableThread, StartFailuresReachTheCreatorAndReleaseRunsOnce) {
    const Events started{"initialize", "release", "destroyed"};
    EXPECT_EQ(ScriptedService::startFailure({"refuse"}), "Thread failed: ");
    EXPECT_EQ(ScriptedService::events(), started);
    EXPECT_EQ(ScriptedService::startFailure({"x"}), "Thread failed: " + failed + "x");
    EXPECT_EQ(ScriptedService::events(), started);
    EXPECT_EQ(ScriptedService::startFailure({"?"}),
              "Thread failed: " + failed + "An unknown exception was thrown");
    EXPECT_EQ(ScriptedService::startFailure({"init", "", "rel"}),
              "Thread failed: " + failed + "init\n" + failed + "rel");
    EXPECT_EQ(ScriptedService::events(), started);
}

TEST(ControllableThread, FailuresAfterStartAccumulateOnePerLine) {
    ScriptedService::log.clear();
    std::promise<void> go;
    auto thread = std::make_shared<ZmqControllableThread<ScriptedService>>(
        new ScriptedService({"", "p", "r", go.get_future().share()}));
    EXPECT_EQ(thread->getState(), Running);
    go.set_value();
    ASSERT_TRUE(thread->wait(QDeadlineTimer(10000)));
    EXPECT_EQ(thread->getState(), Failed);
    EXPECT_EQ(thread->getErrorText(), failed + "p\n" + failed + "r");
    EXPECT_EQ(ScriptedService::events(), (Events{"initialize", "process", "release", "destroyed"}));
    thread.reset();  // stopping a thread that already ended must not block
}

TEST(ZmqThreadController, OnlyASuccessfulCreatedMessageMeansReady) {
    EXPECT_TRUE(handshake([](ZmqThreadController& c) { return c.signalReady(); }));
    EXPECT_FALSE(handshake([](ZmqThreadController& c) { return c.signalError(); }));
    EXPECT_FALSE(handshake([](ZmqThreadController& c) {
        return c.sendToCreator(
            ZmqThreadController::makeCreatedControlMessage(zalmsg::ControlMessage::ResultType::Warning));
    }));
    EXPECT_FALSE(handshake([](ZmqThreadController& c) {
        return c.sendToCreator(ControlMessageHelper::makeMessage(zalmsg::ControlMessage::MessageType::Query));
    }));

    ZmqThreadController silent;
    EXPECT_FALSE(silent.waitForThread(10)) << "nothing was sent";
}
