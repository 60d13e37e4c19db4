// Messages and bytes a second that a processor took in and gave out between two of its samples.
#pragma once

#include <optional>

#include "zaltools/systemsnapshot.h"

namespace zaltools {

struct ProcessorRates {
    double inMessages = 0;
    double inBytes = 0;
    double outMessages = 0;
    double outBytes = 0;

    // Over the real time between the two samples. None when either has no status, no time passed,
    // or a counter went back (the processor was made anew under the same name).
    static std::optional<ProcessorRates> between(const ProcessorSample& before, const ProcessorSample& now);
};

}  // namespace zaltools
