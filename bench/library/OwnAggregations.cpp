#include "bench/library/OwnAggregations.h"

#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"

namespace kiv_bench {

using android::kiv::KivErrorCodeEvent;
using android::kiv::TableAggregator;
using android::kiv::TelemetryLogger;

std::unique_ptr<ErrorCodeAggregator> makeOwnAggregator() {
  return std::make_unique<TableAggregator<KivErrorCodeEvent>>();
}

std::shared_ptr<TelemetryLogger> makeOwnLogger(
    const android::kiv::KivSessionId& session, const std::string& name,
    const std::shared_ptr<android::kiv::TaskRunnerThread>& thread,
    android::kiv::TelemetrySubmissionModel model) {
  return std::make_shared<TelemetryLogger>(
      session, name, thread, android::kiv::makeErrorCodeManager(),
      android::kiv::makeStreamEventManager(), android::kiv::makeAudioLatencyManager(),
      android::kiv::makeNumericEventManager<long long>(),
      android::kiv::makeNumericEventManager<float>(), android::kiv::makeStringEventManager(),
      model);
}

}  // namespace kiv_bench
