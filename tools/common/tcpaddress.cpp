#include "zaltools/tcpaddress.h"

namespace zaltools {

std::optional<TcpAddress> TcpAddress::parse(const QString& address) {
    static const QLatin1String scheme("tcp://");
    if (!address.startsWith(scheme)) {
        return std::nullopt;
    }
    const QString rest = address.mid(scheme.size());
    // An IPv6 host holds colons of its own, so the port follows the last one.
    const qsizetype colon = rest.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0 || colon + 1 == rest.size()) {
        return std::nullopt;
    }
    TcpAddress parsed{rest.left(colon), rest.mid(colon + 1)};
    if (parsed.host.contains(QLatin1Char(':')) && !parsed.host.startsWith(QLatin1Char('['))) {
        return std::nullopt;
    }
    return parsed;
}

bool TcpAddress::isWildcard() const {
    return host == QLatin1String("*") || host == QLatin1String("0.0.0.0") || host == QLatin1String("[::]");
}

bool TcpAddress::placeAt(const QString& endpoint) {
    const std::optional<TcpAddress> frontend = parse(endpoint);
    if (!frontend) {
        return false;
    }
    if (isWildcard()) {
        host = frontend->host;
    }
    return true;
}

bool TcpAddress::isLoopback() const {
    return host.startsWith(QLatin1String("127.")) || host == QLatin1String("localhost") ||
           host == QLatin1String("[::1]");
}

}  // namespace zaltools
