// zal-host --list-types: every processor type the host can create, with its parameters and its file.
#pragma once

#include <QTextStream>

namespace typelisting {

// Reads the plug-ins' metadata only: no plug-in code is loaded and no environment is started.
void print(QTextStream& out);

}  // namespace typelisting
