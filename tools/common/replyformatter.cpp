#include "zaltools/replyformatter.h"

#include <QStringList>

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"

namespace zaltools {

namespace {

using Message = zalmsg::ControlMessage;

QString resultName(const Message& reply) {
    switch (reply.GetResultType()) {
        case Message::ResultType::Success:
            return QStringLiteral("Success");
        case Message::ResultType::Warning:
            return QStringLiteral("Warning");
        default:
            return QStringLiteral("Error");
    }
}

QString joined(const QVector<QString>& items) {
    return zal::ConfigTool::getAddressList(items, QStringLiteral(","));
}

void appendValue(QStringList& lines, const Message& reply, Presentation presentation) {
    switch (presentation) {
        case Presentation::Nothing:
            break;
        case Presentation::CommaList:
            for (const QString& item : reply.GetParameter().split(QLatin1Char(','), Qt::SkipEmptyParts)) {
                lines << item;
            }
            break;
        case Presentation::Value:
            if (reply.IsParameterSet()) {
                lines << reply.GetParameter();
            }
            break;
        case Presentation::DataSources:
            for (const zalmsg::DataSource& source : reply.GetDataSource()) {
                lines << source.GetAddress() + QStringLiteral("  filters: ") +
                             (source.GetFilter().isEmpty() ? QStringLiteral("(all)")
                                                           : joined(source.GetFilter()));
            }
            break;
        case Presentation::DataStreams:
            for (const zalmsg::DataStream& stream : reply.GetDataStream()) {
                lines << stream.GetName() + QStringLiteral("  ") + joined(stream.GetAddress()) +
                             (stream.GetRunning() ? QStringLiteral("  running")
                                                  : QStringLiteral("  stopped"));
            }
            break;
        case Presentation::ResolvedName:
            lines << QStringLiteral("processor: ") + reply.GetProcessorName();
            for (const QString& address : reply.GetStreamAddresses()) {
                lines << QStringLiteral("address: ") + address;
            }
            break;
    }
}

}  // namespace

QString ReplyFormatter::format(const Message& reply, Presentation presentation) {
    QStringList lines;
    lines << (reply.IsMessageTextSet() && !reply.GetMessageText().isEmpty()
                  ? resultName(reply) + QStringLiteral(": ") + reply.GetMessageText()
                  : resultName(reply));
    if (reply.GetResultType() == Message::ResultType::Success ||
        reply.GetResultType() == Message::ResultType::Warning) {
        appendValue(lines, reply, presentation);
    }
    return lines.join(QLatin1Char('\n'));
}

QString ReplyFormatter::formatXml(const Message& reply) {
    return QString::fromUtf8(zal::ControlMessageHelper::toPayload(reply));
}

}  // namespace zaltools
