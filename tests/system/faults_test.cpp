// Plug-ins that fail: each failure is answered or contained, and the group, its other processors
// and the environment go on serving; Shutdown completes while requests are still arriving.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <chrono>
#include <future>

#include "support/frontendclient.h"
#include "support/program.h"
#include "support/qtprinters.h"
#include "support/requestflood.h"
#include "support/tracecapture.h"
#include "zal/host/environment.h"
#include "zal/host/environmentdll.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Helper = ControlMessageHelper;

namespace {

const std::string manager = internalAddressPrefixDefault;
const std::string group = Endpoints::getGroupEndpoint("g", manager);

std::string processorAt(const std::string& name) {
    return Endpoints::getProcessorEndpoint("g", name, manager);
}

// One group "g" with a healthy source "src" beside whatever a test adds to it.
class Faults : public ::testing::Test {
protected:
    void SetUp() override {
        client.succeed(manager, Helper::makeCreateProcessorGroupMessage("g"));
        client.succeed(group,
                       zaltest::createRequest("testplugin.Source", "src", "data", "inproc://faults/data"));
    }

    QString create(const std::string& type, const std::string& name) {
        const Message reply = client.request(
            group, zaltest::createRequest(type, name, name + "-out", "inproc://faults/" + name));
        return reply.GetResultType() == Message::ResultType::Success ? QString() : reply.GetMessageText();
    }

    QString parameter(const std::string& processor, const std::string& name) {
        return client.succeed(processor, Helper::makeGetParameterMessage(name)).GetParameter();
    }

    // The manager, the group and the healthy source all answer, and the group lists `processors`.
    void expectServing(const QString& processors) {
        EXPECT_EQ(client.succeed(manager, Helper::makeQueryProcessorGroupsMessage()).GetParameter(), "g");
        EXPECT_EQ(client.succeed(group, Helper::makeQueryProcessorsMessage()).GetParameter(), processors);
        client.succeed(processorAt("src"), Helper::makeGetParameterMessage("sent"));
    }

    Environment environment{"tcp://127.0.0.1:*"};
    zaltest::FrontendClient client{environment.getRouterFrontendAddress()};
};

}  // namespace

TEST_F(Faults, PlugInsThatFailToCreateAreRefusedAndTheGroupServesOn) {
    EXPECT_EQ(create("testplugin.InitThrows", "bad"),
              "Processor of type 'testplugin.InitThrows' could not be created: 'Thread failed: "
              "ControllableThread::run() failed: initialize refused on purpose'.");
    EXPECT_EQ(create("testplugin.CreateThrows", "bad"),
              "Processor of type 'testplugin.CreateThrows' could not be created: 'plug-in refused on "
              "purpose'.");
    // Something that is no std::exception must not end the group's thread either.
    EXPECT_EQ(create("testplugin.CreateThrowsOther", "bad"),
              "Processor of type 'testplugin.CreateThrowsOther' could not be created: 'An unknown "
              "exception was thrown'.");
    expectServing("src");
    // None of the failures kept the name: a working processor can take it.
    EXPECT_EQ(create("testplugin.Sink", "bad"), QString());
    expectServing("bad,src");
}

TEST_F(Faults, HandlerExceptionsAreAnsweredOrDroppedAndTheProcessorServesOn) {
    ASSERT_EQ(create("testplugin.Sink", "m"), QString());
    const std::string m = processorAt("m");

    // From the control path: an error reply that names the failure.
    EXPECT_EQ(client.refusal(m, Helper::makeSetParameterMessage("throw", "")),
              "Cannot set parameter: throw (handler failed on purpose)");
    EXPECT_EQ(client.refusal(m, Helper::makeSetParameterMessage("throw-other", "")),
              "Cannot set parameter: throw-other (An unknown exception was thrown)");

    // From the data path: the offending messages are dropped, the ones after them still counted.
    client.succeed(m, Helper::makeConnectStreamMessage("data", "inproc://faults/data", ""));
    ASSERT_TRUE(zaltest::eventually([&] {
        client.succeed(processorAt("src"), Helper::makeSetParameterMessage("publish", "probe:x"));
        return parameter(m, "count") != "0";
    })) << "no data reached the processor";
    const long long before = parameter(m, "count").toLongLong();
    for (const char* topic : {"throw:1", "keep:2", "throw-other:3", "keep:4"}) {
        client.succeed(processorAt("src"), Helper::makeSetParameterMessage("publish", topic));
    }
    EXPECT_TRUE(zaltest::eventually([&] { return parameter(m, "count").toLongLong() == before + 2; }))
        << parameter(m, "count").toStdString();
    expectServing("m,src");
}

