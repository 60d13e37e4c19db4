#include "zal/platform/errorhandler.h"

#include <QDateTime>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

std::uint32_t maskFromEnvironment() {
    const char* text = std::getenv("ZAL_TRACE_MASK");
    if (text == nullptr || *text == '\0') {
        return 0;
    }
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 0);
    return (end != nullptr && *end == '\0') ? static_cast<std::uint32_t>(value) : 0;
}

std::atomic<std::uint32_t>& traceMask() {
    static std::atomic<std::uint32_t> mask{maskFromEnvironment()};
    return mask;
}

// Guards the sink only; tracing is off the messaging path (it happens on failures).
std::mutex sinkMutex;
ErrorHandler::Sink sink;

}  // namespace

std::uint32_t ErrorHandler::getTraceMask() {
    return traceMask().load(std::memory_order_relaxed);
}

void ErrorHandler::setTraceMask(std::uint32_t mask) {
    traceMask().store(mask, std::memory_order_relaxed);
}

void ErrorHandler::setSink(Sink newSink) {
    std::lock_guard<std::mutex> lock(sinkMutex);
    sink = std::move(newSink);
}

void _Q_Trace(const QString& text, const char* source, int line) {
    const QString sourceText = QString::fromUtf8(source);
    std::lock_guard<std::mutex> lock(sinkMutex);
    if (sink) {
        sink(sourceText, line, text);
        return;
    }
    const QByteArray out = QStringLiteral("%1 %2:%3 %4\n")
                               .arg(QDateTime::currentDateTime().toString(Qt::ISODateWithMs), sourceText)
                               .arg(line)
                               .arg(text)
                               .toUtf8();
    std::fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stderr);
}
