// Takes one snapshot of every host of a hosts file, each through a runner of its own.
#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "zaltools/commandrunner.h"
#include "zaltools/hosttable.h"
#include "zaltools/requestpacer.h"
#include "zaltools/systemsnapshot.h"
#include "zaltools/systemsweep.h"

namespace zaltools {

// The hosts are swept one after another with one pacer, so that the bound on requests a second
// holds for all of them together. Uses the thread that constructs it.
class AllHostsSweep {
public:
    // `pacer` must outlive the sweep. Throws zal::CurveKeyError for a host whose keys cannot be used.
    AllHostsSweep(const HostTable& hosts, int timeoutMs, RequestPacer& pacer);
    ~AllHostsSweep();

    // As SystemSweep::take, over every host: `group` is asked at each, and `first` holds merged
    // ids ("@HOST/GROUP/PROCESSOR"). A host that does not answer is a problem of the snapshot;
    // false (with `failed` the last host's failure) only when none answers or when interrupted.
    bool take(const QString& group, const QStringList& first, SystemSnapshot& snapshot, CommandResult& failed,
              bool& interrupted);

private:
    struct Host {
        HostEntry entry;
        std::unique_ptr<CommandRunner> runner;
        std::unique_ptr<SystemSweep> sweep;
    };
    std::vector<Host> hosts;
};

}  // namespace zaltools
