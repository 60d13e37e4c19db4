// Processor, DataSource and DataStream: identifiers, enums, defaults, key properties and layouts.
#include <gtest/gtest.h>

#include <QDataStream>

#include "msgtesthelpers.h"

using namespace msgtest;
using REPORTGENERATOR::IncompleteDefinitionException;
using REPORTGENERATOR::InvalidXmlException;
using REPORTGENERATOR::OutOfRangeException;
using zalmsg::DataSource;
using zalmsg::DataStream;
using zalmsg::Processor;

namespace {

DataStream StreamFromXml(const QString& runningElement, bool validate) {
    DataStream stream;
    stream.SetXmlString(
        QStringLiteral("<DataStream><Name>s</Name>") + runningElement + QStringLiteral("</DataStream>"),
        validate);
    return stream;
}

}  // namespace

TEST(ConfigObjects, IdentifiersAndNameTables) {
    EXPECT_EQ(Processor::GetId(), Q_INT64_C(-1167983308));
    EXPECT_EQ(DataSource::GetId(), Q_INT64_C(1094159609));
    EXPECT_EQ(DataStream::GetId(), Q_INT64_C(-2037705719));
    EXPECT_EQ(DataSource::GetProtocols(), (QStringList{"SUB", "TCP", "TCP_CLIENT", "UDP"}));
    EXPECT_EQ(DataSource::GetByteOrders(), (QStringList{"Host", "Network"}));
    EXPECT_EQ(DataSource::GetGUIProtocols(), DataSource::GetProtocols());
    EXPECT_EQ(DataStream::GetProtocols(), QStringList{"PUB"});
    EXPECT_EQ(DataSource::NameToProtocol(QStringLiteral("PUB")), -1);
    EXPECT_EQ(DataStream::NameToProtocol(QStringLiteral("PUB")), 0);
    EXPECT_EQ(DataSource::NameToProtocol(QStringLiteral("TCP_CLIENT")), DataSource::Protocol::TCP_CLIENT);
    EXPECT_EQ(DataSource::NameToByteOrder(QStringLiteral("network")), -1);
    EXPECT_EQ(Processor().GetObjectName(), QStringLiteral("Processor"));
}

TEST(ConfigObjects, DataSourceWritesOnlyWhatIsSetAndTakesByteOrderFromItsDefault) {
    DataSource source;
    source.SetProtocol(DataSource::NameToProtocol(QStringLiteral("TCP_CLIENT")));
    source.SetAddress(QStringLiteral("tcp://h:1"));
    const QByteArray body = Element(0xAFD6C570, Utf8("TCP_CLIENT")) + Element(0x2AC271EC, Utf8("tcp://h:1"));
    EXPECT_EQ(source.GetBinaryRepresentation(), Be32(0x41378CF9) + Be32(quint32(body.size())) + body);

    DataSource read;
    read.SetBinaryRepresentation(source.GetBinaryRepresentation());
    EXPECT_EQ(read.GetProtocolAsString(), QStringLiteral("TCP_CLIENT"));
    EXPECT_EQ(read.GetByteOrderAsString(), QStringLiteral("Host"));
    EXPECT_FALSE(read.IsByteOrderSet());
    EXPECT_FALSE(read.IsFilterSet());
    EXPECT_TRUE(read == source);
}

TEST(ConfigObjects, EnumAndStringFailuresNameTheirClassAndMember) {
    DataSource source;
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.SetProtocol(4); }),
              QStringLiteral("enum is not valid (classname=DataSource,membername=m_protocol)"));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.SetByteOrder(-1); }),
              QStringLiteral("enum is not valid (classname=DataSource,membername=m_byteOrder)"));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.SetAddress(QString()); }),
              QStringLiteral("DataSource: Please set Address properly."));
    EXPECT_EQ(MessageOf<IncompleteDefinitionException>([&] { source.AppendFilter(QString()); }),
              QStringLiteral("DataSource: Tried to append not completely defined or invalid item Filter."));
    DataStream stream;
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { stream.SetProtocol(1); }),
              QStringLiteral("enum is not valid (classname=DataStream,membername=m_protocol)"));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { stream.SetName(QString()); }),
              QStringLiteral("DataStream: Please set Name properly."));
    EXPECT_EQ(MessageOf<IncompleteDefinitionException>([&] { stream.AppendAddress(QString()); }),
              QStringLiteral("DataStream: Tried to append not completely defined or invalid item Address."));
    Processor processor;
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { processor.SetID(QString()); }),
              QStringLiteral("Processor: Please set ID properly."));
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { processor.SetProcessorType(QString()); }),
              QStringLiteral("Processor: Please set ProcessorType properly."));
    EXPECT_EQ(
        MessageOf<IncompleteDefinitionException>([&] { processor.AppendDataStream(stream); }),
        QStringLiteral("Processor: Tried to append not completely defined or invalid item DataStream."));
    EXPECT_FALSE(source.AnyData());
    EXPECT_FALSE(stream.AnyData());
    EXPECT_FALSE(processor.AnyData());
}

