// What a new user meets first through the frontend: mistakes are refused with the reason, a refusal
// changes nothing, and what the system reports about itself is true.
#include <gtest/gtest.h>

#include "support/frontendclient.h"
#include "support/qtprinters.h"
#include "zal/host/environment.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Helper = ControlMessageHelper;
using Message = zalmsg::ControlMessage;

namespace {

const std::string manager = internalAddressPrefixDefault;

class FirstHour : public ::testing::Test {
protected:
    void SetUp() override { client.succeed(manager, Helper::makeCreateProcessorGroupMessage("g")); }

    static std::string at(const std::string& processor) {
        return Endpoints::getProcessorEndpoint("g", processor, manager);
    }
    void create(const std::string& type, const std::string& name, const std::string& stream,
                const std::string& address) {
        client.succeed(group, zaltest::createRequest(type, name, stream, address));
    }
    QVector<zalmsg::DataStream> streams(const std::string& processor) {
        return client.succeed(at(processor), Helper::makeQueryStreamsMessage()).GetDataStream();
    }

    Environment environment{"tcp://127.0.0.1:*"};
    zaltest::FrontendClient client{environment.getRouterFrontendAddress()};
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
    const std::string names = Endpoints::getNameServiceEndpoint("g", manager);
};

}  // namespace

TEST_F(FirstHour, ARefusedCreateLeavesTheStreamOfItsNameToItsOwner) {
    create("demo.Generator", "a", "s", "inproc://first/a");
    const QString refused =
        client.refusal(group, zaltest::createRequest("demo.Generator", "b", "s", "inproc://first/b"));
    EXPECT_TRUE(refused.contains("'s' already exists")) << refused.toStdString();

    const Message resolved = client.succeed(names, Helper::makeResolveStreamMessage("s"));
    EXPECT_EQ(resolved.GetProcessorName(), "a");
    EXPECT_EQ(resolved.GetStreamAddresses(), QVector<QString>{"inproc://first/a"});
    // Deleting the owner still deregisters it: only the refused processor had no claim.
    client.succeed(group, Helper::makeDeleteProcessorMessage("a"));
    EXPECT_EQ(client.refusal(names, Helper::makeResolveStreamMessage("s")), "Error: 's' does not exist");
}

TEST_F(FirstHour, ARefusedConnectIsNotRemembered) {
    create("demo.Counter", "counter", "counted", "inproc://first/counted");
    const auto connect = Helper::makeConnectStreamMessage("s", "bogus://x", "");
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_TRUE(client.refusal(at("counter"), connect).startsWith("Cannot connect to: s, bogus://x"))
            << "attempt " << attempt;
    }
    EXPECT_TRUE(client.succeed(at("counter"), Helper::makeQuerySourcesMessage()).GetDataSource().isEmpty());
}

TEST_F(FirstHour, StreamsReportWhetherTheyRunAndUnknownNamesAreRefused) {
    create("demo.Generator", "gen", "numbers", "inproc://first/numbers");
    ASSERT_EQ(streams("gen").size(), 1);
    EXPECT_TRUE(streams("gen")[0].IsRunningSet());
    EXPECT_TRUE(streams("gen")[0].GetRunning()) << "a generator publishes from its creation on";

    client.succeed(at("gen"), Helper::makeStopStreamMessage("numbers"));
    EXPECT_FALSE(streams("gen")[0].GetRunning());
    client.succeed(at("gen"), Helper::makeStartStreamMessage(""));
    EXPECT_TRUE(streams("gen")[0].GetRunning());

    EXPECT_TRUE(client.refusal(at("gen"), Helper::makeStartStreamMessage("nosuch"))
                    .startsWith("Cannot start stream: nosuch"));
    EXPECT_TRUE(client.refusal(at("gen"), Helper::makeStopStreamMessage("nosuch"))
                    .startsWith("Cannot stop stream: nosuch"));
    EXPECT_TRUE(streams("gen")[0].GetRunning());

    // A consumer may be paused by the name of the stream it reads.
    create("demo.Counter", "counter", "counted", "inproc://first/counted");
    client.succeed(at("counter"), Helper::makeConnectStreamMessage("numbers", "inproc://first/numbers", ""));
    client.succeed(at("counter"), Helper::makeStopStreamMessage("numbers"));
    EXPECT_FALSE(streams("counter")[0].GetRunning());
}

TEST_F(FirstHour, ConsumersNeedNoStreamOfTheirOwnWhileProducersDo) {
    const auto bare = [&](const std::string& type, const std::string& name) {
        return client.request(group, Helper::makeCreateProcessorMessage(type, name, zalmsg::Processor()));
    };
    for (const std::string type : {"demo.Generator", "demo.Player"}) {
        EXPECT_TRUE(bare(type, "bare").GetMessageText().contains("No data stream configuration available"));
    }
    ASSERT_EQ(bare("demo.Counter", "counter").GetResultType(), Message::ResultType::Success);
    ASSERT_EQ(bare("demo.Recorder", "recorder").GetResultType(), Message::ResultType::Success);
    EXPECT_TRUE(streams("counter").isEmpty());

    create("demo.Generator", "gen", "numbers", "inproc://first/bare");
    client.succeed(at("counter"), Helper::makeConnectStreamMessage("numbers", "inproc://first/bare", ""));
    EXPECT_EQ(client.refusal(at("counter"), Helper::makeStopStreamMessage("nosuch")),
              "Cannot stop stream: nosuch (no stream 'nosuch' here; this processor publishes nothing and "
              "reads 'numbers')");
    client.succeed(at("counter"), Helper::makeStopStreamMessage("numbers"));
    client.succeed(group, Helper::makeDeleteProcessorMessage("counter"));
    EXPECT_EQ(client.succeed(names, Helper::makeResolveStreamMessage("numbers")).GetProcessorName(), "gen")
        << "a consumer without a stream deregisters nothing when it goes";
}
