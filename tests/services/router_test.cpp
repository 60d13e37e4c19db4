// A running router with a TCP frontend, driven by real outside and inside peers.
#include <gtest/gtest.h>

#include <QDeadlineTimer>

#include "support/frontendclient.h"
#include "support/runningrouter.h"
#include "zal/constants.h"
#include "zal/endpoints.h"
#include "zal/router.h"
#include "zal/zmqcontrollablethread.h"

using namespace zal;

namespace {

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

TEST(Router, CarriesRequestsInAndRepliesOutByIdentity) {
    RunningRouter router;
    ASSERT_EQ(router.frontend->rfind("tcp://127.0.0.1:", 0), 0u);
    EXPECT_EQ(router.frontend->find('*'), std::string::npos) << "the frontend comes back resolved";

    auto peer = insidePeer(serviceIdentity);
    zaltest::FrontendClient client(*router.frontend);
    awaitRoute(client, peer);

    client.send(serviceIdentity, "request");
    auto inside = zaltest::receiveFrames(peer);
    ASSERT_EQ(inside.size(), 3u);
    EXPECT_EQ(inside[0], "");
    EXPECT_EQ(inside[2], "request");
    const QByteArray clientIdentity = inside[1];

    zaltest::sendFrames(peer, {"", clientIdentity, "reply"});
    EXPECT_EQ(client.receive(),
              (std::vector<QByteArray>{"", zaltest::identityFrame(serviceIdentity), "reply"}));

    // An empty payload is forwarded as an empty frame.
    client.send(serviceIdentity, "");
    inside = zaltest::receiveFrames(peer);
    ASSERT_EQ(inside.size(), 3u);
    EXPECT_EQ(inside[2], "");
}

TEST(Router, DropsWhatItCannotDeliverAndGoesOn) {
    RunningRouter router;
    auto peer = insidePeer(serviceIdentity);
    zaltest::FrontendClient client(*router.frontend);
    awaitRoute(client, peer);

    client.send("inproc://zal/nobody", "lost");
    client.send(serviceIdentity.substr(0, serviceIdentity.size() - 1), "lost too");
    zaltest::sendFrames(peer, {"", "a client that never was", "lost reply"});
    client.send(serviceIdentity, "after");
    const auto inside = zaltest::receiveFrames(peer);
    ASSERT_EQ(inside.size(), 3u);
    EXPECT_EQ(inside[2], "after");
    EXPECT_TRUE(client.receive(100).empty()) << "nobody answers a dropped message";
    EXPECT_EQ(router.thread->getState(), Running);
}

TEST(Router, MalformedMessagesEndTheLoopWithTheirText) {
    for (const std::vector<QByteArray>& frames : {std::vector<QByteArray>{"", "destination"},
                                                  std::vector<QByteArray>{"", "d", "payload", "surplus"}}) {
        RunningRouter router;
        zaltest::FrontendClient client(*router.frontend);
        client.sendRaw(frames);
        ASSERT_TRUE(router.thread->wait(QDeadlineTimer(10000)));
        EXPECT_EQ(router.thread->getState(), Failed);
        EXPECT_EQ(router.thread->getErrorText(), "ControllableThread::run() failed: Invalid message format");
    }
}

TEST(Router, StartFailsWhenTheFrontendCannotBeBound) {
    RunningRouter first;
    try {
        ZmqControllableThread<Router> second(new Router(*first.frontend));
        FAIL() << "two routers bound one frontend";
    } catch (const ThreadError& e) {
        EXPECT_EQ(std::string(e.what()).rfind("Thread failed: ControllableThread::run() failed: ", 0), 0u)
            << e.what();
    }
    EXPECT_EQ(first.thread->getState(), Running) << "the first router is untouched";
}