TEST(ConfigObjects, CheckRefusesNullItemsAndInvalidEnumsStoredWithoutValidation) {
    DataSource source;
    source.SetValidate(false);
    source.AppendFilter(QStringLiteral("ok"));
    source.AppendFilter(QString());
    source.SetByteOrder(9);
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.Check(); }),
              QStringLiteral("DataSource: Please set Filter properly."));
    source.SetFilter({QStringLiteral("ok")});
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { source.Check(); }),
              QStringLiteral("DataSource: Please set ByteOrder properly."));
    source.ResetByteOrder();
    EXPECT_NO_THROW(source.Check());
    EXPECT_FALSE(source.IsValidFilter(QVector<QString>{QStringLiteral("a"), QString()}));
    EXPECT_TRUE(source.IsValidFilter(QVector<QString>{}));

    DataStream stream;
    stream.SetValidate(false);
    stream.SetName(QString());
    EXPECT_EQ(MessageOf<OutOfRangeException>([&] { stream.Check(); }),
              QStringLiteral("DataStream: Please set Name properly."));
}

TEST(ConfigObjects, DataStreamKeyDecidesWhatIsWritten) {
    DataStream unnamed;
    EXPECT_FALSE(unnamed.HasData());
    EXPECT_TRUE(unnamed.GetBinaryRepresentation().isEmpty());
    EXPECT_TRUE(unnamed.GetXmlString().isEmpty());
    EXPECT_TRUE(DataSource().HasData());
    EXPECT_TRUE(Processor().HasData());
    EXPECT_EQ(Processor().GetXmlString(), QStringLiteral("<Processor/>"));

    // Without validation the key is written even when unset, as a null byte array.
    unnamed.SetValidate(false);
    unnamed.SetRunning(true);
    const QByteArray body = Element(0x58D44D66, Be32(0xFFFFFFFF)) + Element(0x6CD509D2, QByteArray(1, '\1'));
    EXPECT_EQ(WriteBinary(unnamed, 0, false), Be32(quint32(body.size())) + body);
    DataStream read;
    read.SetValidate(false);
    read.SetBinaryRepresentation(unnamed.GetBinaryRepresentation());
    EXPECT_TRUE(read.IsNameSet());
    EXPECT_TRUE(read.GetName().isNull());
    EXPECT_TRUE(read.GetRunning());
}

TEST(ConfigObjects, RunningReadsCaseInsensitivelyAndRefusesEmptyTextUnderValidation) {
    EXPECT_TRUE(StreamFromXml(QStringLiteral("<Running>TRUE</Running>"), true).GetRunning());
    EXPECT_TRUE(StreamFromXml(QStringLiteral("<Running>yes</Running>"), true).GetRunning());
    EXPECT_FALSE(StreamFromXml(QStringLiteral("<Running>0</Running>"), true).GetRunning());
    EXPECT_FALSE(StreamFromXml(QStringLiteral("<Running>False</Running>"), true).GetRunning());
    EXPECT_TRUE(StreamFromXml(QStringLiteral("<Running>0</Running>"), true).IsRunningSet());
    EXPECT_FALSE(StreamFromXml(QStringLiteral(""), true).IsRunningSet());
    EXPECT_FALSE(StreamFromXml(QStringLiteral("<Running/>"), false).GetRunning());
    EXPECT_EQ(
        MessageOf<InvalidXmlException>([] { StreamFromXml(QStringLiteral("<Running></Running>"), true); }),
        QStringLiteral("Please set a value or a default for the boolean 'Running' in 'DataStream'."));
    // Only the exact element name is the boolean; other spellings are unknown elements.
    EXPECT_FALSE(StreamFromXml(QStringLiteral("<RUNNING>true</RUNNING>"), true).IsRunningSet());

    DataStream stream = MakeStream(QStringLiteral("s"), {}, false);
    EXPECT_EQ(stream.GetXmlString(),
              QStringLiteral("<DataStream><Name>s</Name><Running>false</Running></DataStream>"));
}

