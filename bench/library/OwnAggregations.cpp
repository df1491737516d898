#include "bench/library/OwnAggregations.h"

#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"

namespace kiv_bench {

using android::kiv::KivErrorCodeEvent;
using android::kiv::TelemetryLogger;

std::shared_ptr<ErrorCodeAggregator> makeOwnAggregator() {
  return android::kiv::internal::TableAggregator<KivErrorCodeEvent>::make();
}

std::shared_ptr<TelemetryLogger> makeOwnLogger(
    const android::kiv::KivSessionId& session, const std::string& name,
    const std::shared_ptr<android::kiv::TaskRunnerThread>& thread,
    android::kiv::TelemetrySubmissionModel model) {
  const auto managers = android::kiv::internal::makeAggregationManagers();
  return std::make_shared<TelemetryLogger>(
      session, name, thread, managers.error_code_manager_, managers.stream_event_manager_,
      managers.audio_latency_manager_, managers.int64_event_manager_, managers.float_event_manager_,
      managers.string_event_manager_, model);
}

}  // namespace kiv_bench
