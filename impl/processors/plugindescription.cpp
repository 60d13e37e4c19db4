#include "zal/processors/plugindescription.h"

namespace zal {

PluginDescription PluginDescription::fromMetaData(const QString& name, const QString& file,
                                                  const QJsonObject& metaData) {
    PluginDescription description{name, file, {}};
    for (const QJsonValue& entry : metaData.value(QStringLiteral("types")).toArray()) {
        const QJsonObject type = entry.toObject();
        const QString typeName = type.value(QStringLiteral("name")).toString();
        if (!typeName.isEmpty()) {
            description.types.append({typeName, type.value(QStringLiteral("description")).toString(),
                                      type.value(QStringLiteral("parameters")).toArray()});
        }
    }
    return description;
}

// As the plug-ins themselves compare: everything right of the first full stop.
const PluginDescription::Type* PluginDescription::find(const QString& requestedType) const {
    const qsizetype dot = requestedType.indexOf(QLatin1Char('.'));
    const QString bare = dot < 0 ? requestedType : requestedType.mid(dot + 1);
    for (const Type& type : types) {
        if (type.name == bare) {
            return &type;
        }
    }
    return nullptr;
}

QString PluginDescription::qualified(const Type& type) const {
    return isBuiltIn() ? type.name : name + QLatin1Char('.') + type.name;
}

}  // namespace zal
