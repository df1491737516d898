#include "EventFields.h"

#include "AggregationMethod.h"

namespace android::kiv {

void beginFields(const AggregateView& aggregate, NumericAggregationType method,
                 EventFields& fields) {
  fields.add("aggregation_method", aggregationMethodToString(method));
  fields.add("aggregated_count", static_cast<unsigned int>(aggregate.count));
  fields.add("kiv_session_id", aggregate.session);
}

}  // namespace android::kiv
