// Where the running program lives, with or without a QCoreApplication.
#pragma once

#include <QString>

namespace zal {

// QCoreApplication::applicationDirPath() when an application object exists, otherwise the
// directory of /proc/self/exe, so that library code can find its plug-ins and files either way.
QString applicationDirectory();

}  // namespace zal
