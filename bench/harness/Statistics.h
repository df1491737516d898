/// Medians and percentiles of many measurements.
#pragma once

#include <cstdint>
#include <vector>

namespace kiv_bench {

/// Single calls, in nanoseconds.
using Samples = std::vector<uint32_t>;

/// The middle value, or the mean of the two middle ones. `values` is not empty.
double median(std::vector<double> values);

/// The smallest sample that is not exceeded by the given fraction of them; `samples` is not empty.
double percentile(Samples& samples, double fraction);

}  // namespace kiv_bench
