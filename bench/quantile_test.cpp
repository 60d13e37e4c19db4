// The benchmarks' percentiles: a wrong rank would shift every latency figure they print.
#include <gtest/gtest.h>

#include <numeric>

#include "quantile.h"

using zalbench::quantile;

TEST(Quantile, PicksTheSampleAtItsRankAndStaysInsideTheSamples) {
    std::vector<double> samples(1000);
    std::iota(samples.begin(), samples.end(), 1.0);  // 1 .. 1000
    EXPECT_EQ(quantile(samples, 0.5), 501.0);
    EXPECT_EQ(quantile(samples, 0.99), 991.0);
    EXPECT_EQ(quantile(samples, 0.999), 1000.0);
    EXPECT_EQ(quantile(samples, 1.0), 1000.0);
    EXPECT_EQ(quantile({7.0}, 0.999), 7.0);
    EXPECT_EQ(quantile({}, 0.5), 0.0);
}
