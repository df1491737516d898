#include "kiv/TimedAggregationManager.h"

#include <android/log.h>

#include <algorithm>
#include <thread>
#include <utility>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "services/kiv/telemetry/aggregation/WindowAccess.h"

namespace android::kiv {

using internal::WindowAccess;

template <typename Event>
TimedAggregationManager<Event>::TimedAggregationManager(
    std::shared_ptr<KivAggregator<Event>> aggregator, std::chrono::milliseconds aggregation_period)
    : aggregator_(std::move(aggregator)),
      aggregation_period_(
          std::clamp(aggregation_period, -internal::kLongestPeriod, internal::kLongestPeriod)) {}

template <typename Event>
TimedAggregationManager<Event>::~TimedAggregationManager() {
  if (window_.isOpen()) stop();
}

template <typename Event>
void TimedAggregationManager<Event>::start() {
  // Loops only while a logger is being constructed on another thread.
  while (!window_.claimFirst() && window_.isClaimed()) std::this_thread::yield();
  if (!window_.isOpen()) WindowAccess::begin(*this);
}

template <typename Event>
void TimedAggregationManager<Event>::add(const Event& event) {
  if (WindowAccess::rollOverIfExpired(*this)) aggregator_->add(event);
}

template <typename Event>
bool TimedAggregationManager<Event>::flush() {
  if (!window_.isOpen()) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: TimedAggregationManager not running! Cannot flush.", "flush");
    return false;
  }
  return WindowAccess::rollOverFor(*this, "flush");
}

template <typename Event>
bool TimedAggregationManager<Event>::stop() {
  if (!window_.isOpen()) {
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "%s: TimedAggregationManager not running!",
                        "stop");
    return false;
  }
  if (!WindowAccess::rollOverFor(*this, "stop")) return false;
  window_.close();
  return true;
}

template class TimedAggregationManager<KivErrorCodeEvent>;
template class TimedAggregationManager<KivStreamEvent>;
template class TimedAggregationManager<KivAudioLatencyEvent>;
template class TimedAggregationManager<KivGenericEvent<long long>>;
template class TimedAggregationManager<KivGenericEvent<float>>;
template class TimedAggregationManager<KivGenericEvent<std::string>>;

}  // namespace android::kiv
