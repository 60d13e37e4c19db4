#include "zal/processors/trafficmeter.h"

#include <time.h>

namespace zal {

namespace {

// A few nanoseconds through the vDSO, against tens for the precise clock; its resolution of a few
// milliseconds is finer than anything idleMs is read for.
std::int64_t coarseMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

}  // namespace

void TrafficMeter::follow(Watch& watch, const TrafficCount* count) {
    if (watch.count != count) {
        watch = Watch{count};
    }
}

void TrafficMeter::watchInput(const TrafficCount* count) {
    follow(inputWatch, count);
}

void TrafficMeter::watchOutput(const TrafficCount* count, const QString& stream) {
    follow(outputWatch, count);
    outputStream = stream;
}

void TrafficMeter::unwatchAll() {
    inputWatch = Watch{};
    outputWatch = Watch{};
    outputStream.clear();
    refused = 0;
    lastRefusal.clear();
}

void TrafficMeter::countRefusal(const QString& address, const QString& reason) {
    ++refused;
    lastRefusal = QStringLiteral("%1 (%2)").arg(address, reason);
}

// `now` is read at most once for both directions, and only when one of them moved.
void TrafficMeter::stampOne(Watch& watch, std::int64_t& now) {
    if (watch.count == nullptr || watch.count->messages == watch.stampedMessages) {
        return;
    }
    if (now < 0) {
        now = coarseMilliseconds();
    }
    watch.stampedMessages = watch.count->messages;
    watch.lastMessageAt = now;
}

void TrafficMeter::stamp() {
    std::int64_t now = -1;
    stampOne(inputWatch, now);
    stampOne(outputWatch, now);
}

QJsonObject TrafficMeter::describe(const Watch& watch) {
    const TrafficCount count = watch.count != nullptr ? *watch.count : TrafficCount{};
    const QJsonValue idle = watch.lastMessageAt < 0
                                ? QJsonValue(QJsonValue::Null)
                                : QJsonValue(qint64(coarseMilliseconds() - watch.lastMessageAt));
    return QJsonObject{{QStringLiteral("messages"), qint64(count.messages)},
                       {QStringLiteral("bytes"), qint64(count.bytes)},
                       {QStringLiteral("idleMs"), idle}};
}

QJsonObject TrafficMeter::input() const {
    QJsonObject entry = describe(inputWatch);
    entry.insert(QStringLiteral("refused"), qint64(refused));
    entry.insert(QStringLiteral("refusal"),
                 lastRefusal.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(lastRefusal));
    return entry;
}

QJsonObject TrafficMeter::outputEntry() const {
    QJsonObject entry = describe(outputWatch);
    entry.insert(QStringLiteral("stream"), outputStream);
    return entry;
}

}  // namespace zal
