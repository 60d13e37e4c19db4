#include "tally.h"

namespace example {

namespace {

constexpr int lastBytesKept = 32;

}  // namespace

Tally::Tally(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix, Output::Optional) {}

void Tally::handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) {
    if (!active) {
        return;
    }
    ++messages;
    bytes += message.data.size();
    last = message.data.left(lastBytesKept);
}

bool Tally::setParameter(const QString& name, const QString&) {
    if (name == "messages" || name == "bytes" || name == "last") {
        return refuse(QStringLiteral("read-only"));
    }
    return false;
}

bool Tally::getParameter(const QString& name, QString& value) {
    if (name == "messages") {
        value = QString::number(messages);
    } else if (name == "bytes") {
        value = QString::number(bytes);
    } else if (name == "last") {
        value = QString::fromUtf8(last);
    } else {
        return false;
    }
    return true;
}

bool Tally::getParameterList(QStringList& names) {
    names = {"bytes", "last", "messages"};
    return true;
}

}  // namespace example
