// The blocking request client against a real peer thread: replies, error texts, time-outs.
#include <gtest/gtest.h>

#include <future>

#include "support/responder.h"
#include "zal/msg/configtool.h"
#include "zal/services/requestclienttemplate.h"

using namespace zal;
using Message = zalmsg::ControlMessage;

TEST(RequestClient, TimesOutThenWorksOnAFreshSocket) {
    const std::string endpoint = zaltest::uniqueInproc("late");
    RequestClient client(endpoint, false, 100);
    Message reply;
    EXPECT_FALSE(client.request(ControlMessageHelper::makeGetParameterMessage("p"), reply));
    EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + endpoint);

    zaltest::Responder responder(endpoint,
                                 [](Message& m) { ConfigTool::setResultSuccess(m, m.GetParameterName()); });
    client.reset();  // a second time-out must not have broken anything either
    EXPECT_TRUE(client.request(ControlMessageHelper::makeGetParameterMessage("p"), reply));
    EXPECT_EQ(reply.GetParameter(), "p");
    EXPECT_EQ(client.getLastMessageText(), "");
    // libzmq may still deliver the timed-out request once the endpoint is bound; its reply
    // then goes to the closed socket and is lost, and this client never sees it.
    EXPECT_GE(responder.served(), 1);
    EXPECT_TRUE(client.request(ControlMessageHelper::makeGetParameterMessage("q"), reply));
    EXPECT_EQ(reply.GetParameter(), "q");
}

TEST(RequestClient, ErrorRepliesBecomeTheLastText) {
    const std::string endpoint = zaltest::uniqueInproc("errors");
    zaltest::Responder responder(endpoint, [](Message& m) {
        if (m.GetParameterName() == "bad") {
            ConfigTool::setErrorMessage(m, "Cannot get parameter: bad");
        } else {
            ConfigTool::setResultSuccess(m, "ok");
        }
    });
    RequestClient client(endpoint, false, socketDefaultTimeout);
    Message reply;
    EXPECT_FALSE(client.request(ControlMessageHelper::makeGetParameterMessage("bad"), reply));
    EXPECT_EQ(client.getLastMessageText(), "Cannot get parameter: bad");
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Error);
    EXPECT_TRUE(client.request(ControlMessageHelper::makeGetParameterMessage("good"), reply));
    EXPECT_EQ(client.getLastMessageText(), "");
}

TEST(RequestClient, AddressedModeSendsTheDestinationAndSurvivesGarbageReplies) {
    auto router = zaltest::makeSocket(zmq::socket_type::router);
    std::string endpoint = "tcp://127.0.0.1:*";
    ZmqHelper::bindSocket(router, endpoint);
    RequestClient client(endpoint, true, socketDefaultTimeout);
    const QByteArray destination = ControlMessageHelper::makeIdentity("inproc://zal/g");

    auto ask = [&] {
        return std::async(std::launch::async, [&] {
            Message reply;
            const bool ok =
                client.request(destination, ControlMessageHelper::makeQueryProcessorsMessage(), reply);
            return std::make_pair(ok, reply);
        });
    };

    auto garbage = ask();
    auto frames = zaltest::receiveFrames(router);
    ASSERT_EQ(frames.size(), 4u);
    EXPECT_EQ(frames[1], "");
    EXPECT_EQ(frames[2], destination);
    zaltest::sendFrames(router, {frames[0], "", "source", "<<not a message"});
    EXPECT_FALSE(garbage.get().first);
    EXPECT_EQ(client.getLastMessageText().rfind("Invalid reply: ", 0), 0u) << client.getLastMessageText();

    auto good = ask();
    frames = zaltest::receiveFrames(router);
    ASSERT_EQ(frames.size(), 4u);
    Message answer = ControlMessageHelper::fromPayload(frames[3]);
    ConfigTool::setResultSuccess(answer, "a,b");
    zaltest::sendFrames(router, {frames[0], "", "source", ControlMessageHelper::toPayload(answer)});
    const auto [ok, reply] = good.get();
    EXPECT_TRUE(ok);
    EXPECT_EQ(reply.GetParameter(), "a,b");
}
