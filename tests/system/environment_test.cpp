// The whole system in one process: an environment with a TCP frontend, driven by an outside client.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/frontendclient.h"
#include "support/qtprinters.h"
#include "zal/host/environment.h"
#include "zal/msg/configtool.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Result = zalmsg::ControlMessage::ResultType;

namespace {

const std::string manager = internalAddressPrefixDefault;

std::string processorAt(const std::string& group, const std::string& name) {
    return Endpoints::getProcessorEndpoint(group, name, internalAddressPrefixDefault);
}

class System : public ::testing::Test {
protected:
    Message ask(const std::string& destination, const Message& request) {
        return client.request(destination, request, 10000);
    }
    void expectSuccess(const std::string& destination, const Message& request) {
        client.succeed(destination, request);
    }
    QString error(const std::string& destination, const Message& request) {
        return client.refusal(destination, request);
    }
    QString parameter(const std::string& processor, const std::string& name) {
        return ask(processor, ControlMessageHelper::makeGetParameterMessage(name)).GetParameter();
    }
    // Polls a processor's parameter until it has the wanted value, within a bound.
    bool awaitParameter(const std::string& processor, const std::string& name, const QString& wanted) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < deadline) {
            if (parameter(processor, name) == wanted) {
                return true;
            }
        }
        return false;
    }

    Environment environment{"tcp://127.0.0.1:*"};
    zaltest::FrontendClient client{environment.getRouterFrontendAddress()};
};

}  // namespace

TEST_F(System, GroupsAreCreatedListedAndDeletedWithExactTexts) {
    EXPECT_EQ(ask(manager, ControlMessageHelper::makeQueryProcessorGroupsMessage()).GetParameter(), "");
    expectSuccess(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("b"));
    expectSuccess(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("a"));
    EXPECT_EQ(error(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("a")),
              "A group with the name 'a' already exists.");
    EXPECT_EQ(ask(manager, ControlMessageHelper::makeQueryProcessorGroupsMessage()).GetParameter(), "a,b");

    // Each group answers at its own endpoint and has its own name service.
    expectSuccess(Endpoints::getGroupEndpoint("a", manager),
                  ControlMessageHelper::makeSetParameterMessage("x", "1"));
    expectSuccess(Endpoints::getNameServiceEndpoint("a", manager),
                  ControlMessageHelper::makeRegisterStreamMessage("s", "p", "inproc://s"));
    EXPECT_EQ(error(Endpoints::getNameServiceEndpoint("b", manager),
                    ControlMessageHelper::makeResolveStreamMessage("s")),
              "Error: 's' does not exist");
    EXPECT_EQ(error(Endpoints::getGroupEndpoint("a", manager),
                    ControlMessageHelper::makeQueryProcessorGroupsMessage()),
              "Unknown message type");

    expectSuccess(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage("a"));
    EXPECT_EQ(error(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage("a")),
              "A group with the name 'a' does not exists.");
    EXPECT_EQ(ask(manager, ControlMessageHelper::makeQueryProcessorGroupsMessage()).GetParameter(), "b");
    EXPECT_EQ(error(manager, ControlMessageHelper::makeQueryProcessorsMessage()), "Unknown message type");
}

