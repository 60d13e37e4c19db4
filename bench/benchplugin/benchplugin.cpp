#include "benchplugin.h"

#include <cstring>
#include <thread>

#include "latency.h"

namespace zalbench {

namespace {

// As the demo generator's flat-out batch: long enough to amortise a wake-up, short enough that a
// control request waits well under a millisecond.
constexpr int batch = 1000;
constexpr int maxSize = 1024 * 1024;
constexpr int maxRate = 1'000'000;
// A paced source that fell further behind than this (its thread lost the core) starts afresh
// rather than sending the backlog in a burst that would measure the burst, not the path.
constexpr auto maxLag = std::chrono::milliseconds(10);

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
    if (rate > 0) {
        publishDue();
        return;
    }
    for (int i = 0; i < batch; ++i) {
        output->sendMessage(zal::ByteStreamMessage{topic, payload});
    }
    sent += batch;
}

// The next message, stamped just before it leaves; then a sleep until the one after (at most one
// interval, so that control requests still wait little). Sleeping right after the send, as the raw
// publisher does, keeps the processor loop's own poll from taking the core while the consumer
// wakes; sleeping rather than spinning keeps a core free for the consumer on a small machine.
void Source::publishDue() {
    const auto interval = std::chrono::nanoseconds(1'000'000'000 / rate);
    if (Clock::now() - nextDue > maxLag) {
        nextDue = Clock::now();
    }
    const qint64 stamp =
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
    std::memcpy(payload.data(), &stamp, sizeof stamp);
    output->sendMessage(zal::ByteStreamMessage{topic, payload});
    ++sent;
    nextDue += interval;
    std::this_thread::sleep_until(nextDue);
}

bool Source::setRate(const QString& value) {
    bool ok = false;
    const int wanted = value.toInt(&ok);
    if (!ok || wanted < 0 || wanted > maxRate || (wanted > 0 && payload.size() < qsizetype(sizeof(qint64)))) {
        return refuse(
            QStringLiteral("expects 0 (flat out) to %1 messages/s, with a size of at least 8").arg(maxRate));
    }
    rate = wanted;
    nextDue = Clock::now();
    return true;
}

bool Source::setParameter(const QString& name, const QString& value) {
    if (name == "rate") {
        return setRate(value);
    }
    bool ok = false;
    const int size = value.toInt(&ok);
    if (name != "size" || !ok || size < (rate > 0 ? int(sizeof(qint64)) : 0) || size > maxSize) {
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
    } else if (name == "rate") {
        value = QString::number(rate);
    } else {
        return false;
    }
    return true;
}

bool Source::getParameterList(QStringList& names) {
    names = {"rate", "sent", "size"};
    return true;
}

QString BenchPlugin::getName() const {
    return QStringLiteral("zalbench");
}

QStringList BenchPlugin::getProcessorTypes() const {
    return {"Source", "Latency"};
}

zal::ProcessorBase* BenchPlugin::createProcessor(const zal::ProcessorInfo& info) {
    const QString type = QString::fromStdString(info.type).section('.', 1);
    if (type == "Latency") {
        return new Latency(info);
    }
    return type == "Source" ? new Source(info) : nullptr;
}

}  // namespace zalbench
