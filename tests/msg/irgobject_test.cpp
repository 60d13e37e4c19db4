// The data-object base: shared blocks, settings propagation, wrappers, exceptions and framing errors.
#include <gtest/gtest.h>

#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>
#include <thread>
#include <type_traits>
#include <vector>

#include "msgtesthelpers.h"

using namespace msgtest;
using namespace REPORTGENERATOR;
using zalmsg::ControlMessage;
using zalmsg::DataSource;
using zalmsg::DataStream;
using zalmsg::Processor;

static_assert(std::is_base_of_v<std::exception, RGException>);
static_assert(std::is_base_of_v<RGException, ReportException>);
static_assert(std::is_base_of_v<ReportException, OutOfRangeException>);
static_assert(std::is_base_of_v<ReportException, IncompleteDefinitionException>);
static_assert(std::is_base_of_v<ReportException, BinaryParsingException>);
static_assert(std::is_base_of_v<ReportException, InvalidXmlException>);
static_assert(std::is_copy_constructible_v<InvalidXmlException>);
static_assert(std::is_nothrow_move_constructible_v<ControlMessage>);
static_assert(std::is_copy_assignable_v<ControlMessage>);
static_assert(std::is_base_of_v<IRGObject, Processor>);

namespace {

class RecordingLogger : public Logger {
public:
    void Log(Level, const QString& text) override { lines.append(text); }
    QStringList lines;
};

QString LengthError(const char* object) {
    return QLatin1String(object) +
           QStringLiteral(
               "::SetBinary(...): Length error occurred during processing of binary representation");
}

}  // namespace

TEST(IRGObject, ExceptionsCarryTheirTextAsUtf8) {
    const OutOfRangeException original(QStringLiteral("Grüße: Please set X properly."));
    const OutOfRangeException copy = original;
    EXPECT_STREQ(copy.what(), "Grüße: Please set X properly.");
    EXPECT_EQ(copy.GetMessage(), original.GetMessage());
    try {
        throw BinaryParsingException(QStringLiteral("short"));
    } catch (const ReportException& e) {
        EXPECT_STREQ(e.what(), "short");
    }
}

TEST(IRGObject, DefaultObjectOwnsNoBlockUntilTouched) {
    const ControlMessage message;
    EXPECT_FALSE(message.HasData());
    EXPECT_FALSE(message.AnyData());
    EXPECT_FALSE(message.IsMessageTypeSet());
    EXPECT_FALSE(message.IsProcessorSet());
    // Handing out a writable reference counts as setting; a read-only one does not.
    ControlMessage writable;
    const ControlMessage& readOnly = writable;
    EXPECT_TRUE(readOnly.GetDataSource().isEmpty());
    EXPECT_FALSE(writable.IsDataSourceSet());
    writable.GetDataSource();
    EXPECT_TRUE(writable.IsDataSourceSet());
    writable.GetProcessor().SetID(QStringLiteral("p"));
    EXPECT_TRUE(writable.IsProcessorSet());
    EXPECT_TRUE(writable.AnyData());
}

TEST(IRGObject, CopiesShareUntilOneChanges) {
    ControlMessage original = MakeCreateMessage();
    ControlMessage copy = original;
    EXPECT_TRUE(copy == original);
    copy.GetProcessor().GetDataSource()[0].SetAddress(QStringLiteral("tcp://changed"));
    copy.AppendStreamAddresses(QStringLiteral("tcp://c:3"));
    EXPECT_EQ(original.GetProcessor().GetDataSource().at(0).GetAddress(),
              QStringLiteral("inproc://zal/g/gen"));
    EXPECT_EQ(original.GetStreamAddresses().size(), 2);
    EXPECT_EQ(copy.GetStreamAddresses().size(), 3);
    EXPECT_FALSE(copy == original);

    ControlMessage assigned;
    assigned.SetValidate(false);
    assigned = original;
    EXPECT_FALSE(assigned.GetValidate());
    EXPECT_TRUE(assigned == original);
    original.SetValidate(false);
    const ControlMessage constructed(original);
    EXPECT_FALSE(constructed.GetValidate());

    ControlMessage moved = std::move(assigned);
    EXPECT_TRUE(moved == original);
}

