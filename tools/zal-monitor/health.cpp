#include "health.h"

namespace zalmonitor {

namespace {

// A direction that never moved a message counts as idle for ever.
bool idle(const zaltools::FlowCount& flow) {
    return !flow.idleMs || *flow.idleMs > HealthClassifier::idleLimitMs;
}

}  // namespace

Health HealthClassifier::of(const zaltools::TopRow& row, bool lostRecently) {
    using Verdict = zaltools::Delivery::Verdict;
    if (!row.sample.status) {
        return Health::Unknown;
    }
    if (lostRecently || row.delivery.verdict == Verdict::Lost) {
        return Health::Losing;
    }
    if (row.delivery.verdict == Verdict::Dangling) {
        return Health::Dangling;
    }
    const zaltools::ProcessorStatus& status = *row.sample.status;
    bool quiet = idle(status.input);
    for (const zaltools::FlowCount& output : status.outputs) {
        quiet = quiet && idle(output);
    }
    return quiet ? Health::Idle : Health::Running;
}

QString HealthClassifier::name(Health health) {
    switch (health) {
        case Health::Running:
            return QStringLiteral("running");
        case Health::Idle:
            return QStringLiteral("idle");
        case Health::Losing:
            return QStringLiteral("losing");
        case Health::Dangling:
            return QStringLiteral("dangling");
        case Health::Unknown:
            break;
    }
    return QStringLiteral("unknown");
}

}  // namespace zalmonitor
