/// Operations on the six aggregations of a logger.
#pragma once

#include "kiv/internal/AggregationManagers.h"

namespace android::kiv::internal {

/// The library's own aggregators, each under its window and not running.
AggregationManagers makeAggregationManagers();

/// Calls `operation` with each manager, in order.
template <typename Operation>
void forEachManager(const AggregationManagers& managers, const Operation& operation) {
  operation(*managers.error_code_manager_);
  operation(*managers.stream_event_manager_);
  operation(*managers.audio_latency_manager_);
  operation(*managers.int64_event_manager_);
  operation(*managers.float_event_manager_);
  operation(*managers.string_event_manager_);
}

}  // namespace android::kiv::internal
