// The root object of the demo plug-in: it names the plug-in "demo" and creates its processor types.
#pragma once

#include "zal/processors/plugin.h"

namespace demo {

// demo.json describes the types and their parameters; hosts read it without loading this library.
class DemoPlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid FILE "demo.json")
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override;
    QStringList getProcessorTypes() const override;
    // Compares everything right of the first full stop, so "demo.Generator.x" is declined.
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override;
};

}  // namespace demo
