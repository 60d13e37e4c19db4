#include "topcommand.h"

#include <unistd.h>

#include <optional>

#include "console.h"
#include "zaltools/allhostssweep.h"
#include "zaltools/commandparser.h"
#include "zaltools/optionwords.h"
#include "zaltools/streamgraph.h"
#include "zaltools/systemsweep.h"
#include "zaltools/topformatter.h"
#include "zaltools/topreport.h"

using namespace zaltools;

namespace {

int positive(const OptionWords& words, const QString& option, int fallback, const QString& what) {
    const QString value = words.single(option);
    if (value.isEmpty() && !words.has(option)) {
        return fallback;
    }
    bool number = false;
    const int parsed = value.toInt(&number);
    if (!number || parsed <= 0) {
        throw UsageError(QStringLiteral("top: %1 '%2' is not a positive number of %3.")
                             .arg(option, value, what)
                             .toStdString());
    }
    return parsed;
}

}  // namespace

TopCommand::TopCommand(const QStringList& words) {
    const OptionWords given(
        QStringLiteral("top"), words.mid(1),
        {QStringLiteral("--interval"), QStringLiteral("--max-requests-per-second")},
        {QStringLiteral("--once"), QStringLiteral("--json"), QStringLiteral("--all-hosts")});
    group = given.optionalGroup(usage());
    once = given.flag(QStringLiteral("--once"));
    everyHost = given.flag(QStringLiteral("--all-hosts"));
    json = given.flag(QStringLiteral("--json")) || Console::json();
    intervalMs = positive(given, QStringLiteral("--interval"), intervalMs, QStringLiteral("milliseconds"));
    requestsPerSecond = positive(given, QStringLiteral("--max-requests-per-second"), requestsPerSecond,
                                 QStringLiteral("requests a second"));
}

QString TopCommand::usage() {
    return QStringLiteral(
        "top [GROUP] [--all-hosts] [--once] [--json] [--interval MS] [--max-requests-per-second N]");
}

int TopCommand::run(CommandRunner& runner, const volatile std::sig_atomic_t& interrupted) const {
    RequestPacer pacer(requestsPerSecond, &interrupted);
    SystemSweep sweep(runner, pacer);
    return loop(pacer, [&](const QStringList& first, SystemSnapshot& now, CommandResult& failed,
                           bool& stopped) { return sweep.take(group, first, now, failed, stopped); });
}

int TopCommand::runAllHosts(const HostTable& hosts, int timeoutMs,
                            const volatile std::sig_atomic_t& interrupted) const {
    RequestPacer pacer(requestsPerSecond, &interrupted);
    AllHostsSweep sweep(hosts, timeoutMs, pacer);
    return loop(pacer, [&](const QStringList& first, SystemSnapshot& now, CommandResult& failed,
                           bool& stopped) { return sweep.take(group, first, now, failed, stopped); });
}

int TopCommand::loop(RequestPacer& pacer, const Take& take) const {
    std::optional<SystemSnapshot> before;
    QStringList order;
    const auto interval = std::chrono::milliseconds(intervalMs);
    for (auto next = RequestPacer::Clock::now();; next += interval) {
        next = std::max(next, RequestPacer::Clock::now());
        if (!pacer.waitUntil(next)) {
            return static_cast<int>(ExitStatus::Success);
        }
        SystemSnapshot now;
        CommandResult failed;
        bool stopped = false;
        if (!take(order, now, failed, stopped)) {
            if (stopped) {
                return static_cast<int>(ExitStatus::Success);
            }
            if (!before) {
                return Console::reportText(failed);
            }
            Console::print(stderr, QStringLiteral("zalctl: top: %1").arg(failed.text));
            continue;
        }
        if (!once || before) {
            show(before ? &*before : nullptr, now);
        }
        if (once && before) {
            return static_cast<int>(ExitStatus::Success);
        }
        order = StreamGraph(now).sweepOrder();
        before = std::move(now);
    }
}

// A terminal shows one table, redrawn in place; anything else gets each after the one before.
void TopCommand::show(const SystemSnapshot* before, const SystemSnapshot& now) const {
    const TopReport report = TopReport::of(before, now);
    if (json) {
        Console::print(stdout, TopFormatter::json(report));
    } else if (!once && isatty(STDOUT_FILENO)) {
        Console::print(stdout, QStringLiteral("\x1b[H\x1b[2J") + TopFormatter::table(report));
    } else {
        Console::print(stdout, TopFormatter::table(report) + (once ? QString() : QStringLiteral("\n")));
    }
    std::fflush(stdout);
}
