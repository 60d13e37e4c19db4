#include "parameterwatch.h"

namespace {
constexpr int watchIntervalMs = 1000;
// Below the interval, so that slow answers never pile up.
constexpr int watchTimeoutMs = 900;
}  // namespace

ParameterWatch::ParameterWatch(const std::string& frontend, const zaltools::HostTable& hosts,
                               QTextStream& out, QObject* parent)
    : QObject(parent), hosts(hosts), out(out) {
    runners.insert(QString(), std::make_shared<zaltools::CommandRunner>(frontend, watchTimeoutMs));
    connect(&timer, &QTimer::timeout, this, &ParameterWatch::tick);
    timer.start(watchIntervalMs);
}

void ParameterWatch::add(const zaltools::ParameterPoll& poll, const QString& host) {
    std::shared_ptr<zaltools::CommandRunner>& runner = runners[host];
    if (!runner) {
        runner = zaltools::HostTable::runnerFor(*hosts.find(host), watchTimeoutMs);
    }
    polls.emplace_back(poll, runner.get());
}

QStringList ParameterWatch::poll() {
    QStringList lines;
    for (const auto& [watched, runner] : polls) {
        std::optional<zaltools::CommandResult> failed;
        lines << watched.round(*runner, failed);
    }
    return lines;
}

void ParameterWatch::tick() {
    // A carriage return keeps the progress on one line in a terminal.
    out << '\r' << poll().join(QStringLiteral("   ")) << "   ";
    out.flush();
}

void ParameterWatch::printSummary() {
    timer.stop();
    out << '\n';
    for (const QString& line : poll()) {
        out << "summary " << line << '\n';
    }
    out.flush();
}
