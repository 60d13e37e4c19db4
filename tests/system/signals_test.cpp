// A host whose process takes a storm of signals through a handler without SA_RESTART: every
// blocking call of every thread may come back interrupted, and none of them may end a service.
#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>
#include <QDir>
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include "support/procstatus.h"
#include "support/qtprinters.h"
#include "support/sockets.h"
#include "zal/host/environment.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/endpoints.h"
#include "zal/transport/zmqhelper.h"

using namespace zal;
using Helper = ControlMessageHelper;
using Message = zalmsg::ControlMessage;

namespace {

std::atomic<long> signalsTaken{0};

void countSignal(int) {
    signalsTaken.fetch_add(1, std::memory_order_relaxed);
}

// Sends SIGALRM to every thread of the process but the test's own, once a millisecond each, so that
// the service threads meet it inside zmq_poll, recv and send rather than only the main thread.
class SignalStorm {
public:
    explicit SignalStorm(pid_t spared) : spared(spared) {
        struct sigaction action {};
        action.sa_handler = countSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = 0;  // no SA_RESTART: interrupted calls fail with EINTR
        sigaction(SIGALRM, &action, &previous);
        storm = std::thread([this] { run(); });
    }
    ~SignalStorm() {
        stopping = true;
        storm.join();
        sigaction(SIGALRM, &previous, nullptr);
    }

private:
    void run() {
        const pid_t self = static_cast<pid_t>(syscall(SYS_gettid));
        while (!stopping) {
            for (const QString& entry :
                 QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                const pid_t tid = entry.toInt();
                if (tid != self && tid != spared) {
                    syscall(SYS_tgkill, getpid(), tid, SIGALRM);
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    pid_t spared;
    struct sigaction previous {};
    std::atomic<bool> stopping{false};
    std::thread storm;
};

// The test's own client is spared by the storm: what is under test is the library's threads.
class Client {
public:
    explicit Client(const std::string& frontend) { ZmqHelper::connectSocket(socket, frontend); }

    Message request(const std::string& destination, const Message& message) {
        zaltest::sendFrames(socket, {"", Helper::makeIdentity(destination), Helper::toPayload(message)});
        const auto frames = zaltest::receiveFrames(socket, 10000);
        return frames.size() == 3 ? Helper::fromPayload(frames[2]) : Message();
    }
    QString value(const std::string& processor, const std::string& parameter) {
        return request(processor, Helper::makeGetParameterMessage(parameter)).GetParameter();
    }

private:
    zmq::socket_t socket = zaltest::makeSocket(zmq::socket_type::dealer);
};

bool isSuccess(const Message& reply) {
    return reply.IsResultTypeSet() && reply.GetResultType() == Message::ResultType::Success;
}

}  // namespace

TEST(Signals, AStormOfInterruptsEndsNoThreadAndLosesNoReply) {
    Environment environment{"tcp://127.0.0.1:*"};
    Client client(environment.getRouterFrontendAddress());
    const std::string manager = internalAddressPrefixDefault;
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
    const std::string generator = Endpoints::getProcessorEndpoint("g", "gen", manager);
    const std::string counter = Endpoints::getProcessorEndpoint("g", "count", manager);
    ASSERT_TRUE(isSuccess(client.request(manager, Helper::makeCreateProcessorGroupMessage("g"))));
    ASSERT_TRUE(isSuccess(client.request(
        group, Helper::makeCreateProcessorMessage(
                   "demo.Generator", "gen", Helper::makeProcessorConfig("numbers", "inproc://storm/n")))));
    ASSERT_TRUE(isSuccess(client.request(
        group, Helper::makeCreateProcessorMessage(
                   "demo.Counter", "count", Helper::makeProcessorConfig("counted", "inproc://storm/c")))));
    ASSERT_TRUE(isSuccess(client.request(generator, Helper::makeSetParameterMessage("rate", "2000"))));
    ASSERT_TRUE(isSuccess(
        client.request(counter, Helper::makeConnectStreamMessage("numbers", "inproc://storm/n", ""))));
    const int threads = zaltest::procStatus().threads;

    const auto counted = client.value(counter, "messages").toLongLong();
    int sent = 0;
    int answered = 0;
    {
        SignalStorm storm(static_cast<pid_t>(syscall(SYS_gettid)));
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        while (std::chrono::steady_clock::now() < end) {
            // Control round trips to every kind of service: the manager, the group, two processors.
            for (const auto& [destination, request] :
                 {std::pair{manager, Helper::makeQueryProcessorGroupsMessage()},
                  std::pair{group, Helper::makeQueryProcessorsMessage()},
                  std::pair{generator, Helper::makeGetParameterMessage("sent")},
                  std::pair{counter, Helper::makeGetParameterMessage("messages")}}) {
                ++sent;
                answered += isSuccess(client.request(destination, request));
            }
        }
        EXPECT_GT(signalsTaken.load(), 1000);
    }
    EXPECT_EQ(answered, sent) << "requests under the storm went unanswered or failed";
    EXPECT_GT(client.value(counter, "messages").toLongLong(), counted + 2000) << "data stopped flowing";
    // A service thread that an interrupt ended would be missing now, and its next request unanswered.
    EXPECT_EQ(zaltest::procStatus().threads, threads);
    EXPECT_TRUE(isSuccess(client.request(group, Helper::makeDeleteProcessorMessage("count"))));
    EXPECT_TRUE(isSuccess(client.request(manager, Helper::makeDeleteProcessorGroupMessage("g"))));
}
