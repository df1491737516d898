/// The aggregator framework. An aggregator combines reports into one aggregate per distinct key,
/// and turns each aggregate into one unified-telemetry event.
///
/// An aggregator is not synchronized: its operations are called by one thread at a time.
///
/// The virtual operations and the data members are part of the binary interface: never add, remove
/// or reorder any, because clients' classes continue the tables. The templates are defined and
/// instantiated in the library, for its own kinds of events.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "kiv/Export.h"
#include "kiv/NumericAggregationType.h"

namespace TAMSA::UnifiedTelemetry::v9 {
class ITelemetryHandler;
}  // namespace TAMSA::UnifiedTelemetry::v9

namespace android::kiv {

namespace internal {
struct DeviceLayout;
}  // namespace internal

/// The aggregate of one key. `T` is the type of the samples, which are combined as floats. A float
/// counts exactly up to 2^24 (16 777 216); beyond that, sums and integer samples are rounded.
template <typename T>
struct AggregationData {
  float value = 0.0F;  ///< The combined samples.
  uint32_t count = 0;  ///< Number of samples; wraps around at 2^32.
};

/// The interface through which a `TimedAggregationManager` uses an aggregator.
template <typename Event>
class KIV_EXPORT KivAggregator {
 public:
  virtual ~KivAggregator() = default;

  /// Adds one report to the aggregate of its key.
  virtual void add(const Event& event) = 0;

  /// Submits every aggregate as one event of the interval from `start` to `end`, then removes them,
  /// whether or not they were accepted. Reports that a telemetry module adds while it takes an
  /// event are kept for the next interval.
  virtual void flush(std::chrono::system_clock::time_point start,
                     std::chrono::system_clock::time_point end) = 0;

  /// Removes every aggregate without submitting it.
  virtual void reset() = 0;
};

/// Base of all aggregators. A derived class maps a report to its key, sample and method, and stages
/// the fields of an aggregate's event.
template <typename Event, typename Key, typename Value>
class KIV_EXPORT KivBaseAggregator : public KivAggregator<Event> {
 public:
  /// The aggregates of the open window.
  using Entries = std::map<Key, AggregationData<Value>>;

  KivBaseAggregator();
  ~KivBaseAggregator() override;

  KivBaseAggregator(const KivBaseAggregator&) = delete;
  KivBaseAggregator& operator=(const KivBaseAggregator&) = delete;

  /// Calls the three operations below for the report, and adds its sample to its key's aggregate.
  void add(const Event& event) override;

  /// Calls `submitEvents`, then `reset`.
  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end) override;

  /// Empties the table.
  void reset() override;

  /// The key of a report: reports with equal keys are aggregated together.
  virtual Key getKey(const Event& event) = 0;

  /// The sample of a report.
  virtual Value getValue(const Event& event) = 0;

  /// The method by which the report's sample is combined with its key's aggregate.
  virtual NumericAggregationType getAggregationType(const Event& event) = 0;

  /// Stages the fields of the event of one entry, except its interval.
  virtual void populateMetricValuesForEntry(typename Entries::iterator entry) = 0;

  /// The name of the events made here; a static text.
  virtual const char* getEventName() const = 0;

  /// Stage one field of the event under construction; the last value for a name and type wins.
  virtual void populateTelemetryField(std::string name, int value);

  /// Reported through the `int` form: values from 2^31 on come out negative.
  virtual void populateTelemetryField(std::string name, unsigned int value);

  /// A 64-bit integer. Convert a `long` to `long long`: it fits several overloads equally.
  virtual void populateTelemetryField(std::string name, long long value);

  /// Sent beside an integer of the same name if there is one.
  virtual void populateTelemetryField(std::string name, float value);

  /// Sent up to the first NUL, and beside numbers of the same name if there are any.
  virtual void populateTelemetryField(std::string name, std::string value);

  /// Reported as 1 or 0.
  virtual void populateTelemetryField(std::string name, bool value);

  /// A text given as a literal or `char*`, which would otherwise become a `bool`. A template, so
  /// that neither the virtual table nor the exports have it.
  template <typename Char, typename = std::enable_if_t<std::is_same_v<Char, char>>>
  void populateTelemetryField(std::string name, const Char* value) {
    this->populateTelemetryField(std::move(name), std::string(value));
  }

  // Names of the library's events. Each is defined for the instantiations whose events have it.

  static const char kKivErrorCodeEvent[];     ///< "wexo_kiv_error_code"
  static const char kKivStreamEvent[];        ///< "wexo_kiv_stream_event"
  static const char kKivAudioLatencyEvent[];  ///< The empty text.
  static const char kKivGenericEvent[];       ///< "wexo_kiv_generic"

 protected:
  friend struct internal::DeviceLayout;

  /// Hands one event per entry to the telemetry module, in key order. The entries stay.
  void submitEvents(std::chrono::system_clock::time_point start,
                    std::chrono::system_clock::time_point end);

  /// The module's handler, created on first need; empty while the module gives none.
  std::shared_ptr<TAMSA::UnifiedTelemetry::v9::ITelemetryHandler>& getUnifiedTelemetryHandler();

  Entries aggregated_data_;  ///< By key, hence in the order in which events are submitted.

  // Fields of the event under construction. Members, so that their buckets serve every event.

  std::unordered_map<std::string, int64_t> int_fields_;         ///< Set first.
  std::unordered_map<std::string, float> float_fields_;         ///< Set next.
  std::unordered_map<std::string, std::string> string_fields_;  ///< Set last.

  /// Empty until there is something to submit, and as long as the module gives none.
  std::shared_ptr<TAMSA::UnifiedTelemetry::v9::ITelemetryHandler> telemetry_handler_;

 private:
  /// Implements `submitEvents`. Adds reports that the module makes meanwhile to `next`.
  KIV_HIDDEN void submitWindow(std::chrono::system_clock::time_point start,
                               std::chrono::system_clock::time_point end, Entries& next);

  // Not inline, to save code in every instantiation.
  __attribute__((noinline)) KIV_HIDDEN void swapWith(Entries& entries);
};

/// Base of the aggregators that count equal reports: the report is its own key.
template <typename Event>
class KIV_EXPORT KivCountedAggregator : public KivBaseAggregator<Event, Event, unsigned int> {
 public:
  /// Combines reports, each of which counts 1, by `aggregation_type`.
  explicit KivCountedAggregator(NumericAggregationType aggregation_type);
  ~KivCountedAggregator() override;

  /// A copy of the event.
  Event getKey(const Event& event) override;

  /// 1, for every event.
  unsigned int getValue(const Event& event) override;

  /// The aggregator's own method, for every event.
  NumericAggregationType getAggregationType(const Event& event) override;

 protected:
  friend struct internal::DeviceLayout;

  const NumericAggregationType aggregation_type_;  ///< As constructed.
};

}  // namespace android::kiv
