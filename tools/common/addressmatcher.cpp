#include "zaltools/addressmatcher.h"

#include "zaltools/tcpaddress.h"

namespace zaltools {

bool AddressMatcher::matches(const QString& source, const QString& stream) {
    if (source == stream) {
        return true;
    }
    const std::optional<TcpAddress> from = TcpAddress::parse(source);
    const std::optional<TcpAddress> to = TcpAddress::parse(stream);
    return from && to && from->port == to->port && (to->isWildcard() || to->host == from->host);
}

}  // namespace zaltools
