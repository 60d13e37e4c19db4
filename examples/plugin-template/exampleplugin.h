// The root object of the example plug-in: it names the plug-in "example" and creates its types.
#pragma once

#include <zal/processors/plugin.h>

namespace example {

// ZalPlugin_iid comes with <zal/processors/plugin.h>. example.json describes the types and their
// parameters; zal-host --list-types reads it without loading this library.
class ExamplePlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid FILE "example.json")
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override;
    QStringList getProcessorTypes() const override;
    // Null for a type it does not know: the create is then refused with the types it offers.
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override;
};

}  // namespace example
