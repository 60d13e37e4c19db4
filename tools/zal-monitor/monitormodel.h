// What the monitor shows of a running system: the latest sweep, each processor's health, and its
// rates over the last minutes. Belongs to the GUI thread; knows no widgets.
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>
#include <memory>

#include "health.h"
#include "zaltools/streamgraph.h"
#include "zaltools/topreport.h"

namespace zalmonitor {

struct RatePoint {
    double atMs = 0;  // when the processor was read, on the steady clock
    zaltools::ProcessorRates rates;
};

class MonitorModel {
public:
    static constexpr double historyMs = 5 * 60 * 1000;
    // How long a loss keeps a consumer marked after the sweep that counted it.
    static constexpr double lossHoldMs = 5000;

    MonitorModel();
    ~MonitorModel();

    // Takes the next sweep; rates are between it and the sweep before, unless the host was lost between.
    void update(const zaltools::SystemSnapshot& snapshot);
    // The host stopped answering: what is shown stays, but the next sweep starts rates afresh.
    void lose();

    int sweeps() const { return count; }
    // Null before the first sweep.
    const zaltools::StreamGraph* graph() const { return streams.get(); }
    const zaltools::TopReport& report() const { return latest; }
    // The row of the processor with that id; null when the latest sweep has none.
    const zaltools::TopRow* row(const QString& id) const;
    Health health(const QString& id) const;
    // Oldest first, at most historyMs old.
    QVector<RatePoint> history(const QString& id) const { return rates.value(id); }
    // A line per group ("group G"), processor ("processor G/P TYPE HEALTH") and edge
    // ("edge G/P STREAM -> G/C"), as the window shows them.
    QStringList describe() const;

private:
    void record(const zaltools::TopRow& row, double nowMs);

    std::unique_ptr<zaltools::SystemSnapshot> before;
    std::unique_ptr<zaltools::SystemSnapshot> now;
    std::unique_ptr<zaltools::StreamGraph> streams;  // of `now`
    zaltools::TopReport latest;
    QHash<QString, QVector<RatePoint>> rates;
    QHash<QString, double> lastLossMs;
    QHash<QString, Health> healths;
    int count = 0;
    bool broken = false;  // lost since the last sweep
};

}  // namespace zalmonitor
