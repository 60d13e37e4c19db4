// What a new user meets first through the frontend: mistakes are refused with the reason, a refusal
// changes nothing, and what the system reports about itself is true.
#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

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

namespace {

// zal.status of a processor, parsed.
QJsonObject statusOf(zaltest::FrontendClient& client, const std::string& processor) {
    const QString text =
        client.succeed(processor, Helper::makeGetParameterMessage("zal.status")).GetParameter();
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

qint64 number(zaltest::FrontendClient& client, const std::string& processor, const std::string& name) {
    return client.succeed(processor, Helper::makeGetParameterMessage(name)).GetParameter().toLongLong();
}

}  // namespace

// What zal counts itself must agree exactly with what the generator says it sent and the counter
// says it received, with no code of theirs for it.
TEST_F(FirstHour, EveryProcessorReportsItsTrafficUnderAReservedName) {
    client.succeed(group, Helper::makeCreateProcessorMessage("demo.Counter", "counter", zalmsg::Processor()));
    const QJsonObject idle = statusOf(client, at("counter"));
    EXPECT_EQ(idle["type"], "demo.Counter");
    EXPECT_EQ(idle["input"].toObject(), (QJsonObject{{"messages", 0},
                                                     {"bytes", 0},
                                                     {"idleMs", QJsonValue()},
                                                     {"refused", 0},
                                                     {"refusal", QJsonValue()}}));
    EXPECT_EQ(idle["outputs"].toArray(), QJsonArray()) << "a counter publishes nothing";

    create("demo.Generator", "gen", "numbers", "inproc://first/status");
    client.succeed(at("gen"), Helper::makeSetParameterMessage("rate", "1000"));
    client.succeed(at("counter"), Helper::makeConnectStreamMessage("numbers", "inproc://first/status", ""));
    const QDeadlineTimer deadline(10000);
    while (number(client, at("counter"), "messages") < 20) {
        ASSERT_FALSE(deadline.hasExpired()) << "the counter received too little";
    }
    client.succeed(at("gen"), Helper::makeStopStreamMessage(""));
    // The stop's reply left after the last message was queued at the counter, which reads up to 256
    // of them after answering this request: the next one finds them all read.
    number(client, at("counter"), "messages");

    const QJsonObject gen = statusOf(client, at("gen"));
    const QJsonObject output = gen["outputs"].toArray().at(0).toObject();
    EXPECT_EQ(output["stream"], "numbers");
    EXPECT_EQ(output["messages"].toInteger(), number(client, at("gen"), "sent"));
    EXPECT_EQ(output["bytes"].toInteger(), 64 * output["messages"].toInteger());
    EXPECT_EQ(gen["streams"].toArray().at(0)["running"], false);
    const QJsonObject counter = statusOf(client, at("counter"));
    const QJsonObject input = counter["input"].toObject();
    EXPECT_EQ(input["messages"].toInteger(), number(client, at("counter"), "messages"));
    EXPECT_EQ(input["bytes"].toInteger(), number(client, at("counter"), "bytes"));
    EXPECT_GE(input["idleMs"].toInteger(-1), 0);
    EXPECT_EQ(counter["sources"].toArray(),
              (QJsonArray{QJsonObject{{"address", "inproc://first/status"}, {"filters", QJsonArray()}}}));
}

// demo.json must say what the processors really do: each type describes the names of its own list
// (which leaves zal's reserved names out), each readable unless write-only, and a read-only one is
// refused for set. zal.parameters itself can be read but not set.
TEST_F(FirstHour, EachDemoTypeDescribesExactlyTheParametersItHas) {
    for (const std::string type : {"Counter", "Generator", "Player", "Recorder"}) {
        SCOPED_TRACE(type);
        create("demo." + type, type, type, "inproc://first/" + type);
        const QString described =
            client.succeed(at(type), Helper::makeGetParameterMessage("zal.parameters")).GetParameter();
        QStringList names;
        for (const QJsonValue& parameter : QJsonDocument::fromJson(described.toUtf8()).array()) {
            const std::string name = parameter["name"].toString().toStdString();
            const QString access = parameter["access"].toString();
            names << QString::fromStdString(name);
            const Message got = client.request(at(type), Helper::makeGetParameterMessage(name));
            EXPECT_EQ(got.GetResultType() == Message::ResultType::Success, access != "write-only") << name;
            if (access == "read-only") {
                EXPECT_EQ(client.refusal(at(type), Helper::makeSetParameterMessage(name, "1")),
                          QString::fromStdString("Cannot set parameter: " + name + " (read-only)"));
            }
        }
        EXPECT_EQ(names.join(','),
                  client.succeed(at(type), Helper::makeGetParameterListMessage()).GetParameter());
        EXPECT_EQ(client.refusal(at(type), Helper::makeSetParameterMessage("zal.parameters", "[]")),
                  "Cannot set parameter: zal.parameters (reserved for zal)");
    }
}
