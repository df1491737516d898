/// The ways in which samples of one key are combined.
#pragma once

#include <cstdint>

namespace android::kiv {

/// How the samples of one key become one number. Any other value leaves the aggregate at 0.
enum class NumericAggregationType : uint8_t {
  AVG = 0,    ///< Running mean.
  SUM = 1,    ///< Sum.
  MAX = 2,    ///< Largest sample.
  MIN = 3,    ///< Smallest sample.
  COUNT = 4,  ///< Number of samples, whatever they are.
};

}  // namespace android::kiv
