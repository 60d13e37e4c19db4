// Whether a consumer received, between two sweeps, what the streams that feed it published.
#pragma once

#include <QString>
#include <QStringList>

#include "zaltools/streamgraph.h"
#include "zaltools/systemsnapshot.h"

namespace zaltools {

struct Delivery {
    enum class Verdict {
        None,       // not a consumer: it has no source
        Unknown,    // the counts to judge by are missing (`reason` says which)
        Dangling,   // a source is bound by no live stream
        Filtered,   // a source takes some topics only: published and received stand side by side
        Delivered,  // it received what was published, but for messages in flight
        Lost,       // it missed `lost` of the messages published
    };
    Verdict verdict = Verdict::None;
    // Published by its producers over the consumer's own interval (estimated from theirs) and
    // received by it; set for Filtered, Delivered and Lost.
    double published = 0;
    qint64 received = 0;
    qint64 lost = 0;
    QStringList dangling;   // the addresses of its dangling sources
    QStringList producers;  // "GROUP/PROCESSOR STREAM" of each stream that feeds it
    QString reason;
};

// The producers' counters are read before the consumer's in a sweep, so each producer's count is
// carried forward to the consumer's reading at the producer's own rate. Messages published but not
// yet received are in flight, not lost: a deficit counts as loss only beyond `inFlight` messages,
// what the producers publish in `inFlightMs` (producers publish in bursts, and a burst may be on
// its way at either reading) and what they publish within the uncertainty of the four readings' times.
class DeliveryCheck {
public:
    static constexpr double inFlight = 16;
    static constexpr double inFlightMs = 20;

    // `graph` is of `now`; both snapshots must outlive the check.
    DeliveryCheck(const SystemSnapshot& before, const StreamGraph& graph);

    Delivery of(int consumer) const;

private:
    // Adds what the edge's stream published to `delivery` and its uncertainty to `tolerance`;
    // false, with the reason set, when its counts are missing.
    bool addPublished(const StreamEdge& edge, const ProcessorSample& consumerBefore, Delivery& delivery,
                      double& tolerance) const;
    // Dangling and unknown sources; false when they leave nothing to count.
    bool judgeSources(int consumer, Delivery& delivery, bool& filtered) const;

    const SystemSnapshot& before;
    const StreamGraph& graph;
};

}  // namespace zaltools
