// Request factories, envelopes and the payload form of control messages.
#include <gtest/gtest.h>

#include <QXmlStreamReader>

#include "zal/msg/controlmessagehelper.h"
#include "zal/msg/rgexceptions.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Type = zalmsg::ControlMessage::MessageType;

namespace {

// The element names a message writes, in order: what a receiver will see of it.
QStringList elementsOf(const Message& message) {
    const QString xml = message.GetXmlString();
    QStringList names;
    QXmlStreamReader reader(xml);
    int depth = 0;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && ++depth == 2) {
            names << reader.name().toString();
        } else if (reader.isEndElement()) {
            --depth;
        }
    }
    return names;
}

}  // namespace

TEST(ControlMessageHelper, EachFactorySetsItsTypeAndOnlyItsProperties) {
    const struct {
        Message message;
        int type;
        QStringList elements;
    } cases[] = {
        {ControlMessageHelper::makeConnectStreamMessage("s", "a", ""),
         Type::Connect,
         {"MessageType", "StreamName", "StreamAddress"}},
        {ControlMessageHelper::makeConnectStreamMessage("s", "a", std::vector<std::string>{"x", "y"}),
         Type::Connect,
         {"MessageType", "StreamName", "StreamAddress", "MessageFilter", "MessageFilter"}},
        {ControlMessageHelper::makeQuerySourcesMessage(), Type::QuerySources, {"MessageType"}},
        {ControlMessageHelper::makeQueryStreamsMessage(), Type::QueryStreams, {"MessageType"}},
        {ControlMessageHelper::makeQueryProcessorsMessage(), Type::QueryProcessors, {"MessageType"}},
        {ControlMessageHelper::makeQueryProcessorGroupsMessage(),
         Type::QueryGroups,
         {"MessageType", "GroupName"}},
        {ControlMessageHelper::makeCreateProcessorMessage(
             "t", "n", ControlMessageHelper::makeProcessorConfig("s", "a")),
         Type::Create,
         {"MessageType", "Processor", "ProcessorName", "ProcessorType"}},
        {ControlMessageHelper::makeDeleteProcessorMessage("n"),
         Type::Delete,
         {"MessageType", "ProcessorName"}},
        {ControlMessageHelper::makeStartStreamMessage("s"), Type::Start, {"MessageType", "StreamName"}},
        {ControlMessageHelper::makeStopStreamMessage("s"), Type::Stop, {"MessageType", "StreamName"}},
        {ControlMessageHelper::makeSetParameterMessage("p", "v"),
         Type::SetParameter,
         {"MessageType", "ParameterName", "Parameter"}},
        {ControlMessageHelper::makeGetParameterMessage("p"),
         Type::GetParameter,
         {"MessageType", "ParameterName"}},
        {ControlMessageHelper::makeGetParameterListMessage(), Type::GetParameterList, {"MessageType"}},
        {ControlMessageHelper::makeStartNewRecordingMessage("r"),
         Type::StartNewRecording,
         {"MessageType", "Parameter"}},
        {ControlMessageHelper::makeRegisterStreamMessage("s", "p", std::vector<std::string>{"a", "b"}),
         Type::RegisterStream,
         {"MessageType", "StreamName", "StreamAddresses", "StreamAddresses", "ProcessorName"}},
        {ControlMessageHelper::makeRegisterStreamMessage("s", "p", "a"),
         Type::RegisterStream,
         {"MessageType", "StreamName", "StreamAddresses", "ProcessorName"}},
        {ControlMessageHelper::makeDeregisterStreamMessage("s"),
         Type::DeregisterStream,
         {"MessageType", "StreamName"}},
        {ControlMessageHelper::makeResolveStreamMessage("s"),
         Type::ResolveStream,
         {"MessageType", "StreamName"}},
        {ControlMessageHelper::makeCreateProcessorGroupMessage("g"),
         Type::CreateGroup,
         {"MessageType", "GroupName"}},
        {ControlMessageHelper::makeDeleteProcessorGroupMessage("g"),
         Type::DeleteGroup,
         {"MessageType", "GroupName"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message.GetMessageTypeAsString().toStdString());
        EXPECT_EQ(c.message.GetMessageType(), c.type);
        EXPECT_EQ(elementsOf(c.message), c.elements);
        EXPECT_FALSE(c.message.IsResultTypeSet());
    }

    const Message group = ControlMessageHelper::makeQueryProcessorGroupsMessage();
    EXPECT_TRUE(group.GetGroupName().isEmpty());
    EXPECT_FALSE(group.GetGroupName().isNull());
    const Message filters =
        ControlMessageHelper::makeConnectStreamMessage("s", "a", std::vector<std::string>{"x", "y"});
    EXPECT_EQ(filters.GetMessageFilter(), (QVector<QString>{"x", "y"}));
    EXPECT_EQ(ControlMessageHelper::makeRegisterStreamMessage("s", "p", std::vector<std::string>{"b", "a"})
                  .GetStreamAddresses(),
              (QVector<QString>{"b", "a"}));
}

TEST(ControlMessageHelper, ProcessorConfigHoldsOneStreamAndNothingElse) {
    const zalmsg::Processor config = ControlMessageHelper::makeProcessorConfig("out", "tcp://*:0");
    EXPECT_FALSE(config.IsIDSet());
    EXPECT_FALSE(config.IsProcessorTypeSet());
    EXPECT_TRUE(config.GetDataSource().isEmpty());
    ASSERT_EQ(config.GetDataStream().size(), 1);
    EXPECT_EQ(config.GetDataStream()[0].GetName(), "out");
    EXPECT_EQ(config.GetDataStream()[0].GetAddress(), QVector<QString>{"tcp://*:0"});
    EXPECT_FALSE(config.GetDataStream()[0].IsRunningSet());
}

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

TEST(ControlMessageHelper, StringVectorsConvertInOrder) {
    const std::vector<std::string> strings{"b", "", "\xc3\xa4"};
    const QVector<QString> converted = ControlMessageHelper::toQStringVector(strings);
    EXPECT_EQ(converted, (QVector<QString>{"b", "", QStringLiteral("ä")}));
    EXPECT_EQ(ControlMessageHelper::fromQStringVector(converted), strings);
    EXPECT_TRUE(ControlMessageHelper::toQStringVector({}).isEmpty());
}
