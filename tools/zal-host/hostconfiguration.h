// zal-host's part in the library's configuration: the file checked before the start, and what the
// command line and the host's defaults put in.
#pragma once

#include <QString>
#include <QTextStream>
#include <optional>

namespace hostconfiguration {

// Exit status for a configuration file that is missing, unreadable or malformed.
constexpr int noConfiguration = 66;

// The library's instance, after which a configuration beside the program is named (zal-host.ini).
inline const wchar_t* const instanceName = L"zal-host";

// Points the library at `path` (ZAL_CONFIG) when given, then checks the file the library will read:
// an exit status when it is missing, unreadable or has a malformed line (said with FILE:LINE), and
// a warning for each key the library does not read, with the nearest key it does.
std::optional<int> use(const std::optional<QString>& path, QTextStream& err);

// Makes `address` the frontend whatever the configuration says, and states the host's default
// for a tcp:// frontend: malformed messages are dropped rather than ending the router.
void prepare(const std::optional<QString>& address);

}  // namespace hostconfiguration
