#include "zaltools/hostrunners.h"

#include "zal/transport/constants.h"
#include "zaltools/jsonreply.h"

namespace zaltools {

HostRunners::HostRunners(HostTable hosts, HostEntry local, QString localLabel, int timeoutMs, Form form)
    : hosts(std::move(hosts)),
      local(std::move(local)),
      localLabel(std::move(localLabel)),
      timeoutMs(timeoutMs),
      form(form) {}

HostRunners::~HostRunners() = default;

const HostEntry* HostRunners::entry(const QString& host) const {
    return host.isEmpty() ? &local : hosts.find(host);
}

HostSide HostRunners::side(const QString& host) const {
    return {host.isEmpty() ? localLabel : QLatin1Char('@') + host, entry(host)->endpoint};
}

CommandRunner* HostRunners::runner(const QString& host) {
    const HostEntry* found = entry(host);
    if (found == nullptr) {
        return nullptr;
    }
    std::shared_ptr<CommandRunner>& made = runners[host];
    if (!made) {
        made = HostTable::runnerFor(*found, timeoutMs, form);
    }
    return made.get();
}

CommandResult HostRunners::refused(const Command& command, const QString& text) const {
    CommandResult result;
    result.outcome = Outcome::BadUsage;
    result.text = form == Form::Json || command.json ? JsonReply::ofOutcome(result.status(), text) : text;
    return result;
}

CommandResult HostRunners::execute(const QString& host, const QStringList& words) {
    Command command;
    try {
        command = CommandParser(zal::internalAddressPrefixDefault).parse(words);
    } catch (const std::exception&) {
        // The runner reports the words' mistake as every command's is reported.
        return runner(QString())->execute(words);
    }
    CommandRunner* at = runner(host);
    if (at == nullptr) {
        return refused(command, hosts.unknown(host));
    }
    if (command.fromHost.isEmpty()) {
        return at->execute(command);
    }
    CommandRunner* from = runner(command.fromHost);
    if (from == nullptr) {
        return refused(command, QStringLiteral("connect: --from: %1").arg(hosts.unknown(command.fromHost)));
    }
    const StreamReach reach(side(command.fromHost), side(host));
    return at->execute(command, CommandRunner::Elsewhere{*from, reach});
}

}  // namespace zaltools
