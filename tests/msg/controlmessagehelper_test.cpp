// The message helpers: the payload form of control messages, configuration edits, reply results and
// the last-text bookkeeping of clients. The request factories are used, and so tested, by every test
// that sends a request.
#include <gtest/gtest.h>

#include "support/qtprinters.h"
#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/msg/messagetextprovider.h"
#include "zal/msg/rgexceptions.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Result = zalmsg::ControlMessage::ResultType;

namespace {
struct Client : MessageTextProvider {
    using MessageTextProvider::checkMessageResult;
};
}  // namespace

TEST(ControlMessageHelper, PayloadsRoundTripAndStopAtTheFirstZeroByte) {
    const Message request = ControlMessageHelper::makeSetParameterMessage("name", "wert \xc3\xa4");
    const zal::ControlMessage envelope = ControlMessageHelper::makeMessageEnvelope(
        ControlMessageHelper::makeIdentity("inproc://zal"), request);
    EXPECT_EQ(envelope.address, QByteArray("inproc://zal\0", 13));
    EXPECT_EQ(ControlMessageHelper::fromPayload(envelope.data), request);
    QByteArray padded = envelope.data;
    padded.append('\0').append("trailing garbage <<<");
    EXPECT_EQ(ControlMessageHelper::fromPayload(padded), request);

    // An unknown type name parses (validation is off) into a message that can still be answered.
    const Message unknown = ControlMessageHelper::fromPayload(
        "<ControlMessage><MessageType>Bogus</MessageType><GroupName>g</GroupName></ControlMessage>");
    EXPECT_EQ(unknown.GetMessageType(), -1);
    EXPECT_EQ(unknown.GetGroupName(), "g");
    // Its reply is written without the checks, whatever its own switch says; the switch stays.
    unknown.SetValidate(true);
    EXPECT_THROW(unknown.GetXmlString(), REPORTGENERATOR::OutOfRangeException);
    EXPECT_EQ(ControlMessageHelper::toPayload(unknown),
              "<ControlMessage><MessageType></MessageType><GroupName>g</GroupName></ControlMessage>");
    EXPECT_TRUE(unknown.GetValidate());

    EXPECT_THROW(ControlMessageHelper::fromPayload("not xml at all"), REPORTGENERATOR::InvalidXmlException);
    EXPECT_THROW(ControlMessageHelper::fromPayload("<ControlMessage><MessageType>"),
                 REPORTGENERATOR::RGException);
}

// A processor's sources, as connect requests add them: one per address, filters adding up.
TEST(ConfigTool, SourcesAreKeyedByAddressAndFiltersAddUp) {
    zalmsg::Processor config;
    EXPECT_FALSE(ConfigTool::addDataFilter(config, "a", {"x"})) << "no such source";
    EXPECT_TRUE(ConfigTool::addDataSource(config, "a") && ConfigTool::addDataSource(config, "b"));
    EXPECT_FALSE(ConfigTool::addDataSource(config, "a"));
    EXPECT_EQ(ConfigTool::indexOfDataSource(config, "b"), 1);
    EXPECT_EQ(ConfigTool::indexOfDataSource(config, "B"), -1);
    EXPECT_EQ(ConfigTool::getDataSource(config, "nowhere"), nullptr);
    EXPECT_TRUE(ConfigTool::addDataFilter(config, "a", {"x", "y"}) &&
                ConfigTool::addDataFilter(config, "a", {"y", "z"}));
    EXPECT_EQ(ConfigTool::getDataFilter(config, "a"), (QVector<QString>{"x", "y", "z"}));
    EXPECT_FALSE(ConfigTool::addDataFilter(config, "a", {"z", "x"})) << "all present";
    EXPECT_TRUE(ConfigTool::addDataFilter(config, "a", {})) << "no filter: everything";
    EXPECT_FALSE(ConfigTool::getDataSource(config, "a")->IsFilterSet());
    EXPECT_TRUE(ConfigTool::getDataFilter(config, "nowhere").isEmpty());
}

TEST(ConfigTool, StreamsAreKeyedByNameAndTheRootElementIsFound) {
    zalmsg::Processor config = ControlMessageHelper::makeProcessorConfig("first", "inproc://1");
    zalmsg::DataStream second;
    second.SetName("second");
    config.AppendDataStream(second);
    EXPECT_EQ(ConfigTool::getDataStreams(config), (QStringList{"first", "second"}));
    EXPECT_EQ(ConfigTool::getDataStream(config, "none"), nullptr);
    EXPECT_TRUE(ConfigTool::setStreamRunning(config, "second", true));
    EXPECT_FALSE(ConfigTool::setStreamRunning(config, "third", true));
    EXPECT_TRUE(ConfigTool::getDataStream(config, "second")->GetRunning());
    EXPECT_FALSE(ConfigTool::getDataStream(config, "first")->IsRunningSet());
    EXPECT_TRUE(ConfigTool::getDataStreams(zalmsg::Processor()).isEmpty());

    EXPECT_EQ(
        ConfigTool::getRootElement("<?xml version='1.0'?><!-- c --><ControlMessage><x/></ControlMessage>"),
        "ControlMessage");
    EXPECT_TRUE(ConfigTool::getRootElement("no xml").isNull());
    EXPECT_TRUE(ConfigTool::getRootElement("").isNull());
}

// Clients keep the text of the last reply that carried one; a success without text clears it.
TEST(ConfigTool, RepliesCarryResultsThatClientsJudge) {
    Client client;
    Message warning = ControlMessageHelper::makeGetParameterMessage("p");
    ConfigTool::setWarningMessage(warning, "careful");
    EXPECT_EQ(warning.GetResultType(), Result::Warning);
    EXPECT_FALSE(client.checkMessageResult(warning));
    Message error = warning;
    ConfigTool::setErrorMessage(error, "broken");
    EXPECT_EQ(warning.GetMessageText(), "careful") << "a copy is detached before it changes";
    EXPECT_FALSE(client.checkMessageResult(error));
    EXPECT_EQ(client.getLastMessageText(), "broken");
    ConfigTool::setResultSuccess(error);
    EXPECT_TRUE(client.checkMessageResult(error));
    EXPECT_EQ(client.getLastMessageText(), "broken") << "success keeps a text that is set";
    Message success = ControlMessageHelper::makeQuerySourcesMessage();
    ConfigTool::setResultSuccess(success, QString());
    EXPECT_FALSE(success.GetParameter().isNull());
    EXPECT_TRUE(client.checkMessageResult(success));
    EXPECT_EQ(client.getLastMessageText(), "");
}
