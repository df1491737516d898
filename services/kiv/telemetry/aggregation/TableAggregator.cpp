#include "services/kiv/telemetry/aggregation/TableAggregator.h"

#include <utility>

#include "kiv/TelemetrySwitch.h"
#include "services/kiv/telemetry/aggregation/AggregationMethod.h"
#include "services/kiv/telemetry/aggregation/EventSubmission.h"

namespace android::kiv {

void TableAggregatorBase::add(const AggregationKey& key, NumericAggregationType method,
                              float sample) {
  if (table_ == nullptr) table_ = std::make_unique<AggregateTable>(key.size);
  AggregateTable::Aggregate& aggregate = table_->find(key);
  aggregate.value = combine(method, aggregate.value, aggregate.count, sample);
  ++aggregate.count;
}

void TableAggregatorBase::flush(const EventSchema& kind,
                                std::chrono::system_clock::time_point start,
                                std::chrono::system_clock::time_point end) {
  const bool enabled = isTelemetryEnabled();
  if (table_ == nullptr || table_->empty()) return;
  // Out of reach first: the module may report and flush in turn.
  auto closed = std::move(table_);
  if (enabled && !handler_) handler_ = TAMSA::UnifiedTelemetry::v9::createTelemetryHandlerPtr();
  if (enabled && handler_) submitTable(*handler_.get(), *closed, kind, start, end);
  // A small table's memory serves the next window. That of a large one is given back.
  if (table_ != nullptr || !closed->isSmall()) return;
  closed->clear();
  table_ = std::move(closed);
}

}  // namespace android::kiv
