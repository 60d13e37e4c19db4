// How many messages, and how many bytes of their data frames, one byte-stream socket has carried.
#pragma once

#include <cstdint>

namespace zal {

// Plain integers, written by the socket's own thread only: counting must cost no lock and no
// atomic on a path that carries millions of messages a second. Topics are not counted in bytes.
struct TrafficCount {
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;
};

}  // namespace zal
