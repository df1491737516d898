/// The aggregators that the library makes for itself.
#pragma once

#include <memory>
#include <utility>

#include "AggregateTable.h"
#include "EventFields.h"
#include "EventSubmission.h"
#include "kiv/TelemetrySwitch.h"
#include "kiv/TimedAggregationManager.h"

namespace android::kiv {

/// The open window of an aggregator.
class PackedWindow {
 public:
  /// Folds a sample into the aggregate of `key`.
  void add(const TableKey& key, NumericAggregationType method, float sample);

  /// The entries so far; none if there are none. Reports that come while they are submitted, from
  /// within the telemetry module even, go to the next window.
  std::unique_ptr<AggregateTable> close();

  /// Takes a closed window's memory for the next, unless it is much or there is some already.
  void reuse(std::unique_ptr<AggregateTable> closed);

  void reset() { table_ = nullptr; }

 private:
  std::unique_ptr<AggregateTable> table_;
};

/// One of the public aggregators, with the same results at less cost. Nobody can override what lies
/// beneath `add` and `flush` here, so they need neither copies of the key nor staged fields.
template <typename Base, typename Event, typename Key, Describe describe>
class PackedAggregator final : public Base {
 public:
  template <typename... Args>
  explicit PackedAggregator(NumericAggregationType method, Args... args)
      : Base(args...), method_(method) {}

  void add(const Event& event) override {
    window_.add(Key(event), this->getAggregationType(event),
                static_cast<float>(this->getValue(event)));
  }

  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end) override {
    const bool enabled = isTelemetryEnabled();
    auto closed = window_.close();
    if (closed == nullptr) return;
    if (enabled) {
      // Shared, and not merely referred to, for the same reason.
      const auto handler = this->getUnifiedTelemetryHandler();
      if (handler != nullptr) {
        submitTable(*handler, *closed, {this->getEventName(), describe, method_, start, end});
      }
    }
    window_.reuse(std::move(closed));
  }

  void reset() override { window_.reset(); }

 private:
  const NumericAggregationType method_;
  PackedWindow window_;
};

/// A stopped manager over such an aggregator.
template <typename Base, typename Event, typename Key, Describe describe, typename... Args>
std::shared_ptr<TimedAggregationManager<Event>> makePackedManager(NumericAggregationType method,
                                                                  Args... args) {
  using Aggregator = PackedAggregator<Base, Event, Key, describe>;
  return std::make_shared<TimedAggregationManager<Event>>(
      std::make_shared<Aggregator>(method, args...), kAggregationPeriod);
}

}  // namespace android::kiv
