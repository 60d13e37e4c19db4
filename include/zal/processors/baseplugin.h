// The plug-in built into the library: it creates the library's own processor type, the Qt bridge.
#pragma once

#include <QJsonObject>

#include "zal/processors/plugin.h"

namespace zal {

class BasePlugin : public Plugin {
    Q_OBJECT
    Q_INTERFACES(zal::Plugin)
public:
    explicit BasePlugin(QObject* parent = nullptr);

    QString getName() const override;
    QStringList getProcessorTypes() const override;
    // Compares everything right of the first full stop, so "base.QtBridge.x" is declined.
    ProcessorBase* createProcessor(const ProcessorInfo& info) override;
    // What a plug-in library's JSON metadata would say of the built-in types.
    static QJsonObject metaData();

private:
    QString name;
    QStringList types;
};

}  // namespace zal
