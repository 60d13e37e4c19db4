#include "zal/platform/applicationdirectory.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace zal {

QString applicationDirectory() {
    if (QCoreApplication::instance() != nullptr) {
        return QCoreApplication::applicationDirPath();
    }
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath().section(QLatin1Char('/'), 0, -2);
}

}  // namespace zal
