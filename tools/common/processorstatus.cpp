#include "zaltools/processorstatus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zaltools {

namespace {

QStringList stringsOf(const QJsonValue& value) {
    QStringList strings;
    for (const QJsonValue& item : value.toArray()) {
        strings << item.toString();
    }
    return strings;
}

// Counters are whole numbers; JSON carries them as doubles, exact up to 2^53.
FlowCount flowOf(const QJsonObject& object) {
    FlowCount flow;
    flow.stream = object.value(QLatin1String("stream")).toString();
    flow.messages = static_cast<qint64>(object.value(QLatin1String("messages")).toDouble());
    flow.bytes = static_cast<qint64>(object.value(QLatin1String("bytes")).toDouble());
    const QJsonValue idle = object.value(QLatin1String("idleMs"));
    if (idle.isDouble()) {
        flow.idleMs = static_cast<qint64>(idle.toDouble());
    }
    return flow;
}

StreamInfo streamOf(const QJsonObject& object) {
    StreamInfo stream;
    stream.name = object.value(QLatin1String("name")).toString();
    stream.addresses = stringsOf(object.value(QLatin1String("addresses")));
    const QJsonValue running = object.value(QLatin1String("running"));
    if (running.isBool()) {
        stream.running = running.toBool();
    }
    return stream;
}

}  // namespace

std::optional<ProcessorStatus> ProcessorStatus::fromJson(const QString& json, QString& error) {
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8(), &parsed);
    if (parsed.error != QJsonParseError::NoError || !document.isObject() ||
        !document.object().value(QLatin1String("input")).isObject()) {
        error = QStringLiteral("not a status: '%1'").arg(json.left(80));
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    ProcessorStatus status;
    status.type = object.value(QLatin1String("type")).toString();
    const QJsonObject input = object.value(QLatin1String("input")).toObject();
    status.input = flowOf(input);
    status.refused = static_cast<qint64>(input.value(QLatin1String("refused")).toDouble());
    status.refusal = input.value(QLatin1String("refusal")).toString();
    for (const QJsonValue& output : object.value(QLatin1String("outputs")).toArray()) {
        status.outputs << flowOf(output.toObject());
    }
    for (const QJsonValue& source : object.value(QLatin1String("sources")).toArray()) {
        status.sources << SourceInfo{source.toObject().value(QLatin1String("address")).toString(),
                                     stringsOf(source.toObject().value(QLatin1String("filters")))};
    }
    for (const QJsonValue& stream : object.value(QLatin1String("streams")).toArray()) {
        status.streams << streamOf(stream.toObject());
    }
    return status;
}

const FlowCount* ProcessorStatus::output(const QString& stream) const {
    for (const FlowCount& flow : outputs) {
        if (flow.stream == stream) {
            return &flow;
        }
    }
    return nullptr;
}

qint64 ProcessorStatus::outputMessages() const {
    qint64 sum = 0;
    for (const FlowCount& flow : outputs) {
        sum += flow.messages;
    }
    return sum;
}

qint64 ProcessorStatus::outputBytes() const {
    qint64 sum = 0;
    for (const FlowCount& flow : outputs) {
        sum += flow.bytes;
    }
    return sum;
}

}  // namespace zaltools
