// Takes snapshots of a running system through the command layer, a bounded number of requests a second.
#pragma once

#include <QString>
#include <QStringList>

#include "zaltools/commandrunner.h"
#include "zaltools/requestpacer.h"
#include "zaltools/systemsnapshot.h"

namespace zaltools {

// A sweep asks the group manager for its groups (unless one group is named), each group for its
// processors, and each processor for its zal.status: one request each, through `runner`, as
// `groups`, `processors` and `get` would ask them. Uses the runner's thread.
class SystemSweep {
public:
    // `runner` and `pacer` must outlive the sweep; `runner` should show results as text.
    SystemSweep(CommandRunner& runner, RequestPacer& pacer);

    // Every group, or only `group` when it is not empty. Processors whose ids are in `first` are
    // asked in that order before the others, so that producers are read before their consumers.
    // False when the groups or the named group's processors could not be listed (`failed` then
    // says why), or when the pacer was interrupted (`interrupted` is then set).
    bool take(const QString& group, const QStringList& first, SystemSnapshot& snapshot, CommandResult& failed,
              bool& interrupted);

private:
    // The names a listing command gives; false with `failed` set when it gives none.
    bool list(const QStringList& words, SystemSnapshot& snapshot, QStringList& names, CommandResult& failed,
              bool& interrupted);
    // Reads the processor's status into `processor`, or why there is none.
    void sample(ProcessorSample& processor, SystemSnapshot& snapshot);

    // Runs one request of the sweep, timing it; the time it started and ended.
    CommandResult timed(const QStringList& words, double& startedMs, double& endedMs);

    CommandRunner& runner;
    RequestPacer& pacer;
    double quickestMs = 0;  // the quickest request of the sweep so far; 0 before the first
};

}  // namespace zaltools
