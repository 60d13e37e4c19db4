#include "zaltools/parameterdescription.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace zaltools {

QVector<ParameterDescription> ParameterDescription::listFrom(const QString& json) {
    QVector<ParameterDescription> descriptions;
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    for (const QJsonValue& entry : document.array()) {
        const QJsonObject object = entry.toObject();
        ParameterDescription described;
        described.name = object.value(QLatin1String("name")).toString();
        described.description = object.value(QLatin1String("description")).toString();
        described.type = object.value(QLatin1String("type")).toString();
        described.defaultValue = object.value(QLatin1String("default")).toString();
        described.hasDefault = object.contains(QLatin1String("default"));
        described.access = object.value(QLatin1String("access")).toString();
        described.unit = object.value(QLatin1String("unit")).toString();
        if (!described.name.isEmpty()) {
            descriptions << described;
        }
    }
    return descriptions;
}

QString ParameterDescription::summary() const {
    QStringList facts;
    for (const QString& fact : {type, access}) {
        if (!fact.isEmpty()) {
            facts << fact;
        }
    }
    if (hasDefault) {
        facts << QStringLiteral("default ") +
                     (defaultValue.isEmpty() ? QStringLiteral("\"\"") : defaultValue);
    }
    if (!unit.isEmpty()) {
        facts << unit;
    }
    const QString joined = facts.join(QStringLiteral(", "));
    if (description.isEmpty()) {
        return joined;
    }
    return joined.isEmpty() ? description : joined + QStringLiteral(": ") + description;
}

}  // namespace zaltools
