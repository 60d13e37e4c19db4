#include "zaltools/processorrates.h"

namespace zaltools {

std::optional<ProcessorRates> ProcessorRates::between(const ProcessorSample& before,
                                                      const ProcessorSample& now) {
    const double seconds = (now.atMs - before.atMs) / 1000.0;
    if (!before.status || !now.status || seconds <= 0) {
        return std::nullopt;
    }
    const ProcessorStatus& a = *before.status;
    const ProcessorStatus& b = *now.status;
    const qint64 deltas[] = {b.input.messages - a.input.messages, b.input.bytes - a.input.bytes,
                             b.outputMessages() - a.outputMessages(), b.outputBytes() - a.outputBytes()};
    for (const qint64 delta : deltas) {
        if (delta < 0) {
            return std::nullopt;
        }
    }
    return ProcessorRates{deltas[0] / seconds, deltas[1] / seconds, deltas[2] / seconds, deltas[3] / seconds};
}

}  // namespace zaltools
