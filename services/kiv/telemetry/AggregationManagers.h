/// The six aggregations of the library, each under its window and not running.
#pragma once

#include <memory>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "kiv/TimedAggregationManager.h"

namespace android::kiv {

template <typename Event, typename Aggregator, typename... Args>
std::shared_ptr<TimedAggregationManager<Event>> makeManager(Args... args) {
  return std::make_shared<TimedAggregationManager<Event>>(std::make_shared<Aggregator>(args...),
                                                          kAggregationPeriod);
}

inline auto makeErrorCodeManager() {
  return makeManager<KivErrorCodeEvent, KivErrorCodeAggregator>(NumericAggregationType::COUNT);
}

inline auto makeStreamEventManager() {
  return makeManager<KivStreamEvent, KivStreamEventAggregator>(NumericAggregationType::COUNT);
}

inline auto makeAudioLatencyManager() {
  return makeManager<KivAudioLatencyEvent, KivAudioLatencyAggregator>(NumericAggregationType::AVG);
}

template <typename T>
auto makeNumericEventManager() {
  return makeManager<KivGenericEvent<T>, KivGenericNumericEventAggregator<T>>();
}

inline auto makeStringEventManager() {
  return makeManager<KivGenericEvent<std::string>, KivGenericStringEventAggregator>(
      NumericAggregationType::COUNT);
}

}  // namespace android::kiv
