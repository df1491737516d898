#include "services/kiv/telemetry/aggregation/AggregationManagers.h"

#include "services/kiv/telemetry/aggregation/TableAggregator.h"

namespace android::kiv::internal {

namespace {

template <typename Event>
auto makeManager() {
  return std::make_shared<TimedAggregationManager<Event>>(TableAggregator<Event>::make(),
                                                          kAggregationPeriod);
}

}  // namespace

AggregationManagers makeAggregationManagers() {
  return {makeManager<KivErrorCodeEvent>(),      makeManager<KivStreamEvent>(),
          makeManager<KivAudioLatencyEvent>(),   makeManager<KivGenericEvent<long long>>(),
          makeManager<KivGenericEvent<float>>(), makeManager<KivGenericEvent<std::string>>()};
}

}  // namespace android::kiv::internal
