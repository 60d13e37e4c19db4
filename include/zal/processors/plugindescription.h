// What a plug-in says it offers: its processor types and their parameters, as its metadata describes them.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>

namespace zal {

// Read from a plug-in library's Qt metadata (the JSON file of its Q_PLUGIN_METADATA), without
// loading its code: {"types":[{"name":"Generator","description":"...","parameters":[{"name":
// "rate","description":"...","type":"number","default":"100","access":"read-write","unit":
// "messages/s"}]}]}. Parameters are kept as the file gives them.
struct PluginDescription {
    struct Type {
        // Bare, as in the metadata: "Generator".
        QString name;
        QString description;
        QJsonArray parameters;
    };

    // `metaData` is the object of the plug-in's JSON file; anything that is not a described type
    // in it is left out.
    static PluginDescription fromMetaData(const QString& name, const QString& file,
                                          const QJsonObject& metaData);

    // The type a request names ("demo.Generator", "Generator", "base.QtBridge"); null when not described.
    const Type* find(const QString& requestedType) const;
    // How a create request names the type: the built-in's bare, the others with the plug-in's name.
    QString qualified(const Type& type) const;
    bool isBuiltIn() const { return file.isEmpty(); }

    QString name;
    // The library's path; empty for the plug-in built into zal.
    QString file;
    QList<Type> types;
};

}  // namespace zal
