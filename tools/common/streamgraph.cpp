#include "zaltools/streamgraph.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include "zaltools/addressmatcher.h"
#include "zaltools/tcpaddress.h"

namespace zaltools {

StreamGraph::StreamGraph(const SystemSnapshot& snapshot) : shot(snapshot) {
    const QVector<ProcessorSample>& processors = snapshot.processors;
    for (int consumer = 0; consumer < processors.size(); ++consumer) {
        if (!processors[consumer].status) {
            continue;
        }
        for (const SourceInfo& source : processors[consumer].status->sources) {
            for (int producer = 0; producer < processors.size(); ++producer) {
                if (!processors[producer].status) {
                    continue;
                }
                for (const StreamInfo& stream : processors[producer].status->streams) {
                    const bool matched = std::any_of(
                        stream.addresses.begin(), stream.addresses.end(),
                        [&](const QString& bound) { return AddressMatcher::matches(source.address, bound); });
                    if (matched) {
                        all.append(StreamEdge{producer, stream.name, consumer, source.address});
                    }
                }
            }
        }
    }
}

QVector<StreamEdge> StreamGraph::into(int consumer) const {
    QVector<StreamEdge> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const StreamEdge& edge) { return edge.consumer == consumer; });
    return found;
}

QVector<StreamEdge> StreamGraph::outOf(int producer) const {
    QVector<StreamEdge> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const StreamEdge& edge) { return edge.producer == producer; });
    return found;
}

SourceState StreamGraph::state(int consumer, const QString& address) const {
    const bool fed = std::any_of(all.begin(), all.end(), [&](const StreamEdge& edge) {
        return edge.consumer == consumer && edge.address == address;
    });
    if (fed) {
        return SourceState::Fed;
    }
    if (!shot.complete()) {
        return SourceState::Unknown;
    }
    const std::optional<TcpAddress> tcp = TcpAddress::parse(address);
    const bool remote = tcp && !tcp->isLoopback() && !tcp->isWildcard() && !shot.machines.contains(tcp->host);
    return remote ? SourceState::Elsewhere : SourceState::Dangling;
}

// A processor's depth is the length of the longest chain of streams that feeds it; relaxing every
// edge as often as there are processors settles it, and caps it in a cycle.
QStringList StreamGraph::sweepOrder() const {
    const int count = static_cast<int>(shot.processors.size());
    QVector<int> depth(count, 0);
    bool changed = true;
    for (int round = 0; changed && round < count; ++round) {
        changed = false;
        for (const StreamEdge& edge : all) {
            if (depth[edge.consumer] <= depth[edge.producer] && depth[edge.producer] < count) {
                depth[edge.consumer] = depth[edge.producer] + 1;
                changed = true;
            }
        }
    }
    QVector<int> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return depth[a] < depth[b]; });
    QStringList ids;
    for (int index : order) {
        ids << shot.processors[index].id();
    }
    return ids;
}

}  // namespace zaltools
