// Binding with retries and its failures, on real sockets. Resolved wildcard endpoints and identities
// with their zero byte are met by every test of the system.
#include <gtest/gtest.h>

#include <cerrno>

#include "support/sockets.h"
#include "support/tracecapture.h"
#include "zal/transport/zmqhelper.h"

using namespace zal;
using zaltest::makeSocket;

namespace {

// Stages operating-system answers for the bind call: the first `failures` calls fail with
// `error`, the rest bind for real.
struct StagedBind {
    static inline int calls = 0;
    static inline int failures = 0;
    static inline int error = 0;

    static void stage(int count, int errorNumber) {
        calls = 0;
        failures = count;
        error = errorNumber;
    }
    static int bind(void* socket, const char* address) {
        if (calls++ < failures) {
            errno = error;
            return -1;
        }
        return zmq_bind(socket, address);
    }
};

int bindError(zmq::socket_t& socket, std::string address) {
    return zaltest::zmqErrorOf([&] { ZmqHelper::bindSocket(socket, address, &StagedBind::bind); });
}

}  // namespace

TEST(ZmqHelper, BindRetriesOnlyWhileTheAddressIsInUse) {
    zaltest::TraceCapture trace;
    auto socket = makeSocket(zmq::socket_type::pair);

    StagedBind::stage(4, EADDRINUSE);
    std::string address = zaltest::uniqueInproc("retry");
    const std::string requested = address;
    ZmqHelper::bindSocket(socket, address, &StagedBind::bind);
    EXPECT_EQ(StagedBind::calls, ZmqHelper::maxBindAttempts);
    EXPECT_EQ(address, requested);
    EXPECT_TRUE(trace.lines().isEmpty());

    StagedBind::stage(5, EADDRINUSE);
    EXPECT_EQ(bindError(socket, "inproc://busy"), EADDRINUSE);
    EXPECT_EQ(StagedBind::calls, 5);
    ASSERT_EQ(trace.lines().size(), 1);
    EXPECT_EQ(trace.lines().front(),
              QStringLiteral("zmqhelper:40 bindSocket() for \"inproc://busy\" failed: %1")
                  .arg(QString::fromUtf8(zmq_strerror(EADDRINUSE))));

    StagedBind::stage(1, EACCES);
    EXPECT_EQ(bindError(socket, "tcp://127.0.0.1:1"), EACCES);
    EXPECT_EQ(StagedBind::calls, 1);
    EXPECT_EQ(trace.lines().size(), 2);
}

TEST(ZmqHelper, RealConflictsAndBadAddressesFail) {
    zaltest::TraceCapture trace;
    auto holder = makeSocket(zmq::socket_type::pair);
    auto latecomer = makeSocket(zmq::socket_type::pair);
    std::string address = zaltest::uniqueInproc("taken");
    ZmqHelper::bindSocket(holder, address);
    std::string again = address;
    EXPECT_EQ(zaltest::zmqErrorOf([&] { ZmqHelper::bindSocket(latecomer, again); }), EADDRINUSE);
    EXPECT_EQ(again, address) << "a failed bind must not rewrite the address";

    EXPECT_THROW(ZmqHelper::bindSocket(latecomer), zmq::error_t);
    EXPECT_THROW(ZmqHelper::connectSocket(latecomer, "nonsense://x"), zmq::error_t);
    EXPECT_THROW(ZmqHelper::connectSocket(latecomer, "nonsense://x", "me"), zmq::error_t);
    EXPECT_EQ(trace.lines().size(), 2) << "binds are traced, connects are not";
}
