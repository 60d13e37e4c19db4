#include "counter.h"

#include "boundednumber.h"

namespace demo {

namespace {

constexpr int maxCostUs = 1'000'000;

}  // namespace

Counter::Counter(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix, Output::Optional) {}

void Counter::handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) {
    if (!active) {
        return;
    }
    const Clock::time_point now = Clock::now();
    rollWindow(now);
    ++messages;
    bytes += message.data.size();
    ++windowMessages;
    // Busy work rather than a sleep: it stands for a consumer that computes, and a sleep's own
    // overhead of tens of microseconds would swamp small costs.
    const Clock::time_point done = now + std::chrono::microseconds(costUs);
    while (costUs > 0 && Clock::now() < done) {
    }
}

void Counter::rollWindow(Clock::time_point now) {
    const std::chrono::duration<double> age = now - windowStart;
    if (age.count() < 1.0) {
        return;
    }
    rate = double(windowMessages) / age.count();
    windowStart = now;
    windowMessages = 0;
}

bool Counter::setCost(const QString& value) {
    if (!readBoundedNumber(value, maxCostUs, costUs)) {
        return refuse(QStringLiteral("expects microseconds of work per message from 0 to %1; got '%2'")
                          .arg(maxCostUs)
                          .arg(value));
    }
    return true;
}

bool Counter::setParameter(const QString& name, const QString& value) {
    if (name == "messages" || name == "bytes" || name == "rate") {
        return refuse(QStringLiteral("read-only"));
    }
    if (name == "costUs") {
        return setCost(value);
    }
    if (name != "reset") {
        return false;
    }
    messages = 0;
    bytes = 0;
    windowStart = Clock::now();
    windowMessages = 0;
    rate = 0;
    return true;
}

bool Counter::getParameter(const QString& name, QString& value) {
    if (name == "messages") {
        value = QString::number(messages);
    } else if (name == "bytes") {
        value = QString::number(bytes);
    } else if (name == "costUs") {
        value = QString::number(costUs);
    } else if (name == "rate") {
        rollWindow(Clock::now());
        value = QString::number(rate, 'f', 1);
    } else if (name == "reset") {
        return refuse(QStringLiteral("write-only: setting it, to any value, zeroes the counts"));
    } else {
        return false;
    }
    return true;
}

bool Counter::getParameterList(QStringList& names) {
    names = {"bytes", "costUs", "messages", "rate", "reset"};
    return true;
}

}  // namespace demo
