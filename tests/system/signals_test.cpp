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

#include "support/frontendclient.h"
#include "support/procstatus.h"
#include "support/qtprinters.h"
#include "zal/host/environment.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Helper = ControlMessageHelper;
using Message = zalmsg::ControlMessage;

namespace {

std::atomic<long> signalsTaken{0};

// Sends SIGALRM to every thread of the process but the one that made the storm (the test's, whose
// client is not under test), once a millisecond each, so that the service threads meet it inside
// zmq_poll, recv and send rather than only the main thread.
class SignalStorm {
public:
    SignalStorm() {
        struct sigaction action {};
        action.sa_handler = [](int) { signalsTaken.fetch_add(1, std::memory_order_relaxed); };
        sigemptyset(&action.sa_mask);  // and no SA_RESTART: interrupted calls fail with EINTR
        sigaction(SIGALRM, &action, nullptr);
        storm = std::thread([this] { run(); });
    }
    // The handler stays: a signal sent just before the storm stopped may still be pending at a
    // thread the loaded machine has not scheduled yet, and the default action would end the process.
    ~SignalStorm() {
        stopping = true;
        storm.join();
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

    const pid_t spared = static_cast<pid_t>(syscall(SYS_gettid));
    std::atomic<bool> stopping{false};
    std::thread storm;
};

}  // namespace

TEST(Signals, AStormOfInterruptsEndsNoThreadAndLosesNoReply) {
    Environment environment{"tcp://127.0.0.1:*"};
    zaltest::FrontendClient client(environment.getRouterFrontendAddress());
    const std::string manager = internalAddressPrefixDefault;
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
    const std::string generator = Endpoints::getProcessorEndpoint("g", "gen", manager);
    const std::string counter = Endpoints::getProcessorEndpoint("g", "count", manager);
    client.succeed(manager, Helper::makeCreateProcessorGroupMessage("g"));
    client.succeed(group, zaltest::createRequest("demo.Generator", "gen", "numbers", "inproc://storm/n"));
    client.succeed(group, zaltest::createRequest("demo.Counter", "count", "counted", "inproc://storm/c"));
    client.succeed(generator, Helper::makeSetParameterMessage("rate", "2000"));
    client.succeed(counter, Helper::makeConnectStreamMessage("numbers", "inproc://storm/n", ""));
    ASSERT_FALSE(HasFailure()) << "the pipeline could not be set up";
    const int threads = zaltest::procStatus().threads;
    const auto counted = [&] {
        return client.succeed(counter, Helper::makeGetParameterMessage("messages"))
            .GetParameter()
            .toLongLong();
    };
    const long long before = counted();
    int sent = 0;
    int answered = 0;
    {
        SignalStorm storm;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        while (std::chrono::steady_clock::now() < end) {
            // Control round trips to every kind of service: the manager, the group, two processors.
            for (const auto& [destination, request] :
                 {std::pair{manager, Helper::makeQueryProcessorGroupsMessage()},
                  std::pair{group, Helper::makeQueryProcessorsMessage()},
                  std::pair{generator, Helper::makeGetParameterMessage("sent")},
                  std::pair{counter, Helper::makeGetParameterMessage("messages")}}) {
                const Message reply = client.request(destination, request, 10000);
                ++sent;
                answered += reply.IsResultTypeSet() && reply.GetResultType() == Message::ResultType::Success;
            }
        }
        EXPECT_GT(signalsTaken.load(), 1000);
    }
    EXPECT_EQ(answered, sent) << "requests under the storm went unanswered or failed";
    EXPECT_GT(counted(), before + 2000) << "data stopped flowing";
    // A service thread that an interrupt ended would be missing now, and its next request unanswered.
    EXPECT_EQ(zaltest::procStatus().threads, threads);
    client.succeed(group, Helper::makeDeleteProcessorMessage("count"));
    client.succeed(manager, Helper::makeDeleteProcessorGroupMessage("g"));
}
