#include "counter.h"

namespace demo {

Counter::Counter(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix, Output::Optional) {}

void Counter::handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) {
    if (!active) {
        return;
    }
    rollWindow(Clock::now());
    ++messages;
    bytes += message.data.size();
    ++windowMessages;
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

bool Counter::setParameter(const QString& name, const QString&) {
    if (name == "messages" || name == "bytes" || name == "rate") {
        return refuse(QStringLiteral("read-only"));
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
    names = {"bytes", "messages", "rate", "reset"};
    return true;
}

}  // namespace demo