TEST(IRGObject, CopiesMayBeReadAndDroppedOnOtherThreads) {
    const ControlMessage original = MakeCreateMessage();
    const QByteArray expected = original.GetBinaryRepresentation();
    std::vector<std::thread> threads;
    std::vector<int> matches(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t, copy = original] {
            for (int i = 0; i < 50; ++i) {
                ControlMessage local = copy;
                matches[t] += local.GetBinaryRepresentation() == expected ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(matches, std::vector<int>(4, 50));
}

TEST(IRGObject, SwitchAndLoggerReachEveryNestedObject) {
    ControlMessage message = MakeCreateMessage();
    auto logger = std::make_shared<RecordingLogger>();
    message.SetValidate(false);
    message.SetLogger(logger);
    EXPECT_FALSE(message.GetProcessor().GetValidate());
    EXPECT_FALSE(message.GetProcessor().GetDataStream().at(0).GetValidate());
    EXPECT_EQ(message.GetProcessor().GetDataSource().at(1).GetLogger(), logger);

    // The reader hands both on to the objects it creates: the unknown element deep inside is noted.
    ControlMessage received;
    received.SetLogger(logger);
    received.SetXmlString(
        QStringLiteral("<ControlMessage><MessageType>Create</MessageType><Processor><DataSource>"
                       "<Extra/></DataSource></Processor></ControlMessage>"),
        true);
    ASSERT_EQ(logger->lines.size(), 1);
    EXPECT_TRUE(logger->lines.at(0).startsWith(QStringLiteral("DataSource: skipping unknown element Extra")));
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
    ASSERT_TRUE(dir.isValid());
    const QString file = dir.filePath(QStringLiteral("message.xml"));
    original.SaveXml(file);
    ControlMessage loaded;
    loaded.LoadXml(file);
    EXPECT_TRUE(loaded == original);
    EXPECT_THROW(loaded.LoadXml(dir.filePath(QStringLiteral("missing.xml"))), ReportException);
    EXPECT_THROW(original.SaveXml(dir.filePath(QStringLiteral("no/such/dir/m.xml"))), ReportException);
}

TEST(IRGObject, MergeCopiesSetPropertiesOnTop) {
    ControlMessage target = MakeCreateMessage();
    ControlMessage update;
    update.SetMessageType(ControlMessage::MessageType::Start);
    update.SetMessageText(QStringLiteral("replaced"));
    update.AppendStreamAddresses(QStringLiteral("tcp://added"));
    target.MergeRGObject(update);
    EXPECT_EQ(target.GetMessageType(), ControlMessage::MessageType::Start);
    EXPECT_EQ(target.GetMessageText(), QStringLiteral("replaced"));
    EXPECT_EQ(target.GetGroupName(), QStringLiteral("g1"));
    EXPECT_EQ(target.GetStreamAddresses().size(), 3);
    EXPECT_EQ(target.GetStreamAddresses().last(), QStringLiteral("tcp://added"));
    EXPECT_THROW(target.MergeRGObject(Processor()), ReportException);
    // An object without data has nothing to give.
    DataStream named = MakeStream(QStringLiteral("s"), {}, true);
    const DataStream before = named;
    named.MergeRGObject(DataStream());
    EXPECT_TRUE(named == before);
}

TEST(IRGObject, HeaderMustNameTheClassAndFitTheData) {
    const QByteArray query = []() {
        ControlMessage m;
        m.SetMessageType(ControlMessage::MessageType::Query);
        return m.GetBinaryRepresentation();
    }();
    Processor processor;
    try {
        processor.SetBinaryRepresentation(query);
        FAIL() << "another class's data was accepted";
    } catch (const BinaryParsingException& e) {
        EXPECT_TRUE(e.GetMessage().startsWith(QStringLiteral("Processor::SetBinaryRepresentation(...): ")));
    }
    ControlMessage message;
    EXPECT_THROW(message.SetBinaryRepresentation(query.left(7)), BinaryParsingException);
    EXPECT_THROW(message.SetBinaryRepresentation(query.left(query.size() - 1)), BinaryParsingException);
    EXPECT_THROW(message.SetBinaryRepresentation(QByteArray()), BinaryParsingException);
}

TEST(IRGObject, LengthOneByteShortOrLongIsTheLengthError) {
    ControlMessage query;
    query.SetMessageType(ControlMessage::MessageType::Query);
    query.SetGroupName(QStringLiteral("g"));
    const QByteArray body = WriteBinary(query, 0, false).mid(4);
    for (int delta : {-1, 1}) {
        QByteArray data = body + QByteArray(8, '\0');
        QDataStream stream(data);
        ControlMessage read;
        try {
            read.SetBinary(stream, int(body.size()) + delta);
            ADD_FAILURE() << "no length error for a length off by " << delta;
        } catch (const BinaryParsingException& e) {
            EXPECT_EQ(e.GetMessage(), LengthError("ControlMessage"));
        }
        // Elements read before the failure stay in place.
        EXPECT_EQ(read.GetMessageType(), ControlMessage::MessageType::Query);
    }
    // A stream that ends before the announced length is used up.
    QDataStream ended(body);
    ControlMessage cut;
    EXPECT_THROW(cut.SetBinary(ended, int(body.size()) + 8), BinaryParsingException);

    QDataStream exact(body);
    ControlMessage read;
    read.SetBinary(exact, int(body.size()));
    EXPECT_EQ(read.GetGroupName(), QStringLiteral("g"));
}

TEST(IRGObject, StreamByteOrderIsTheCallersChoice) {
    const ControlMessage original = MakeCreateMessage();
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadWrite);
    QDataStream out(&buffer);
    out.setByteOrder(QDataStream::LittleEndian);
    ASSERT_TRUE(original.GetBinary(out, 7, true));
    EXPECT_EQ(data.left(4), QByteArray("\x07\x00\x00\x00", 4));
    buffer.seek(4);
    QDataStream in(&buffer);
    in.setByteOrder(QDataStream::LittleEndian);
    qint32 length = 0;
    in >> length;
    ControlMessage read;
    read.SetBinary(in, length);
    EXPECT_TRUE(read == original);
}

TEST(IRGObject, ValidityHelpers) {
    const DataSource object;
    EXPECT_FALSE(object.IsValid(QString()));
    EXPECT_TRUE(object.IsValid(QStringLiteral("")));
    EXPECT_FALSE(object.IsValid(QDateTime()));
    EXPECT_TRUE(object.IsValid(QDateTime::currentDateTime()));
    int i = 3;
    unsigned int u = 3;
    qint64 l = 3;
    float f = 1.0f;
    double x = 1.0;
    QString s = QStringLiteral("s");
    EXPECT_TRUE(object.IsValid(i) && object.IsValid(u) && object.IsValid(l) && object.IsValid(f) &&
                object.IsValid(x));
    object.SetInvalid(i);
    object.SetInvalid(u);
    object.SetInvalid(l);
    object.SetInvalid(f);
    object.SetInvalid(x);
    object.SetInvalid(s);
    EXPECT_FALSE(object.IsValid(i) || object.IsValid(u) || object.IsValid(l) || object.IsValid(f) ||
                 object.IsValid(x) || object.IsValid(s));
    EXPECT_TRUE(object.IsValid(false));
    EXPECT_EQ(object.GetObjectType(), UndefinedObjectType);
    DataSource typed;
    typed.SetObjectType(ConfigurationObjectType);
    EXPECT_EQ(DataSource(typed).GetObjectType(), ConfigurationObjectType);
    EXPECT_FALSE(IRGObject::GetVersion().isEmpty());
}
