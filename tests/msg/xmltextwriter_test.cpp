// The direct XML writer against QXmlStreamWriter: same bytes, or it steps aside.
#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QXmlStreamWriter>

#include "support/qtprinters.h"
#include "xmltextwriter.h"
#include "zal/msg/controlmessagehelper.h"

using REPORTGENERATOR::XmlTextWriter;

namespace {

// One element holding `text` and an empty one inside a root element, by Qt's writer or the direct one.
template <class Writer>
void writeSample(Writer& writer, const QString& text) {
    writer.writeStartElement(QStringLiteral("Root"));
    writer.writeTextElement(QLatin1String("Text"), text);
    writer.writeStartElement(QStringLiteral("Empty"));
    writer.writeEndElement();
    writer.writeEndElement();
}

QString qtWrites(const QString& text) {
    QString xml;
    QXmlStreamWriter writer(&xml);
    writeSample(writer, text);
    return xml;
}

XmlTextWriter directWrites(const QString& text) {
    XmlTextWriter writer;
    writeSample(writer, text);
    return writer;
}

}  // namespace

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
