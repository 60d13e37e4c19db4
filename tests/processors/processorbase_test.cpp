// A processor in its own thread, driven through a running router as an outside client would.
#include <gtest/gtest.h>

#include <QMap>
#include <atomic>
#include <thread>

#include "support/frontendclient.h"
#include "support/runningrouter.h"
#include "zal/msg/configtool.h"
#include "zal/processors/processorbase.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Helper = ControlMessageHelper;
using Type = zalmsg::ControlMessage::MessageType;

namespace {

// Counters the test thread reads while the processor thread writes them.
struct Probe {
    std::atomic<int> idle{0};
    std::atomic<int> dataEvents{0};
};

// Succeeds or fails by the names it is given, so that every row of the table can be seen both ways.
class ScriptedProcessor : public ProcessorBase {
public:
    ScriptedProcessor(Probe& probe, const zalmsg::Processor& config, const std::string& name,
                      const std::string& prefix = internalAddressPrefixDefault)
        : ProcessorBase(config, name, "g", prefix), probe(probe) {}

    bool initialize() override {
        if (!ProcessorBase::initialize()) {
            return false;
        }
        subscribeParameter("");
        return true;
    }

protected:
    bool connect(const QString& stream, const QString& address, const QVector<QString>& filters) override {
        if (address == "throw") {
            throw std::runtime_error("no such transport");
        }
        if (stream == "bad") {
            return false;
        }
        last = stream + '|' + address + '|' + QStringList(filters.begin(), filters.end()).join('+');
        return true;
    }
    bool start(const QString& stream) override { return stream != "bad"; }
    bool stop(const QString& stream) override { return stream != "bad"; }
    bool setParameter(const QString& name, const QString& value) override {
        if (name == "idle") {
            value.toInt() > 0 ? enableIdleProcessing(value.toInt()) : disableIdleProcessing();
            return true;
        }
        parameters[name] = value;
        return name != "bad";
    }
    bool getParameter(const QString& name, QString& value) override {
        if (name == "last") {
            value = last;
            return true;
        }
        value = parameters.value(name);
        return parameters.contains(name);
    }
    bool getParameterList(QStringList& names) override {
        names = parameters.keys();
        return !parameters.contains("bad-list");
    }
    bool startNewRecording(QString& parameter) override {
        if (parameter == "fail") {
            return false;
        }
        parameter = "recording-" + parameter;
        return true;
    }
    void doIdleProcessing() override { ++probe.idle; }
    void checkDataEvents() override { ++probe.dataEvents; }

private:
    Probe& probe;
    QString last;
    QMap<QString, QString> parameters;
};

Message withFields(Message message, const QString& parameterName) {
    message.SetParameterName(parameterName);
    return message;
}

class ProcessorTest : public ::testing::Test {
protected:
    Message ask(const Message& request) { return client.request(identity, request); }

    zaltest::RunningRouter router;
    Probe probe;
    std::string identity = Endpoints::getProcessorEndpoint("g", "p", internalAddressPrefixDefault);
    std::unique_ptr<ZmqControllableThread<ProcessorBase>> processor;
    zaltest::FrontendClient client{*router.frontend};

    void SetUp() override {
        processor = std::make_unique<ZmqControllableThread<ProcessorBase>>(
            new ScriptedProcessor(probe, Helper::makeProcessorConfig("out", "inproc://out"), "p"));
    }
};

}  // namespace

TEST_F(ProcessorTest, AnswersEveryRowOfTheTableBothWays) {
    const struct {
        Message request;
        QString failure;    // empty: success expected
        QString parameter;  // null: the request's own parameter comes back
    } rows[] = {
        {Helper::makeConnectStreamMessage("s", "x", std::vector<std::string>{"a", "b"}), "", QString()},
        {Helper::makeConnectStreamMessage("bad", "x", ""), "Cannot connect to: bad, x", ""},
        {Helper::makeStartStreamMessage("s"), "", QString()},
        {Helper::makeStartStreamMessage("bad"), "Cannot start stream: bad", ""},
        {Helper::makeStopStreamMessage("s"), "", QString()},
        {Helper::makeStopStreamMessage("bad"), "Cannot stop stream: bad", ""},
        {Helper::makeGetParameterListMessage(), "", ""},
        {Helper::makeSetParameterMessage("b", "2"), "", QString()},
        {Helper::makeSetParameterMessage("a", "1"), "", QString()},
        {Helper::makeSetParameterMessage("bad", "1"), "Cannot set parameter: bad", ""},
        {Helper::makeGetParameterMessage("a"), "", "1"},
        {Helper::makeGetParameterMessage("missing"), "Cannot get parameter: missing", ""},
        {Helper::makeGetParameterMessage("last"), "", "s|x|a+b"},
        {Helper::makeGetParameterListMessage(), "", "a,b,bad"},
        {Helper::makeStartNewRecordingMessage("r1"), "", "recording-r1"},
        {Helper::makeStartNewRecordingMessage("fail"), "Cannot start new recording: ", ""},
        {withFields(Helper::makeStartNewRecordingMessage("fail"), "named"),
         "Cannot start new recording: named", ""},
        {Helper::makeMessage(Type::Terminate), "Unknown message type", ""},
        {Helper::makeCreateProcessorGroupMessage("g"), "Unknown message type", ""},
        {Helper::makeQuerySourcesMessage(), "", ""},
        {Helper::makeConnectStreamMessage("s", "throw", ""),
         "Cannot connect to: s, throw (no such transport)", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request.GetMessageTypeAsString().toStdString() + " " + row.failure.toStdString());
        const Message reply = ask(row.request);
        EXPECT_EQ(reply.GetMessageType(), row.request.GetMessageType());
        if (row.failure.isEmpty()) {
            EXPECT_EQ(reply.GetResultType(), Message::ResultType::Success)
                << reply.GetMessageText().toStdString();
            EXPECT_FALSE(reply.IsMessageTextSet());
            EXPECT_EQ(reply.GetParameter(),
                      row.parameter.isNull() ? row.request.GetParameter() : row.parameter);
        } else {
            EXPECT_EQ(reply.GetResultType(), Message::ResultType::Error);
            EXPECT_EQ(reply.GetMessageText(), row.failure);
        }
    }
    // An empty list is a success with an empty parameter, which the first list request showed;
    // the parameter is there, not missing.
    EXPECT_TRUE(ask(Helper::makeGetParameterListMessage()).IsParameterSet());
    EXPECT_EQ(processor->getState(), Running) << "a throwing operation does not end the processor";
}

