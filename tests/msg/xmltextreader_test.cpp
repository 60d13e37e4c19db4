// The direct XML reader and writer against Qt's: the same object, error or bytes, or they step aside.
#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QXmlStreamWriter>

#include "msgtesthelpers.h"
#include "support/qtprinters.h"
#include "xmltextreader.h"
#include "xmltextwriter.h"
#include "zal/msg/controlmessagehelper.h"

using REPORTGENERATOR::RGException;
using REPORTGENERATOR::XmlTextReader;
using REPORTGENERATOR::XmlTextWriter;

namespace {

QString outcomeOf(const std::function<void(zalmsg::ControlMessage&)>& read) {
    zalmsg::ControlMessage message;
    message.SetValidate(false);
    try {
        read(message);
        return QStringLiteral("read ") + QString::fromLatin1(message.GetBinaryRepresentation().toHex());
    } catch (const RGException& e) {
        return QStringLiteral("refused ") + e.GetMessage();
    }
}

// SetXmlString takes the direct reader whenever it can; LoadXml always reads through Qt.
QString directOutcome(const QString& xml) {
    return outcomeOf([&](zalmsg::ControlMessage& message) { message.SetXmlString(xml, false); });
}

QString qtOutcome(const QString& xml) {
    QTemporaryFile file;
    EXPECT_TRUE(file.open());
    file.write(xml.toUtf8());
    file.close();
    return outcomeOf([&](zalmsg::ControlMessage& message) { message.LoadXml(file.fileName()); });
}

QString wireText(const zalmsg::ControlMessage& message) {
    return QString::fromUtf8(zal::ControlMessageHelper::toPayload(message));
}

// What Qt's writer makes of one element holding `text` inside a root element.
QString qtWrites(const QString& text) {
    QString xml;
    QXmlStreamWriter writer(&xml);
    writer.writeStartElement(QStringLiteral("Root"));
    writer.writeTextElement(QStringLiteral("Text"), text);
    writer.writeStartElement(QStringLiteral("Empty"));
    writer.writeEndElement();
    writer.writeEndElement();
    return xml;
}

XmlTextWriter directWrites(const QString& text) {
    XmlTextWriter writer;
    writer.writeStartElement(QStringLiteral("Root"));
    writer.writeTextElement(QLatin1String("Text"), text);
    writer.writeStartElement(QStringLiteral("Empty"));
    writer.writeEndElement();
    writer.writeEndElement();
    return writer;
}

}  // namespace

TEST(XmlTextReader, ReadsEveryWireMessageAsQtDoes) {
    using zal::ControlMessageHelper;
    zalmsg::ControlMessage reply = msgtest::MakeCreateMessage();
    reply.SetMessageText(QStringLiteral("a <b> & \"c\" 'd' \t\n \u4e2d \U0001F600"));
    const QString texts[] = {
        wireText(msgtest::MakeCreateMessage()),
        wireText(reply),
        wireText(ControlMessageHelper::makeGetParameterMessage("messages")),
        wireText(ControlMessageHelper::makeConnectStreamMessage("s", "tcp://127.0.0.1:5000", "topic")),
        msgtest::MakeCreateMessage().GetXmlString(),
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") + wireText(reply),
        QStringLiteral("<ControlMessage><MessageText>&#65;&#x4e2d;&#x1F600;&lt;&apos;</MessageText>"
                       "<GroupName/><Unknown><Deeper>x</Deeper></Unknown></ControlMessage>\n"),
    };
    for (const QString& xml : texts) {
        SCOPED_TRACE(xml.toStdString());
        EXPECT_TRUE(XmlTextReader(xml).usable());
        const QString direct = directOutcome(xml);
        EXPECT_TRUE(direct.startsWith(QLatin1String("read "))) << direct.toStdString();
        EXPECT_EQ(direct, qtOutcome(xml));
    }
}

