#include "sweepworker.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <chrono>
#include <utility>

#include "zaltools/streamgraph.h"
#include "zaltools/systemsweep.h"

namespace zalmonitor {

SweepWorker::SweepWorker(const MonitorOptions& options)
    : options(options), pacer(requestsPerSecond, stopping) {}

SweepWorker::~SweepWorker() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

void SweepWorker::start() {
    thread = std::thread([this] { loop(); });
}

void SweepWorker::select(const QString& id) {
    const std::lock_guard<std::mutex> lock(mutex);
    selected = id;
}

void SweepWorker::run(const QStringList& words) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        requests.push_back(words);
    }
    wake.notify_all();
}

std::vector<WorkerReport> SweepWorker::take() {
    const std::lock_guard<std::mutex> lock(mutex);
    return std::exchange(reports, {});
}

void SweepWorker::report(WorkerReport report) {
    const std::lock_guard<std::mutex> lock(mutex);
    reports.push_back(std::move(report));
}

void SweepWorker::loop() {
    auto next = std::chrono::steady_clock::now();
    while (!stopping) {
        QStringList words;
        {
            std::unique_lock<std::mutex> lock(mutex);
            wake.wait_until(lock, next, [this] { return stopping || !requests.empty(); });
            if (!requests.empty()) {
                words = requests.front();
                requests.pop_front();
            }
        }
        if (stopping) {
            break;
        }
        if (!words.isEmpty()) {
            answer(words);
        } else if (std::chrono::steady_clock::now() >= next) {
            next = std::chrono::steady_clock::now() + std::chrono::milliseconds(sweepIntervalMs);
            sweep();
        }
    }
    runner.reset();
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
    zaltools::SystemSweep sweeper(connection(), pacer);
    WorkerReport swept;
    zaltools::CommandResult failed;
    bool interrupted = false;
    if (sweeper.take(QString(), order, swept.snapshot, failed, interrupted)) {
        order = zaltools::StreamGraph(swept.snapshot).sweepOrder();
        report(std::move(swept));
        QString id;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            id = selected;
        }
        readParameters(id);
    } else if (!interrupted) {
        // A fresh connection for the next try, so nothing of the lost host's is left queued.
        runner.reset();
        WorkerReport lost;
        lost.kind = WorkerReport::Kind::Lost;
        lost.text = failed.text;
        report(std::move(lost));
    }
}

bool SweepWorker::get(const QString& id, const QString& parameter, QString& value) {
    if (!pacer.next()) {
        return false;
    }
    const zaltools::CommandResult result =
        connection().execute({QStringLiteral("get"), id.section('/', 0, 0), id.section('/', 1), parameter,
                              QStringLiteral("--json")});
    if (result.status() != zaltools::ExitStatus::Success) {
        return false;
    }
    const QJsonValue given = QJsonDocument::fromJson(result.text.toUtf8()).object().value("value");
    value = given.toVariant().toString();
    return true;
}

void SweepWorker::readParameters(const QString& id) {
    if (id.isEmpty()) {
        return;
    }
    if (described != id) {
        QString json;
        descriptions.clear();
        // A processor too busy to answer in time is asked again after the next sweep.
        if (get(id, zaltools::ParameterDescription::parameterName(), json)) {
            descriptions = zaltools::ParameterDescription::listFrom(json);
            described = id;
        }
    }
    WorkerReport read;
    read.kind = WorkerReport::Kind::Parameters;
    read.id = id;
    read.descriptions = descriptions;
    for (const zaltools::ParameterDescription& description : descriptions) {
        QString value;
        const bool readable = description.access != QLatin1String("write-only");
        read.values << (readable && get(id, description.name, value) ? value : QString());
    }
    report(std::move(read));
}

void SweepWorker::answer(const QStringList& words) {
    if (!pacer.next()) {
        return;
    }
    const zaltools::CommandResult result = connection().execute(words);
    WorkerReport answered;
    answered.kind = WorkerReport::Kind::Answered;
    answered.words = words;
    answered.success = result.status() == zaltools::ExitStatus::Success;
    answered.text = result.text;
    report(std::move(answered));
}

}  // namespace zalmonitor
