#include "kiv/TimedAggregationManager.h"

#include <android/log.h>

#include <thread>
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
  if (window_.isOpen()) stop();
}

template <typename Event>
void TimedAggregationManager<Event>::start() {
  // Only while a logger is being constructed on another thread, and for a moment.
  while (!window_.claimFirst() && window_.isClaimed()) std::this_thread::yield();
  if (!window_.isOpen()) begin();
}

template <typename Event>
bool TimedAggregationManager<Event>::startIfNew() {
  if (!window_.claimFirst()) return window_.isOpen();
  begin();
  return true;
}

template <typename Event>
void TimedAggregationManager<Event>::begin() {
  aggregator_->reset();
  window_.open(openWindow());
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
  if (!window_.isOpen()) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: TimedAggregationManager not running! Cannot flush.", "flush");
    return false;
  }
  return rollOverFor("flush");
}

template <typename Event>
bool TimedAggregationManager<Event>::stop() {
  if (!window_.isOpen()) {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "%s: TimedAggregationManager not running!",
                        "stop");
    return false;
  }
  if (!rollOverFor("stop")) return false;
  window_.close();
  return true;
}

template <typename Event>
void TimedAggregationManager<Event>::finish() {
  if (window_.isOpen()) flush();
  // The module that ends the process from inside a submission is still using its handler.
  if (!NestedSubmission::isUnderWay()) aggregator_ = std::make_shared<TableAggregator<Event>>();
}

template <typename Event>
bool TimedAggregationManager<Event>::rollOverIfExpired() {
  if (!window_.isOpen()) {
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
bool TimedAggregationManager<Event>::rollOver() {
  if (NestedSubmission::isDeepest()) return false;
  const NestedSubmission level;
  const auto start = window_->started_system;
  *window_ = openWindow();
  aggregator_->flush(start, window_->started_system);
  return true;
}

template <typename Event>
bool TimedAggregationManager<Event>::rollOverFor(const char* operation) {
  if (rollOver()) return true;
  __android_log_print(ANDROID_LOG_ERROR, nullptr,
                      "%s: Too many submissions inside each other! The window stays open.",
                      operation);
  return false;
}

template class TimedAggregationManager<KivErrorCodeEvent>;
template class TimedAggregationManager<KivStreamEvent>;
template class TimedAggregationManager<KivAudioLatencyEvent>;
template class TimedAggregationManager<KivGenericEvent<long long>>;
template class TimedAggregationManager<KivGenericEvent<float>>;
template class TimedAggregationManager<KivGenericEvent<std::string>>;

}  // namespace android::kiv
