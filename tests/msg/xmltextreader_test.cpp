// The direct XML reader against QXmlStreamReader: the same object or the same error, or it steps aside.
#include <gtest/gtest.h>

#include <QRandomGenerator>
#include <QTemporaryFile>

#include "msgtesthelpers.h"
#include "support/qtprinters.h"
#include "xmltextreader.h"
#include "zal/msg/controlmessagehelper.h"

using REPORTGENERATOR::RGException;
using REPORTGENERATOR::XmlTextReader;

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

// Random edits of a real message with the characters XML gives meaning to.
TEST(XmlTextReader, AgreesWithQtOnRandomEdits) {
    const QString original = wireText(msgtest::MakeCreateMessage());
    const QString alphabet = QStringLiteral("<>/&;#x!?=\"' \n\raZ9\u00e4\u0001");
    QRandomGenerator random(20261122);
    int directlyRead = 0;
    for (int round = 0; round < 1500; ++round) {
        QString xml = original;
        for (int edit = 0, edits = 1 + random.bounded(3); edit < edits; ++edit) {
            const auto at = random.bounded(xml.size());
            switch (random.bounded(3)) {
                case 0:
                    xml.insert(at, alphabet.at(random.bounded(alphabet.size())));
                    break;
                case 1:
                    xml.remove(at, 1 + random.bounded(4));
                    break;
                default:
                    xml[at] = alphabet.at(random.bounded(alphabet.size()));
                    break;
            }
        }
        directlyRead += XmlTextReader(xml).usable() ? 1 : 0;
        ASSERT_EQ(directOutcome(xml), qtOutcome(xml)) << xml.toStdString();
    }
    // Most edits land in text, which both readers take; the comparison must cover the direct path.
    EXPECT_GT(directlyRead, 80);
}
