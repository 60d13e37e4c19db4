// Who the CURVE frontend lets in: the ZAP handler's answers, and a router with it, over real TCP.
#include <gtest/gtest.h>

#include <QDeadlineTimer>

#include "support/frontendclient.h"
#include "support/runningrouter.h"
#include "support/tracecapture.h"
#include "zal/transport/constants.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/curvekeys.h"
#include "zal/transport/endpoints.h"
#include "zal/host/environment.h"
#include "zal/services/zaphandler.h"
#include "zal/threads/zmqcontrollablethread.h"

using namespace zal;

namespace {

const std::string serviceIdentity = "inproc://zal/service";

std::string binaryKey(const std::string& z85) {
    std::uint8_t key[32];
    EXPECT_NE(zmq_z85_decode(key, z85.c_str()), nullptr);
    return std::string(reinterpret_cast<const char*>(key), sizeof key);
}

// One request straight to the handler, as libzmq would send it; the answer's frames.
std::vector<QByteArray> askZap(const std::vector<QByteArray>& request, long timeoutMs = 5000) {
    auto socket = zaltest::makeSocket(zmq::socket_type::req);
    socket.set(zmq::sockopt::linger, 0);
    ZmqHelper::connectSocket(socket, ZapHandler::zapEndpoint);
    zaltest::sendFrames(socket, request);
    return zaltest::receiveFrames(socket, timeoutMs);
}

std::vector<QByteArray> curveRequest(const std::string& key, const QByteArray& domain = ZapHandler::domain) {
    return {"1.0", "17", domain, "192.0.2.1", "", "CURVE", QByteArray::fromStdString(binaryKey(key))};
}

// An outside client of a CURVE frontend; plain when `client` is null.
class CurveClient : public zaltest::FrontendClient {
public:
    CurveClient(const std::string& frontend, const std::string& serverKey, const CurveKeys::Pair* client)
        : FrontendClient(prepared(serverKey, client), frontend) {}

private:
    static zmq::socket_t prepared(const std::string& serverKey, const CurveKeys::Pair* client) {
        auto socket = zaltest::makeSocket(zmq::socket_type::dealer);
        socket.set(zmq::sockopt::linger, 0);
        if (client != nullptr) {
            CurveKeys::applyClient(socket, serverKey, *client);
        }
        return socket;
    }
};

zmq::socket_t insidePeer() {
    auto socket = zaltest::makeSocket(zmq::socket_type::dealer);
    ZmqHelper::connectSocket(socket, Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault),
                             serviceIdentity);
    return socket;
}

// Whether a request from `client` reaches the peer inside and its answer comes back. The first
// request over a new connection waits for the handshake, and a refused one never ends, so a
// refusal takes the whole bound.
bool servedThrough(zaltest::FrontendClient& client, zmq::socket_t& peer, long timeoutMs) {
    client.send(serviceIdentity, "hello");
    const auto inside = zaltest::receiveFrames(peer, timeoutMs);
    if (inside.size() != 3) {
        return false;
    }
    zaltest::sendFrames(peer, {"", inside[1], "welcome"});
    return client.receive(timeoutMs).size() == 3;
}

RouterOptions curveOptions(const CurveKeys::Pair& server, const std::vector<std::string>& authorized) {
    RouterOptions options;
    options.curveSecretKey = server.secretKey;
    options.curveAuthorizedKeys = authorized;
    return options;
}

}  // namespace

TEST(ZapHandler, AdmitsOnlyAuthorisedCurveKeysOfItsDomainAndAnswersEveryRequest) {
    const CurveKeys::Pair known = CurveKeys::generate();
    const CurveKeys::Pair stranger = CurveKeys::generate();
    zaltest::TraceCapture trace;
    ZmqControllableThread<ZapHandler> handler(new ZapHandler({known.publicKey}));

    const auto admitted = askZap(curveRequest(known.publicKey));
    ASSERT_EQ(admitted.size(), 6u);
    EXPECT_EQ(admitted[0], "1.0");
    EXPECT_EQ(admitted[1], "17") << "the request id comes back";
    EXPECT_EQ(admitted[2], "200");
    EXPECT_EQ(admitted[4], QByteArray::fromStdString(known.publicKey)) << "the user id is the key";

    const std::vector<std::vector<QByteArray>> refused = {
        curveRequest(stranger.publicKey),
        curveRequest(known.publicKey, "other"),
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "GSSAPI",
         QByteArray::fromStdString(binaryKey(known.publicKey))},
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "NULL"},
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "PLAIN", "user", "password"},
        {"2.0", "1", ZapHandler::domain, "192.0.2.1", "", "CURVE",
         QByteArray::fromStdString(binaryKey(known.publicKey))},
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "CURVE"},
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "CURVE", "short"},
        {"1.0"},
        {""},
    };
    for (const auto& request : refused) {
        SCOPED_TRACE(request.size());
        const auto answer = askZap(request);
        ASSERT_EQ(answer.size(), 6u);
        EXPECT_EQ(answer[2], "400");
        EXPECT_EQ(answer[4], "");
    }
    EXPECT_EQ(askZap(curveRequest(known.publicKey))[2], "200") << "still serving after all that";
    EXPECT_EQ(handler.getState(), Running);
    EXPECT_EQ(trace.lines().filter("ZapHandler: refused client at '192.0.2.1'").size(),
              static_cast<qsizetype>(refused.size()) - 2);
}

