// A running name service behind a running router: direct clients, routed clients, stream publishing.
#include <gtest/gtest.h>

#include "support/frontendclient.h"
#include "zal/msg/configtool.h"
#include "zal/processors/datastreaminitializer.h"
#include "zal/processors/processorerror.h"
#include "zal/services/nameservice.h"
#include "zal/services/router.h"
#include "zal/threads/zmqcontrollablethread.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Strings = std::vector<std::string>;

namespace {

const std::string prefix = internalAddressPrefixDefault;

class NameServiceTest : public ::testing::Test {
protected:
    std::shared_ptr<std::string> frontend = std::make_shared<std::string>("tcp://127.0.0.1:*");
    ZmqControllableThread<Router> router{new Router(frontend)};
    ZmqControllableThread<NameService> nameService{new NameService("g", prefix)};
    NameServiceClient client{Endpoints::getInternalNameServiceEndpoint("g", prefix), socketDefaultTimeout};
};

}  // namespace

TEST_F(NameServiceTest, RegistersResolvesAndRefusesWithExactTexts) {
    EXPECT_TRUE(client.registerStream("s1", "p1", {"inproc://a", "tcp://127.0.0.1:7"}));
    EXPECT_EQ(client.getLastMessageText(), "");
    EXPECT_FALSE(client.registerStream("s1", "other", {"inproc://b"}));
    EXPECT_EQ(client.getLastMessageText(), "Error: 's1' already exists");

    std::string processor = "unchanged";
    Strings addresses{"unchanged"};
    EXPECT_TRUE(client.resolveStream("s1", processor, addresses));
    EXPECT_EQ(processor, "p1") << "the first registration stays";
    EXPECT_EQ(addresses, (Strings{"inproc://a", "tcp://127.0.0.1:7"}));

    EXPECT_TRUE(client.deregisterStream("s1"));
    processor = "unchanged";
    EXPECT_FALSE(client.resolveStream("s1", processor, addresses));
    EXPECT_EQ(client.getLastMessageText(), "Error: 's1' does not exist");
    EXPECT_EQ(processor, "unchanged");
    EXPECT_FALSE(client.deregisterStream("s1"));
    EXPECT_EQ(client.getLastMessageText(), "Error: 's1' does not exist");

    EXPECT_TRUE(client.registerStream("empty", "p", {}));
    EXPECT_TRUE(client.resolveStream("empty", processor, addresses));
    EXPECT_TRUE(addresses.empty());
}

TEST_F(NameServiceTest, AnswersOutsideClientsThroughTheRouter) {
    zaltest::FrontendClient outside(*frontend);
    const std::string identity = Endpoints::getNameServiceEndpoint("g", prefix);
    ASSERT_TRUE(client.registerStream("s", "p", {"inproc://s"}));

    Message reply = outside.request(identity, ControlMessageHelper::makeResolveStreamMessage("s"));
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Success);
    EXPECT_EQ(reply.GetProcessorName(), "p");
    EXPECT_EQ(reply.GetStreamAddresses(), QVector<QString>{"inproc://s"});

    // A registration without a processor name resolves with the name as stored: set, and empty.
    Message anonymous;
    anonymous.SetMessageType(Message::MessageType::RegisterStream);
    anonymous.SetStreamName("anonymous");
    ASSERT_EQ(outside.request(identity, anonymous).GetResultType(), Message::ResultType::Success);
    reply = outside.request(identity, ControlMessageHelper::makeResolveStreamMessage("anonymous"));
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Success) << reply.GetMessageText().toStdString();
    EXPECT_TRUE(reply.IsProcessorNameSet());
    EXPECT_EQ(reply.GetProcessorName(), "");

    reply = outside.request(identity, ControlMessageHelper::makeCreateProcessorGroupMessage("x"));
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Error);
    EXPECT_EQ(reply.GetMessageText(), "Unknown message type");
    EXPECT_EQ(reply.GetGroupName(), "x") << "the reply is the request, changed";

    // Garbage is answered, not fatal; the next request is served as usual.
    outside.send(identity, "<ControlMessage><MessageType>");
    const auto frames = outside.receive();
    ASSERT_EQ(frames.size(), 3u);
    reply = ControlMessageHelper::fromPayload(frames[2]);
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Error);
    EXPECT_TRUE(reply.GetMessageText().startsWith("Invalid message: "))
        << reply.GetMessageText().toStdString();
    EXPECT_EQ(outside.request(identity, ControlMessageHelper::makeResolveStreamMessage("s")).GetResultType(),
              Message::ResultType::Success);
}

TEST_F(NameServiceTest, PublishingAStreamBindsResolvesWildcardsAndRegisters) {
    const std::string owner = "inproc://zal/g/producer";
    const std::string processor = "producer";
    auto socket = zaltest::makeSocket(zmq::socket_type::pub);
    zalmsg::DataStream stream;
    stream.SetName("out");
    stream.AppendAddress("tcp://127.0.0.1:*");
    stream.AppendAddress(QString::fromStdString(zaltest::uniqueInproc("out")));
    DataStreamInitializer(owner, processor, client).initialize(socket, stream);

    const QString concrete = static_cast<const zalmsg::DataStream&>(stream).GetAddress()[0];
    EXPECT_TRUE(concrete.startsWith("tcp://127.0.0.1:")) << concrete.toStdString();
    EXPECT_FALSE(concrete.endsWith("*"));
    std::string provider;
    Strings addresses;
    ASSERT_TRUE(client.resolveStream("out", provider, addresses));
    EXPECT_EQ(provider, processor);
    EXPECT_EQ(addresses, ControlMessageHelper::fromQStringVector(
                             static_cast<const zalmsg::DataStream&>(stream).GetAddress()));

    // The same name again: bound, but refused at the name service.
    auto second = zaltest::makeSocket(zmq::socket_type::pub);
    zalmsg::DataStream again;
    again.SetName("out");
    try {
        DataStreamInitializer(owner, processor, client).initialize(second, again);
        FAIL() << "a duplicate stream was registered";
    } catch (const ProcessorError& e) {
        EXPECT_STREQ(e.what(),
                     "inproc://zal/g/producer: Stream 'out'could not be registered at nameservice "
                     "(Error: 'out' already exists)");
    }
    EXPECT_EQ(client.getLastMessageText(), "Error: 'out' already exists");
}

TEST(NameServiceClient, TimesOutWhenNoServiceRuns) {
    const std::string endpoint = Endpoints::getInternalNameServiceEndpoint("nobody", "inproc://elsewhere");
    NameServiceClient client(endpoint, 100);
    std::string provider;
    Strings addresses;
    EXPECT_FALSE(client.resolveStream("s", provider, addresses));
    EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + endpoint);
    EXPECT_FALSE(client.registerStream("s", "p", {}));
    EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + endpoint);

    // Copies share one request client and so one last text.
    auto shared = std::make_shared<RequestClient>(endpoint, false, 50);
    NameServiceClient a(endpoint, shared), b(endpoint, shared);
    EXPECT_FALSE(a.deregisterStream("s"));
    EXPECT_EQ(b.getLastMessageText(), "Socket timeout 50ms: " + endpoint);
}
