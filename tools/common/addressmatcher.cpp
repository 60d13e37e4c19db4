#include "zaltools/addressmatcher.h"

namespace zaltools {

namespace {

struct TcpAddress {
    QString host;  // without the brackets of an IPv6 host
    QString port;
};

// The host and port of "tcp://HOST:PORT" ("tcp://[::1]:PORT"); false for any other address.
bool splitTcp(const QString& address, TcpAddress& split) {
    const QLatin1String scheme("tcp://");
    const qsizetype colon = address.lastIndexOf(QLatin1Char(':'));
    if (!address.startsWith(scheme) || colon < scheme.size()) {
        return false;
    }
    split.host = address.mid(scheme.size(), colon - scheme.size());
    split.port = address.mid(colon + 1);
    if (split.host.startsWith(QLatin1Char('[')) && split.host.endsWith(QLatin1Char(']'))) {
        split.host = split.host.mid(1, split.host.size() - 2);
    }
    return !split.host.isEmpty() && !split.port.isEmpty();
}

bool isWildcard(const QString& host) {
    return host == QLatin1String("0.0.0.0") || host == QLatin1String("*") || host == QLatin1String("::");
}

}  // namespace

bool AddressMatcher::matches(const QString& source, const QString& stream) {
    if (source == stream) {
        return true;
    }
    TcpAddress from;
    TcpAddress to;
    return splitTcp(source, from) && splitTcp(stream, to) && from.port == to.port &&
           (isWildcard(to.host) || to.host == from.host);
}

}  // namespace zaltools
