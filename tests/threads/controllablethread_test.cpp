// Services in real threads: the blocking start, failure reports, and the stop over the pipe.
#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <future>
#include <mutex>

#include "zal/msg/controlmessagehelper.h"
#include "zal/threads/zmqcontrollablethread.h"

using namespace zal;

namespace {

// Events of one service, in order, readable from the test thread.
class Log {
public:
    void add(std::string event) {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back(std::move(event));
    }
    std::vector<std::string> get() const {
        std::lock_guard<std::mutex> lock(mutex);
        return events;
    }

private:
    mutable std::mutex mutex;
    std::vector<std::string> events;
};

struct Script {
    bool initializeResult = true;
    std::string throwInInitialize;
    std::string throwInProcess;
    std::string throwInRelease;
    bool throwUnknown = false;
    // process() waits for this before it fails, so the creator has surely stopped waiting.
    std::shared_future<void> goAhead;
};

Script refusing() {
    Script script;
    script.initializeResult = false;
    return script;
}

Script throwing(std::string inInitialize, std::string inRelease = {}) {
    Script script;
    script.throwInInitialize = std::move(inInitialize);
    script.throwInRelease = std::move(inRelease);
    return script;
}

// A service whose every step is logged; process() reports what arrived on the creator pipe.
class ScriptedService : public ZmqControllable {
public:
    ScriptedService(Log& log, Script script) : log(log), script(std::move(script)) {}
    ~ScriptedService() override { log.add("destroyed"); }

    bool initialize() override {
        log.add("initialize");
        if (script.throwUnknown) {
            throw 42;
        }
        failIf(script.throwInInitialize);
        addCreatorSocket();
        return script.initializeResult;
    }
    void process() override {
        log.add("process");
        if (!script.throwInProcess.empty()) {
            script.goAhead.wait_for(std::chrono::seconds(10));
            failIf(script.throwInProcess);
        }
        while (reader.waitForSockets()) {
            // Everything pending on the pipe is read, so a second Shutdown would show up here.
            zmq::message_t frame;
            while (creatorSocket->recv(frame, zmq::recv_flags::dontwait)) {
                const auto message = ControlMessageHelper::fromPayload(
                    QByteArray(static_cast<const char*>(frame.data()), static_cast<qsizetype>(frame.size())));
                log.add("pipe:" + message.GetMessageTypeAsString().toStdString());
            }
            return;
        }
    }
    void release() override {
        log.add("release");
        failIf(script.throwInRelease);
    }

private:
    static void failIf(const std::string& text) {
        if (!text.empty()) {
            throw std::runtime_error(text);
        }
    }
    Log& log;
    Script script;
};

// A service whose loop ends through the base's creator check, as every real service's does.
class CheckingService : public ZmqControllable {
public:
    explicit CheckingService(Log& log) : log(log) {}
    bool initialize() override {
        addCreatorSocket();
        return true;
    }
    void process() override {
        while (reader.waitForSockets() && checkCreatorSocket()) {
        }
        log.add("stopped");
    }
    void release() override { log.add("release"); }

private:
    Log& log;
};

std::string startFailure(Log& log, Script script) {
    try {
        ZmqControllableThread<ScriptedService> thread(new ScriptedService(log, std::move(script)));
    } catch (const ThreadError& e) {
        return e.what();
    }
    return "<started>";
}

using Events = std::vector<std::string>;

}  // namespace

TEST(ControllableThread, StartFailuresReachTheCreator) {
    Log refused;
    EXPECT_EQ(startFailure(refused, refusing()), "Thread failed: ");
    EXPECT_EQ(refused.get(), (Events{"initialize", "release", "destroyed"}));

    Log thrown;
    EXPECT_EQ(startFailure(thrown, throwing("x")), "Thread failed: ControllableThread::run() failed: x");
    EXPECT_EQ(thrown.get(), (Events{"initialize", "release", "destroyed"}));

    Log unknown;
    Script script;
    script.throwUnknown = true;
    EXPECT_EQ(startFailure(unknown, script),
              "Thread failed: ControllableThread::run() failed: An unknown exception was thrown");

    Log twice;
    EXPECT_EQ(startFailure(twice, throwing("init", "rel")),
              "Thread failed: ControllableThread::run() failed: init\nControllableThread::run() failed: rel");
    EXPECT_EQ(twice.get(), (Events{"initialize", "release", "destroyed"})) << "release runs once";
}

TEST(ControllableThread, FailuresAfterStartAccumulateOnePerLine) {
    Log log;
    std::promise<void> go;
    Script script;
    script.throwInProcess = "p";
    script.throwInRelease = "r";
    script.goAhead = go.get_future().share();
    auto thread = std::make_shared<ZmqControllableThread<ScriptedService>>(new ScriptedService(log, script));
    EXPECT_EQ(thread->getState(), Running);
    go.set_value();
    ASSERT_TRUE(thread->wait(QDeadlineTimer(10000)));
    EXPECT_EQ(thread->getState(), Failed);
    EXPECT_EQ(thread->getErrorText(),
              "ControllableThread::run() failed: p\nControllableThread::run() failed: r");
    EXPECT_EQ(log.get(), (Events{"initialize", "process", "release", "destroyed"}));
    thread.reset();  // stopping a thread that already ended must not block
}

TEST(ControllableThread, DestructionSendsOneShutdownAndReturnsAfterRelease) {
    Log log;
    auto thread =
        std::make_shared<ZmqControllableThread<ScriptedService>>(new ScriptedService(log, Script{}));
    EXPECT_EQ(thread->getState(), Running);
    EXPECT_EQ(log.get().front(), "initialize");
    thread.reset();
    EXPECT_EQ(log.get(), (Events{"initialize", "process", "pipe:Shutdown", "release", "destroyed"}));

    Log checked;
    {
        ZmqControllableThread<CheckingService> running(new CheckingService(checked));
        EXPECT_EQ(running.getState(), Running);
    }
    EXPECT_EQ(checked.get(), (Events{"stopped", "release"}));
}
