#include "zal/processors/baseplugin.h"

#include <QJsonArray>

#include "zal/processors/processorinfo.h"
#include "zal/processors/qtbridge.h"

namespace zal {

BasePlugin::BasePlugin(QObject* parent)
    : Plugin(parent),
      name(QStringLiteral("base")),
      types{QString::fromStdString(QtBridge::getProcessorType())} {}

QString BasePlugin::getName() const {
    return name;
}

QStringList BasePlugin::getProcessorTypes() const {
    return types;
}

ProcessorBase* BasePlugin::createProcessor(const ProcessorInfo& info) {
    QString type = QString::fromStdString(info.type);
    const qsizetype dot = type.indexOf(QLatin1Char('.'));
    if (dot >= 0) {
        type = type.mid(dot + 1);
    }
    if (type == QString::fromStdString(QtBridge::getProcessorType())) {
        return new QtBridge(info.processor, info.name, info.group, info.prefix);
    }
    return nullptr;
}

QJsonObject BasePlugin::metaData() {
    const QJsonObject bridge{
        {QStringLiteral("name"), QString::fromStdString(QtBridge::getProcessorType())},
        {QStringLiteral("description"),
         QStringLiteral("hands every message of the streams it is connected to to Qt objects of the host as "
                        "the signal si_message(topic, data); the host finds it in QtRepository under its "
                        "endpoint")},
        {QStringLiteral("parameters"), QJsonArray()}};
    return QJsonObject{{QStringLiteral("types"), QJsonArray{bridge}}};
}

}  // namespace zal
