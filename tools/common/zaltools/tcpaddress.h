// A tcp:// address taken apart into its host and port, to judge who can reach it.
#pragma once

#include <QString>
#include <optional>

namespace zaltools {

struct TcpAddress {
    QString host;  // as written; an IPv6 host keeps its brackets ("[::1]")
    QString port;  // as written; "*" before a bind chose the port

    // Empty for anything but tcp://HOST:PORT with a non-empty host and port.
    static std::optional<TcpAddress> parse(const QString& address);

    // `*`, `0.0.0.0` or `[::]`: a bind on every interface, which no peer can connect to as written.
    bool isWildcard() const;
    // 127.0.0.0/8, `localhost` or `[::1]`: reachable from this machine only.
    bool isLoopback() const;
    // A peer on another machine reaches a bind on every interface at the host of that host's
    // frontend `endpoint`: a wildcard host becomes it. False, the address left as it is, when the
    // endpoint is no tcp://HOST:PORT.
    bool placeAt(const QString& endpoint);
    QString text() const { return QStringLiteral("tcp://%1:%2").arg(host, port); }
};

}  // namespace zaltools
