// Framing of control envelopes and byte streams on real sockets, over inproc and TCP loopback. Router
// messages are framed, and tested, by the running router.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <vector>

#include "support/qtprinters.h"
#include "support/sockets.h"
#include "zal/transport/socketerror.h"
#include "zal/transport/zmqbytestreamsockettemplate.h"
#include "zal/transport/zmqcontrolsockettemplate.h"
#include "zal/transport/zmqhelper.h"
#include "zal/transport/zmqroutersockettemplate.h"

using namespace zal;
using zaltest::makeSocket;
using zaltest::receiveFrames;
using zaltest::sendFrames;
using Frames = std::vector<QByteArray>;

namespace {

// A connected pair of PAIR sockets, bound over the transport under test.
struct SocketPair {
    zmq::socket_t bound;
    zmq::socket_t connected;
    std::string address;
};

SocketPair makePair(const std::string& transport) {
    SocketPair pair{makeSocket(zmq::socket_type::pair), makeSocket(zmq::socket_type::pair), {}};
    pair.address = transport == "tcp" ? std::string("tcp://127.0.0.1:*") : zaltest::uniqueInproc("framing");
    ZmqHelper::bindSocket(pair.bound, pair.address);
    ZmqHelper::connectSocket(pair.connected, pair.address);
    return pair;
}

class Framing : public ::testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(Framing, EachEnvelopeModeHasItsFramesAndReadsBack) {
    const ControlMessage sent{"ab", "xyz"};
    // Envelope mode, the frames it sends, the address it reads back.
    const std::tuple<int, Frames, QByteArray> cases[] = {
        {0, {"ab", "", "xyz"}, "ab"},
        {1, {"", "ab", "xyz"}, "ab"},
        {2, {"", "xyz"}, ""},
        {3, {"ab", "xyz"}, "ab"},
        {4, {"xyz"}, ""},
        {-7, {"xyz"}, ""},
    };
    auto pair = makePair(GetParam());
    for (const auto& [mode, frames, addressBack] : cases) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        ZmqControlSocket out(pair.connected, EnvelopeMode(mode));
        EXPECT_EQ(out.getEnvelopeMode(), EnvelopeMode(mode));
        out.sendMessage(sent);
        EXPECT_EQ(receiveFrames(pair.bound), frames);

        sendFrames(pair.bound, frames);
        ASSERT_TRUE(zaltest::waitReadable(pair.connected));
        ControlMessage back{"stale", "stale"};
        out.receiveMessage(back);
        EXPECT_EQ(back.address, addressBack);
        EXPECT_EQ(back.data, sent.data);
    }
    ZmqControlSocket defaultMode(pair.connected);
    EXPECT_EQ(defaultMode.getEnvelopeMode(), EnvelopeMode::Dealer);
}

// Large payloads leave by reference and queued ones are read into reused buffers: neither may let
// a later change of the sender's or the receiver's bytes show through.
TEST_P(Framing, ByteStreamBuffersAreNeverSharedVisibly) {
    auto pair = makePair(GetParam());
    ZmqByteStreamOutSocket out(pair.connected);
    ZmqByteStreamInSocket in(pair.bound);
    ByteStreamMessage message;
    EXPECT_FALSE(in.tryReceiveMessage(message));

    QByteArray owned(100000, 'a');
    std::vector<char> raw(100000, 'b');
    out.sendMessage(ByteStreamMessage{"owned", owned});
    out.sendMessage(ByteStreamMessage{"raw", QByteArray::fromRawData(raw.data(), qsizetype(raw.size()))});
    owned.fill('z');
    std::fill(raw.begin(), raw.end(), 'z');
    out.sendMessage(ByteStreamMessage{"small", QByteArray(10, 'c')});
    out.sendMessage(ByteStreamMessage{"small", QByteArray(10, 'd')});
    out.sendMessage(ByteStreamMessage{"smell", QByteArray(10, 'e')});
    sendFrames(pair.connected, {"alone"});

    ASSERT_TRUE(zaltest::waitReadable(pair.bound));
    in.receiveMessage(message);
    EXPECT_EQ(message.topic, "owned");
    EXPECT_EQ(message.data, QByteArray(100000, 'a'));
    const QByteArray kept = message.data;
    // Topic and data of the next message, once it is there.
    const auto next = [&] {
        EXPECT_TRUE(zaltest::waitReadable(pair.bound) && in.tryReceiveMessage(message));
        return std::pair(message.topic, message.data);
    };
    EXPECT_EQ(next(), std::pair(QByteArray("raw"), QByteArray(100000, 'b')));
    EXPECT_EQ(kept, QByteArray(100000, 'a'));
    EXPECT_EQ(next(), std::pair(QByteArray("small"), QByteArray(10, 'c')));
    // A repeated topic is the same array again; one of the same length but other bytes is not.
    const QByteArray keptTopic = message.topic;
    EXPECT_EQ(next(), std::pair(QByteArray("small"), QByteArray(10, 'd')));
    EXPECT_EQ(next(), std::pair(QByteArray("smell"), QByteArray(10, 'e')));
    EXPECT_EQ(keptTopic, "small");
    EXPECT_EQ(next().first, "alone");
    EXPECT_TRUE(message.data.isNull());
    EXPECT_FALSE(in.tryReceiveMessage(message));
    EXPECT_EQ(message.topic, "alone");
}

INSTANTIATE_TEST_SUITE_P(Transports, Framing, ::testing::Values("inproc", "tcp"));

TEST(Framing, FailuresCarryTheirTexts) {
    auto pair = makePair("inproc");
    ControlMessage message{"a", "b"};

    ZmqPubControlSocket pub(pair.connected);
    EXPECT_EQ(zaltest::whatOf<SocketError>([&] { pub.receiveMessage(message); }),
              "receiveMessage() not supported for this socket type");
    ZmqSubControlSocket sub(pair.bound);
    EXPECT_EQ(zaltest::whatOf<SocketError>([&] { sub.sendMessage(message); }),
              "sendMessage() not supported for this socket type");
    pub.sendMessage(message);
    ASSERT_TRUE(zaltest::waitReadable(pair.bound));
    sub.receiveMessage(message);
    EXPECT_EQ(message.data, "b");

    // Nothing pending and a receive time-out: a timed-out receive, not a ZeroMQ error.
    pair.bound.set(zmq::sockopt::rcvtimeo, 20);
    ZmqControlSocket timed(pair.bound, EnvelopeMode::DataOnly);
    EXPECT_EQ(zaltest::whatOf<SocketError>([&] { timed.receiveMessage(message); }), "recv() failed");

    // A dealer without any peer cannot queue the frame: the send would block.
    auto lonely = makeSocket(zmq::socket_type::dealer);
    lonely.set(zmq::sockopt::sndtimeo, 0);
    ZmqControlSocket blocked(lonely, EnvelopeMode::DataOnly);
    EXPECT_EQ(zaltest::whatOf<SocketError>([&] { blocked.sendMessage(ControlMessage{"a", "b"}); }),
              "send() failed");

    // An unroutable identity on a mandatory router is ZeroMQ's own error.
    auto router = makeSocket(zmq::socket_type::router);
    router.set(zmq::sockopt::router_mandatory, 1);
    ZmqRouterSocket mandatory(router);
    EXPECT_EQ(zaltest::zmqErrorOf([&] {
                  mandatory.sendMessage(RouterMessage{"me", "nobody", "x"});
              }),
              EHOSTUNREACH);
}
