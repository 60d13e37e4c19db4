// Which of a stream's addresses a consumer at another host can connect to.
#pragma once

#include <QString>
#include <QVector>
#include <optional>
#include <string>

namespace zaltools {

// One side of a connect across hosts: how texts name the host ("@a") and its frontend endpoint,
// which is all that is known of where the host is.
struct HostSide {
    QString label;
    std::string endpoint;
};

// A stream is reached over TCP. A wildcard bind (`*`, `0.0.0.0`, `[::]`) is reached at the host
// part of its host's frontend endpoint; a loopback address only when both frontends are on the
// machine that asks (loopback, ipc or inproc endpoints). Hosts with the same endpoint are one host,
// which can use any address its stream has.
class StreamReach {
public:
    StreamReach(HostSide producer, HostSide consumer);

    // The first of the addresses of `stream` that the consumer can connect to; nullopt with
    // `reason` saying why none is and what to change.
    std::optional<QString> choose(const QString& stream, const QVector<QString>& addresses,
                                  QString& reason) const;

private:
    // Empty when the consumer can use the tcp:// `address` as this leaves it (a wildcard host
    // replaced); otherwise why it cannot.
    QString problem(QString& address) const;
    static bool onThisMachine(const std::string& endpoint);

    HostSide producer;
    HostSide consumer;
};

}  // namespace zaltools
