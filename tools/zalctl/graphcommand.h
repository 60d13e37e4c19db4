// zalctl graph: who feeds whom in a running system, as text, Graphviz source, SVG or JSON.
#pragma once

#include <QString>
#include <QStringList>

#include "zaltools/commandrunner.h"

class GraphCommand {
public:
    // `words` start with "graph". Throws UsageError when they are not its usage.
    explicit GraphCommand(const QStringList& words);

    static QString usage();

    // Takes one snapshot of every group through `runner` and prints the graph; the exit status.
    int run(zaltools::CommandRunner& runner) const;

private:
    // Graphviz's own program turns the source into SVG; false, with `svg` the reason, without it.
    static bool toSvg(const QString& dot, QString& svg);

    QString group;  // empty: every group
    QString format = QStringLiteral("text");
    bool json = false;
};
