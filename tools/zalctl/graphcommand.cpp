#include "graphcommand.h"

#include <QProcess>

#include "console.h"
#include "zaltools/commandparser.h"
#include "zaltools/graphformatter.h"
#include "zaltools/optionwords.h"
#include "zaltools/requestpacer.h"
#include "zaltools/streamgraph.h"
#include "zaltools/systemsweep.h"

using namespace zaltools;

namespace {

// As top's default: a host of hundreds of processors is read in seconds without being slowed.
constexpr int requestsPerSecond = 200;
constexpr int svgTimeoutMs = 30000;

}  // namespace

GraphCommand::GraphCommand(const QStringList& words) {
    const OptionWords given(QStringLiteral("graph"), words.mid(1), {QStringLiteral("--format")},
                            {QStringLiteral("--json")});
    group = given.optionalGroup(usage());
    if (given.has(QStringLiteral("--format"))) {
        format = given.single(QStringLiteral("--format"));
    }
    if (!QStringList{"text", "dot", "svg"}.contains(format)) {
        throw UsageError(
            QStringLiteral("graph: --format '%1' is not text, dot or svg.").arg(format).toStdString());
    }
    json = given.flag(QStringLiteral("--json")) || Console::json();
}

QString GraphCommand::usage() {
    return QStringLiteral("graph [GROUP] [--format text|dot|svg] [--json]");
}

int GraphCommand::run(CommandRunner& runner) const {
    RequestPacer pacer(requestsPerSecond, nullptr);
    SystemSweep sweep(runner, pacer);
    SystemSnapshot snapshot;
    CommandResult failed;
    bool interrupted = false;
    // Every group, even for one: a stream of another group may feed it, and only a whole system
    // tells a dangling source from one fed from elsewhere.
    if (!sweep.take(QString(), {}, snapshot, failed, interrupted)) {
        return Console::reportText(failed);
    }
    if (!group.isEmpty() && !snapshot.groups.contains(group)) {
        const QString known =
            snapshot.groups.isEmpty() ? QStringLiteral("none") : snapshot.groups.join(QStringLiteral(", "));
        return Console::fail(ExitStatus::Error,
                             QStringLiteral("no group '%1' (groups: %2)").arg(group, known));
    }
    const StreamGraph graph(snapshot);
    const GraphFormatter formatter(graph, group);
    if (json) {
        Console::print(stdout, formatter.json());
    } else if (format == QLatin1String("svg")) {
        QString svg;
        if (!toSvg(formatter.dot(), svg)) {
            return Console::fail(ExitStatus::Error, svg);
        }
        Console::print(stdout, svg.trimmed());
    } else {
        Console::print(stdout, format == QLatin1String("dot") ? formatter.dot() : formatter.text());
    }
    return static_cast<int>(ExitStatus::Success);
}

bool GraphCommand::toSvg(const QString& dot, QString& svg) {
    QProcess graphviz;
    graphviz.start(QStringLiteral("dot"), {QStringLiteral("-Tsvg")});
    if (!graphviz.waitForStarted(svgTimeoutMs)) {
        svg =
            QStringLiteral("graph: --format svg needs Graphviz's 'dot' program (Debian package graphviz): %1")
                .arg(graphviz.errorString());
        return false;
    }
    graphviz.write(dot.toUtf8());
    graphviz.closeWriteChannel();
    if (!graphviz.waitForFinished(svgTimeoutMs) || graphviz.exitStatus() != QProcess::NormalExit ||
        graphviz.exitCode() != 0) {
        graphviz.kill();
        svg = QStringLiteral("graph: Graphviz's dot failed: %1")
                  .arg(QString::fromLocal8Bit(graphviz.readAllStandardError()).trimmed());
        return false;
    }
    svg = QString::fromUtf8(graphviz.readAllStandardOutput());
    return true;
}
