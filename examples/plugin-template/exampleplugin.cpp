#include "exampleplugin.h"

#include <zal/processors/processorinfo.h>

#include "caseconverter.h"
#include "tally.h"

namespace example {

QString ExamplePlugin::getName() const {
    return QStringLiteral("example");
}

QStringList ExamplePlugin::getProcessorTypes() const {
    return {"Case", "Tally"};
}

// Runs in the thread of the group that creates the processor; the processor's own thread starts
// after this returns.
zal::ProcessorBase* ExamplePlugin::createProcessor(const zal::ProcessorInfo& info) {
    const QString type = QString::fromStdString(info.type).section('.', 1);
    if (type == "Case") {
        return new CaseConverter(info);
    }
    if (type == "Tally") {
        return new Tally(info);
    }
    return nullptr;
}

}  // namespace example
