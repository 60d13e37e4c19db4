#include "zaltools/topreport.h"

#include <algorithm>

namespace zaltools {

TopReport TopReport::of(const SystemSnapshot* before, const SystemSnapshot& now) {
    const SystemSnapshot none;
    const SystemSnapshot& earlier = before ? *before : none;
    const StreamGraph graph(now);
    const DeliveryCheck check(earlier, graph);
    TopReport report;
    report.groups = static_cast<int>(now.groups.size());
    report.requests = now.requests;
    report.sweepMs = now.endedMs - now.startedMs;
    report.intervalMs = before ? now.startedMs - before->startedMs : 0;
    report.problems = now.problems;
    for (int i = 0; i < now.processors.size(); ++i) {
        TopRow row{now.processors[i], std::nullopt, check.of(i)};
        const int previous = earlier.indexOf(row.sample.id());
        if (previous >= 0) {
            row.rates = ProcessorRates::between(earlier.processors[previous], row.sample);
        }
        if (row.rates) {
            report.total.inMessages += row.rates->inMessages;
            report.total.inBytes += row.rates->inBytes;
            report.total.outMessages += row.rates->outMessages;
            report.total.outBytes += row.rates->outBytes;
        }
        report.lost += row.delivery.verdict == Delivery::Verdict::Lost ? row.delivery.lost : 0;
        report.rows << row;
    }
    std::stable_sort(report.rows.begin(), report.rows.end(), [](const TopRow& a, const TopRow& b) {
        return a.sample.group != b.sample.group ? a.sample.group < b.sample.group
                                                : a.sample.name < b.sample.name;
    });
    return report;
}

}  // namespace zaltools