TEST_F(Faults, AHandlerThatBlocksHoldsUpOnlyItsOwnProcessor) {
    ASSERT_EQ(create("testplugin.Sink", "slow"), QString());
    const std::string slow = processorAt("slow");
    // Blocks until a message arrives at this address (at most 10 s).
    const std::string release = zaltest::uniqueInproc("release");
    zaltest::FrontendClient blocked(environment.getRouterFrontendAddress());
    blocked.send(slow, Helper::toPayload(Helper::makeSetParameterMessage("block", release)));
    zaltest::FrontendClient queued(environment.getRouterFrontendAddress());
    queued.send(slow, Helper::toPayload(Helper::makeGetParameterMessage("count")));

    expectServing("slow,src");
    EXPECT_TRUE(blocked.receive(0).empty()) << "answered before it was released";

    zmq::socket_t releaser = zaltest::makeSocket(zmq::socket_type::push);
    releaser.connect(release);
    releaser.send(zmq::str_buffer("go"), zmq::send_flags::none);
    const auto reply = blocked.receive(15000);
    ASSERT_EQ(reply.size(), 3u);
    EXPECT_EQ(Helper::fromPayload(reply[2]).GetResultType(), Message::ResultType::Success);
    // The request that waited behind the blocked one is answered in its turn.
    const auto waited = queued.receive(15000);
    ASSERT_EQ(waited.size(), 3u);
    EXPECT_EQ(Helper::fromPayload(waited[2]).GetParameter(), "0");
    EXPECT_EQ(parameter(slow, "count"), "0");
}

// Shutdown, as the host calls it, while clients keep sending and a processor is blocked in its
// handler: it completes within a bound and leaves nothing serving.
TEST(FaultsShutdown, CompletesWhileRequestsAreInFlight) {
    QTemporaryDir dir;
    const QString config =
        zaltest::writeFile(dir.filePath("shutdown.ini"), "EnvironmentAddress=tcp://127.0.0.1:*\n");
    EnvironmentDll instance("zaltest-shutdown");
    {
        // A configuration that is missing starts nothing, and the trace says why.
        zaltest::TraceCapture trace;
        qputenv("ZAL_CONFIG", dir.filePath("absent.ini").toLocal8Bit());
        EXPECT_FALSE(instance.Execute(0, nullptr));
        EXPECT_EQ(trace.lines(), QStringList{"environmentdll:31 Invalid configuration of EnvironmentDll"});
    }
    qputenv("ZAL_CONFIG", config.toLocal8Bit());
    ASSERT_TRUE(instance.Execute(0, nullptr));
    qunsetenv("ZAL_CONFIG");
    const std::string frontend = instance.getEnvironment()->getRouterFrontendAddress();
    {
        // A second start while the first runs cannot bind the router's internal endpoint.
        zaltest::TraceCapture trace;
        EXPECT_FALSE(EnvironmentDll("zaltest-second").Execute(0, nullptr));
        // The designed text stands alone on its line; the exception's own text follows.
        const QStringList last = trace.lines().last().split('\n');
        EXPECT_TRUE(last.first().endsWith(" Caught unknown exception in EnvironmentDll::Execute"));
        EXPECT_TRUE(last.last().startsWith("Thread failed: ")) << last.last().toStdString();
    }
    {
        zaltest::FrontendClient setup(frontend);
        for (const std::string name : {"a", "b", "c"}) {
            setup.succeed(manager, Helper::makeCreateProcessorGroupMessage(name));
            setup.succeed(
                Endpoints::getGroupEndpoint(name, manager),
                zaltest::createRequest("testplugin.Sink", "p", "s", "inproc://faults/shutdown/" + name));
        }
        // Blocked until the 10 s bound of its handler runs out: Shutdown has to wait for it.
        setup.send(Endpoints::getProcessorEndpoint("a", "p", manager),
                   Helper::toPayload(Helper::makeSetParameterMessage("block", zaltest::uniqueInproc())));
    }

    zaltest::RequestFlood flood(
        frontend, 4,
        [](int i) { return Endpoints::getProcessorEndpoint(i % 2 == 0 ? "b" : "c", "p", manager); },
        Helper::makeGetParameterMessage("count"));
    // Shut down only once requests are really flowing.
    EXPECT_TRUE(flood.awaitAnswered(20));
    auto shutdown = std::async(std::launch::async, [&] { instance.Shutdown(); });
    const bool completed = shutdown.wait_for(std::chrono::seconds(40)) == std::future_status::ready;
    flood.stop();
    ASSERT_TRUE(completed) << "Shutdown did not complete";
    EXPECT_EQ(instance.getEnvironment(), nullptr);

    zaltest::FrontendClient late(frontend);
    late.send(manager, Helper::toPayload(Helper::makeQueryProcessorGroupsMessage()));
    EXPECT_TRUE(late.receive(300).empty()) << "answered after Shutdown";
}
