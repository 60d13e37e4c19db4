#include "zaltools/jsonreply.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zaltools {

namespace {

using Message = zalmsg::ControlMessage;

QJsonArray arrayOf(const QVector<QString>& items) {
    QJsonArray array;
    for (const QString& item : items) {
        array.append(item);
    }
    return array;
}

QJsonArray sourcesOf(const Message& reply) {
    QJsonArray sources;
    for (const zalmsg::DataSource& source : reply.GetDataSource()) {
        sources.append(QJsonObject{{QStringLiteral("address"), source.GetAddress()},
                                   {QStringLiteral("filters"), arrayOf(source.GetFilter())}});
    }
    return sources;
}

QJsonArray streamsOf(const Message& reply) {
    QJsonArray streams;
    for (const zalmsg::DataStream& stream : reply.GetDataStream()) {
        // A processor that does not say whether its stream runs gets null.
        streams.append(QJsonObject{{QStringLiteral("name"), stream.GetName()},
                                   {QStringLiteral("addresses"), arrayOf(stream.GetAddress())},
                                   {QStringLiteral("running"),
                                    stream.IsRunningSet() ? QJsonValue(stream.GetRunning()) : QJsonValue()}});
    }
    return streams;
}

QJsonValue valueOf(const Message& reply, Presentation presentation) {
    switch (presentation) {
        case Presentation::Nothing:
            break;
        case Presentation::CommaList:
        case Presentation::ParameterNames:
            return arrayOf(reply.GetParameter().split(QLatin1Char(','), Qt::SkipEmptyParts));
        case Presentation::Value:
            return reply.IsParameterSet() ? QJsonValue(reply.GetParameter()) : QJsonValue();
        case Presentation::DataSources:
            return sourcesOf(reply);
        case Presentation::DataStreams:
            return streamsOf(reply);
        case Presentation::ResolvedName:
            return QJsonObject{{QStringLiteral("processor"), reply.GetProcessorName()},
                               {QStringLiteral("addresses"), arrayOf(reply.GetStreamAddresses())}};
    }
    return QJsonValue();
}

}  // namespace

QString JsonReply::ofReply(const Message& reply, Presentation presentation) {
    ExitStatus status = ExitStatus::Error;
    if (reply.GetResultType() == Message::ResultType::Success) {
        status = ExitStatus::Success;
    } else if (reply.GetResultType() == Message::ResultType::Warning) {
        status = ExitStatus::Warning;
    }
    const QString text = reply.IsMessageTextSet() ? reply.GetMessageText() : QString();
    return envelope(status, text, status == ExitStatus::Error ? QJsonValue() : valueOf(reply, presentation));
}

QString JsonReply::ofOutcome(ExitStatus status, const QString& text) {
    return envelope(status, text, QJsonValue());
}

QString JsonReply::envelope(ExitStatus status, const QString& text, const QJsonValue& value) {
    const QJsonObject object{{QStringLiteral("result"), resultName(status)},
                             {QStringLiteral("text"), text},
                             {QStringLiteral("value"), value}};
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString JsonReply::resultName(ExitStatus status) {
    switch (status) {
        case ExitStatus::Success:
            return QStringLiteral("Success");
        case ExitStatus::Warning:
            return QStringLiteral("Warning");
        case ExitStatus::Timeout:
            return QStringLiteral("Timeout");
        case ExitStatus::Usage:
            return QStringLiteral("Usage");
        case ExitStatus::Error:
        case ExitStatus::CannotWrite:
            break;
    }
    return QStringLiteral("Error");
}

}  // namespace zaltools