TEST_F(System, ProcessorsAreCreatedByTypeAndRefusedWithReasons) {
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
    expectSuccess(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("g"));
    const zalmsg::Processor config = ControlMessageHelper::makeProcessorConfig("out", "inproc://system/out");

    expectSuccess(
        group, ControlMessageHelper::makeCreateProcessorMessage("QtBridge", "bridge", zalmsg::Processor()));
    expectSuccess(group,
                  ControlMessageHelper::makeCreateProcessorMessage("streamplugin.Source", "src", config));
    EXPECT_EQ(error(group, ControlMessageHelper::makeCreateProcessorMessage("QtBridge", "bridge",
                                                                            zalmsg::Processor())),
              "A processor with the name 'bridge' already exists in group 'g'.");
    EXPECT_EQ(error(group,
                    ControlMessageHelper::makeCreateProcessorMessage("QtBridge", "a b", zalmsg::Processor())),
              "Processor name 'a b' is not allowed.");
    EXPECT_EQ(error(group,
                    ControlMessageHelper::makeCreateProcessorMessage("QtBridge", "a,b", zalmsg::Processor())),
              "Processor name 'a,b' is not allowed.");
    EXPECT_EQ(
        error(group, ControlMessageHelper::makeCreateProcessorMessage("Nope", "n", zalmsg::Processor())),
        "Processor of type 'Nope' could not be created.");
    EXPECT_EQ(error(group, ControlMessageHelper::makeCreateProcessorMessage("missing.Nope", "n",
                                                                            zalmsg::Processor())),
              "Processor of type 'missing.Nope' could not be created.");

    zalmsg::Processor twoStreams = config;
    zalmsg::DataStream second;
    second.SetName("second");
    second.AppendAddress("inproc://system/second");
    twoStreams.AppendDataStream(second);
    EXPECT_EQ(error(group,
                    ControlMessageHelper::makeCreateProcessorMessage("streamplugin.Sink", "two", twoStreams)),
              "Processor of type 'streamplugin.Sink' could not be created: 'Multiple data streams are not "
              "supported'.");
    // The stream name "out" is taken in this group's name service.
    const zalmsg::Processor sameName =
        ControlMessageHelper::makeProcessorConfig("out", "inproc://system/other");
    EXPECT_EQ(
        error(group, ControlMessageHelper::makeCreateProcessorMessage("streamplugin.Sink", "dup", sameName)),
        "Processor of type 'streamplugin.Sink' could not be created: 'Thread failed: "
        "ControllableThread::run() "
        "failed: inproc://zal/g/dup: Stream 'out'could not be registered at nameservice (Error: 'out' "
        "already exists)'.");

    EXPECT_EQ(ask(group, ControlMessageHelper::makeQueryProcessorsMessage()).GetParameter(), "bridge,src");
    expectSuccess(group, ControlMessageHelper::makeDeleteProcessorMessage("bridge"));
    EXPECT_EQ(error(group, ControlMessageHelper::makeDeleteProcessorMessage("bridge")),
              "A processor with the name 'bridge' does not exists.");
    client.send(processorAt("g", "bridge"),
                ControlMessageHelper::toPayload(ControlMessageHelper::makeQuerySourcesMessage()));
    EXPECT_TRUE(client.receive(200).empty()) << "a deleted processor answers nothing";
    EXPECT_EQ(ask(group, ControlMessageHelper::makeQueryProcessorsMessage()).GetParameter(), "src");
}

TEST_F(System, StreamsFlowBetweenProcessorsFilteredByTopic) {
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
    const std::string source = processorAt("g", "src");
    const std::string sink = processorAt("g", "sink");
    expectSuccess(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("g"));
    expectSuccess(group, ControlMessageHelper::makeCreateProcessorMessage(
                             "streamplugin.Source", "src",
                             ControlMessageHelper::makeProcessorConfig("data", "tcp://127.0.0.1:*")));
    expectSuccess(group, ControlMessageHelper::makeCreateProcessorMessage(
                             "streamplugin.Sink", "sink",
                             ControlMessageHelper::makeProcessorConfig("sunk", "inproc://system/sunk")));

    // The stream's address is found by its name at the group's name service, resolved to a real port.
    const Message resolved = ask(Endpoints::getNameServiceEndpoint("g", manager),
                                 ControlMessageHelper::makeResolveStreamMessage("data"));
    ASSERT_EQ(resolved.GetStreamAddresses().size(), 1);
    const QString address = resolved.GetStreamAddresses()[0];
    EXPECT_TRUE(address.startsWith("tcp://127.0.0.1:")) << address.toStdString();
    EXPECT_EQ(resolved.GetProcessorName(), "src");
    const Message streams = ask(source, ControlMessageHelper::makeQueryStreamsMessage());
    ASSERT_EQ(streams.GetDataStream().size(), 1);
    EXPECT_EQ(streams.GetDataStream()[0].GetAddress(), QVector<QString>{address});

    expectSuccess(sink,
                  ControlMessageHelper::makeConnectStreamMessage("data", address.toStdString(), "keep"));
    // A subscription reaches the publisher asynchronously: publish until the first one arrives.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (parameter(sink, "count") == "0" && std::chrono::steady_clock::now() < deadline) {
        expectSuccess(source, ControlMessageHelper::makeSetParameterMessage("publish", "keep:probe"));
    }
    expectSuccess(sink, ControlMessageHelper::makeSetParameterMessage("clear", ""));
    expectSuccess(source, ControlMessageHelper::makeSetParameterMessage("publish", "drop:1"));
    expectSuccess(source, ControlMessageHelper::makeSetParameterMessage("publish", "keep:2"));
    expectSuccess(source, ControlMessageHelper::makeSetParameterMessage("publish", "keeper:3"));
    EXPECT_TRUE(awaitParameter(sink, "received", "keep=2;keeper=3"))
        << parameter(sink, "received").toStdString();

    const Message sources = ask(sink, ControlMessageHelper::makeQuerySourcesMessage());
    ASSERT_EQ(sources.GetDataSource().size(), 1);
    EXPECT_EQ(sources.GetDataSource()[0].GetAddress(), address);
    EXPECT_EQ(sources.GetDataSource()[0].GetFilter(), QVector<QString>{"keep"});

    // Stopped, the sink keeps nothing; started again, it does.
    expectSuccess(sink, ControlMessageHelper::makeStopStreamMessage("data"));
    expectSuccess(sink, ControlMessageHelper::makeSetParameterMessage("clear", ""));
    expectSuccess(source, ControlMessageHelper::makeSetParameterMessage("publish", "keep:4"));
    EXPECT_TRUE(awaitParameter(sink, "count", "1"));
    EXPECT_EQ(parameter(sink, "received"), "");
    expectSuccess(sink, ControlMessageHelper::makeStartStreamMessage("data"));
    expectSuccess(source, ControlMessageHelper::makeSetParameterMessage("publish", "keep:5"));
    EXPECT_TRUE(awaitParameter(sink, "received", "keep=5"));

    // Deleting the source deregisters its stream.
    expectSuccess(group, ControlMessageHelper::makeDeleteProcessorMessage("src"));
    EXPECT_EQ(error(Endpoints::getNameServiceEndpoint("g", manager),
                    ControlMessageHelper::makeResolveStreamMessage("data")),
              "Error: 'data' does not exist");
}

