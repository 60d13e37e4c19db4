#include "zaltools/graphformatter.h"

#include <QJsonObject>

#include "zaltools/jsonreply.h"

namespace zaltools {

namespace {

// A double-quoted Graphviz string; "\n" in `text` stays a Graphviz line break.
QString quoted(QString text) {
    text.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString typeOf(const ProcessorSample& sample) {
    return sample.status && !sample.status->type.isEmpty() ? sample.status->type : QStringLiteral("?");
}

QString streamNode(const ProcessorSample& producer, const QString& stream) {
    return producer.id() + QLatin1Char(' ') + stream;
}

QString stateName(SourceState state) {
    switch (state) {
        case SourceState::Fed:
            return QStringLiteral("fed");
        case SourceState::Dangling:
            return QStringLiteral("dangling");
        case SourceState::Elsewhere:
            return QStringLiteral("elsewhere");
        case SourceState::Unknown:
            break;
    }
    return QStringLiteral("unknown");
}

}  // namespace

GraphFormatter::GraphFormatter(const StreamGraph& graph, const QString& group)
    : graph(graph), selected(group), visible(graph.snapshot().processors.size(), false) {
    const QVector<ProcessorSample>& processors = graph.snapshot().processors;
    for (int i = 0; i < processors.size(); ++i) {
        visible[i] = visible[i] || group.isEmpty() || processors[i].group == group;
    }
    for (const StreamEdge& edge : graph.edges()) {
        const bool inGroup =
            processors[edge.producer].group == group || processors[edge.consumer].group == group;
        visible[edge.producer] = visible[edge.producer] || inGroup;
        visible[edge.consumer] = visible[edge.consumer] || inGroup;
    }
}

bool GraphFormatter::shown(int processor) const {
    return visible[processor];
}

QString GraphFormatter::sourceText(int consumer, const SourceInfo& source) const {
    QString line = QStringLiteral("source ") + source.address;
    if (!source.filters.isEmpty()) {
        line += QStringLiteral("  filters ") + source.filters.join(QLatin1Char(','));
    }
    switch (graph.state(consumer, source.address)) {
        case SourceState::Fed:
            for (const StreamEdge& edge : graph.into(consumer)) {
                if (edge.address == source.address) {
                    line += QStringLiteral("  <- ") +
                            streamNode(graph.snapshot().processors[edge.producer], edge.stream);
                }
            }
            return line;
        case SourceState::Dangling:
            return line + QStringLiteral("  dangling: no live stream binds it");
        case SourceState::Elsewhere:
            return line + QStringLiteral("  <- ? (bound on another machine)");
        case SourceState::Unknown:
            break;
    }
    return line + QStringLiteral("  <- ? (no stream sampled binds it)");
}

void GraphFormatter::appendProcessorText(QStringList& lines, int processor) const {
    const ProcessorSample& sample = graph.snapshot().processors[processor];
    if (!sample.status) {
        lines << QStringLiteral("  %1  ?  no status: %2").arg(sample.name, sample.problem);
        return;
    }
    lines << QStringLiteral("  %1  %2").arg(sample.name, typeOf(sample));
    for (const StreamInfo& stream : sample.status->streams) {
        const QString state = !stream.running   ? QString()
                              : *stream.running ? QStringLiteral("  running")
                                                : QStringLiteral("  stopped");
        lines << QStringLiteral("    stream %1  %2%3")
                     .arg(stream.name, stream.addresses.join(QLatin1Char(',')), state);
        for (const StreamEdge& edge : graph.outOf(processor)) {
            if (edge.stream == stream.name) {
                lines << QStringLiteral("      -> ") + graph.snapshot().processors[edge.consumer].id();
            }
        }
    }
    for (const SourceInfo& source : sample.status->sources) {
        lines << QStringLiteral("    ") + sourceText(processor, source);
    }
}

QString GraphFormatter::text() const {
    const SystemSnapshot& snapshot = graph.snapshot();
    QStringList lines;
    for (const QString& group : snapshot.groups) {
        QStringList processors;
        for (int i = 0; i < snapshot.processors.size(); ++i) {
            if (shown(i) && snapshot.processors[i].group == group) {
                appendProcessorText(processors, i);
            }
        }
        if (selected.isEmpty() || group == selected || !processors.isEmpty()) {
            lines << group
                  << (processors.isEmpty() ? QStringList{QStringLiteral("  (no processors)")} : processors);
        }
    }
    return (lines + snapshot.problems).join(QLatin1Char('\n'));
}

void GraphFormatter::appendClusters(QStringList& lines) const {
    const SystemSnapshot& snapshot = graph.snapshot();
    for (const QString& group : snapshot.groups) {
        QStringList nodes;
        for (int i = 0; i < snapshot.processors.size(); ++i) {
            const ProcessorSample& sample = snapshot.processors[i];
            if (!shown(i) || sample.group != group) {
                continue;
            }
            nodes << QStringLiteral("    %1 [shape=box, label=%2];")
                         .arg(quoted(sample.id()), quoted(sample.name + QLatin1Char('\n') + typeOf(sample)));
            for (const StreamInfo& stream : sample.status ? sample.status->streams : QVector<StreamInfo>()) {
                nodes << QStringLiteral("    %1 [shape=ellipse, label=%2];")
                             .arg(quoted(streamNode(sample, stream.name)),
                                  quoted(stream.name + QLatin1Char('\n') +
                                         stream.addresses.join(QLatin1Char('\n'))));
            }
        }
        if (!nodes.isEmpty() || group == selected) {
            lines << QStringLiteral("  subgraph %1 {").arg(quoted(QStringLiteral("cluster ") + group))
                  << QStringLiteral("    label=%1;").arg(quoted(group)) << nodes << QStringLiteral("  }");
        }
    }
}

// Each producer to its streams, each stream to the consumers it feeds, each source no stream feeds
// from a note of its address.
void GraphFormatter::appendEdges(QStringList& lines) const {
    const QVector<ProcessorSample>& processors = graph.snapshot().processors;
    for (int i = 0; i < processors.size(); ++i) {
        if (!shown(i) || !processors[i].status) {
            continue;
        }
        for (const StreamInfo& stream : processors[i].status->streams) {
            lines << QStringLiteral("  %1 -> %2;")
                         .arg(quoted(processors[i].id()), quoted(streamNode(processors[i], stream.name)));
        }
        for (const SourceInfo& source : processors[i].status->sources) {
            const SourceState state = graph.state(i, source.address);
            const QString filters =
                source.filters.isEmpty()
                    ? QString()
                    : QStringLiteral(", label=%1").arg(quoted(source.filters.join(QLatin1Char(','))));
            if (state == SourceState::Fed) {
                for (const StreamEdge& edge : graph.into(i)) {
                    if (edge.address == source.address) {
                        lines << QStringLiteral("  %1 -> %2 [%3];")
                                     .arg(quoted(streamNode(processors[edge.producer], edge.stream)),
                                          quoted(processors[i].id()),
                                          QStringLiteral("style=solid") + filters);
                    }
                }
                continue;
            }
            const QString node = quoted(stateName(state) + QLatin1Char(' ') + source.address);
            const QString colour =
                state == SourceState::Dangling ? QStringLiteral("red") : QStringLiteral("grey");
            lines << QStringLiteral("  %1 [shape=note, color=%2, fontcolor=%2, label=%3];")
                         .arg(node, colour,
                              quoted(source.address + QStringLiteral("\n(") + stateName(state) +
                                     QLatin1Char(')')))
                  << QStringLiteral("  %1 -> %2 [style=dashed, color=%3%4];")
                         .arg(node, quoted(processors[i].id()), colour, filters);
        }
    }
}

QString GraphFormatter::dot() const {
    QStringList lines{QStringLiteral("digraph zal {"), QStringLiteral("  rankdir=LR;")};
    appendClusters(lines);
    appendEdges(lines);
    lines << QStringLiteral("}");
    return lines.join(QLatin1Char('\n'));
}

QJsonArray GraphFormatter::groupsJson() const {
    const SystemSnapshot& snapshot = graph.snapshot();
    QJsonArray groups;
    for (const QString& group : snapshot.groups) {
        QJsonArray processors;
        for (int i = 0; i < snapshot.processors.size(); ++i) {
            const ProcessorSample& sample = snapshot.processors[i];
            if (!shown(i) || sample.group != group) {
                continue;
            }
            QJsonArray streams;
            QJsonArray sources;
            for (const StreamInfo& stream : sample.status ? sample.status->streams : QVector<StreamInfo>()) {
                streams.append(
                    QJsonObject{{QStringLiteral("name"), stream.name},
                                {QStringLiteral("addresses"), QJsonArray::fromStringList(stream.addresses)},
                                {QStringLiteral("running"),
                                 stream.running ? QJsonValue(*stream.running) : QJsonValue()}});
            }
            for (const SourceInfo& source : sample.status ? sample.status->sources : QVector<SourceInfo>()) {
                sources.append(
                    QJsonObject{{QStringLiteral("address"), source.address},
                                {QStringLiteral("filters"), QJsonArray::fromStringList(source.filters)},
                                {QStringLiteral("state"), stateName(graph.state(i, source.address))}});
            }
            processors.append(QJsonObject{
                {QStringLiteral("name"), sample.name},
                {QStringLiteral("type"), sample.status ? QJsonValue(sample.status->type) : QJsonValue()},
                {QStringLiteral("problem"), sample.status ? QJsonValue() : QJsonValue(sample.problem)},
                {QStringLiteral("streams"), streams},
                {QStringLiteral("sources"), sources}});
        }
        if (selected.isEmpty() || group == selected || !processors.isEmpty()) {
            groups.append(
                QJsonObject{{QStringLiteral("name"), group}, {QStringLiteral("processors"), processors}});
        }
    }
    return groups;
}

QString GraphFormatter::json() const {
    const QVector<ProcessorSample>& processors = graph.snapshot().processors;
    QJsonArray edges;
    for (const StreamEdge& edge : graph.edges()) {
        if (shown(edge.producer) && shown(edge.consumer)) {
            edges.append(QJsonObject{{QStringLiteral("from"), processors[edge.producer].id()},
                                     {QStringLiteral("stream"), edge.stream},
                                     {QStringLiteral("to"), processors[edge.consumer].id()},
                                     {QStringLiteral("address"), edge.address}});
        }
    }
    const QJsonObject value{
        {QStringLiteral("groups"), groupsJson()},
        {QStringLiteral("edges"), edges},
        {QStringLiteral("problems"), QJsonArray::fromStringList(graph.snapshot().problems)}};
    return JsonReply::envelope(ExitStatus::Success, QString(), value);
}

}  // namespace zaltools
