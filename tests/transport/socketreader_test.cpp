// The poll set, on real sockets and a native descriptor. The input clients are the router's and every
// service's, and tested with them.
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/sockets.h"
#include "zal/transport/socketreader.h"
#include "zal/transport/zmqhelper.h"

using namespace zal;
using zaltest::makeSocket;

namespace {

struct Pipe {
    int fds[2] = {-1, -1};
    Pipe() { EXPECT_EQ(::pipe(fds), 0); }
    ~Pipe() {
        ::close(fds[0]);
        ::close(fds[1]);
    }
};

struct Line {
    zmq::socket_t a = makeSocket(zmq::socket_type::pair);
    zmq::socket_t b = makeSocket(zmq::socket_type::pair);
    Line() {
        std::string address = zaltest::uniqueInproc("reader");
        ZmqHelper::bindSocket(a, address);
        ZmqHelper::connectSocket(b, address);
    }
};

}  // namespace

TEST(SocketReader, ReportsEventsPerItemAndKeepsPositions) {
    SocketReader reader;
    EXPECT_EQ(reader.getTimeout(), -1);
    reader.setTimeout(0);
    EXPECT_EQ(reader.waitForSocketsOrTimeout(), 0) << "no items and no wait";
    EXPECT_FALSE(reader.waitForSockets());

    Line first, second;
    Pipe pipe;
    EXPECT_EQ(reader.addSocket(first.a, ZMQ_POLLIN), 0);
    EXPECT_EQ(reader.addSocket(second.a, ZMQ_POLLIN | 0x10000), 1) << "events are truncated to 16 bits";
    EXPECT_EQ(reader.addSocket(static_cast<std::uint64_t>(pipe.fds[0]), ZMQ_POLLIN), 2);
    EXPECT_EQ(reader.size(), 3);

    zaltest::sendFrames(second.b, {"x"});
    ASSERT_EQ(::write(pipe.fds[1], "!", 1), 1);
    char buffer[1];
    EXPECT_TRUE(reader.waitForSockets(5000));
    EXPECT_EQ(reader.getEvents(0), 0);
    EXPECT_TRUE(SocketReader::isReadable(reader.getEvents(1)));
    EXPECT_TRUE(SocketReader::isReadable(reader.getEvents(2)));
    EXPECT_EQ(reader.getEvents(-1), 0);
    EXPECT_EQ(reader.getEvents(reader.size()), 0);

    reader.removeSocket(0);
    EXPECT_EQ(reader.size(), 2);
    EXPECT_EQ(reader.waitForSocketsOrTimeout(), 2);
    EXPECT_TRUE(SocketReader::isReadable(reader.getEvents(0))) << "the second socket moved to index 0";
    zaltest::receiveFrames(second.a);
    ASSERT_EQ(::read(pipe.fds[0], buffer, 1), 1);
    reader.setTimeout(10);
    EXPECT_EQ(reader.waitForSocketsOrTimeout(), 0) << "a time-out without events";
    EXPECT_EQ(reader.getEvents(0), 0);

    reader.clear();
    EXPECT_EQ(reader.size(), 0);
    EXPECT_EQ(reader.getTimeout(), 10);
    EXPECT_TRUE(SocketReader::isWriteable(ZMQ_POLLOUT) && SocketReader::hasError(ZMQ_POLLERR));
    EXPECT_FALSE(SocketReader::isReadable(ZMQ_POLLOUT | ZMQ_POLLERR));
}
