/// The aggregators that the library makes for itself.
#pragma once

#include <chrono>
#include <cstring>
#include <memory>
#include <typeinfo>

#include "kiv/KivBaseAggregator.h"
#include "services/kiv/telemetry/aggregation/AggregateTable.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"
#include "services/kiv/telemetry/aggregation/EventTraits.h"
#include "tamsa/Ptr.h"
#include "tamsa/UnifiedTelemetry.h"

namespace android::kiv {

/// What they have in common: all but the kind of report.
class TableAggregatorBase {
 public:
  void add(const AggregationKey& key, NumericAggregationType method, float sample);
  void flush(const EventSchema& kind, std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end);
  void reset() { table_ = nullptr; }

 private:
  std::unique_ptr<AggregateTable> table_;
  TAMSA::Ptr<TAMSA::UnifiedTelemetry::v9::ITelemetryHandler> handler_;
};

/// Does what the public aggregator of the kind does, with the same results at less cost. That one
/// has to reach each of its steps through operations that a client may have overridden. This one
/// makes no copies of keys, and hands fields to the module without staging them.
template <typename Event>
class TableAggregator final : public KivAggregator<Event> {
 public:
  using Kind = EventTraits<Event>;

  /// `aggregator` if it is one of these, else null. Clients' classes may lack the type information
  /// that the language's own casts would look at.
  static TableAggregator* cast(KivAggregator<Event>& aggregator) {
    const void* const* table = nullptr;
    std::memcpy(&table, static_cast<const void*>(&aggregator), sizeof(table));
    return table[-1] == &typeid(TableAggregator) ? static_cast<TableAggregator*>(&aggregator)
                                                 : nullptr;
  }

  void add(const Event& event) override {
    addReport(typename Kind::Key(event), Kind::methodOf(event), Kind::sampleOf(event));
  }

  /// The same for a report of which there is no record.
  void addReport(const AggregationKey& key, NumericAggregationType method, float sample) {
    aggregates_.add(key, method, sample);
  }

  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end) override {
    aggregates_.flush(Kind::kEvents, start, end);
  }

  void reset() override { aggregates_.reset(); }

 private:
  TableAggregatorBase aggregates_;
};

}  // namespace android::kiv
