#include "zaltools/replyformatter.h"

#include <QStringList>
#include <algorithm>

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zaltools/texttable.h"

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

// Each name on a line, followed by its description where there is one, in a column of their own.
void appendNames(QStringList& lines, const Message& reply, const QVector<ParameterDescription>& described) {
    const QStringList names = reply.GetParameter().split(QLatin1Char(','), Qt::SkipEmptyParts);
    TextTable table({false, false});
    for (const QString& name : names) {
        const auto found = std::find_if(described.begin(), described.end(),
                                        [&](const ParameterDescription& d) { return d.name == name; });
        table.add(found == described.end() ? QStringList{name} : QStringList{name, found->summary()});
    }
    if (!names.isEmpty()) {
        lines << table.render().split(QLatin1Char('\n'));
    }
}

void appendValue(QStringList& lines, const Message& reply, Presentation presentation,
                 const QVector<ParameterDescription>& described) {
    switch (presentation) {
        case Presentation::Nothing:
            break;
        case Presentation::CommaList:
        case Presentation::ParameterNames:
            appendNames(lines, reply, described);
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
                // A processor that does not say whether its stream runs gets no state shown.
                QString state;
                if (stream.IsRunningSet()) {
                    state = stream.GetRunning() ? QStringLiteral("  running") : QStringLiteral("  stopped");
                }
                lines << stream.GetName() + QStringLiteral("  ") + joined(stream.GetAddress()) + state;
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

QString ReplyFormatter::format(const Message& reply, Presentation presentation,
                               const QVector<ParameterDescription>& described) {
    QStringList lines;
    // Some designed texts carry the result already ("Error: 's' does not exist"); it is not doubled.
    const QString result = resultName(reply);
    const QString text = reply.IsMessageTextSet() ? reply.GetMessageText() : QString();
    if (text.isEmpty()) {
        lines << result;
    } else {
        lines << (text.startsWith(result + QStringLiteral(": ")) ? text
                                                                 : result + QStringLiteral(": ") + text);
    }
    if (reply.GetResultType() == Message::ResultType::Success ||
        reply.GetResultType() == Message::ResultType::Warning) {
        appendValue(lines, reply, presentation, described);
    }
    return lines.join(QLatin1Char('\n'));
}

QString ReplyFormatter::formatXml(const Message& reply) {
    return QString::fromUtf8(zal::ControlMessageHelper::toPayload(reply));
}

}  // namespace zaltools
