// The life-cycle states of a controlled thread; their order is what the creator's wait compares.
#pragma once

#include <cstdint>

namespace zal {

// Ready is never stored: it is the threshold of the creator's wait, passed by Running, Finished
// and Failed alike. Keep the numbering.
enum ThreadState : std::int32_t {
    NotStarted = 0,
    Starting = 1,
    Ready = 2,
    Running = 3,
    Stopping = 4,
    Finished = 5,
    Failed = 6,
};

}  // namespace zal
