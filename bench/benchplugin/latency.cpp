#include "latency.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "../quantile.h"

namespace zalbench {

namespace {

constexpr size_t room = 1 << 17;

}  // namespace

Latency::Latency(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix, Output::Optional) {
    samples.reserve(room);
}

void Latency::handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    qint64 stamp = 0;
    if (message.data.size() < qsizetype(sizeof stamp) || samples.size() == room) {
        return;
    }
    std::memcpy(&stamp, message.data.constData(), sizeof stamp);
    samples.push_back(double(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() - stamp) /
                      1000.0);
}

bool Latency::setParameter(const QString& name, const QString&) {
    if (name != "reset") {
        return false;
    }
    samples.clear();
    return true;
}

bool Latency::getParameter(const QString& name, QString& value) {
    if (name == "samples") {
        value = QString::number(samples.size());
        return true;
    }
    const double fraction = name == "p50" ? 0.5 : name == "p99" ? 0.99 : name == "p999" ? 0.999 : 0;
    if (fraction == 0) {
        return false;
    }
    std::vector<double> sorted = samples;
    std::sort(sorted.begin(), sorted.end());
    value = QString::number(quantile(sorted, fraction), 'f', 2);
    return true;
}

bool Latency::getParameterList(QStringList& names) {
    names = {"samples", "p50", "p99", "p999", "reset"};
    return true;
}

}  // namespace zalbench
