// ControlMessage: its byte layout, its name tables, its validation texts and both round trips.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QDataStream>

#include "msgtesthelpers.h"

using namespace msgtest;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::OutOfRangeException;
using zalmsg::ControlMessage;
using zalmsg::DataSource;
using zalmsg::DataStream;

namespace {

constexpr quint32 kMessageTypeTag = 0xB4AF885C;

ControlMessage Query() {
    ControlMessage message;
    message.SetMessageType(ControlMessage::MessageType::Query);
    return message;
}

}  // namespace

TEST(ControlMessage, QueryHasTheDocumentedSeventeenByteLayout) {
    const QByteArray body = Element(kMessageTypeTag, Utf8("Query"));
    EXPECT_EQ(WriteBinary(Query(), 0, false), Be32(17) + body);
    EXPECT_EQ(Query().GetBinaryRepresentation(), Be32(0xAAB74DB6) + Be32(17) + body);
    EXPECT_EQ(ControlMessage::GetId(), Q_INT64_C(-1430827594));
    EXPECT_EQ(Query().GetXmlString(),
              QStringLiteral("<ControlMessage><MessageType>Query</MessageType></ControlMessage>"));
}

TEST(ControlMessage, ElementsFollowTheSerialOrderAndEnumsTravelByName) {
    ControlMessage message;
    message.SetResultType(ControlMessage::ResultType::Error);
    message.SetMessageText(QStringLiteral("x"));
    message.AppendMessageFilter(QStringLiteral("f"));
    message.SetMessageType(ControlMessage::MessageType::Stop);
    const QByteArray filters = Be32(1) + Be32(5) + Utf8("f");
    const QByteArray body = Element(kMessageTypeTag, Utf8("Stop")) + Element(0x19049187, filters) +
                            Element(0x20E0EE60, Utf8("x")) + Element(0x7C56F26C, Utf8("Error"));
    EXPECT_EQ(WriteBinary(message, 0, false), Be32(quint32(body.size())) + body);
}

TEST(ControlMessage, UnsetResultTypeIsNotSentAndReadsAsSuccess) {
    ControlMessage reply = Query();
    ASSERT_FALSE(reply.GetBinaryRepresentation().contains(Be32(0x7C56F26C)));
    ControlMessage received;
    received.SetBinaryRepresentation(reply.GetBinaryRepresentation());
    EXPECT_FALSE(received.IsResultTypeSet());
    EXPECT_EQ(received.GetResultType(), 0);
    EXPECT_EQ(received.GetResultTypeAsString(), QStringLiteral("Success"));
    EXPECT_TRUE(received.IsMessageTypeSet());
    EXPECT_EQ(received.GetMessageTypeAsString(), QStringLiteral("Query"));
}

TEST(ControlMessage, NameTablesAreExactAndCaseSensitive) {
    const QStringList types = ControlMessage::GetMessageTypes();
    ASSERT_EQ(types.size(), 28);
    EXPECT_EQ(types.first(), QStringLiteral("Created"));
    EXPECT_EQ(types.at(19), QStringLiteral("Processor_Created"));
    EXPECT_EQ(types.last(), QStringLiteral("DeleteGroup"));
    EXPECT_EQ(ControlMessage::GetGUIMessageTypes(), types);
    EXPECT_EQ(ControlMessage::GetResultTypes(), (QStringList{"Success", "Warning", "Error"}));
    EXPECT_EQ(ControlMessage::GetGUIResultTypes().size(), 3);
    for (int i = 0; i < types.size(); ++i) {
        EXPECT_EQ(ControlMessage::NameToMessageType(types.at(i)), i);
    }
    EXPECT_EQ(ControlMessage::NameToMessageType(QStringLiteral("Stop")), 12);
    EXPECT_EQ(ControlMessage::MessageType::Stop, 12);
    EXPECT_EQ(ControlMessage::MessageType::GetParameter, 15);
    EXPECT_EQ(ControlMessage::NameToMessageType(QStringLiteral("stop")), -1);
    EXPECT_EQ(ControlMessage::NameToMessageType(QString()), -1);
    EXPECT_EQ(ControlMessage::NameToMessageType(QStringLiteral("Stopp")), -1);
    EXPECT_TRUE(ControlMessage::MessageTypeToName(28).isNull());
    EXPECT_TRUE(ControlMessage::MessageTypeToName(-1).isNull());
    EXPECT_EQ(ControlMessage::ResultTypeToName(2), QStringLiteral("Error"));
}

