/// The six aggregations of the library, each under its window and not running.
#pragma once

#include <memory>
#include <string>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "kiv/TimedAggregationManager.h"

namespace android::kiv {

std::shared_ptr<TimedAggregationManager<KivErrorCodeEvent>> makeErrorCodeManager();
std::shared_ptr<TimedAggregationManager<KivStreamEvent>> makeStreamEventManager();
std::shared_ptr<TimedAggregationManager<KivAudioLatencyEvent>> makeAudioLatencyManager();

/// For `long long` and `float`.
template <typename T>
std::shared_ptr<TimedAggregationManager<KivGenericEvent<T>>> makeNumericEventManager();

std::shared_ptr<TimedAggregationManager<KivGenericEvent<std::string>>> makeStringEventManager();

}  // namespace android::kiv
