/// The aggregations behind a logger. Not for clients.
#pragma once

#include <memory>
#include <string>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "kiv/TimedAggregationManager.h"

namespace android::kiv::internal {

/// One manager for each kind of event, in the order in which they are started, flushed and stopped.
/// Loggers may share them.
struct AggregationManagers {
  std::shared_ptr<TimedAggregationManager<KivErrorCodeEvent>> error_code_manager_;
  std::shared_ptr<TimedAggregationManager<KivStreamEvent>> stream_event_manager_;
  std::shared_ptr<TimedAggregationManager<KivAudioLatencyEvent>> audio_latency_manager_;
  std::shared_ptr<TimedAggregationManager<KivGenericEvent<long long>>> int64_event_manager_;
  std::shared_ptr<TimedAggregationManager<KivGenericEvent<float>>> float_event_manager_;
  std::shared_ptr<TimedAggregationManager<KivGenericEvent<std::string>>> string_event_manager_;
};

}  // namespace android::kiv::internal