TEST(SystemScale, ShutsDownTwentyGroupsOfTenProcessorsWhileDataFlows) {
    auto environment = std::make_unique<Environment>("tcp://127.0.0.1:*");
    zaltest::FrontendClient client(environment->getRouterFrontendAddress());
    for (int g = 0; g < 20; ++g) {
        const std::string name = "g" + std::to_string(g);
        const std::string group = Endpoints::getGroupEndpoint(name, manager);
        ASSERT_EQ(client.request(manager, ControlMessageHelper::makeCreateProcessorGroupMessage(name), 10000)
                      .GetResultType(),
                  Result::Success);
        for (int p = 0; p < 5; ++p) {
            const std::string source = "src" + std::to_string(p);
            const std::string address = "inproc://scale/" + name + "/" + source;
            const auto config = ControlMessageHelper::makeProcessorConfig(source, address);
            ASSERT_EQ(client
                          .request(group,
                                   ControlMessageHelper::makeCreateProcessorMessage("streamplugin.Source",
                                                                                    source, config),
                                   10000)
                          .GetResultType(),
                      Result::Success);
            const std::string sink = "sink" + std::to_string(p);
            const auto sinkConfig = ControlMessageHelper::makeProcessorConfig(sink, address + "/sink");
            ASSERT_EQ(client
                          .request(group,
                                   ControlMessageHelper::makeCreateProcessorMessage("streamplugin.Sink", sink,
                                                                                    sinkConfig),
                                   10000)
                          .GetResultType(),
                      Result::Success);
            client.request(processorAt(name, sink),
                           ControlMessageHelper::makeConnectStreamMessage(source, address, ""), 10000);
            client.request(processorAt(name, source),
                           ControlMessageHelper::makeSetParameterMessage("interval", "1"), 10000);
        }
    }
    // Data is flowing to the last sink before the shutdown starts.
    const std::string lastSink = processorAt("g19", "sink4");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (client.request(lastSink, ControlMessageHelper::makeGetParameterMessage("count"), 10000)
                   .GetParameter()
                   .toInt() == 0 &&
           std::chrono::steady_clock::now() < deadline) {
    }
    EXPECT_GT(client.request(lastSink, ControlMessageHelper::makeGetParameterMessage("count"), 10000)
                  .GetParameter()
                  .toInt(),
              0);

    const auto start = std::chrono::steady_clock::now();
    environment.reset();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    RecordProperty("shutdown_seconds", std::to_string(seconds));
}
