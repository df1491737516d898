#include "bench/harness/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kiv_bench {

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double percentile(Samples& samples, double fraction) {
  const auto rank = static_cast<size_t>(std::ceil(fraction * static_cast<double>(samples.size())));
  const auto position = samples.begin() + static_cast<std::ptrdiff_t>(
                                              std::clamp<size_t>(rank, 1, samples.size()) - 1);
  std::nth_element(samples.begin(), position, samples.end());
  return *position;
}

}  // namespace kiv_bench
