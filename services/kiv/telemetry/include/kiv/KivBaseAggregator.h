/// The aggregator framework: reports folded into one aggregate per distinct key, and each aggregate
/// turned into one unified-telemetry event.
///
/// An aggregator is not synchronised: its operations are called by one thread at a time.
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

/// The aggregate of one key. `T` is the type of the samples, which are folded as floats whatever it
/// is.
template <typename T>
struct AggregationData {
  float value = 0.0F;  ///< What the samples have become.
  uint32_t count = 0;  ///< Samples folded in.
};

/// What a `TimedAggregationManager` needs of an aggregator.
template <typename Event>
class KIV_EXPORT KivAggregator {
 public:
  virtual ~KivAggregator() = default;

  /// Folds one report into the aggregate of its key.
  virtual void add(const Event& event) = 0;

  /// Submits every aggregate as one event of the interval from `start` to `end`, then forgets them,
  /// whether or not they were accepted. What is added meanwhile, by a telemetry module that reports
  /// in turn while it takes an event, is kept for the next interval.
  virtual void flush(std::chrono::system_clock::time_point start,
                     std::chrono::system_clock::time_point end) = 0;

  /// Forgets every aggregate without submitting it.
  virtual void reset() = 0;
};

/// Base of all aggregators. A concrete one says how a report maps to a key, a sample and a method,
/// and which fields describe a key.
template <typename Event, typename Key, typename Value>
class KIV_EXPORT KivBaseAggregator : public KivAggregator<Event> {
 public:
  /// The aggregates of the open window.
  using Entries = std::map<Key, AggregationData<Value>>;

  KivBaseAggregator();
  ~KivBaseAggregator() override;

  KivBaseAggregator(const KivBaseAggregator&) = delete;
  KivBaseAggregator& operator=(const KivBaseAggregator&) = delete;

  /// Asks the three operations below about the report, and folds it.
  void add(const Event& event) override;

  /// Submits as `submitEvents` does, then calls `reset`.
  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end) override;

  /// Empties the table.
  void reset() override;

  /// What makes two reports the same.
  virtual Key getKey(const Event& event) = 0;

  /// What is folded, as a float.
  virtual Value getValue(const Event& event) = 0;

  /// The method by which this report is folded.
  virtual NumericAggregationType getAggregationType(const Event& event) = 0;

  /// Stages the fields that describe one entry of the table.
  virtual void populateMetricValuesForEntry(typename Entries::iterator entry) = 0;

  /// The name of the events made here; a static text.
  virtual const char* getEventName() const = 0;

  /// Stage one field of the event under construction; the last value for a name and type wins.
  virtual void populateTelemetryField(std::string name, int value);

  /// Reported through the `int` form: values from 2^31 on come out negative.
  virtual void populateTelemetryField(std::string name, unsigned int value);

  /// A 64-bit integer. Convert a `long` to `long long`: it fits several overloads equally.
  virtual void populateTelemetryField(std::string name, long long value);

  /// A float, sent beside an integer of the same name if there is one.
  virtual void populateTelemetryField(std::string name, float value);

  /// A text, sent up to its first NUL, and beside numbers of the same name if there are any.
  virtual void populateTelemetryField(std::string name, std::string value);

  /// Reported as 1 or 0.
  virtual void populateTelemetryField(std::string name, bool value);

  /// A text given as a literal or `char*`, which would otherwise become a `bool`. A template, so
  /// that neither the virtual table nor the exports have it.
  template <typename Char, typename = std::enable_if_t<std::is_same_v<Char, char>>>
  void populateTelemetryField(std::string name, const Char* value) {
    this->populateTelemetryField(std::move(name), std::string(value));
  }

  // Names of the library's events. Each is defined for the instantiations whose events bear it.

  static const char kKivErrorCodeEvent[];     ///< "wexo_kiv_error_code"
  static const char kKivStreamEvent[];        ///< "wexo_kiv_stream_event"
  static const char kKivAudioLatencyEvent[];  ///< The empty text.
  static const char kKivGenericEvent[];       ///< "wexo_kiv_generic"

 protected:
  friend struct DeviceLayout;

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
  /// What `submitEvents` does. Adds to `next` what the module reports meanwhile.
  KIV_HIDDEN void submitWindow(std::chrono::system_clock::time_point start,
                               std::chrono::system_clock::time_point end, Entries& next);

  // Not inline, because then the library would hold it many times.
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
  friend struct DeviceLayout;

  const NumericAggregationType aggregation_type_;  ///< As constructed.
};

}  // namespace android::kiv
