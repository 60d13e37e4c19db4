// Whether a consumer's source address reaches a stream bound at a given address.
#pragma once

#include <QString>

namespace zaltools {

class AddressMatcher {
public:
    // Equal addresses match. So do two tcp:// addresses with the same port when the stream's host
    // is a wildcard (0.0.0.0, *, ::) or the source's host: a stream bound on every interface is
    // reached through any of them. Hosts are compared as written, not resolved.
    static bool matches(const QString& source, const QString& stream);
};

}  // namespace zaltools