TEST(ControlMessage, FreshMessageHoldsItsDefaultsUnset) {
    ControlMessage message;
    EXPECT_FALSE(message.HasData());
    EXPECT_FALSE(message.AnyData());
    EXPECT_EQ(message.GetMessageType(), -1);
    EXPECT_EQ(message.GetInvalidMessageType(), -1);
    EXPECT_EQ(message.GetResultType(), 0);
    EXPECT_EQ(message.GetDefaultResultType(), 0);
    EXPECT_FALSE(message.IsResultTypeSet());
    EXPECT_TRUE(message.GetStreamName().isNull());
    EXPECT_TRUE(message.GetValidate());
    message.SetResultType(ControlMessage::ResultType::Warning);
    EXPECT_TRUE(message.AnyData());
    EXPECT_FALSE(message.HasData());
}

TEST(ControlMessage, EveryValidationFailureCarriesItsText) {
    ControlMessage message;
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.SetResultType(3); }),
              QStringLiteral("enum is not valid (classname=ControlMessage,membername=m_resultType)"));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.SetMessageType(28); }),
              QStringLiteral("enum is not valid (classname=ControlMessage,membername=m_messageType)"));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.SetGroupName(QString()); }),
              QStringLiteral("ControlMessage: Please set GroupName properly."));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.SetMessageText(QString()); }),
              QStringLiteral("ControlMessage: Please set MessageText properly."));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.GetBinaryRepresentation(); }),
              QStringLiteral("ControlMessage: Please set MessageType properly."));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.GetXmlString(); }),
              QStringLiteral("ControlMessage: Please set MessageType properly."));
    EXPECT_FALSE(message.IsGroupNameSet());
    EXPECT_FALSE(message.IsResultTypeSet());

    DataSource badSource;
    badSource.SetValidate(false);
    badSource.SetProtocol(7);
    EXPECT_EQ(
        MessageOf<IncompleteDefinitionException>([&] { message.AppendDataSource(badSource); }),
        QStringLiteral("ControlMessage: Tried to append not completely defined or invalid item DataSource."));
    EXPECT_EQ(
        MessageOf<IncompleteDefinitionException>([&] { message.AppendDataStream(DataStream()); }),
        QStringLiteral("ControlMessage: Tried to append not completely defined or invalid item DataStream."));
    EXPECT_EQ(MessageOf<IncompleteDefinitionException>([&] { message.AppendStreamAddresses(QString()); }),
              QStringLiteral("ControlMessage: Tried to append not completely defined or invalid item "
                             "StreamAddresses."));
    EXPECT_EQ(MessageOf<IncompleteDefinitionException>([&] { message.AppendMessageFilter(QString()); }),
              QStringLiteral(
                  "ControlMessage: Tried to append not completely defined or invalid item MessageFilter."));
    EXPECT_TRUE(message.GetDataSource().isEmpty());
    EXPECT_TRUE(message.GetDataStream().isEmpty());
    EXPECT_FALSE(message.IsStreamAddressesSet());
    EXPECT_FALSE(message.IsMessageFilterSet());

    // Validation off stores what validation on refuses.
    message.SetValidate(false);
    message.AppendDataSource(badSource);
    message.AppendDataStream(DataStream());
    message.AppendMessageFilter(QString());
    message.SetResultType(3);
    EXPECT_EQ(message.GetDataSource().size(), 1);
    EXPECT_EQ(message.GetDataStream().size(), 1);
    EXPECT_TRUE(message.GetMessageFilter().at(0).isNull());
    EXPECT_EQ(message.GetResultType(), 3);
    EXPECT_TRUE(message.GetResultTypeAsString().isNull());
}