// What the direct reader takes must read exactly as Qt reads it; what it leaves, Qt reads.
TEST(XmlTextReader, AgreesWithQtOnOddAndBrokenText) {
    const QString odd[] = {
        QStringLiteral("<ControlMessage><GroupName>a<!-- c -->b</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName><![CDATA[<x>]]></GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName a=\"1\">x</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>a\r\nb\rc</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>a]]>b</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>&#0;</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>&#xD800;&unknown;</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>&#99999999999;</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>a\u0001b</GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>x</Groupname></ControlMessage>"),
        QStringLiteral(
            "<ControlMessage><GroupName><ProcessorName>x</ProcessorName></GroupName></ControlMessage>"),
        QStringLiteral("<ControlMessage><GroupName>x</GroupName></ControlMessage><Extra/>"),
        QStringLiteral("<ControlMessage><GroupName>x</GroupName></ControlMessage>trailing"),
        QStringLiteral("<ControlMessage><GroupName>x</GroupName>"),
        QStringLiteral("</ControlMessage>"),
        QStringLiteral("<Processor><Name>x</Name></Processor>"),
        QStringLiteral("  <?xml version=\"1.0\"?><ControlMessage/>"),
        QStringLiteral("<?xml version=\"1.1\"?><ControlMessage/>"),
        QStringLiteral("<?xml version='1.0' encoding='UTF-8'?><ControlMessage/>"),
        QStringLiteral("<!DOCTYPE a [<!ENTITY b \"c\">]><ControlMessage>&b;</ControlMessage>"),
        QStringLiteral("<ControlMessage><MessageType>Bogus</MessageType><Bool>true</Bool></ControlMessage>"),
        QStringLiteral("<ns:ControlMessage xmlns:ns=\"u\"/>"),
        QStringLiteral(""),
        QStringLiteral("\u00e4"),
        QString(200, QLatin1Char('<')),
        QStringLiteral("<ControlMessage>") + QStringLiteral("<U>").repeated(300) +
            QStringLiteral("</U>").repeated(300) + QStringLiteral("</ControlMessage>"),
    };
    for (const QString& xml : odd) {
        SCOPED_TRACE(xml.left(200).toStdString());
        EXPECT_EQ(directOutcome(xml), qtOutcome(xml));
    }
    EXPECT_FALSE(XmlTextReader(odd[0]).usable());
    EXPECT_FALSE(XmlTextReader(odd[3]).usable());
}

TEST(XmlTextWriter, WritesWhatQtWritesOrStepsAside) {
    const QString alphabet = QStringLiteral("ab <>&\"'\t\n\r]]>=;ä\u00ff\u4e2d");
    QRandomGenerator random(20261121);
    for (int round = 0; round < 2000; ++round) {
        QString text;
        const int length = random.bounded(12);
        for (int i = 0; i < length; ++i) {
            text += alphabet[random.bounded(alphabet.size())];
        }
        const XmlTextWriter direct = directWrites(text);
        ASSERT_FALSE(direct.failed()) << text.toStdString();
        // The one deliberate difference: Qt leaves a carriage return for the reader to turn into a line feed.
        ASSERT_EQ(direct.text(), qtWrites(text).replace(QLatin1Char('\r'), QLatin1String("&#13;")).toUtf8())
            << text.toStdString();
    }
    EXPECT_EQ(directWrites(QString()).text(), qtWrites(QString()).toUtf8());

    // Characters Qt drops or treats specially are left to Qt.
    for (const QString& special :
         {QStringLiteral("a\x01"
                         "b"),
          QString(QChar(0xD800)), QString(QChar(0xFFFE)), QString::fromUcs4(U"\U0001F600")}) {
        EXPECT_TRUE(directWrites(special).failed()) << special.toStdString();
    }
}

TEST(XmlTextWriter, CarriageReturnsSurviveTheWireForm) {
    // The second value holds a control character, so its message goes through Qt's writer instead.
    for (const std::string& value : {std::string("a\rb\r\n"), std::string("bell\x07\r")}) {
        const zalmsg::ControlMessage message =
            zal::ControlMessageHelper::makeSetParameterMessage("p\r", value);
        const zalmsg::ControlMessage received =
            zal::ControlMessageHelper::fromPayload(zal::ControlMessageHelper::toPayload(message));
        EXPECT_EQ(received.GetParameterName(), QStringLiteral("p\r"));
        EXPECT_EQ(received.GetParameter(), message.GetParameter().remove(QLatin1Char('\x07')));
    }
}
