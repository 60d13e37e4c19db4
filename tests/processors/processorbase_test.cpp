// A processor in its own thread, driven through a running router as an outside client would: the
// failure texts no plug-in of the other tests gives. Idle processing is the test plug-in Source's
// timer, which zal-host's and the scale tests run.
#include <gtest/gtest.h>

#include "support/frontendclient.h"
#include "support/runningrouter.h"
#include "zal/processors/processorbase.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Helper = ControlMessageHelper;

namespace {

// Fails whatever is named "bad"; refuses "reasoned" with its reason; lists no parameters.
class ScriptedProcessor : public ProcessorBase {
public:
    ScriptedProcessor(const std::string& name, const std::string& prefix = internalAddressPrefixDefault)
        : ProcessorBase(Helper::makeProcessorConfig("out", "inproc://out"), name, "g", prefix) {}

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
        last = stream + '|' + address + '|' + QStringList(filters.begin(), filters.end()).join('+');
        return stream != "bad";
    }
    bool start(const QString& stream) override {
        return stream == "reasoned" ? refuse("not now") : stream != "bad";
    }
    bool stop(const QString& stream) override { return stream != "bad"; }
    bool setParameter(const QString& name, const QString& value) override {
        mode = name == "mode" ? value : mode;
        return name != "bad";
    }
    bool getParameter(const QString& name, QString& value) override {
        value = name == "last" ? last : mode;
        return name != "bad";
    }
    bool getParameterList(QStringList& names) override { return names.isEmpty(); }
    bool startNewRecording(QString& parameter) override { return parameter != "fail"; }

private:
    QString last;
    QString mode;
};

class ProcessorTest : public ::testing::Test {
protected:
    Message ask(const Message& request) { return client.request(identity, request); }

    zaltest::RunningRouter router;
    ScriptedProcessor* scripted = new ScriptedProcessor("p");
    ZmqControllableThread<ProcessorBase> processor{scripted};
    std::string identity = Endpoints::getProcessorEndpoint("g", "p", internalAddressPrefixDefault);
    zaltest::FrontendClient client{*router.frontend};
};

}  // namespace

TEST_F(ProcessorTest, AnswersEachRequestOrSaysWhatFailed) {
    Message named = Helper::makeStartNewRecordingMessage("fail");
    named.SetParameterName("named");
    const std::pair<Message, QString> rows[] = {
        {Helper::makeConnectStreamMessage("bad", "x", ""), "Cannot connect to: bad, x"},
        {Helper::makeConnectStreamMessage("s", "throw", ""),
         "Cannot connect to: s, throw (no such transport)"},
        {Helper::makeStartStreamMessage("bad"), "Cannot start stream: bad"},
        {Helper::makeStopStreamMessage("bad"), "Cannot stop stream: bad"},
        {Helper::makeStartStreamMessage("reasoned"), "Cannot start stream: reasoned (not now)"},
        {Helper::makeGetParameterMessage("bad"),
         "Cannot get parameter: bad (this processor has no parameters)"},
        {Helper::makeStartNewRecordingMessage("fail"), "Cannot start new recording: "},
        {named, "Cannot start new recording: named"},
        {Helper::makeMessage(zalmsg::ControlMessage::MessageType::Terminate), "Unknown message type"},
        {Helper::makeConnectStreamMessage("s", "x", std::vector<std::string>{"a", "b"}), ""},
        {Helper::makeStopStreamMessage("s"), ""},
    };
    for (const auto& [request, failure] : rows) {
        const Message reply = ask(request);
        EXPECT_EQ(reply.GetMessageType(), request.GetMessageType());
        EXPECT_EQ(reply.GetResultType(),
                  failure.isEmpty() ? Message::ResultType::Success : Message::ResultType::Error);
        EXPECT_EQ(reply.GetMessageText(), failure);
        EXPECT_EQ(reply.IsMessageTextSet(), !failure.isEmpty());
    }
    EXPECT_EQ(ask(Helper::makeGetParameterMessage("last")).GetParameter(), "s|x|a+b");
    // An empty list is a success with an empty parameter that is there, not missing.
    EXPECT_TRUE(ask(Helper::makeGetParameterListMessage()).IsParameterSet());
    EXPECT_EQ(processor.getState(), Running) << "nothing of that ends the processor";
}

// The scripted processor answers every parameter but "bad", so each reply below that is not its
// "mode" came from zal, before the processor was asked.
TEST_F(ProcessorTest, ZalAnswersItsReservedNamesAndRefusesToSetThem) {
    ask(Helper::makeSetParameterMessage("mode", "plug-in"));
    EXPECT_EQ(ask(Helper::makeGetParameterMessage("zal.parameters")).GetParameter(), "[]")
        << "a type nobody described describes no parameters";
    // A processor without a data input or output reports zeros, a null idle time and no outputs.
    EXPECT_EQ(ask(Helper::makeGetParameterMessage("zal.status")).GetParameter(),
              R"({"input":{"bytes":0,"idleMs":null,"messages":0,"refusal":null,"refused":0},"outputs":[],)"
              R"("sources":[],)"
              R"("streams":[{"addresses":["inproc://out"],"name":"out","running":null}],"type":""})");
    const Message set = ask(Helper::makeSetParameterMessage("zal.status", "x"));
    EXPECT_EQ(set.GetMessageText(), "Cannot set parameter: zal.status (reserved for zal)");
    EXPECT_EQ(ask(Helper::makeGetParameterMessage("zal.nosuch")).GetMessageText(),
              "Cannot get parameter: zal.nosuch (no parameter 'zal.nosuch'; zal answers zal.parameters and "
              "zal.status)");
    EXPECT_EQ(ask(Helper::makeGetParameterMessage("mode")).GetParameter(), "plug-in")
        << "the refused set never reached the processor";
}
