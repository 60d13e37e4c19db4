// The data-object base: blocks, settings, wrappers, equality, merging, resetting, framing errors.
#include <gtest/gtest.h>

#include <QDateTime>
#include <QTemporaryDir>

#include "msgtesthelpers.h"

using namespace msgtest;
using namespace REPORTGENERATOR;
using zalmsg::ControlMessage;
using zalmsg::DataSource;
using zalmsg::DataStream;
using zalmsg::Processor;

namespace {

class RecordingLogger : public Logger {
public:
    void Log(Level, const QString& text) override { lines.append(text); }
    QStringList lines;
};

}  // namespace

TEST(IRGObject, AnObjectOwnsNoBlockUntilTouchedAndStartsAtItsDefaults) {
    ControlMessage message;
    const ControlMessage& readOnly = message;
    EXPECT_FALSE(message.HasData() || message.AnyData() || message.IsMessageTypeSet());
    EXPECT_TRUE(readOnly.GetDataSource().isEmpty());
    EXPECT_FALSE(message.IsDataSourceSet()) << "a read-only reference does not count as setting";
    EXPECT_EQ(message.GetMessageType(), -1);
    EXPECT_EQ(message.GetResultType(), 0);
    EXPECT_EQ(message.GetResultTypeAsString(), "Success") << "the schema's default";
    EXPECT_FALSE(message.IsResultTypeSet());
    EXPECT_TRUE(message.GetStreamName().isNull());
    EXPECT_TRUE(message.GetValidate());
    EXPECT_EQ(DataSource().GetByteOrderAsString(), "Host");
    EXPECT_FALSE(DataStream().GetRunning());
    message.SetResultType(ControlMessage::ResultType::Warning);
    EXPECT_TRUE(message.AnyData());
    EXPECT_FALSE(message.HasData()) << "a message type is what makes a message";
    message.GetDataSource();
    EXPECT_TRUE(message.IsDataSourceSet()) << "handing out a writable reference counts as setting";
    ControlMessage nested;
    nested.GetProcessor().SetID("p");
    EXPECT_TRUE(nested.IsProcessorSet() && nested.AnyData());
    ControlMessage text;
    text.SetGroupName("g");
    EXPECT_TRUE(text.AnyData());
}

TEST(IRGObject, SwitchAndLoggerReachEveryNestedObject) {
    ControlMessage message = MakeCreateMessage();
    auto logger = std::make_shared<RecordingLogger>();
    message.SetValidate(false);
    message.SetLogger(logger);
    ControlMessage assigned;
    assigned = message;
    EXPECT_TRUE(assigned.GetValidate() && assigned == message) << "the switch stays with the object";
    EXPECT_FALSE(message.GetProcessor().GetDataStream().at(0).GetValidate());
    EXPECT_EQ(message.GetProcessor().GetDataSource().at(1).GetLogger(), logger);

    // The reader hands both on to the objects it creates: the unknown element deep inside is noted.
    ControlMessage received;
    received.SetLogger(logger);
    received.SetXmlString(
        "<ControlMessage><MessageType>Create</MessageType><Processor><DataSource>"
        "<Extra/></DataSource></Processor></ControlMessage>",
        true);
    ASSERT_EQ(logger->lines.size(), 1);
    EXPECT_TRUE(logger->lines.at(0).startsWith("DataSource: skipping unknown element Extra"));
    received.ResetLogger();
    EXPECT_EQ(received.GetProcessor().GetLogger(), nullptr);
}

TEST(IRGObject, RepresentationWrappersRoundTrip) {
    const ControlMessage original = MakeCreateMessage();
    ControlMessage compressed;
    compressed.SetCompressedBinaryRepresentation(original.GetCompressedBinaryRepresentation());
    EXPECT_TRUE(compressed == original);
    EXPECT_EQ(qUncompress(original.GetCompressedBinaryRepresentation()), original.GetBinaryRepresentation());

    QTemporaryDir dir;
    const QString file = dir.filePath("message.xml");
    original.SaveXml(file);
    ControlMessage loaded;
    loaded.LoadXml(file);
    EXPECT_TRUE(loaded == original);
    EXPECT_THROW(loaded.LoadXml(dir.filePath("missing.xml")), ReportException);
    EXPECT_THROW(original.SaveXml(dir.filePath("no/such/dir/m.xml")), ReportException);
}

TEST(IRGObject, EqualityComparesOnlyWhatIsSetAndTellsNullFromEmpty) {
    ControlMessage a = MakeQuery();
    ControlMessage b = MakeQuery();
    // Different stored values behind clear is-set bits do not count.
    a.SetDefaultResultType(ControlMessage::ResultType::Error);
    a.ResetResultType();
    ASSERT_NE(a.GetResultType(), b.GetResultType());
    EXPECT_TRUE(a == b);
    a.SetValidate(false);
    a.SetMessageText(QString());
    b.SetMessageText("");
    EXPECT_TRUE(a != b);
    a.SetMessageText("");
    a.AppendDataStream(MakeStream("s", {}, false));
    b.AppendDataStream(MakeStream("s", {}, true));
    EXPECT_FALSE(a == b) << "nested objects are compared too";
}