TEST_F(ProcessorTest, ReportsItsStreamsAndAnswersGarbage) {
    const Message reply = ask(Helper::makeQueryStreamsMessage());
    ASSERT_EQ(reply.GetDataStream().size(), 1);
    EXPECT_EQ(reply.GetDataStream()[0].GetName(), "out");
    client.send(identity, "definitely not xml");
    const auto frames = client.receive();
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_TRUE(Helper::fromPayload(frames[2]).GetMessageText().startsWith("Invalid message: "));
    EXPECT_EQ(processor->getState(), Running);
}

TEST_F(ProcessorTest, BroadcastsAreHandledWithoutReply) {
    auto publisher = zaltest::makeSocket(zmq::socket_type::pub);
    std::string broadcast = Endpoints::getGroupBroadcastEndpoint("g", internalAddressPrefixDefault);
    ZmqHelper::bindSocket(publisher, broadcast);
    ZmqPubControlSocket out(publisher);

    // Subscriptions travel to the publisher asynchronously: repeat until the value is there.
    bool arrived = false;
    for (int attempt = 0; attempt < 200 && !arrived; ++attempt) {
        out.sendMessage(
            Helper::makeMessageEnvelope("everyone", Helper::makeSetParameterMessage("mode", "broadcast")));
        arrived = ask(Helper::makeGetParameterMessage("mode")).GetParameter() == "broadcast";
    }
    EXPECT_TRUE(arrived);
    EXPECT_TRUE(client.receive(100).empty()) << "a broadcast is never answered";
}

TEST_F(ProcessorTest, IdleProcessingRunsOnlyWhenEnabledAndQuiet) {
    for (int i = 0; i < 5; ++i) {
        ask(Helper::makeGetParameterListMessage());
    }
    EXPECT_EQ(probe.idle.load(), 0) << "idle processing is off by default";
    // The data check follows the reply, so the fifth may still be on its way.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (probe.dataEvents.load() < 5 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_GE(probe.dataEvents.load(), 5) << "every wake-up with events checks for data";

    ask(Helper::makeSetParameterMessage("idle", "10"));
    while (probe.idle.load() < 3 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_GE(probe.idle.load(), 3);

    // Traffic faster than the timeout starves it.
    ask(Helper::makeSetParameterMessage("idle", "2000"));
    const int before = probe.idle.load();
    for (int i = 0; i < 50; ++i) {
        ask(Helper::makeGetParameterListMessage());
    }
    EXPECT_EQ(probe.idle.load(), before);

    ask(Helper::makeSetParameterMessage("idle", "0"));
    EXPECT_EQ(processor->getState(), Running);
}

TEST(ProcessorBase, IdentityUsesItsPrefixButTheRouterIsAtTheDefault) {
    zaltest::RunningRouter router;
    Probe probe;
    ZmqControllableThread<ProcessorBase> processor(
        new ScriptedProcessor(probe, zalmsg::Processor(), "q", "inproc://other"));
    zaltest::FrontendClient client(*router.frontend);
    const Message reply = client.request("inproc://other/g/q", Helper::makeQuerySourcesMessage());
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Success);
}

TEST(ProcessorBase, ReleaseMayRunTwiceAndWithoutInitialize) {
    Probe probe;
    ScriptedProcessor never(probe, zalmsg::Processor(), "never");
    never.release();
    never.release();

    ScriptedProcessor direct(probe, zalmsg::Processor(), "direct");
    ASSERT_TRUE(direct.initialize());
    ASSERT_TRUE(direct.initialize()) << "a second initialize replaces what the first opened";
    direct.release();
    direct.release();
    EXPECT_EQ(direct.getEndpointString(), "inproc://zal/g/direct");
}
