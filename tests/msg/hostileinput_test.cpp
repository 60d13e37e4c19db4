// Corrupt binary data and hostile XML end in the data objects' exceptions, never in a crash, a hang or a
// huge allocation. Random corruption is the fuzzers' work (fuzz/).
#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QSet>
#include <QtEndian>

#include "msgtesthelpers.h"

using namespace msgtest;
using namespace REPORTGENERATOR;
using zalmsg::ControlMessage;
using zalmsg::DataSource;

namespace {

QByteArray WithHeader(quint32 id, const QByteArray& body) {
    return Be32(id) + Be32(quint32(body.size())) + body;
}

// Parses and reports whether it was refused; any exception other than ours fails the test by escaping.
bool RefusesBinary(const QByteArray& data, bool validate = true) {
    ControlMessage message;
    message.SetValidate(validate);
    try {
        message.SetBinaryRepresentation(data);
    } catch (const ReportException&) {
        return true;
    }
    return false;
}

QString XmlFailure(const QString& xml) {
    ControlMessage message;
    try {
        message.SetXmlString(xml, false);
    } catch (const InvalidXmlException& e) {
        return e.GetMessage();
    }
    return QString();
}

}  // namespace

TEST(HostileInput, EveryTruncationIsRefused) {
    const QByteArray full = MakeCreateMessage().GetBinaryRepresentation();
    QSet<int> boundaries{8};
    for (int at = 8; at + 8 <= full.size();) {
        at += 8 + int(qFromBigEndian<qint32>(full.constData() + at + 4));
        boundaries.insert(at);
    }
    ASSERT_TRUE(boundaries.contains(int(full.size())));
    for (int size = 0; size < full.size(); ++size) {
        EXPECT_TRUE(RefusesBinary(full.left(size))) << "prefix of " << size << " bytes";
        // A header that agrees with the cut lets the reader run into the cut element itself; a cut
        // between two elements leaves a complete, shorter object.
        if (size >= 8) {
            QByteArray cut = full.left(size);
            cut.replace(4, 4, Be32(quint32(size - 8)));
            EXPECT_EQ(RefusesBinary(cut), !boundaries.contains(size)) << "cut at " << size;
        }
    }
    EXPECT_FALSE(RefusesBinary(full));
}

TEST(HostileInput, LyingCountsAndLengthsAreRefusedWithoutAllocating) {
    const quint32 id = 0xAAB74DB6;
    const QByteArray type = Element(0xB4AF885C, Utf8("Query"));
    // A string count far beyond its element.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, Element(0x62316A1C, Be32(0x7FFFFFF0)) + type)));
    // A list count that the element's bytes cannot hold.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Element(0x527EBC58, Be32(0x7FFFFFFF) + Be32(4)))));
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Element(0x283E37D4, Be32(0x40000000)))));
    // Negative counts and lengths.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Element(0x527EBC58, Be32(0xFFFFFFFF)))));
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Element(0x527EBC58, Be32(1) + Be32(0xFFFFFFF0)))));
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Be32(0x12345678) + Be32(0x80000000))));
    // A string element too short for its count, and a list item longer than the string it holds.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Element(0x62316A1C, "ab"))));
    EXPECT_TRUE(
        RefusesBinary(WithHeader(id, type + Element(0x527EBC58, Be32(1) + Be32(8) + Utf8("x") + "pad"))));
    // An element whose content is shorter than its string claims, with the next element behind it.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, Element(0x62316A1C, Be32(9) + "abc") + type)));
    // A boolean element of the wrong size, nested inside a data stream.
    const QByteArray stream = Element(0x58D44D66, Utf8("s")) + Element(0x6CD509D2, QByteArray(2, '\1'));
    const QByteArray streams = Be32(1) + Be32(quint32(stream.size())) + stream;
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Element(0x53F67BF4, streams))));
    // An unknown tag whose length runs past the object.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, type + Be32(0x12345678) + Be32(1000) + "x")));
    // A header that claims more than the data holds.
    EXPECT_TRUE(RefusesBinary(Be32(id) + Be32(0x7FFFFFFF) + type));
    // Without validation the same framing errors are still refused.
    EXPECT_TRUE(RefusesBinary(WithHeader(id, Element(0x62316A1C, Be32(0x7FFFFFF0)) + type), false));

    // The reader reserves list room only for what the element's bytes could hold. A million items is a
    // reservation malloc grants, so an unchecked count would show in the capacity.
    ControlMessage message;
    EXPECT_THROW(
        message.SetBinaryRepresentation(WithHeader(id, type + Element(0x527EBC58, Be32(1000000) + Be32(4)))),
        BinaryParsingException);
    EXPECT_LT(message.GetStreamAddresses().capacity(), 64);

    EXPECT_THROW(message.SetCompressedBinaryRepresentation(QByteArray("\xFF\xFF\xFF\xF0xyz", 7)),
                 BinaryParsingException);
    EXPECT_THROW(message.SetCompressedBinaryRepresentation(QByteArray("\x00\x00\x00\x10garbagegarbage", 18)),
                 BinaryParsingException);
    EXPECT_THROW(message.SetCompressedBinaryRepresentation(QByteArray(2, '\0')), BinaryParsingException);
}

TEST(HostileInput, MalformedXmlIsRefusedWithTheObjectNameAndNoNumbers) {
    const QStringList hostile = {
        QString(),
        QStringLiteral("not xml"),
        QStringLiteral("<ControlMessage><MessageType>Query</ControlMessage></MessageType>"),
        QStringLiteral("<ControlMessage><MessageType>Query<b>bold</b></MessageType></ControlMessage>"),
        QStringLiteral("<ControlMessage><MessageType>Query</MessageType>"),
        QStringLiteral("<ControlMessage/><ControlMessage/>"),
        QStringLiteral("<Processor></Processor>"),
        QStringLiteral(
            "<ControlMessage><Processor><DataSource><Address>x</Address></Processor></ControlMessage>"),
        QStringLiteral(
            "<!DOCTYPE a [<!ENTITY a \"aaaaaaaaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">"
            "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\"><!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;\">"
            "<!ENTITY e \"&d;&d;&d;&d;&d;&d;&d;&d;\"><!ENTITY f \"&e;&e;&e;&e;&e;&e;&e;&e;\">]>"
            "<ControlMessage><MessageText>&f;&f;&f;&f;&f;&f;&f;&f;</MessageText></ControlMessage>"),
    };
    for (const QString& xml : hostile) {
        const QString failure = XmlFailure(xml);
        // The object that met the fault names itself: the message or one nested in it.
        EXPECT_TRUE(
            failure.contains(QRegularExpression(QStringLiteral("^(ControlMessage|Processor|DataSource): "))))
            << qPrintable(xml);
        EXPECT_FALSE(failure.contains(QRegularExpression(QStringLiteral("[0-9]")))) << qPrintable(failure);
    }
}
