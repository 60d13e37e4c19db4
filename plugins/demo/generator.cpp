#include "generator.h"

#include <cmath>

#include "boundednumber.h"

namespace demo {

namespace {

// A publisher queues up to its high-water mark per slow subscriber, so size bounds memory too.
constexpr int maxSize = 1024 * 1024;
constexpr double maxRate = 10'000'000;
// Wake-ups of a paced generator: often enough for smooth output, rare enough to cost nothing.
constexpr int tickMilliseconds = 10;
// Bounds the work between two looks at the control line; a schedule further behind than this
// forgets the rest instead of bursting.
constexpr qint64 maxBatch = 10'000;
constexpr qint64 fullSpeedBatch = 1000;

}  // namespace

Generator::Generator(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

bool Generator::initialize() {
    if (!StreamProcessor::initialize()) {
        return false;
    }
    restartSchedule();
    return true;
}

void Generator::handleMessage(zal::ByteStreamMessage&, zal::ZmqByteStreamInSocket*) {}

QByteArray Generator::makePayload(qint64 sequence, int size) {
    QByteArray payload = QByteArray::number(sequence) + ' ';
    payload.reserve(size);
    for (int i = 0; payload.size() < size; ++i) {
        payload.append(char('a' + i % 26));
    }
    payload.truncate(size);
    return payload;
}

void Generator::restartSchedule() {
    scheduleStart = std::chrono::steady_clock::now();
    sentInSchedule = 0;
    if (!active) {
        disableIdleProcessing();
    } else {
        // Timeout 0 makes every quiet wake-up an immediate one: a busy loop that still serves
        // control requests between batches.
        enableIdleProcessing(rate > 0 ? tickMilliseconds : 0);
    }
}

void Generator::checkDataEvents() {
    StreamProcessor::checkDataEvents();
    publishDue();
}

void Generator::doIdleProcessing() {
    publishDue();
}

void Generator::publishDue() {
    if (!active || !output) {
        return;
    }
    qint64 due = fullSpeedBatch;
    if (rate > 0) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - scheduleStart;
        const auto expected = qint64(std::floor(elapsed.count() * rate)) + 1;
        due = expected - sentInSchedule;
        if (due > maxBatch) {
            sentInSchedule = expected - maxBatch;
            due = maxBatch;
        }
    }
    for (; due > 0; --due) {
        output->sendMessage(zal::ByteStreamMessage{topic, makePayload(sent, size)});
        ++sent;
        ++sentInSchedule;
    }
}

bool Generator::start(const QString& streamName) {
    if (!StreamProcessor::start(streamName)) {
        return false;
    }
    restartSchedule();
    return true;
}

bool Generator::stop(const QString& streamName) {
    if (!StreamProcessor::stop(streamName)) {
        return false;
    }
    restartSchedule();
    return true;
}

bool Generator::setParameter(const QString& name, const QString& value) {
    bool ok = false;
    if (name == "topic") {
        topic = value.toUtf8();
        return true;
    }
    if (name == "size") {
        if (!readBoundedNumber(value, maxSize, size)) {
            return refuse(QStringLiteral("expects a payload size in bytes from 0 to %1; got '%2'")
                              .arg(maxSize)
                              .arg(value));
        }
        return true;
    }
    if (name == "rate") {
        const double newRate = value.toDouble(&ok);
        if (!ok || !std::isfinite(newRate) || newRate < 0 || newRate > maxRate) {
            return refuse(
                QStringLiteral("expects messages a second from 0 (as fast as it can) to %1; got '%2'")
                    .arg(qint64(maxRate))
                    .arg(value));
        }
        rate = newRate;
        restartSchedule();
        return true;
    }
    return name == "sent" ? refuse(QStringLiteral("read-only")) : false;
}

bool Generator::getParameter(const QString& name, QString& value) {
    if (name == "topic") {
        value = QString::fromUtf8(topic);
    } else if (name == "size") {
        value = QString::number(size);
    } else if (name == "rate") {
        value = QString::number(rate);
    } else if (name == "sent") {
        value = QString::number(sent);
    } else {
        return false;
    }
    return true;
}

bool Generator::getParameterList(QStringList& names) {
    names = {"rate", "sent", "size", "topic"};
    return true;
}

}  // namespace demo
