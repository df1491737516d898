#include "services/kiv/telemetry/aggregation/AggregationMethod.h"

namespace android::kiv::internal {

float combine(NumericAggregationType type, float aggregate, uint32_t count, float sample) {
  switch (type) {
    case NumericAggregationType::AVG:
      return (sample + aggregate * static_cast<float>(count)) / static_cast<float>(count + 1);
    case NumericAggregationType::SUM:
      return aggregate + sample;
    case NumericAggregationType::MAX:
      return count != 0 && aggregate > sample ? aggregate : sample;
    case NumericAggregationType::MIN:
      return count != 0 && sample > aggregate ? aggregate : sample;
    case NumericAggregationType::COUNT:
      return aggregate + 1.0F;
  }
  return aggregate;
}

}  // namespace android::kiv::internal
