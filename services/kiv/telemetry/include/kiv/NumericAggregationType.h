/// The methods by which the samples of one key are combined.
#pragma once

#include <cstdint>

namespace android::kiv {

/// Combines the samples of one key into one float. Any other value leaves the aggregate at 0. From
/// 2^24 on a float does not represent every integer, so sums are rounded.
enum class NumericAggregationType : uint8_t {
  AVG = 0,  ///< Running mean.
  SUM = 1,  ///< Sum.
  MAX = 2,  ///< Largest sample; NaN replaces what is there, and the next sample replaces NaN.
  MIN = 3,  ///< Smallest sample, with NaN as in MAX.
  /// Number of samples, whatever they are. It stays at 2^24; the count beside the value goes on.
  COUNT = 4,
};

}  // namespace android::kiv
