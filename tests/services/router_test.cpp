// A running router with a TCP frontend, driven by real outside and inside peers: ending at a
// malformed message by default, what it traces of what it drops when told to drop, the stall a
// silent client must not cause, and a frontend taken. Carrying requests is every system test's.
#include <gtest/gtest.h>

#include <QDeadlineTimer>

#include "support/frontendclient.h"
#include "support/runningrouter.h"
#include "support/tracecapture.h"
#include "zal/services/router.h"
#include "zal/threads/zmqcontrollablethread.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;

namespace {

RouterOptions droppingMalformed() {
    RouterOptions options;
    options.dropMalformed = true;
    return options;
}

const std::string serviceIdentity = "inproc://zal/service";

using zaltest::RunningRouter;

// A service inside the system: a DEALER on the internal side, known by its identity.
zmq::socket_t insidePeer(const std::string& identity) {
    auto socket = zaltest::makeSocket(zmq::socket_type::dealer);
    ZmqHelper::connectSocket(socket, Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault),
                             identity);
    return socket;
}

// The first message reaches a new inside peer only once its connection is attached; ask until
// it answers, within a bound.
void awaitRoute(zaltest::FrontendClient& client, zmq::socket_t& peer) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        client.send(serviceIdentity, "probe");
        if (zaltest::waitReadable(peer, 25)) {
            while (zaltest::waitReadable(peer, 25)) {
                zaltest::receiveFrames(peer);
            }
            return;
        }
    }
    FAIL() << "the inside peer never became reachable";
}

}  // namespace

// The library's default, which a configuration may ask for on a TCP frontend.
TEST(Router, ByDefaultAMalformedMessageEndsTheLoopWithItsText) {
    RunningRouter router;
    zaltest::FrontendClient(*router.frontend).sendRaw({"", "destination"});
    ASSERT_TRUE(router.thread->wait(QDeadlineTimer(10000)));
    EXPECT_EQ(router.thread->getErrorText(), "ControllableThread::run() failed: Invalid message format");
}

TEST(Router, DroppingMalformedMessagesTracesTheSenderAndServesTheNext) {
    zaltest::TraceCapture trace;
    RunningRouter router(droppingMalformed());
    auto peer = insidePeer(serviceIdentity);
    zaltest::FrontendClient client(*router.frontend);
    awaitRoute(client, peer);

    auto hostile = zaltest::makeSocket(zmq::socket_type::dealer);
    ZmqHelper::connectSocket(hostile, *router.frontend, "hostile");
    const QByteArray service = ControlMessageHelper::makeIdentity(serviceIdentity);
    const std::vector<std::vector<QByteArray>> malformed = {
        {"one frame"}, {"", service}, {"", service, "payload", "surplus"}, {"", service, "p", "s1", "s2"}};
    for (const auto& frames : malformed) {
        zaltest::sendFrames(hostile, frames);
    }
    // Well-formed but for nobody: dropped too, and a destination without its zero byte is named as such.
    zaltest::sendFrames(hostile, {"", "inproc://zal/service", "no zero byte"});
    // One connection keeps its order: when this arrives, every malformed message before it is gone.
    zaltest::sendFrames(hostile, {"", service, "well-formed"});
    auto inside = zaltest::receiveFrames(peer);
    ASSERT_EQ(inside.size(), 3u) << "only the well-formed request is forwarded";
    EXPECT_EQ(inside[1], ControlMessageHelper::makeIdentity("hostile"));
    EXPECT_EQ(inside[2], "well-formed");
    zaltest::sendFrames(peer, {"", inside[1], "answered"});
    EXPECT_EQ(zaltest::receiveFrames(hostile), (std::vector<QByteArray>{"", service, "answered"}));

    // A peer inside gets the same treatment; the reply after it still goes out.
    zaltest::sendFrames(peer, {"lonely"});
    client.send(serviceIdentity, "from an anonymous client");
    inside = zaltest::receiveFrames(peer);
    ASSERT_EQ(inside.size(), 3u);
    zaltest::sendFrames(peer, {"", inside[1], "still answered"});
    EXPECT_EQ(client.receive(), (std::vector<QByteArray>{"", service, "still answered"}));

    // The anonymous client's identity is ZeroMQ's binary one: it is traced in hex.
    client.sendRaw({"", service});
    client.send(serviceIdentity, "last");
    ASSERT_EQ(zaltest::receiveFrames(peer).size(), 3u);

    const QStringList lines = trace.lines();
    EXPECT_EQ(lines.filter("Invalid message format from 'hostile', message dropped").size(), 4)
        << lines.join('\n').toStdString();
    EXPECT_EQ(lines.filter("Invalid message format from 'inproc://zal/service'").size(), 1);
    EXPECT_EQ(lines.filter("Invalid message format from '0x00").size(), 1);
    EXPECT_EQ(lines.filter("Invalid message format").size(), 6) << "surplus frames are not read as messages";
    EXPECT_EQ(lines
                  .filter("Router: Failed to deliver message from 'hostile' to 'inproc://zal/service'! (the "
                          "destination does not end with a zero byte)")
                  .size(),
              1);
    EXPECT_EQ(router.thread->getState(), Running);
}

