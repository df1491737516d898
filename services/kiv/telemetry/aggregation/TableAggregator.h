/// The aggregators that the library makes for its own loggers.
#pragma once

#include <chrono>
#include <memory>

#include "kiv/KivBaseAggregator.h"
#include "services/kiv/telemetry/aggregation/AggregateTable.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"
#include "services/kiv/telemetry/aggregation/Reports.h"
#include "tamsa/Ptr.h"
#include "tamsa/UnifiedTelemetry.h"

namespace android::kiv::internal {

/// The open window of one kind of event.
class AggregationWindow {
 public:
  explicit AggregationWindow(const EventSchema& schema) : schema_(schema) {}

  void add(const AggregationKey& key, NumericAggregationType method, float sample);
  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end);
  void reset() { table_ = nullptr; }

 private:
  const EventSchema& schema_;
  std::unique_ptr<AggregateTable> table_;  // null until there is a report
  TAMSA::Ptr<TAMSA::UnifiedTelemetry::v9::ITelemetryHandler> handler_;
};

/// Produces the same events as the public aggregator of its kind, at less cost: no operation can be
/// overridden, so keys are not copied and fields are not staged.
template <typename Event>
class TableAggregator final : public KivAggregator<Event> {
 public:
  using Report = typename ReportOf<Event>::Type;

  static std::shared_ptr<KivAggregator<Event>> make() {
    return std::shared_ptr<KivAggregator<Event>>(new TableAggregator, Deleter{});
  }

  /// Null if `make` has not made the aggregator.
  static TableAggregator* from(const std::shared_ptr<KivAggregator<Event>>& aggregator) {
    // The deleter tells, even of classes of clients without RTTI, which casts could not.
    return std::get_deleter<Deleter>(aggregator) != nullptr
               ? static_cast<TableAggregator*>(aggregator.get())
               : nullptr;
  }

  void add(const Report& report) { window_.add(report.key(), report.method(), report.sample()); }
  void add(const Event& event) override { add(Report::of(event)); }

  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end) override {
    window_.flush(start, end);
  }

  void reset() override { window_.reset(); }

 private:
  struct Deleter {
    void operator()(KivAggregator<Event>* aggregator) const { delete aggregator; }
  };

  AggregationWindow window_{Report::kSchema};
};

}  // namespace android::kiv::internal
