// Who feeds whom in one snapshot: an edge from each stream to every source whose address matches
// one of the stream's addresses.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include "zaltools/systemsnapshot.h"

namespace zaltools {

struct StreamEdge {
    int producer = -1;  // index in the snapshot's processors
    QString stream;     // the producer's stream
    int consumer = -1;  // index in the snapshot's processors
    QString address;    // the consumer's source address
};

// What is known of one source of a processor.
enum class SourceState {
    Fed,       // a stream of the snapshot binds its address
    Dangling,  // no live stream does: the snapshot is complete and binds it nowhere
    Unknown,   // none of the snapshot does, but a processor or group it did not see may
    // None does, but its tcp address names a machine the snapshot did not sweep, whose stream may
    Elsewhere,
};

// Refers to the snapshot it was made from, which must outlive it.
class StreamGraph {
public:
    explicit StreamGraph(const SystemSnapshot& snapshot);

    const SystemSnapshot& snapshot() const { return shot; }
    const QVector<StreamEdge>& edges() const { return all; }
    QVector<StreamEdge> into(int consumer) const;
    QVector<StreamEdge> outOf(int producer) const;
    SourceState state(int consumer, const QString& address) const;
    // The ids of the snapshot's processors, each producer before the consumers it feeds (but in a
    // cycle), otherwise in the snapshot's order.
    QStringList sweepOrder() const;

private:
    const SystemSnapshot& shot;
    QVector<StreamEdge> all;
};

}  // namespace zaltools
