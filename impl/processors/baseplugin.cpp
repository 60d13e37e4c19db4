#include "zal/processors/baseplugin.h"

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

}  // namespace zal
