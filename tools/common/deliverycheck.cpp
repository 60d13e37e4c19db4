#include "zaltools/deliverycheck.h"

#include <cmath>

namespace zaltools {

DeliveryCheck::DeliveryCheck(const SystemSnapshot& before, const StreamGraph& graph)
    : before(before), graph(graph) {}

Delivery DeliveryCheck::of(int consumer) const {
    const ProcessorSample& now = graph.snapshot().processors[consumer];
    Delivery delivery;
    if (!now.status || now.status->sources.isEmpty()) {
        return delivery;
    }
    for (const StreamEdge& edge : graph.into(consumer)) {
        delivery.producers << graph.snapshot().processors[edge.producer].id() + QLatin1Char(' ') +
                                  edge.stream;
    }
    bool filtered = false;
    if (!judgeSources(consumer, delivery, filtered)) {
        return delivery;
    }
    delivery.verdict = Delivery::Verdict::Unknown;
    const int earlier = before.indexOf(now.id());
    if (earlier < 0 || !before.processors[earlier].status) {
        delivery.reason = QStringLiteral("no earlier sample");
        return delivery;
    }
    const ProcessorSample& consumerBefore = before.processors[earlier];
    delivery.received = now.status->input.messages - consumerBefore.status->input.messages;
    if (delivery.received < 0) {
        delivery.reason = QStringLiteral("made anew since the last sample");
        return delivery;
    }
    double tolerance = inFlight;
    for (const StreamEdge& edge : graph.into(consumer)) {
        if (!addPublished(edge, consumerBefore, delivery, tolerance)) {
            return delivery;
        }
    }
    const double deficit = delivery.published - static_cast<double>(delivery.received);
    if (filtered) {
        delivery.verdict = Delivery::Verdict::Filtered;
    } else if (deficit > tolerance) {
        delivery.verdict = Delivery::Verdict::Lost;
        delivery.lost = std::llround(deficit);
    } else {
        delivery.verdict = Delivery::Verdict::Delivered;
    }
    return delivery;
}

bool DeliveryCheck::judgeSources(int consumer, Delivery& delivery, bool& filtered) const {
    bool unknown = false;
    QStringList elsewhere;
    for (const SourceInfo& source : graph.snapshot().processors[consumer].status->sources) {
        filtered = filtered || !source.filters.isEmpty();
        const SourceState state = graph.state(consumer, source.address);
        if (state == SourceState::Dangling) {
            delivery.dangling << source.address;
        } else if (state == SourceState::Elsewhere) {
            elsewhere << source.address;
        }
        unknown = unknown || state == SourceState::Unknown;
    }
    if (!delivery.dangling.isEmpty()) {
        delivery.verdict = Delivery::Verdict::Dangling;
        return false;
    }
    if (unknown || !elsewhere.isEmpty()) {
        delivery.verdict = Delivery::Verdict::Unknown;
        delivery.reason =
            unknown ? QStringLiteral("a source is bound by no stream sampled")
                    : QStringLiteral("%1 is bound on another machine (top --all-hosts sweeps it too)")
                          .arg(elsewhere.join(QStringLiteral(", ")));
        return false;
    }
    return true;
}

bool DeliveryCheck::addPublished(const StreamEdge& edge, const ProcessorSample& consumerBefore,
                                 Delivery& delivery, double& tolerance) const {
    const ProcessorSample& producerNow = graph.snapshot().processors[edge.producer];
    const int earlier = before.indexOf(producerNow.id());
    const ProcessorSample* producerBefore = earlier < 0 ? nullptr : &before.processors[earlier];
    const FlowCount* outNow = producerNow.status->output(edge.stream);
    const FlowCount* outBefore =
        producerBefore && producerBefore->status ? producerBefore->status->output(edge.stream) : nullptr;
    const double span = producerBefore ? producerNow.atMs - producerBefore->atMs : 0;
    if (!outNow || !outBefore || outNow->messages < outBefore->messages || span <= 0) {
        delivery.reason =
            QStringLiteral("no count of %1 %2 in both samples").arg(producerNow.id(), edge.stream);
        return false;
    }
    const double published = static_cast<double>(outNow->messages - outBefore->messages);
    const double perMs = published / span;
    const ProcessorSample& consumerNow = graph.snapshot().processors[edge.consumer];
    delivery.published += published + perMs * ((consumerNow.atMs - producerNow.atMs) -
                                               (consumerBefore.atMs - producerBefore->atMs));
    tolerance += perMs * (inFlightMs + consumerNow.uncertaintyMs + producerNow.uncertaintyMs +
                          consumerBefore.uncertaintyMs + producerBefore->uncertaintyMs);
    return true;
}

}  // namespace zaltools