TEST(IRGObject, MergeCopiesSetPropertiesOnTopAndReadingAppendsToLists) {
    ControlMessage target = MakeCreateMessage();
    ControlMessage update;
    update.SetMessageType(ControlMessage::MessageType::Start);
    update.SetMessageText("replaced");
    update.AppendStreamAddresses("tcp://added");
    target.MergeRGObject(update);
    EXPECT_EQ(target.GetMessageType(), ControlMessage::MessageType::Start);
    EXPECT_EQ(target.GetMessageText(), "replaced");
    EXPECT_EQ(target.GetGroupName(), "g1");
    EXPECT_EQ(target.GetStreamAddresses(), (QVector<QString>{"tcp://a:1", "tcp://b:2", "tcp://added"}));
    EXPECT_THROW(target.MergeRGObject(Processor()), ReportException);
    DataStream named = MakeStream("s", {}, true);
    const DataStream before = named;
    named.MergeRGObject(DataStream());
    EXPECT_TRUE(named == before) << "an object without data has nothing to give";

    ControlMessage sent = MakeQuery();
    sent.AppendStreamAddresses("new");
    ControlMessage held = MakeQuery();
    held.AppendStreamAddresses("old");
    held.SetBinaryRepresentation(sent.GetBinaryRepresentation());
    EXPECT_EQ(held.GetStreamAddresses(), (QVector<QString>{"old", "new"}));
    held.SetXmlString(sent.GetXmlString(), true);
    EXPECT_EQ(held.GetStreamAddresses(), (QVector<QString>{"old", "new", "new"}));
}

TEST(IRGObject, ResetAndResetToDefault) {
    DataSource source;
    source.SetProtocol(DataSource::Protocol::UDP);
    source.SetAddress("udp://x");
    source.AppendFilter("f");
    source.ResetToDefault();
    EXPECT_TRUE(source.IsProtocolSet() && source.IsByteOrderSet());
    EXPECT_EQ(source.GetProtocol(), DataSource::Protocol::SUB);
    EXPECT_FALSE(source.IsAddressSet());
    EXPECT_TRUE(source.GetAddress().isNull());
    EXPECT_TRUE(source.GetFilter().isEmpty());
    source.SetDefaultAddress("tcp://default");
    source.ResetToDefault();
    EXPECT_EQ(source.GetAddress(), "tcp://default");
    source.Reset();
    EXPECT_FALSE(source.IsAddressSet() || source.IsProtocolSet());
    EXPECT_EQ(source.GetProtocol(), DataSource::Protocol::SUB);

    DataStream stream = MakeStream("s", {"a"}, false);
    stream.SetDefaultRunning(true);
    stream.ResetRunning();
    EXPECT_FALSE(stream.IsRunningSet());
    EXPECT_TRUE(stream.GetRunning());
    ControlMessage message = MakeCreateMessage();
    message.ResetToDefault();
    EXPECT_FALSE(message.IsProcessorSet() || message.IsGroupNameSet());
    EXPECT_TRUE(message.GetDataSource().isEmpty());
    EXPECT_TRUE(static_cast<const ControlMessage&>(message).GetProcessor().GetDataSource().isEmpty());
}

TEST(IRGObject, HeaderMustNameTheClassAndLengthsMustFit) {
    const QByteArray query = MakeQuery().GetBinaryRepresentation();
    EXPECT_TRUE(MessageOf<BinaryParsingException>([&] {
                    Processor().SetBinaryRepresentation(query);
                }).startsWith("Processor::SetBinaryRepresentation(...): "))
        << "another class's data is refused";
    for (const QByteArray& cut : {query.left(7), query.left(query.size() - 1), QByteArray()}) {
        EXPECT_THROW(ControlMessage().SetBinaryRepresentation(cut), BinaryParsingException);
    }

    ControlMessage withGroup = MakeQuery();
    withGroup.SetGroupName("g");
    const QByteArray body = WriteBinary(withGroup).mid(4);
    for (int delta : {-1, 1}) {
        QByteArray data = body + QByteArray(8, '\0');
        QDataStream stream(data);
        ControlMessage read;
        EXPECT_EQ(
            MessageOf<BinaryParsingException>([&] { read.SetBinary(stream, int(body.size()) + delta); }),
            "ControlMessage::SetBinary(...): Length error occurred during processing of "
            "binary representation")
            << "a length off by " << delta;
        EXPECT_EQ(read.GetMessageType(), ControlMessage::MessageType::Query) << "what was read stays";
    }
    // A stream that ends before the announced length is used up.
    QDataStream ended(body);
    EXPECT_THROW(ControlMessage().SetBinary(ended, int(body.size()) + 8), BinaryParsingException);
}

TEST(IRGObject, ValidityHelpersMarkEachTypesInvalidValue) {
    const DataSource object;
    // Valid before SetInvalid, invalid after.
    const auto invalidates = [&](auto value) {
        const bool valid = object.IsValid(value);
        object.SetInvalid(value);
        return valid && !object.IsValid(value);
    };
    EXPECT_TRUE(invalidates(3) && invalidates(3u) && invalidates(qint64(3)) && invalidates(1.0f) &&
                invalidates(1.0) && invalidates(QString("")));
    EXPECT_TRUE(object.IsValid(false) && object.IsValid(QDateTime::currentDateTime()));
    EXPECT_FALSE(object.IsValid(QDateTime()));
    EXPECT_EQ(object.GetObjectType(), UndefinedObjectType);
    DataSource typed;
    typed.SetObjectType(ConfigurationObjectType);
    EXPECT_EQ(DataSource(typed).GetObjectType(), ConfigurationObjectType);
    EXPECT_EQ(typed.GetObjectName(), "DataSource");
    EXPECT_FALSE(IRGObject::GetVersion().isEmpty());
}
