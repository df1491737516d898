#include "services/kiv/telemetry/aggregation/AggregationManagers.h"

#include "services/kiv/telemetry/aggregation/TableAggregator.h"

namespace android::kiv {

namespace {

template <typename Event>
auto makeManager() {
  return std::make_shared<TimedAggregationManager<Event>>(
      std::make_shared<TableAggregator<Event>>(), kAggregationPeriod);
}

}  // namespace

std::shared_ptr<TimedAggregationManager<KivErrorCodeEvent>> makeErrorCodeManager() {
  return makeManager<KivErrorCodeEvent>();
}

std::shared_ptr<TimedAggregationManager<KivStreamEvent>> makeStreamEventManager() {
  return makeManager<KivStreamEvent>();
}

std::shared_ptr<TimedAggregationManager<KivAudioLatencyEvent>> makeAudioLatencyManager() {
  return makeManager<KivAudioLatencyEvent>();
}

template <>
std::shared_ptr<TimedAggregationManager<KivGenericEvent<long long>>> makeNumericEventManager() {
  return makeManager<KivGenericEvent<long long>>();
}

template <>
std::shared_ptr<TimedAggregationManager<KivGenericEvent<float>>> makeNumericEventManager() {
  return makeManager<KivGenericEvent<float>>();
}

std::shared_ptr<TimedAggregationManager<KivGenericEvent<std::string>>> makeStringEventManager() {
  return makeManager<KivGenericEvent<std::string>>();
}

}  // namespace android::kiv
