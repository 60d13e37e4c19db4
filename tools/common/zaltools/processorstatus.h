// A processor's account of itself, as its reserved parameter zal.status gives it.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>
#include <optional>

namespace zaltools {

// The counters of one direction: the data input (all sources together) or one output stream.
struct FlowCount {
    QString stream;  // empty for the input
    qint64 messages = 0;
    qint64 bytes = 0;
    std::optional<qint64> idleMs;  // since the last message; none before the first
};

struct SourceInfo {
    QString address;
    QStringList filters;  // none: every topic
};

struct StreamInfo {
    QString name;
    QStringList addresses;
    std::optional<bool> running;  // none when the processor does not say
};

struct ProcessorStatus {
    QString type;  // as the create request named it; empty when unknown
    FlowCount input;
    QVector<FlowCount> outputs;
    QVector<SourceInfo> sources;
    QVector<StreamInfo> streams;
    // Handshakes of the input's CURVE connections that failed, and the last as "ADDRESS (REASON)".
    qint64 refused = 0;
    QString refusal;

    static QString parameterName() { return QStringLiteral("zal.status"); }
    // The status a zal.status value holds; none, with `error` set, when it is not one.
    static std::optional<ProcessorStatus> fromJson(const QString& json, QString& error);

    // The counters of the output stream of that name; null when it reports none.
    const FlowCount* output(const QString& stream) const;
    qint64 outputMessages() const;
    qint64 outputBytes() const;
};

}  // namespace zaltools