TEST(ControlMessage, CheckReportsTheFirstProblemInOrder) {
    ControlMessage message = Query();
    message.SetValidate(false);
    message.SetResultType(5);
    message.SetStreamName(QString());
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.Check(); }),
              QStringLiteral("ControlMessage: Please set StreamName properly."));
    message.SetStreamName(QStringLiteral(""));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.Check(); }),
              QStringLiteral("ControlMessage: Please set ResultType properly."));
    message.SetResultType(0);
    EXPECT_NO_THROW(message.Check(true));

    // The shallow check leaves nested objects alone; the deep one reaches into the processor's lists.
    zalmsg::Processor processor;
    DataSource source;
    source.SetValidate(false);
    source.SetAddress(QString());
    processor.SetValidate(false);
    processor.AppendDataSource(source);
    message.SetProcessor(processor);
    EXPECT_NO_THROW(message.Check());
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.Check(true); }),
              QStringLiteral("DataSource: Please set Address properly."));
}

TEST(ControlMessage, FullMessageSurvivesBothForms) {
    const ControlMessage original = MakeCreateMessage();

    ControlMessage fromBinary;
    fromBinary.SetBinaryRepresentation(original.GetBinaryRepresentation());
    EXPECT_TRUE(fromBinary == original);
    EXPECT_EQ(fromBinary.GetProcessor().GetDataSource().size(), 2);
    EXPECT_EQ(fromBinary.GetProcessor().GetDataSource().at(0).GetFilter().at(1), QStringLiteral(""));
    EXPECT_FALSE(fromBinary.GetProcessor().GetDataSource().at(0).GetFilter().at(1).isNull());
    EXPECT_EQ(fromBinary.GetMessageText(), QStringLiteral("grüße, ünïcode"));

    ControlMessage fromXml;
    fromXml.SetXmlString(original.GetXmlString(), true);
    EXPECT_TRUE(fromXml == original);
    EXPECT_EQ(fromXml.GetProcessor().GetDataStream().at(0).GetAddress().at(0),
              QStringLiteral("tcp://*:5601"));
    EXPECT_EQ(fromXml.GetBinaryRepresentation(), original.GetBinaryRepresentation());
    EXPECT_EQ(fromBinary.GetXmlString(), original.GetXmlString());
}

