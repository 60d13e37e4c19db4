// The generated classes (ControlMessage, Processor, DataSource, DataStream): their byte layouts,
// name tables, validation texts and both round trips.
#include <gtest/gtest.h>

#include <functional>

#include "msgtesthelpers.h"

using namespace msgtest;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::InvalidXmlException;
using REPORTGENERATOR::OutOfRangeException;
using zalmsg::ControlMessage;
using zalmsg::DataSource;
using zalmsg::DataStream;
using zalmsg::Processor;

namespace {

constexpr quint32 kMessageTypeTag = 0xB4AF885C;

DataStream StreamFromXml(const QString& runningElement, bool validate) {
    DataStream stream;
    stream.SetXmlString("<DataStream><Name>s</Name>" + runningElement + "</DataStream>", validate);
    return stream;
}

}  // namespace

TEST(ControlMessage, EachClassWritesOnlyWhatIsSetInSerialOrderWithEnumsByName) {
    ControlMessage stop;
    stop.SetResultType(ControlMessage::ResultType::Error);
    stop.AppendMessageFilter("f");
    stop.SetMessageType(ControlMessage::MessageType::Stop);
    // Without validation a key is written even when unset, as a null byte array.
    DataStream unnamed;
    unnamed.SetValidate(false);
    unnamed.SetRunning(true);
    const QByteArray body = Element(kMessageTypeTag, Utf8("Stop")) +
                            Element(0x19049187, Be32(1) + Be32(5) + Utf8("f")) +
                            Element(0x7C56F26C, Utf8("Error"));
    EXPECT_EQ(WriteBinary(stop), Be32(quint32(body.size())) + body);
    const QByteArray stream =
        Element(0x58D44D66, Be32(0xFFFFFFFF)) + Element(0x6CD509D2, QByteArray(1, '\1'));
    EXPECT_EQ(WriteBinary(unnamed), Be32(quint32(stream.size())) + stream);
    EXPECT_EQ(MakeQuery().GetBinaryRepresentation(),
              Be32(0xAAB74DB6) + Be32(17) + Element(kMessageTypeTag, Utf8("Query")));
    EXPECT_EQ(MakeQuery().GetXmlString(),
              "<ControlMessage><MessageType>Query</MessageType></ControlMessage>");

    // An unset enum is not sent and reads back as the schema's default.
    DataSource source;
    source.SetAddress("tcp://h:1");
    DataSource read;
    read.SetBinaryRepresentation(source.GetBinaryRepresentation());
    EXPECT_TRUE(read == source);
    EXPECT_EQ(read.GetByteOrderAsString(), "Host");
    EXPECT_FALSE(read.IsByteOrderSet() || read.IsFilterSet());
    DataStream lenient;
    lenient.SetValidate(false);
    lenient.SetBinaryRepresentation(unnamed.GetBinaryRepresentation());
    EXPECT_TRUE(lenient.IsNameSet() && lenient.GetName().isNull() && lenient.GetRunning());
    EXPECT_TRUE(DataStream().GetBinaryRepresentation().isEmpty())
        << "a stream without its key writes nothing";
    EXPECT_EQ(Processor().GetXmlString(), "<Processor/>");
}

TEST(ControlMessage, NameTablesAreExactAndCaseSensitive) {
    const QStringList types = ControlMessage::GetGUIMessageTypes();
    for (int i = 0; i < types.size(); ++i) {
        EXPECT_EQ(ControlMessage::NameToMessageType(ControlMessage::MessageTypeToName(i)), i)
            << types.at(i).toStdString();
    }
    for (const QString& wrong : {QStringLiteral("stop"), QString(), QStringLiteral("Stopp")}) {
        EXPECT_EQ(ControlMessage::NameToMessageType(wrong), -1);
    }
    EXPECT_TRUE(ControlMessage::MessageTypeToName(int(types.size())).isNull());
    EXPECT_EQ(ControlMessage::GetGUIResultTypes(), ControlMessage::GetResultTypes());
    EXPECT_EQ(DataSource::GetGUIProtocols(), DataSource::GetProtocols());
    EXPECT_EQ(DataSource::NameToProtocol("PUB"), -1) << "each class has its own table";
    EXPECT_EQ(DataStream::NameToProtocol("PUB"), 0);
}

