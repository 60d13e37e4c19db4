// Places the processors of a stream graph in layers, producers left of the consumers they feed.
#pragma once

#include <QPointF>
#include <QString>
#include <QVector>

#include "zaltools/streamgraph.h"

namespace zalmonitor {

struct LayoutNode {
    int processor = -1;  // index in the snapshot
    QString id;          // GROUP/PROCESSOR
    int layer = 0;       // 0: fed by no processor
    int row = 0;         // within its layer, by id
    QPointF position;    // of the node's centre
};

struct LayoutEdge {
    int from = -1;  // index in `nodes`
    int to = -1;
    QString stream;
};

// Deterministic: the same graph gives the same places whatever order the sweep asked in. A node's
// layer is the longest chain of streams leading to it; a cycle is cut where it would revisit a node.
class GraphLayout {
public:
    static constexpr double columnWidth = 230;
    static constexpr double rowHeight = 90;

    explicit GraphLayout(const zaltools::StreamGraph& graph);

    const QVector<LayoutNode>& nodes() const { return placed; }
    const QVector<LayoutEdge>& edges() const { return links; }
    // The index in `nodes` of the processor with that id; -1 when it is not there.
    int indexOf(const QString& id) const;

private:
    void assignLayers();
    int depth(int node, QVector<int>& memo, QVector<bool>& onPath) const;

    QVector<LayoutNode> placed;  // sorted by id
    QVector<LayoutEdge> links;
    QVector<QVector<int>> feeders;  // by node: the nodes whose streams feed it
};

}  // namespace zalmonitor
