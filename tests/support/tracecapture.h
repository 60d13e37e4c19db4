// Captures trace lines while it lives, with the trace bit switched on.
#pragma once

#include <QString>
#include <QStringList>
#include <mutex>

#include "zal/platform/errorhandler.h"

namespace zaltest {

class TraceCapture {
public:
    TraceCapture() : previousMask(ErrorHandler::getTraceMask()) {
        ErrorHandler::setTraceMask(previousMask | ErrorHandler::TraceBit);
        ErrorHandler::setSink([this](const QString& source, int line, const QString& text) {
            std::lock_guard<std::mutex> lock(mutex);
            captured << QStringLiteral("%1:%2 %3").arg(source).arg(line).arg(text);
        });
    }
    ~TraceCapture() {
        ErrorHandler::setSink({});
        ErrorHandler::setTraceMask(previousMask);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    QStringList lines() const {
        std::lock_guard<std::mutex> lock(mutex);
        return captured;
    }

private:
    std::uint32_t previousMask;
    mutable std::mutex mutex;
    QStringList captured;
};

}  // namespace zaltest
