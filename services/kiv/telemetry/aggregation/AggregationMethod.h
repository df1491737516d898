/// How samples are combined, and what each way is called in an event.
#pragma once

#include <cstdint>

#include "kiv/NumericAggregationType.h"

namespace android::kiv::internal {

/// The method's name; "UNKNOWN" for a value that is none.
const char* aggregationMethodToString(NumericAggregationType type);

/// The aggregate of `count` samples with value `aggregate` after one more, `sample`. An unknown
/// method leaves it as it is.
float combine(NumericAggregationType type, float aggregate, uint32_t count, float sample);

}  // namespace android::kiv::internal
