#include "zaltools/topformatter.h"

#include <QJsonArray>
#include <QJsonObject>

#include "zaltools/jsonreply.h"
#include "zaltools/texttable.h"

namespace zaltools {

namespace {

using Verdict = Delivery::Verdict;

QString rate(const std::optional<ProcessorRates>& rates, double ProcessorRates::*field, double scale,
             int decimals) {
    return rates ? QString::number((*rates).*field / scale, 'f', decimals) : QStringLiteral("-");
}

QString total(const TopRow& row, bool in) {
    if (!row.sample.status) {
        return QStringLiteral("?");
    }
    return QString::number(in ? row.sample.status->input.messages : row.sample.status->outputMessages());
}

QString lostCell(const Delivery& delivery) {
    switch (delivery.verdict) {
        case Verdict::None:
            return QString();
        case Verdict::Delivered:
        case Verdict::Lost:
            return QString::number(delivery.lost);
        default:
            return QStringLiteral("-");
    }
}

QString verdictNote(const TopRow& row) {
    const Delivery& d = row.delivery;
    const QString from = d.producers.join(QStringLiteral(", "));
    const QString published = QString::number(std::max(0.0, d.published), 'f', 0);
    switch (d.verdict) {
        case Verdict::None:
            return row.sample.status ? QString() : QStringLiteral("no status: ") + row.sample.problem;
        case Verdict::Unknown:
            return QStringLiteral("? ") + d.reason;
        case Verdict::Dangling:
            return QStringLiteral("dangling: %1 (no live stream)").arg(d.dangling.join(QStringLiteral(", ")));
        case Verdict::Filtered:
            return QStringLiteral("filtered: %1 published by %2, %3 received")
                .arg(published, from)
                .arg(d.received);
        case Verdict::Delivered:
            return QStringLiteral("from ") + from;
        case Verdict::Lost:
            return QStringLiteral("lost %1 of %2 from %3").arg(d.lost).arg(published, from);
    }
    return QString();
}

// Refused handshakes come first: they explain a silent input better than any verdict.
QString note(const TopRow& row) {
    const QString verdict = verdictNote(row);
    if (!row.sample.status || row.sample.status->refused == 0) {
        return verdict;
    }
    const QString refused =
        QStringLiteral("refused %1: %2").arg(row.sample.status->refused).arg(row.sample.status->refusal);
    return verdict.isEmpty() ? refused : refused + QStringLiteral("; ") + verdict;
}

const char* verdictName(Verdict verdict) {
    static const char* const names[] = {"none", "unknown", "dangling", "filtered", "delivered", "lost"};
    return names[static_cast<int>(verdict)];
}

QJsonValue orNull(bool known, double value) {
    return known ? QJsonValue(value) : QJsonValue();
}

QJsonObject flowJson(const TopRow& row, bool in) {
    const ProcessorStatus* status = row.sample.status ? &*row.sample.status : nullptr;
    const ProcessorRates* rates = row.rates ? &*row.rates : nullptr;
    qint64 messages = 0;
    qint64 bytes = 0;
    if (status) {
        messages = in ? status->input.messages : status->outputMessages();
        bytes = in ? status->input.bytes : status->outputBytes();
    }
    const double messagesPerSecond = !rates ? 0 : in ? rates->inMessages : rates->outMessages;
    const double bytesPerSecond = !rates ? 0 : in ? rates->inBytes : rates->outBytes;
    return QJsonObject{{QStringLiteral("messages"), orNull(status, static_cast<double>(messages))},
                       {QStringLiteral("bytes"), orNull(status, static_cast<double>(bytes))},
                       {QStringLiteral("messagesPerSecond"), orNull(rates, messagesPerSecond)},
                       {QStringLiteral("megabytesPerSecond"), orNull(rates, bytesPerSecond / 1e6)}};
}

// Only the input has them: a producer's socket refuses through its host's ZAP handler, which traces.
QJsonObject refusalsJson(const TopRow& row, QJsonObject in) {
    const ProcessorStatus* status = row.sample.status ? &*row.sample.status : nullptr;
    in.insert(QStringLiteral("refused"), orNull(status, status ? static_cast<double>(status->refused) : 0));
    in.insert(QStringLiteral("refusal"),
              status && !status->refusal.isEmpty() ? QJsonValue(status->refusal) : QJsonValue());
    return in;
}

QJsonValue deliveryJson(const Delivery& d) {
    if (d.verdict == Verdict::None) {
        return QJsonValue();
    }
    const bool counted =
        d.verdict == Verdict::Filtered || d.verdict == Verdict::Delivered || d.verdict == Verdict::Lost;
    const bool judged = counted && d.verdict != Verdict::Filtered;
    return QJsonObject{{QStringLiteral("verdict"), QLatin1String(verdictName(d.verdict))},
                       {QStringLiteral("published"), orNull(counted, std::max(0.0, d.published))},
                       {QStringLiteral("received"), orNull(counted, static_cast<double>(d.received))},
                       {QStringLiteral("lost"), orNull(judged, static_cast<double>(d.lost))},
                       {QStringLiteral("from"), QJsonArray::fromStringList(d.producers)},
                       {QStringLiteral("dangling"), QJsonArray::fromStringList(d.dangling)},
                       {QStringLiteral("reason"), d.reason}};
}

// Null on the first sweep, which has no rates.
QJsonValue totalJson(const TopReport& report) {
    if (report.intervalMs <= 0) {
        return QJsonValue();
    }
    const ProcessorRates& sum = report.total;
    return QJsonObject{
        {QStringLiteral("in"), QJsonObject{{QStringLiteral("messagesPerSecond"), sum.inMessages},
                                           {QStringLiteral("megabytesPerSecond"), sum.inBytes / 1e6}}},
        {QStringLiteral("out"), QJsonObject{{QStringLiteral("messagesPerSecond"), sum.outMessages},
                                            {QStringLiteral("megabytesPerSecond"), sum.outBytes / 1e6}}},
        {QStringLiteral("lost"), static_cast<double>(report.lost)}};
}

QJsonObject rowJson(const TopRow& row) {
    const ProcessorSample& sample = row.sample;
    return QJsonObject{
        {QStringLiteral("group"), sample.group},
        {QStringLiteral("name"), sample.name},
        {QStringLiteral("type"), sample.status ? QJsonValue(sample.status->type) : QJsonValue()},
        {QStringLiteral("problem"), sample.status ? QJsonValue() : QJsonValue(sample.problem)},
        {QStringLiteral("in"), refusalsJson(row, flowJson(row, true))},
        {QStringLiteral("out"), flowJson(row, false)},
        {QStringLiteral("delivery"), deliveryJson(row.delivery)}};
}

}  // namespace

QString TopFormatter::table(const TopReport& report) {
    QString heading = QStringLiteral("%1 group(s), %2 processor(s); %3 request(s) in %4 ms")
                          .arg(report.groups)
                          .arg(report.rows.size())
                          .arg(report.requests)
                          .arg(report.sweepMs, 0, 'f', 0);
    if (report.intervalMs > 0) {
        heading += QStringLiteral("; %1 s since the sweep before").arg(report.intervalMs / 1000, 0, 'f', 2);
    }
    TextTable table({false, false, true, true, true, true, true, true, true, false});
    table.add({"PROCESSOR", "TYPE", "IN msg/s", "IN MB/s", "OUT msg/s", "OUT MB/s", "IN total", "OUT total",
               "LOST", "NOTE"});
    for (const TopRow& row : report.rows) {
        const QString type = row.sample.status ? row.sample.status->type : QStringLiteral("?");
        table.add({row.sample.id(), type.isEmpty() ? QStringLiteral("?") : type,
                   rate(row.rates, &ProcessorRates::inMessages, 1, 1),
                   rate(row.rates, &ProcessorRates::inBytes, 1e6, 3),
                   rate(row.rates, &ProcessorRates::outMessages, 1, 1),
                   rate(row.rates, &ProcessorRates::outBytes, 1e6, 3), total(row, true), total(row, false),
                   lostCell(row.delivery), note(row)});
    }
    if (report.intervalMs > 0) {
        const std::optional<ProcessorRates> total = report.total;
        table.add({QStringLiteral("TOTAL"), QString(), rate(total, &ProcessorRates::inMessages, 1, 1),
                   rate(total, &ProcessorRates::inBytes, 1e6, 3),
                   rate(total, &ProcessorRates::outMessages, 1, 1),
                   rate(total, &ProcessorRates::outBytes, 1e6, 3), QString(), QString(),
                   QString::number(report.lost), QString()});
    }
    QString text = heading + QLatin1Char('\n') + table.render();
    for (const QString& problem : report.problems) {
        text += QLatin1Char('\n') + problem;
    }
    return text;
}

QString TopFormatter::json(const TopReport& report) {
    QJsonArray processors;
    for (const TopRow& row : report.rows) {
        processors.append(rowJson(row));
    }
    const QJsonObject value{{QStringLiteral("groups"), report.groups},
                            {QStringLiteral("requests"), report.requests},
                            {QStringLiteral("sweepMs"), report.sweepMs},
                            {QStringLiteral("intervalMs"), report.intervalMs},
                            {QStringLiteral("problems"), QJsonArray::fromStringList(report.problems)},
                            {QStringLiteral("processors"), processors},
                            {QStringLiteral("total"), totalJson(report)}};
    return JsonReply::envelope(ExitStatus::Success, QString(), value);
}

}  // namespace zaltools
