#include "benchplugin.h"

namespace zalbench {

namespace {

// As the demo generator's flat-out batch: long enough to amortise a wake-up, short enough that a
// control request waits well under a millisecond.
constexpr int batch = 1000;
constexpr int maxSize = 1024 * 1024;

}  // namespace

Source::Source(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

bool Source::initialize() {
    if (!StreamProcessor::initialize()) {
        return false;
    }
    // A zero timeout turns every quiet wake-up into an immediate one.
    enableIdleProcessing(0);
    return true;
}

void Source::handleMessage(zal::ByteStreamMessage&, zal::ZmqByteStreamInSocket*) {}

void Source::checkDataEvents() {
    StreamProcessor::checkDataEvents();
    publishBatch();
}

void Source::doIdleProcessing() {
    publishBatch();
}

void Source::publishBatch() {
    if (!active || !output) {
        return;
    }
    for (int i = 0; i < batch; ++i) {
        output->sendMessage(zal::ByteStreamMessage{topic, payload});
    }
    sent += batch;
}

bool Source::setParameter(const QString& name, const QString& value) {
    bool ok = false;
    const int size = value.toInt(&ok);
    if (name != "size" || !ok || size < 0 || size > maxSize) {
        return false;
    }
    payload = QByteArray(size, 'a');
    return true;
}

bool Source::getParameter(const QString& name, QString& value) {
    if (name == "size") {
        value = QString::number(payload.size());
    } else if (name == "sent") {
        value = QString::number(sent);
    } else {
        return false;
    }
    return true;
}

bool Source::getParameterList(QStringList& names) {
    names = {"sent", "size"};
    return true;
}

QString BenchPlugin::getName() const {
    return QStringLiteral("zalbench");
}

QStringList BenchPlugin::getProcessorTypes() const {
    return {"Source"};
}

zal::ProcessorBase* BenchPlugin::createProcessor(const zal::ProcessorInfo& info) {
    return QString::fromStdString(info.type).section('.', 1) == "Source" ? new Source(info) : nullptr;
}

}  // namespace zalbench
