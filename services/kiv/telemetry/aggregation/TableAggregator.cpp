#include "services/kiv/telemetry/aggregation/TableAggregator.h"

#include <utility>

#include "kiv/TelemetrySwitch.h"
#include "services/kiv/telemetry/aggregation/AggregationMethod.h"
#include "services/kiv/telemetry/aggregation/EventSubmission.h"

namespace android::kiv::internal {

void AggregationWindow::add(const AggregationKey& key, NumericAggregationType method,
                            float sample) {
  if (table_ == nullptr) table_ = std::make_unique<AggregateTable>(schema_.key_layout);
  AggregateTable::Aggregate& aggregate = table_->findOrInsert(key);
  aggregate.value = combine(method, aggregate.value, aggregate.count, sample);
  ++aggregate.count;
}

void AggregationWindow::flush(std::chrono::system_clock::time_point start,
                              std::chrono::system_clock::time_point end) {
  // Read once, so that a window is submitted whole or not at all.
  const bool enabled = isTelemetryEnabled();
  const ForkWatch fork;
  if (table_ == nullptr || table_->empty()) return;
  // Detached first: the module may report and flush in turn.
  auto closed = std::move(table_);
  if (enabled && !handler_) handler_ = TAMSA::UnifiedTelemetry::v9::createTelemetryHandlerPtr();
  if (enabled && handler_) submitTable(*handler_.get(), *closed, schema_, fork, start, end);
  // The memory of a small table serves the next window. A large one is released.
  if (table_ != nullptr || !closed->isSmall()) return;
  closed->clear();
  table_ = std::move(closed);
}

}  // namespace android::kiv::internal
