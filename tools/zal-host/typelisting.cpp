#include "typelisting.h"

#include <QJsonObject>
#include <algorithm>

#include "zal/processors/pluginmanager.h"

namespace typelisting {

namespace {

QString text(const QJsonObject& parameter, const char* key) {
    return parameter.value(QLatin1String(key)).toString();
}

// "  rate  number, read-write, default 100, messages/s: messages a second; ..."
void printParameters(const QJsonArray& parameters, QTextStream& out) {
    if (parameters.isEmpty()) {
        out << "    no parameters\n";
        return;
    }
    qsizetype width = 0;
    for (const QJsonValue& each : parameters) {
        width = std::max(width, text(each.toObject(), "name").size());
    }
    for (const QJsonValue& each : parameters) {
        const QJsonObject parameter = each.toObject();
        QStringList facts{text(parameter, "type"), text(parameter, "access")};
        facts << QStringLiteral("default '%1'").arg(text(parameter, "default"));
        if (!text(parameter, "unit").isEmpty()) {
            facts << text(parameter, "unit");
        }
        facts.removeAll(QString());
        out << "    " << text(parameter, "name").leftJustified(width) << "  "
            << facts.join(QStringLiteral(", ")) << ": " << text(parameter, "description") << "\n";
    }
}

}  // namespace

void print(QTextStream& out) {
    const zal::PluginManager manager;
    out << "Processor types, from the folders searched in this order: "
        << manager.searchDirectories().join(QStringLiteral(", ")) << "\n";
    for (const zal::PluginDescription& plugin : manager.describePlugins()) {
        const QString file = plugin.isBuiltIn() ? QStringLiteral("built into libzal") : plugin.file;
        if (plugin.types.isEmpty()) {
            out << "\n" << plugin.name << ".* (" << file << ")\n    describes no types in its metadata\n";
        }
        for (const zal::PluginDescription::Type& type : plugin.types) {
            out << "\n" << plugin.qualified(type) << " (" << file << ")\n    " << type.description << "\n";
            printParameters(type.parameters, out);
        }
    }
}

}  // namespace typelisting
