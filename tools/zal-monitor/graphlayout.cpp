#include "graphlayout.h"

#include <QMap>
#include <algorithm>
#include <tuple>

namespace zalmonitor {

GraphLayout::GraphLayout(const zaltools::StreamGraph& graph) {
    const zaltools::SystemSnapshot& snapshot = graph.snapshot();
    for (int i = 0; i < snapshot.processors.size(); ++i) {
        LayoutNode node;
        node.processor = i;
        node.id = snapshot.processors[i].id();
        placed.append(node);
    }
    std::sort(placed.begin(), placed.end(),
              [](const LayoutNode& a, const LayoutNode& b) { return a.id < b.id; });
    QVector<int> nodeOf(snapshot.processors.size(), -1);
    for (int n = 0; n < placed.size(); ++n) {
        nodeOf[placed[n].processor] = n;
    }
    feeders.resize(placed.size());
    for (const zaltools::StreamEdge& edge : graph.edges()) {
        const LayoutEdge link{nodeOf[edge.producer], nodeOf[edge.consumer], edge.stream};
        const bool known = std::any_of(links.begin(), links.end(), [&](const LayoutEdge& l) {
            return l.from == link.from && l.to == link.to && l.stream == link.stream;
        });
        if (!known) {
            links.append(link);
            feeders[link.to].append(link.from);
        }
    }
    std::sort(links.begin(), links.end(), [](const LayoutEdge& a, const LayoutEdge& b) {
        return std::tie(a.from, a.to, a.stream) < std::tie(b.from, b.to, b.stream);
    });
    assignLayers();
}

int GraphLayout::indexOf(const QString& id) const {
    for (int n = 0; n < placed.size(); ++n) {
        if (placed[n].id == id) {
            return n;
        }
    }
    return -1;
}

void GraphLayout::assignLayers() {
    QVector<int> memo(placed.size(), -1);
    QVector<bool> onPath(placed.size(), false);
    QMap<int, int> rowsInLayer;
    // Nodes are visited by id, so rows within a layer follow the ids.
    for (int n = 0; n < placed.size(); ++n) {
        LayoutNode& node = placed[n];
        node.layer = depth(n, memo, onPath);
        node.row = rowsInLayer[node.layer]++;
        node.position = QPointF(node.layer * columnWidth, node.row * rowHeight);
    }
}

int GraphLayout::depth(int node, QVector<int>& memo, QVector<bool>& onPath) const {
    if (memo[node] >= 0) {
        return memo[node];
    }
    onPath[node] = true;
    int deepest = 0;
    for (int feeder : feeders[node]) {
        if (!onPath[feeder]) {
            deepest = std::max(deepest, depth(feeder, memo, onPath) + 1);
        }
    }
    onPath[node] = false;
    memo[node] = deepest;
    return deepest;
}

}  // namespace zalmonitor
