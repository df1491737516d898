/// Combines samples.
#pragma once

#include <cstdint>

#include "kiv/NumericAggregationType.h"

namespace android::kiv::internal {

/// The aggregate of `count` samples with value `aggregate` after one more, `sample`. An unknown
/// method leaves it as it is.
float combine(NumericAggregationType type, float aggregate, uint32_t count, float sample);

}  // namespace android::kiv::internal
