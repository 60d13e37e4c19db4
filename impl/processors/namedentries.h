// What a group and the group manager answer about the things they own by name (internal).
#pragma once

#include <QString>
#include <QStringList>

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessage.h"

namespace zal {

// Answers with the names of `entries` in the map's order, comma-separated.
template <class Map>
void answerNames(const Map& entries, zalmsg::ControlMessage& message) {
    QStringList names;
    for (const auto& entry : entries) {
        names << QString::fromStdString(entry.first);
    }
    ConfigTool::setResultSuccess(message, names.join(QLatin1Char(',')));
}

// Erases the entry called `name`, which stops what it owns, and answers success; refuses with
// "A <kind> with the name '<name>' does not exists." when there is none.
template <class Map>
void answerErase(Map& entries, const QString& name, const char* kind, zalmsg::ControlMessage& message) {
    const auto found = entries.find(name.toStdString());
    if (found == entries.end()) {
        ConfigTool::setErrorMessage(
            message,
            QStringLiteral("A %1 with the name '%2' does not exists.").arg(QLatin1String(kind), name));
        return;
    }
    entries.erase(found);
    ConfigTool::setResultSuccess(message);
}

}  // namespace zal
