#include "zaltools/allhostssweep.h"

#include "zaltools/snapshotmerge.h"

namespace zaltools {

AllHostsSweep::AllHostsSweep(const HostTable& table, int timeoutMs, RequestPacer& pacer) {
    for (const HostEntry& entry : table.entries()) {
        Host host{entry, HostTable::runnerFor(entry, timeoutMs), nullptr};
        host.sweep = std::make_unique<SystemSweep>(*host.runner, pacer);
        hosts.push_back(std::move(host));
    }
}

AllHostsSweep::~AllHostsSweep() = default;

bool AllHostsSweep::take(const QString& group, const QStringList& first, SystemSnapshot& snapshot,
                         CommandResult& failed, bool& interrupted) {
    snapshot = SystemSnapshot();
    bool answered = false;
    for (Host& host : hosts) {
        const QString prefix = QLatin1Char('@') + host.entry.name + QLatin1Char('/');
        QStringList own;
        for (const QString& id : first) {
            if (id.startsWith(prefix)) {
                own << id.mid(prefix.size());
            }
        }
        SystemSnapshot taken;
        if (host.sweep->take(group, own, taken, failed, interrupted)) {
            SnapshotMerge::add(snapshot, taken, host.entry);
            answered = true;
        } else if (interrupted) {
            return false;
        } else {
            SnapshotMerge::addSilent(snapshot, host.entry, failed.text);
        }
    }
    if (!answered) {
        failed.text = snapshot.problems.join(QStringLiteral("; "));
    }
    return answered;
}

}  // namespace zaltools