TEST(Router, APeerThatLeftOrStopsReadingStallsNobodyWhenDroppingIsOn) {
    RunningRouter router(droppingMalformed());
    auto peer = insidePeer(serviceIdentity);
    zaltest::FrontendClient client(*router.frontend);
    awaitRoute(client, peer);

    // Asks, and is gone before its reply.
    QByteArray vanished;
    {
        zaltest::FrontendClient gone(*router.frontend);
        gone.raw().set(zmq::sockopt::linger, 0);
        gone.send(serviceIdentity, "ask and leave");
        const auto asked = zaltest::receiveFrames(peer);
        ASSERT_EQ(asked.size(), 3u);
        vanished = asked[1];
    }
    zaltest::sendFrames(peer, {"", vanished, "too late"});

    // Asks once, then never reads: its queues and the connection's buffers fill up.
    auto silent = zaltest::makeSocket(zmq::socket_type::dealer);
    silent.set(zmq::sockopt::rcvhwm, 1);
    silent.set(zmq::sockopt::linger, 0);
    ZmqHelper::connectSocket(silent, *router.frontend);
    zaltest::sendFrames(silent, {"", ControlMessageHelper::makeIdentity(serviceIdentity), "ask"});
    const auto asked = zaltest::receiveFrames(peer);
    ASSERT_EQ(asked.size(), 3u);
    // Replies for it until the router takes no more (it is stuck) or plenty went out.
    const QByteArray reply(16 * 1024, 'r');
    for (int i = 0; i < 6000; ++i) {
        zmq_pollitem_t writable{peer.handle(), 0, ZMQ_POLLOUT, 0};
        if (zmq_poll(&writable, 1, 500) != 1) {
            break;
        }
        zaltest::sendFrames(peer, {"", asked[1], reply});
    }

    client.send(serviceIdentity, "am I served?");
    std::vector<QByteArray> inside;
    while ((inside = zaltest::receiveFrames(peer, 20000)).size() == 3 && inside[2] != "am I served?") {
    }
    EXPECT_EQ(inside.size(), 3u) << "the router stalled on the silent client";
    if (inside.size() == 3) {
        zaltest::sendFrames(peer, {"", inside[1], "yes"});
        EXPECT_EQ(client.receive(20000).size(), 3u);
    }
    EXPECT_EQ(router.thread->getState(), Running);
    // A second router cannot take the frontend, and leaves the first untouched.
    EXPECT_THROW(ZmqControllableThread<Router>(new Router(*router.frontend)), ThreadError);
    EXPECT_EQ(router.thread->getState(), Running);
    // A router stuck on the silent client (the fault looked for) could not be stopped otherwise.
    while (!zaltest::receiveFrames(silent, 500).empty()) {
    }
}
