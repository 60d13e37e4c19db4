// How many messages, and how many bytes of their data frames, one byte-stream socket has carried.
#pragma once

#include <cstdint>

namespace zal {

// Plain integers, written by the socket's own thread only: counting must cost no lock and no
// atomic on a path that carries millions of messages a second. Topics are not counted in bytes.
// A cache line of its own: a producer's and its consumer's counts, written by two threads at every
// message, would otherwise often share one (their sockets are made one after the other).
struct alignas(64) TrafficCount {
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;
};

}  // namespace zal