TEST(ControlMessage, ValidationRefusesWithTextsThatNameClassAndMemberAndOffStoresAnything) {
    ControlMessage message;
    DataSource badSource;
    badSource.SetValidate(false);
    badSource.SetProtocol(7);
    const std::pair<std::function<void()>, QString> refused[] = {
        {[&] { message.SetResultType(3); },
         "enum is not valid (classname=ControlMessage,membername=m_resultType)"},
        {[&] { message.SetGroupName(QString()); }, "ControlMessage: Please set GroupName properly."},
        {[&] { message.GetBinaryRepresentation(); }, "ControlMessage: Please set MessageType properly."},
        {[&] { message.GetXmlString(); }, "ControlMessage: Please set MessageType properly."},
        {[&] { message.AppendMessageFilter(QString()); },
         "ControlMessage: Tried to append not completely defined or invalid item MessageFilter."},
        {[&] { message.AppendDataSource(badSource); },
         "ControlMessage: Tried to append not completely defined or invalid item DataSource."},
        {[&] { message.AppendDataStream(DataStream()); },
         "ControlMessage: Tried to append not completely defined or invalid item DataStream."},
        {[] { DataSource().SetByteOrder(-1); },
         "enum is not valid (classname=DataSource,membername=m_byteOrder)"},
        {[] { DataStream().SetProtocol(1); },
         "enum is not valid (classname=DataStream,membername=m_protocol)"},
        {[] { Processor().SetProcessorType(QString()); }, "Processor: Please set ProcessorType properly."},
    };
    for (const auto& [attempt, text] : refused) {
        EXPECT_EQ(MessageOf<REPORTGENERATOR::ReportException>(attempt), text);
    }
    EXPECT_FALSE(message.AnyData()) << "a refused value is not stored";

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

    // What was stored without validation is refused when read with it.
    DataSource strict;
    DataSource nullFilter;
    nullFilter.SetValidate(false);
    nullFilter.AppendFilter(QString());
    EXPECT_EQ(MessageOf<IncompleteDefinitionException>(
                  [&] { strict.SetBinaryRepresentation(nullFilter.GetBinaryRepresentation()); }),
              "DataSource: Tried to append not completely defined or invalid item Filter.");
    EXPECT_TRUE(strict.GetFilter().isEmpty());
}

TEST(ControlMessage, CheckReportsTheFirstProblemInOrderShallowOrDeep) {
    ControlMessage message = MakeQuery();
    message.SetValidate(false);
    message.SetResultType(5);
    message.SetStreamName(QString());
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.Check(); }),
              "ControlMessage: Please set StreamName properly.");
    message.SetStreamName("");
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.Check(); }),
              "ControlMessage: Please set ResultType properly.");
    message.SetResultType(0);
    EXPECT_NO_THROW(message.Check(true));

    zalmsg::Processor processor;
    DataSource source;
    source.SetValidate(false);
    source.SetAddress(QString());
    source.AppendFilter("ok");
    source.AppendFilter(QString());
    source.SetByteOrder(9);
    processor.SetValidate(false);
    processor.AppendDataSource(source);
    message.SetProcessor(processor);
    EXPECT_NO_THROW(message.Check()) << "the shallow check leaves nested objects alone";
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { message.Check(true); }),
              "DataSource: Please set Address properly.");
    source.SetAddress("a");
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.Check(); }),
              "DataSource: Please set Filter properly.");
    source.SetFilter({"ok"});
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.Check(); }),
              "DataSource: Please set ByteOrder properly.");
    EXPECT_FALSE(source.IsValidFilter(QVector<QString>{"a", QString()}));
    EXPECT_TRUE(source.IsValidFilter(QVector<QString>{}));
}

TEST(ControlMessage, FullMessageSurvivesTheXmlFormAndAStrictParseRefusesUnknownNames) {
    const ControlMessage original = MakeCreateMessage();
    ControlMessage fromXml;
    fromXml.SetXmlString(original.GetXmlString(), true);
    EXPECT_TRUE(fromXml == original);
    EXPECT_EQ(fromXml.GetBinaryRepresentation(), original.GetBinaryRepresentation());
    ControlMessage lists = MakeQuery();
    lists.SetStreamAddresses({"a", "b"});
    EXPECT_EQ(lists.GetXmlString(),
              "<ControlMessage><MessageType>Query</MessageType><StreamAddresses>a"
              "</StreamAddresses><StreamAddresses>b</StreamAddresses></ControlMessage>")
        << "list items become sibling elements";

    // A strict parse refuses what a receiver's lenient one takes (the message helpers' test).
    EXPECT_EQ(MessageOf<OutOfRangeException>([] {
                  ControlMessage().SetXmlString(
                      "<ControlMessage><MessageType>NoSuchType</MessageType></ControlMessage>", true);
              }),
              "enum is not valid (classname=ControlMessage,membername=m_messageType)");
}

TEST(ControlMessage, XmlReadsBooleansLeniently) {
    for (const auto& [text, value] : {std::pair("TRUE", true), std::pair("yes", true), std::pair("1", true),
                                      std::pair("0", false), std::pair("False", false)}) {
        const DataStream stream = StreamFromXml(QString("<Running>%1</Running>").arg(text), true);
        EXPECT_TRUE(stream.IsRunningSet() && stream.GetRunning() == value) << text;
    }
    EXPECT_FALSE(StreamFromXml("<Running/>", false).GetRunning());
    EXPECT_EQ(MessageOf<InvalidXmlException>([] { StreamFromXml("<Running></Running>", true); }),
              "Please set a value or a default for the boolean 'Running' in 'DataStream'.");
    // Only the exact element name is the boolean; other spellings are unknown elements.
    EXPECT_FALSE(StreamFromXml("<RUNNING>true</RUNNING>", true).IsRunningSet());
    EXPECT_EQ(MakeStream("s", {}, false).GetXmlString(),
              "<DataStream><Name>s</Name><Running>false</Running></DataStream>");
}

TEST(ControlMessage, UnknownElementsAreSkippedInBothForms) {
    ControlMessage message;
    message.SetXmlString(
        "<ControlMessage><Future a='1'><x>1</x><x/></Future>"
        "<MessageType>Start</MessageType><messagetext>lower</messagetext>"
        "<StreamName/></ControlMessage>",
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