TEST(ConfigObjects, ProcessorListItemsAreWrittenWithoutHeaders) {
    Processor processor;
    processor.AppendDataStream(MakeStream(QStringLiteral("n"), {}, false));
    const QByteArray item = Element(0x58D44D66, Utf8("n")) + Element(0x6CD509D2, QByteArray(1, '\0'));
    const QByteArray list = Be32(1) + Be32(quint32(item.size())) + item;
    const QByteArray body = Element(0x53F67BF4, list);
    EXPECT_EQ(WriteBinary(processor, 0, false), Be32(quint32(body.size())) + body);

    const Processor full = MakeProcessor();
    Processor read;
    read.SetBinaryRepresentation(full.GetBinaryRepresentation());
    EXPECT_TRUE(read == full);
    EXPECT_EQ(read.GetDataSource().at(1).GetByteOrderAsString(), QStringLiteral("Network"));
    Processor fromXml;
    fromXml.SetXmlString(full.GetXmlString(), true);
    EXPECT_TRUE(fromXml == full);
}

TEST(ConfigObjects, NullStringListItemSurvivesOnlyWithoutValidation) {
    DataSource source;
    source.SetValidate(false);
    source.AppendFilter(QString());
    const QByteArray filters = Be32(1) + Be32(4) + Be32(0xFFFFFFFF);
    const QByteArray body = Element(0x0E680A91, filters);
    EXPECT_EQ(WriteBinary(source, 0, false), Be32(quint32(body.size())) + body);

    DataSource lenient;
    lenient.SetValidate(false);
    lenient.SetBinaryRepresentation(source.GetBinaryRepresentation());
    ASSERT_EQ(lenient.GetFilter().size(), 1);
    EXPECT_TRUE(lenient.GetFilter().at(0).isNull());

    DataSource strict;
    EXPECT_EQ(MessageOf<IncompleteDefinitionException>(
                  [&] { strict.SetBinaryRepresentation(source.GetBinaryRepresentation()); }),
              QStringLiteral("DataSource: Tried to append not completely defined or invalid item Filter."));
    EXPECT_TRUE(strict.GetFilter().isEmpty());
}

TEST(ConfigObjects, ResetAndResetToDefault) {
    DataSource source =
        MakeSource(DataSource::Protocol::UDP, QStringLiteral("udp://x"), {QStringLiteral("f")});
    source.ResetToDefault();
    EXPECT_TRUE(source.IsProtocolSet());
    EXPECT_EQ(source.GetProtocol(), DataSource::Protocol::SUB);
    EXPECT_TRUE(source.IsByteOrderSet());
    EXPECT_FALSE(source.IsAddressSet());
    EXPECT_TRUE(source.GetAddress().isNull());
    EXPECT_TRUE(source.GetFilter().isEmpty());

    source.SetDefaultAddress(QStringLiteral("tcp://default"));
    source.ResetToDefault();
    EXPECT_TRUE(source.IsAddressSet());
    EXPECT_EQ(source.GetAddress(), QStringLiteral("tcp://default"));
    source.Reset();
    EXPECT_FALSE(source.IsAddressSet());
    EXPECT_FALSE(source.IsProtocolSet());
    EXPECT_EQ(source.GetProtocol(), DataSource::Protocol::SUB);

    DataStream stream = MakeStream(QStringLiteral("s"), {QStringLiteral("a")}, true);
    stream.SetDefaultRunning(true);
    stream.ResetRunning();
    EXPECT_FALSE(stream.IsRunningSet());
    EXPECT_TRUE(stream.GetRunning());
    EXPECT_EQ(stream.GetDefaultProtocol(), 0);
}
