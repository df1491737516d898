/// Definitions of the aggregator templates. Included by the sources that instantiate them, one per
/// kind of event.
#pragma once

#include <utility>

#include "kiv/KivBaseAggregator.h"
#include "kiv/TelemetrySwitch.h"
#include "services/kiv/telemetry/aggregation/AggregationMethod.h"
#include "services/kiv/telemetry/aggregation/EventSubmission.h"
#include "tamsa/Ptr.h"

namespace android::kiv {

template <typename Event, typename Key, typename Value>
KivBaseAggregator<Event, Key, Value>::KivBaseAggregator() = default;

template <typename Event, typename Key, typename Value>
KivBaseAggregator<Event, Key, Value>::~KivBaseAggregator() = default;

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::add(const Event& event) {
  AggregationData<Value>& data = aggregated_data_[this->getKey(event)];
  const auto sample = static_cast<float>(this->getValue(event));
  data.value = internal::combine(this->getAggregationType(event), data.value, data.count, sample);
  ++data.count;
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::flush(std::chrono::system_clock::time_point start,
                                                 std::chrono::system_clock::time_point end) {
  Entries next;
  submitWindow(start, end, next);
  this->reset();
  aggregated_data_.merge(next);
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::reset() {
  aggregated_data_.clear();
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::populateTelemetryField(std::string name, int value) {
  int_fields_[std::move(name)] = value;
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::populateTelemetryField(std::string name,
                                                                  unsigned int value) {
  this->populateTelemetryField(std::move(name), static_cast<int>(value));
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::populateTelemetryField(std::string name,
                                                                  long long value) {
  int_fields_[std::move(name)] = value;
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::populateTelemetryField(std::string name, float value) {
  float_fields_[std::move(name)] = value;
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::populateTelemetryField(std::string name,
                                                                  std::string value) {
  string_fields_[std::move(name)] = std::move(value);
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::populateTelemetryField(std::string name, bool value) {
  int_fields_[std::move(name)] = value ? 1 : 0;
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::submitEvents(std::chrono::system_clock::time_point start,
                                                        std::chrono::system_clock::time_point end) {
  // The entries stay: reports that the module makes meanwhile are added to copies of them. Copied
  // one by one, because the map's copy constructor would be more code for each instantiation.
  Entries next;
  for (const auto& [key, data] : aggregated_data_) next[Key(key)] = data;
  submitWindow(start, end, next);
  swapWith(next);
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::submitWindow(std::chrono::system_clock::time_point start,
                                                        std::chrono::system_clock::time_point end,
                                                        Entries& next) {
  // Read once, so that a window is submitted whole or not at all.
  const bool enabled = isTelemetryEnabled();
  const internal::ForkWatch fork;
  const long long start_milliseconds = internal::toEpochMilliseconds(start);
  const long long end_milliseconds = internal::toEpochMilliseconds(end);
  for (auto entry = aggregated_data_.begin(); entry != aggregated_data_.end(); ++entry) {
    internal::clearFields(int_fields_, float_fields_, string_fields_);
    this->populateTelemetryField("start_time_since_epoch", start_milliseconds);
    this->populateTelemetryField("end_time_since_epoch", end_milliseconds);
    this->populateMetricValuesForEntry(entry);
    if (!enabled) continue;

    // The module may report, and even flush this aggregator, while it creates a handler and takes
    // the event. Such reports belong to the next window and must not touch the table that is
    // iterated here, nor the staged fields.
    const internal::StagedFields fields(int_fields_, float_fields_, string_fields_);
    swapWith(next);
    const auto& handler = getUnifiedTelemetryHandler();
    const bool ready = handler != nullptr;
    if (ready) internal::submitEvent(*handler, this->getEventName(), fork, fields);
    swapWith(next);
    // Without a handler the window is dropped. The next one asks for a handler again.
    if (!ready || fork.hasHappened()) return;
  }
}

template <typename Event, typename Key, typename Value>
void KivBaseAggregator<Event, Key, Value>::swapWith(Entries& entries) {
  aggregated_data_.swap(entries);
}

template <typename Event, typename Key, typename Value>
std::shared_ptr<TAMSA::UnifiedTelemetry::v9::ITelemetryHandler>&
KivBaseAggregator<Event, Key, Value>::getUnifiedTelemetryHandler() {
  if (telemetry_handler_ == nullptr) {
    telemetry_handler_ = TAMSA::UnifiedTelemetry::v9::createTelemetryHandlerPtr().toShared();
  }
  return telemetry_handler_;
}

template <typename Event>
KivCountedAggregator<Event>::KivCountedAggregator(NumericAggregationType aggregation_type)
    : aggregation_type_(aggregation_type) {}

template <typename Event>
KivCountedAggregator<Event>::~KivCountedAggregator() = default;

template <typename Event>
Event KivCountedAggregator<Event>::getKey(const Event& event) {
  return event;
}

template <typename Event>
unsigned int KivCountedAggregator<Event>::getValue(const Event& /*event*/) {
  return 1;
}

template <typename Event>
NumericAggregationType KivCountedAggregator<Event>::getAggregationType(const Event& /*event*/) {
  return aggregation_type_;
}

}  // namespace android::kiv
