// The host framework's trace switch and trace sink: a process-wide mask and one line per trace.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>

class ErrorHandler {
public:
    // The bit every trace of this library is conditional on.
    static constexpr std::uint32_t TraceBit = 0x20;

    // The mask starts from the environment variable ZAL_TRACE_MASK (decimal or 0x-hex), else 0.
    static std::uint32_t getTraceMask();
    static void setTraceMask(std::uint32_t mask);
    static bool isTracing(std::uint32_t bit = TraceBit) { return (getTraceMask() & bit) != 0; }

    // Replaces the sink (standard error by default); an empty function restores the default.
    // The sink is called under a lock, from whatever thread traces, so it must not trace itself.
    using Sink = std::function<void(const QString& source, int line, const QString& text)>;
    static void setSink(Sink sink);
};

// Writes one trace line: time, source, line, text. Callers check ErrorHandler::isTracing() first.
void _Q_Trace(const QString& text, const char* source, int line);
