/// The methods by which the samples of one key are combined.
#pragma once

#include <cstdint>

namespace android::kiv {

/// Combines the samples of one key. NaN is sticky in AVG and SUM; MAX and MIN take it as a new
/// aggregate, and replace it by the next sample. Any other value leaves the aggregate at 0.
enum class NumericAggregationType : uint8_t {
  AVG = 0,    ///< Running mean.
  SUM = 1,    ///< Sum.
  MAX = 2,    ///< Largest sample.
  MIN = 3,    ///< Smallest sample.
  COUNT = 4,  ///< Number of samples, whatever they are.
};

}  // namespace android::kiv
