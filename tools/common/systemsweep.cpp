#include "zaltools/systemsweep.h"

#include <algorithm>

namespace zaltools {

namespace {

double millisecondsOf(RequestPacer::Clock::time_point time) {
    return std::chrono::duration<double, std::milli>(time.time_since_epoch()).count();
}

bool succeeded(const CommandResult& result) {
    return result.outcome == Outcome::Replied && result.status() == ExitStatus::Success;
}

}  // namespace

SystemSweep::SystemSweep(CommandRunner& runner, RequestPacer& pacer) : runner(runner), pacer(pacer) {}

bool SystemSweep::take(const QString& group, const QStringList& first, SystemSnapshot& snapshot,
                       CommandResult& failed, bool& interrupted) {
    snapshot = SystemSnapshot();
    interrupted = false;
    quickestMs = 0;
    snapshot.startedMs = millisecondsOf(RequestPacer::Clock::now());
    snapshot.everyGroup = group.isEmpty();
    if (!group.isEmpty()) {
        snapshot.groups << group;
    } else if (!list({QStringLiteral("groups")}, snapshot, snapshot.groups, failed, interrupted)) {
        return false;
    }
    for (const QString& name : snapshot.groups) {
        QStringList processors;
        if (!list({QStringLiteral("processors"), name}, snapshot, processors, failed, interrupted)) {
            // Of every group, one deleted or too busy to answer is left out; a group named must answer.
            if (interrupted || !group.isEmpty()) {
                return false;
            }
            snapshot.everyGroup = false;
            snapshot.problems << QStringLiteral("group %1 left out: %2").arg(name, failed.text);
        }
        for (const QString& processor : processors) {
            snapshot.processors << ProcessorSample{name, processor, std::nullopt, {}, 0, 0};
        }
    }
    const auto rank = [&](const ProcessorSample& sample) {
        const qsizetype at = first.indexOf(sample.id());
        return at < 0 ? first.size() : at;
    };
    std::stable_sort(snapshot.processors.begin(), snapshot.processors.end(),
                     [&](const ProcessorSample& a, const ProcessorSample& b) { return rank(a) < rank(b); });
    for (ProcessorSample& processor : snapshot.processors) {
        if (!pacer.next()) {
            interrupted = true;
            return false;
        }
        sample(processor, snapshot);
    }
    snapshot.endedMs = millisecondsOf(RequestPacer::Clock::now());
    return true;
}

bool SystemSweep::list(const QStringList& words, SystemSnapshot& snapshot, QStringList& names,
                       CommandResult& failed, bool& interrupted) {
    if (!pacer.next()) {
        interrupted = true;
        return false;
    }
    ++snapshot.requests;
    double startedMs = 0;
    double endedMs = 0;
    const CommandResult result = timed(words, startedMs, endedMs);
    if (!succeeded(result)) {
        failed = result;
        return false;
    }
    names = result.reply.GetParameter().split(QLatin1Char(','), Qt::SkipEmptyParts);
    return true;
}

CommandResult SystemSweep::timed(const QStringList& words, double& startedMs, double& endedMs) {
    startedMs = millisecondsOf(RequestPacer::Clock::now());
    CommandResult result = runner.execute(words);
    endedMs = millisecondsOf(RequestPacer::Clock::now());
    const double took = endedMs - startedMs;
    quickestMs = quickestMs > 0 ? std::min(quickestMs, took) : took;
    return result;
}

void SystemSweep::sample(ProcessorSample& processor, SystemSnapshot& snapshot) {
    ++snapshot.requests;
    double startedMs = 0;
    double endedMs = 0;
    const CommandResult result =
        timed({QStringLiteral("get"), processor.group, processor.name, ProcessorStatus::parameterName()},
              startedMs, endedMs);
    const double wayBack = std::min(quickestMs, endedMs - startedMs);
    processor.atMs = endedMs - wayBack / 2;
    processor.uncertaintyMs = wayBack / 2;
    if (!succeeded(result)) {
        processor.problem = result.text;
        return;
    }
    processor.status = ProcessorStatus::fromJson(result.reply.GetParameter(), processor.problem);
}

}  // namespace zaltools