TEST(ZapHandler, ACurveFrontendServesAuthorisedClientsAndGivesOthersNothing) {
    const CurveKeys::Pair server = CurveKeys::generate();
    const CurveKeys::Pair known = CurveKeys::generate();
    const CurveKeys::Pair stranger = CurveKeys::generate();
    ZmqControllableThread<ZapHandler> handler(new ZapHandler({known.publicKey}));
    zaltest::RunningRouter router(curveOptions(server, {known.publicKey}));
    auto peer = insidePeer();

    CurveClient authorised(*router.frontend, server.publicKey, &known);
    EXPECT_TRUE(servedThrough(authorised, peer, 10000));

    CurveClient unauthorised(*router.frontend, server.publicKey, &stranger);
    EXPECT_FALSE(servedThrough(unauthorised, peer, 1500));
    CurveClient plain(*router.frontend, server.publicKey, nullptr);
    EXPECT_FALSE(servedThrough(plain, peer, 1500));
    // A client that knows a wrong server key cannot even complete the handshake.
    CurveClient misled(*router.frontend, stranger.publicKey, &known);
    EXPECT_FALSE(servedThrough(misled, peer, 1500));

    EXPECT_TRUE(servedThrough(authorised, peer, 10000)) << "the others did not disturb it";
    CurveClient second(*router.frontend, server.publicKey, &known);
    EXPECT_TRUE(servedThrough(second, peer, 10000));

    // Inside the process the in-process frontend needs no keys.
    zaltest::FrontendClient inside(routerFrontendAddressDefault);
    EXPECT_TRUE(servedThrough(inside, peer, 10000));
    EXPECT_EQ(router.thread->getState(), Running);
}

TEST(ZapHandler, TheEnvironmentRunsAHandlerOnlyWithCurveKeys) {
    const CurveKeys::Pair server = CurveKeys::generate();
    const CurveKeys::Pair known = CurveKeys::generate();
    {
        Environment plain("tcp://127.0.0.1:*");
        EXPECT_FALSE(plain.frontendUsesCurve());
        zaltest::FrontendClient client(plain.getRouterFrontendAddress());
        EXPECT_EQ(client
                      .succeed(internalAddressPrefixDefault,
                               ControlMessageHelper::makeQueryProcessorGroupsMessage())
                      .GetResultType(),
                  zalmsg::ControlMessage::ResultType::Success);
        EXPECT_TRUE(askZap(curveRequest(known.publicKey), 1000).empty())
            << "nobody answers ZAP without CURVE";
    }
    for (int round = 0; round < 2; ++round) {  // the handler's endpoint is free again after a stop
        Environment secured("tcp://127.0.0.1:*", curveOptions(server, {known.publicKey}));
        EXPECT_TRUE(secured.frontendUsesCurve());
        CurveClient client(secured.getRouterFrontendAddress(), server.publicKey, &known);
        const auto reply = client.succeed(internalAddressPrefixDefault,
                                          ControlMessageHelper::makeQueryProcessorGroupsMessage());
        EXPECT_EQ(reply.GetResultType(), zalmsg::ControlMessage::ResultType::Success);
        const CurveKeys::Pair stranger = CurveKeys::generate();
        CurveClient unauthorised(secured.getRouterFrontendAddress(), server.publicKey, &stranger);
        CurveClient plainClient(secured.getRouterFrontendAddress(), server.publicKey, nullptr);
        for (CurveClient* refused : {&unauthorised, &plainClient}) {
            refused->send(
                internalAddressPrefixDefault,
                ControlMessageHelper::toPayload(ControlMessageHelper::makeQueryProcessorGroupsMessage()));
        }
        EXPECT_TRUE(unauthorised.receive(1500).empty());
        EXPECT_TRUE(plainClient.receive(100).empty());
    }
}
