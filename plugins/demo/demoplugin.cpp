#include "demoplugin.h"

#include "counter.h"
#include "generator.h"
#include "player.h"
#include "recorder.h"

namespace demo {

QString DemoPlugin::getName() const {
    return QStringLiteral("demo");
}

QStringList DemoPlugin::getProcessorTypes() const {
    return {"Counter", "Generator", "Player", "Recorder"};
}

zal::ProcessorBase* DemoPlugin::createProcessor(const zal::ProcessorInfo& info) {
    const QString type = QString::fromStdString(info.type).section('.', 1);
    if (type == "Generator") {
        return new Generator(info);
    }
    if (type == "Counter") {
        return new Counter(info);
    }
    if (type == "Recorder") {
        return new Recorder(info);
    }
    if (type == "Player") {
        return new Player(info);
    }
    return nullptr;
}

}  // namespace demo
