#include "kiv/TimedAggregationManager.h"

#include <android/log.h>

#include <utility>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "services/kiv/telemetry/aggregation/Clock.h"
#include "services/kiv/telemetry/aggregation/EventSubmission.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"

namespace android::kiv {

template <typename Event>
TimedAggregationManager<Event>::TimedAggregationManager(
    std::shared_ptr<KivAggregator<Event>> aggregator, std::chrono::milliseconds aggregation_period)
    : aggregator_(std::move(aggregator)), aggregation_period_(aggregation_period) {}

template <typename Event>
TimedAggregationManager<Event>::~TimedAggregationManager() {
  if (window_.has_value()) stop();
}

template <typename Event>
void TimedAggregationManager<Event>::start() {
  if (window_.has_value()) return;
  aggregator_->reset();
  window_ = openWindow();
}

template <typename Event>
void TimedAggregationManager<Event>::add(const Event& event) {
  if (rollOverIfExpired()) aggregator_->add(event);
}

template <typename Event>
bool TimedAggregationManager<Event>::addReport(const AggregationKey& key,
                                               NumericAggregationType method, float sample) {
  auto* const packed = TableAggregator<Event>::cast(*aggregator_);
  if (packed == nullptr) return false;
  if (rollOverIfExpired()) packed->addReport(key, method, sample);
  return true;
}

template <typename Event>
bool TimedAggregationManager<Event>::flush() {
  if (!window_.has_value()) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: TimedAggregationManager not running! Cannot flush.", "flush");
    return false;
  }
  rollOver();
  return true;
}

template <typename Event>
bool TimedAggregationManager<Event>::stop() {
  if (!window_.has_value()) {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "%s: TimedAggregationManager not running!",
                        "stop");
    return false;
  }
  rollOver();
  window_.reset();
  return true;
}

template <typename Event>
bool TimedAggregationManager<Event>::rollOverIfExpired() {
  if (!window_.has_value()) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: TimedAggregationManager not running! Cannot add.", "add");
    return false;
  }
  const std::chrono::nanoseconds age = internal::steadyNow() - window_->started_steady;
  if (aggregation_period_ < age) rollOver();
  return true;
}

template <typename Event>
typename TimedAggregationManager<Event>::Window TimedAggregationManager<Event>::openWindow() {
  const auto steady = internal::steadyNow();
  return {steady, internal::systemNow()};
}

template <typename Event>
void TimedAggregationManager<Event>::rollOver() {
  if (NestedSubmission::isDeepest()) return;
  const NestedSubmission level;
  const auto start = window_->started_system;
  // Assigned in place: emplacing would leave the optional empty for an instant, and a logger that
  // is being constructed on another thread would take the manager for a stopped one.
  *window_ = openWindow();
  aggregator_->flush(start, window_->started_system);
}

template class TimedAggregationManager<KivErrorCodeEvent>;
template class TimedAggregationManager<KivStreamEvent>;
template class TimedAggregationManager<KivAudioLatencyEvent>;
template class TimedAggregationManager<KivGenericEvent<long long>>;
template class TimedAggregationManager<KivGenericEvent<float>>;
template class TimedAggregationManager<KivGenericEvent<std::string>>;

}  // namespace android::kiv
