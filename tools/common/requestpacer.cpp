#include "zaltools/requestpacer.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace zaltools {

RequestPacer::RequestPacer(int perSecond, const volatile std::sig_atomic_t* interrupted)
    : spacing(std::chrono::duration_cast<Clock::duration>(std::chrono::seconds(1)) / std::max(1, perSecond)),
      allowed(Clock::now()),
      interrupted(interrupted) {}

RequestPacer::RequestPacer(int perSecond, const std::atomic<bool>& stopped)
    : RequestPacer(perSecond, nullptr) {
    this->stopped = &stopped;
}

bool RequestPacer::next() {
    // A pause does not bank requests for a burst afterwards.
    allowed = std::max(allowed, Clock::now());
    if (!waitUntil(allowed)) {
        return false;
    }
    allowed += spacing;
    return true;
}

bool RequestPacer::waitUntil(Clock::time_point deadline) const {
    return waitUntil(deadline, interrupted) && !(stopped && stopped->load());
}

// steady_clock is CLOCK_MONOTONIC on Linux, so its time points are that clock's readings.
bool RequestPacer::waitUntil(Clock::time_point deadline, const volatile std::sig_atomic_t* interrupted) {
    const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(deadline.time_since_epoch());
    timespec until = {};
    until.tv_sec = static_cast<time_t>(since.count() / 1000000000);
    until.tv_nsec = static_cast<long>(since.count() % 1000000000);
    while (!(interrupted && *interrupted)) {
        const int slept = clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
        if (slept != EINTR) {
            return !(interrupted && *interrupted);
        }
    }
    return false;
}

}  // namespace zaltools
