// Library-wide addresses and time-outs shared by every subsystem.
#pragma once

#include <string>

namespace zal {

// Prefix of every internal endpoint; several instances with other prefixes may share a process.
extern const std::string internalAddressPrefixDefault;
// The router's frontend when the configuration names none: the prefix and "__router__external__".
extern const std::string routerFrontendAddressDefault;

constexpr int socketDefaultTimeout = 4000;  // milliseconds
constexpr int socketInfiniteTimeout = -1;

}  // namespace zal