TEST(ControlMessage, XmlListsBecomeSiblingElements) {
    ControlMessage message = Query();
    message.SetStreamAddresses({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")});
    message.SetResultType(ControlMessage::ResultType::Success);
    EXPECT_EQ(
        message.GetXmlString(),
        QStringLiteral("<ControlMessage><MessageType>Query</MessageType><StreamAddresses>a</StreamAddresses>"
                       "<StreamAddresses>b</StreamAddresses><StreamAddresses>c</StreamAddresses>"
                       "<ResultType>Success</ResultType></ControlMessage>"));
}

TEST(ControlMessage, EqualityComparesOnlyWhatIsSet) {
    ControlMessage a = Query();
    ControlMessage b = Query();
    // Different stored values behind clear is-set bits do not count.
    a.SetDefaultResultType(ControlMessage::ResultType::Error);
    a.ResetResultType();
    ASSERT_NE(a.GetResultType(), b.GetResultType());
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(ControlMessage() == ControlMessage());

    b.SetMessageText(QStringLiteral("hello"));
    EXPECT_TRUE(a != b);
    a.SetMessageText(QStringLiteral("hello"));
    EXPECT_TRUE(a == b);
    // A null and an empty string are different values.
    a.SetValidate(false);
    a.SetMessageText(QString());
    b.SetMessageText(QStringLiteral(""));
    EXPECT_FALSE(a == b);
    a.SetMessageText(QStringLiteral(""));

    a.AppendDataStream(MakeStream(QStringLiteral("s"), {}, false));
    b.AppendDataStream(MakeStream(QStringLiteral("s"), {}, true));
    EXPECT_FALSE(a == b);
    b.GetDataStream()[0].SetRunning(false);
    EXPECT_TRUE(a == b);
    b.AppendDataStream(MakeStream(QStringLiteral("t"), {}, false));
    EXPECT_FALSE(a == b);
}

TEST(ControlMessage, ReadingAppendsToExistingLists) {
    ControlMessage sent = Query();
    sent.AppendDataSource(MakeSource(DataSource::Protocol::UDP, QStringLiteral("udp://x"), {}));
    sent.AppendStreamAddresses(QStringLiteral("new"));

    ControlMessage held = Query();
    held.AppendDataSource(MakeSource(DataSource::Protocol::TCP, QStringLiteral("tcp://old"), {}));
    held.AppendStreamAddresses(QStringLiteral("old"));
    held.SetBinaryRepresentation(sent.GetBinaryRepresentation());
    ASSERT_EQ(held.GetDataSource().size(), 2);
    EXPECT_EQ(held.GetDataSource().at(0).GetAddress(), QStringLiteral("tcp://old"));
    EXPECT_EQ(held.GetDataSource().at(1).GetAddress(), QStringLiteral("udp://x"));
    EXPECT_EQ(held.GetStreamAddresses(), (QVector<QString>{"old", "new"}));

    held.SetXmlString(sent.GetXmlString(), true);
    EXPECT_EQ(held.GetDataSource().size(), 3);
    EXPECT_EQ(held.GetStreamAddresses().size(), 3);
}

TEST(ControlMessage, ReceiverParseSwitchesValidationOffOnlyForTheParse) {
    const QString xml = QStringLiteral(
        "<ControlMessage><MessageType>NoSuchType</MessageType><GroupName>g</GroupName></ControlMessage>");
    ControlMessage lenient;
    lenient.SetXmlString(xml, false);
    EXPECT_EQ(lenient.GetMessageType(), -1);
    EXPECT_TRUE(lenient.IsMessageTypeSet());
    EXPECT_EQ(lenient.GetGroupName(), QStringLiteral("g"));
    EXPECT_TRUE(lenient.GetValidate());

    ControlMessage strict;
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { strict.SetXmlString(xml, true); }),
              QStringLiteral("enum is not valid (classname=ControlMessage,membername=m_messageType)"));
    strict.SetValidate(false);
    EXPECT_THROW(strict.SetXmlString(QStringLiteral("<ControlMessage>"), true),
                 REPORTGENERATOR::InvalidXmlException);
    EXPECT_FALSE(strict.GetValidate());
}

TEST(ControlMessage, UnknownElementsAreSkippedInBothForms) {
    ControlMessage message;
    message.SetXmlString(QStringLiteral("<ControlMessage><Future a='1'><x>1</x><x/></Future>"
                                        "<MessageType>Start</MessageType><messagetext>lower</messagetext>"
                                        "<StreamName/></ControlMessage>"),
                         true);
    EXPECT_EQ(message.GetMessageType(), ControlMessage::MessageType::Start);
    EXPECT_FALSE(message.IsMessageTextSet());
    // An element without text stands for an empty, not a null, string.
    EXPECT_TRUE(message.IsStreamNameSet());
    EXPECT_FALSE(message.GetStreamName().isNull());

    const QByteArray body = Element(0x12345678, "ignored!") + Element(kMessageTypeTag, Utf8("Query"));
    ControlMessage fromBinary;
    fromBinary.SetBinaryRepresentation(Be32(0xAAB74DB6) + Be32(quint32(body.size())) + body);
    EXPECT_EQ(fromBinary.GetMessageType(), ControlMessage::MessageType::Query);
}
