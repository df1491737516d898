#include "AggregationManagers.h"

#include "aggregation/PackedAggregator.h"

namespace android::kiv {

namespace {

using Type = NumericAggregationType;

/// `method` is for the events, and `args` for the public aggregator's constructor.
template <typename Event, typename... Args>
auto makeManager(Type method, Args... args) {
  return std::make_shared<TimedAggregationManager<Event>>(
      std::make_shared<PackedAggregator<Event>>(method, args...), kAggregationPeriod);
}

}  // namespace

std::shared_ptr<TimedAggregationManager<KivErrorCodeEvent>> makeErrorCodeManager() {
  return makeManager<KivErrorCodeEvent>(Type::COUNT, Type::COUNT);
}

std::shared_ptr<TimedAggregationManager<KivStreamEvent>> makeStreamEventManager() {
  return makeManager<KivStreamEvent>(Type::COUNT, Type::COUNT);
}

std::shared_ptr<TimedAggregationManager<KivAudioLatencyEvent>> makeAudioLatencyManager() {
  return makeManager<KivAudioLatencyEvent>(Type::AVG, Type::AVG);
}

// The events of numbers name the method of each key.

template <>
std::shared_ptr<TimedAggregationManager<KivGenericEvent<long long>>> makeNumericEventManager() {
  return makeManager<KivGenericEvent<long long>>(Type::COUNT);
}

template <>
std::shared_ptr<TimedAggregationManager<KivGenericEvent<float>>> makeNumericEventManager() {
  return makeManager<KivGenericEvent<float>>(Type::COUNT);
}

std::shared_ptr<TimedAggregationManager<KivGenericEvent<std::string>>> makeStringEventManager() {
  return makeManager<KivGenericEvent<std::string>>(Type::COUNT, Type::COUNT);
}

}  // namespace android::kiv
