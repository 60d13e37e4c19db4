#include "monitormodel.h"

namespace zalmonitor {

MonitorModel::MonitorModel() = default;
MonitorModel::~MonitorModel() = default;

void MonitorModel::update(const zaltools::SystemSnapshot& snapshot) {
    streams.reset();
    before = broken ? nullptr : std::move(now);
    broken = false;
    now = std::make_unique<zaltools::SystemSnapshot>(snapshot);
    streams = std::make_unique<zaltools::StreamGraph>(*now);
    latest = zaltools::TopReport::of(before.get(), *now);
    ++count;
    healths.clear();
    for (const zaltools::TopRow& row : latest.rows) {
        record(row, now->endedMs);
    }
}

void MonitorModel::lose() {
    // `now` stays for the graph still shown; rates never span the gap.
    broken = true;
    lastLossMs.clear();
}

void MonitorModel::record(const zaltools::TopRow& row, double nowMs) {
    const QString id = row.sample.id();
    if (row.delivery.verdict == zaltools::Delivery::Verdict::Lost) {
        lastLossMs[id] = nowMs;
    }
    const bool lostRecently = lastLossMs.contains(id) && nowMs - lastLossMs[id] <= lossHoldMs;
    healths[id] = HealthClassifier::of(row, lostRecently);
    if (row.rates) {
        QVector<RatePoint>& points = rates[id];
        points.append({row.sample.atMs, *row.rates});
        while (!points.isEmpty() && points.first().atMs < row.sample.atMs - historyMs) {
            points.removeFirst();
        }
    }
}

const zaltools::TopRow* MonitorModel::row(const QString& id) const {
    for (const zaltools::TopRow& row : latest.rows) {
        if (row.sample.id() == id) {
            return &row;
        }
    }
    return nullptr;
}

Health MonitorModel::health(const QString& id) const {
    return healths.value(id, Health::Unknown);
}

QStringList MonitorModel::describe() const {
    QStringList lines;
    if (!now) {
        return lines;
    }
    for (const QString& group : now->groups) {
        lines << QStringLiteral("group %1").arg(group);
    }
    for (const zaltools::TopRow& row : latest.rows) {
        const QString type = row.sample.status ? row.sample.status->type : QString();
        lines << QStringLiteral("processor %1 %2 %3")
                     .arg(row.sample.id(), type.isEmpty() ? QStringLiteral("?") : type,
                          HealthClassifier::name(health(row.sample.id())));
    }
    for (const zaltools::StreamEdge& edge : streams->edges()) {
        lines << QStringLiteral("edge %1 %2 -> %3")
                     .arg(now->processors[edge.producer].id(), edge.stream,
                          now->processors[edge.consumer].id());
    }
    return lines;
}

}  // namespace zalmonitor
