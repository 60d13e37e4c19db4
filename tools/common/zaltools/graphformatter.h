// Renders the stream graph of a running system: as an indented tree, as Graphviz source, or as JSON.
#pragma once

#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include "zaltools/streamgraph.h"

namespace zaltools {

// `group` empty: every group. Otherwise that group's processors, and those of other groups that a
// stream connects to them. No final newline.
class GraphFormatter {
public:
    GraphFormatter(const StreamGraph& graph, const QString& group);

    // Per group its processors with their types; per processor its streams with the consumers each
    // feeds, then its sources with the stream feeding each, or "dangling".
    QString text() const;
    // A digraph: a cluster per group, a box per processor, an ellipse per stream, an edge from each
    // stream to each consumer it feeds; a dangling source hangs from a red note of its address.
    QString dot() const;
    // One JSON object as every zalctl --json answer is; its value holds groups and edges.
    QString json() const;

private:
    bool shown(int processor) const;
    QString sourceText(int consumer, const SourceInfo& source) const;
    void appendProcessorText(QStringList& lines, int processor) const;
    void appendClusters(QStringList& lines) const;
    void appendEdges(QStringList& lines) const;
    QJsonArray groupsJson() const;

    const StreamGraph& graph;
    QString selected;
    QVector<bool> visible;  // by the snapshot's processor index
};

}  // namespace zaltools
