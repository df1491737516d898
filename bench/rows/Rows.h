/// All that is compared, in the order of the table.
#pragma once

#include <cstdint>
#include <vector>

#include "bench/harness/Comparison.h"

namespace kiv_bench {

/// Sets how long measurements take.
struct Effort {
  int rounds;      ///< At least seven for figures that are published.
  uint32_t scale;  ///< Factor on the repetitions within a run.
};

std::vector<Comparison> pacedComparisons(const Effort& effort);
std::vector<Comparison> processorTimeComparisons(const Effort& effort);
std::vector<Comparison> burstComparisons(const Effort& effort);
std::vector<Comparison> sustainedComparisons(const Effort& effort);
std::vector<Comparison> foldComparisons(const Effort& effort);
std::vector<Comparison> submitComparisons(const Effort& effort);
std::vector<Comparison> callComparisons(const Effort& effort);
std::vector<Comparison> memoryComparisons();

}  // namespace kiv_bench
