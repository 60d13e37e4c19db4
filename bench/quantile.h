// The quantile of a sorted sample set, as every benchmark program reports its latencies.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace zalbench {

// The sample at rank floor(n * fraction), the last one for fractions near 1: the value at or below
// which at least that fraction lies. Zero for no samples, so that an empty window reads as nothing
// rather than as undefined memory.
inline double quantile(const std::vector<double>& sorted, double fraction) {
    if (sorted.empty()) {
        return 0;
    }
    return sorted[std::min(sorted.size() - 1, static_cast<size_t>(double(sorted.size()) * fraction))];
}

}  // namespace zalbench
