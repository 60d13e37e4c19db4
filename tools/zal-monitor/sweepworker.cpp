#include "sweepworker.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>

#include "zaltools/streamgraph.h"
#include "zaltools/systemsweep.h"

namespace zalmonitor {

SweepWorker::SweepWorker(const MonitorOptions& options, const std::atomic<bool>& stopping)
    : options(options), pacer(requestsPerSecond, stopping), timer(this) {
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, this, &SweepWorker::sweep);
}

SweepWorker::~SweepWorker() = default;

void SweepWorker::begin() {
    timer.start(0);
}

void SweepWorker::select(const QString& id) {
    selected = id;
}

void SweepWorker::finish() {
    timer.stop();
    runner.reset();
    QThread::currentThread()->quit();
}

zaltools::CommandRunner& SweepWorker::connection() {
    if (!runner) {
        runner = std::make_unique<zaltools::CommandRunner>(options.endpoint, options.timeoutMs);
        if (!options.curveServerKey.empty()) {
            runner->useCurve(options.curveServerKey, options.curveClientKeys);
        }
    }
    return *runner;
}

void SweepWorker::sweep() {
    QElapsedTimer took;
    took.start();
    zaltools::SystemSweep sweeper(connection(), pacer);
    zaltools::SystemSnapshot snapshot;
    zaltools::CommandResult failed;
    bool interrupted = false;
    if (sweeper.take(QString(), order, snapshot, failed, interrupted)) {
        order = zaltools::StreamGraph(snapshot).sweepOrder();
        emit swept(snapshot);
        readParameters();
    } else if (interrupted) {
        return;
    } else {
        // A fresh connection for the next try, so nothing of the lost host's is left queued.
        runner.reset();
        emit lost(failed.text);
    }
    timer.start(static_cast<int>(std::max<qint64>(0, sweepIntervalMs - took.elapsed())));
}

bool SweepWorker::get(const QString& parameter, QString& value) {
    if (!pacer.next()) {
        return false;
    }
    const zaltools::CommandResult result =
        connection().execute({QStringLiteral("get"), selected.section('/', 0, 0), selected.section('/', 1),
                              parameter, QStringLiteral("--json")});
    if (result.status() != zaltools::ExitStatus::Success) {
        return false;
    }
    const QJsonValue given = QJsonDocument::fromJson(result.text.toUtf8()).object().value("value");
    value = given.toVariant().toString();
    return true;
}

void SweepWorker::readParameters() {
    if (selected.isEmpty()) {
        return;
    }
    if (described != selected) {
        QString json;
        descriptions.clear();
        // A processor too busy to answer in time is asked again after the next sweep.
        if (get(zaltools::ParameterDescription::parameterName(), json)) {
            descriptions = zaltools::ParameterDescription::listFrom(json);
            described = selected;
        }
    }
    QStringList values;
    for (const zaltools::ParameterDescription& description : descriptions) {
        QString value;
        const bool readable = description.access != QLatin1String("write-only");
        values << (readable && get(description.name, value) ? value : QString());
    }
    emit parameters(selected, descriptions, values);
}

void SweepWorker::run(const QStringList& words) {
    if (!pacer.next()) {
        return;
    }
    const zaltools::CommandResult result = connection().execute(words);
    emit answered(words, result.status() == zaltools::ExitStatus::Success, result.text);
}

}  // namespace zalmonitor
