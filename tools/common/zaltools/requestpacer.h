// Spaces a client's requests evenly, so that no more than so many go out in any second.
#pragma once

#include <atomic>
#include <chrono>
#include <csignal>

namespace zaltools {

// Belongs to the thread that waits on it. The waits end early when `*interrupted` is set by a
// signal handler (SIGINT), whose delivery ends the sleep; or, for a pacer stopped from another
// thread, a wait fails once it is over when `*stopped` was set meanwhile.
class RequestPacer {
public:
    using Clock = std::chrono::steady_clock;

    // `interrupted` may be null.
    RequestPacer(int perSecond, const volatile std::sig_atomic_t* interrupted);
    // `stopped` must outlive the pacer.
    RequestPacer(int perSecond, const std::atomic<bool>& stopped);

    // Waits until the next request may go; false when interrupted first.
    bool next();
    // Waits until `deadline`; false when interrupted first.
    bool waitUntil(Clock::time_point deadline) const;

    static bool waitUntil(Clock::time_point deadline, const volatile std::sig_atomic_t* interrupted);

private:
    Clock::duration spacing;
    Clock::time_point allowed;
    const volatile std::sig_atomic_t* interrupted;
    const std::atomic<bool>* stopped = nullptr;
};

}  // namespace zaltools
