// zalctl top: every processor's rates, totals and deliveries, a sweep at a time until Ctrl-C.
#pragma once

#include <QString>
#include <QStringList>
#include <csignal>
#include <functional>

#include "zaltools/commandrunner.h"
#include "zaltools/hosttable.h"
#include "zaltools/requestpacer.h"
#include "zaltools/systemsnapshot.h"

class TopCommand {
public:
    // `words` start with "top". Throws UsageError when they are not its usage.
    explicit TopCommand(const QStringList& words);

    static QString usage();

    // Sweeps through `runner` once an interval and prints every sweep (the first without rates);
    // with --once only the second. Ends when `interrupted` is set (status 0) or when the first sweep fails
    // (that failure's status); a later failure is printed and the sweeps go on.
    int run(zaltools::CommandRunner& runner, const volatile std::sig_atomic_t& interrupted) const;
    // As run, sweeping every host of `hosts` into one table, each through its own frontend.
    int runAllHosts(const zaltools::HostTable& hosts, int timeoutMs,
                    const volatile std::sig_atomic_t& interrupted) const;

    bool allHosts() const { return everyHost; }

private:
    // Takes a snapshot, producers in `first` asked first, as SystemSweep::take does.
    using Take = std::function<bool(const QStringList& first, zaltools::SystemSnapshot& now,
                                    zaltools::CommandResult& failed, bool& stopped)>;
    int loop(zaltools::RequestPacer& pacer, const Take& take) const;
    void show(const zaltools::SystemSnapshot* before, const zaltools::SystemSnapshot& now) const;

    QString group;  // empty: every group
    bool once = false;
    bool json = false;
    bool everyHost = false;
    int intervalMs = 1000;
    int requestsPerSecond = 200;
};
