// One sweep of `zalctl top` as it is shown: every processor sampled, with its rates and, for a
// consumer, whether it received what its producers published.
#pragma once

#include <QVector>
#include <optional>

#include "zaltools/deliverycheck.h"
#include "zaltools/processorrates.h"
#include "zaltools/systemsnapshot.h"

namespace zaltools {

struct TopRow {
    ProcessorSample sample;
    std::optional<ProcessorRates> rates;  // none on a processor's first sample
    Delivery delivery;
};

struct TopReport {
    QVector<TopRow> rows;  // by group, then by name
    int groups = 0;
    int requests = 0;       // sent by the sweep
    double sweepMs = 0;     // how long the sweep took
    double intervalMs = 0;  // since the sweep before; 0 for the first
    QStringList problems;   // what the sweep could not learn
    // The sums over every row with rates, and of the messages judged lost.
    ProcessorRates total;
    qint64 lost = 0;

    // `before` is the sweep before `now`, or null for the first.
    static TopReport of(const SystemSnapshot* before, const SystemSnapshot& now);
};

}  // namespace zaltools
