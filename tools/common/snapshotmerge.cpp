#include "zaltools/snapshotmerge.h"

#include <algorithm>

#include "zaltools/tcpaddress.h"

namespace zaltools {

namespace {

QString labelOf(const HostEntry& entry) {
    return QLatin1Char('@') + entry.name;
}

void noteMachine(SystemSnapshot& merged, const HostEntry& entry) {
    const std::optional<TcpAddress> frontend = TcpAddress::parse(QString::fromStdString(entry.endpoint));
    if (frontend && !merged.machines.contains(frontend->host)) {
        merged.machines << frontend->host;
    }
}

}  // namespace

QString SnapshotMerge::placed(const QString& address, const HostEntry& entry) {
    std::optional<TcpAddress> tcp = TcpAddress::parse(address);
    if (!tcp) {
        return labelOf(entry) + QLatin1Char(':') + address;
    }
    const QString endpoint = QString::fromStdString(entry.endpoint);
    const std::optional<TcpAddress> frontend = TcpAddress::parse(endpoint);
    if (tcp->isLoopback() && frontend && !frontend->isLoopback()) {
        tcp->host = frontend->host;
    }
    tcp->placeAt(endpoint);
    return tcp->text();
}

void SnapshotMerge::add(SystemSnapshot& merged, const SystemSnapshot& host, const HostEntry& entry) {
    const QString prefix = labelOf(entry) + QLatin1Char('/');
    for (const QString& group : host.groups) {
        merged.groups << prefix + group;
    }
    for (ProcessorSample sample : host.processors) {
        sample.group.prepend(prefix);
        if (sample.status) {
            for (StreamInfo& stream : sample.status->streams) {
                std::transform(stream.addresses.begin(), stream.addresses.end(), stream.addresses.begin(),
                               [&](const QString& address) { return placed(address, entry); });
            }
            for (SourceInfo& source : sample.status->sources) {
                source.address = placed(source.address, entry);
            }
        }
        merged.processors << sample;
    }
    merged.everyGroup = merged.everyGroup && host.everyGroup;
    for (const QString& problem : host.problems) {
        merged.problems << labelOf(entry) + QStringLiteral(": ") + problem;
    }
    merged.requests += host.requests;
    merged.startedMs = merged.startedMs > 0 ? std::min(merged.startedMs, host.startedMs) : host.startedMs;
    merged.endedMs = std::max(merged.endedMs, host.endedMs);
    noteMachine(merged, entry);
}

void SnapshotMerge::addSilent(SystemSnapshot& merged, const HostEntry& entry, const QString& why) {
    merged.everyGroup = false;
    merged.problems << QStringLiteral("host %1 at %2 left out: %3")
                           .arg(labelOf(entry), QString::fromStdString(entry.endpoint), why);
}

}  // namespace zaltools
