#include "AggregationMethod.h"
#include "PackedAggregator.h"

namespace android::kiv {

void PackedWindow::add(const TableKey& key, NumericAggregationType method, float sample) {
  if (table_ == nullptr) table_ = std::make_unique<AggregateTable>(key.size);
  AggregateTable::Aggregate& aggregate = table_->find(key);
  aggregate.value = combine(method, aggregate.value, aggregate.count, sample);
  ++aggregate.count;
}

std::unique_ptr<AggregateTable> PackedWindow::close() {
  if (table_ == nullptr || table_->empty()) return nullptr;
  return std::move(table_);
}

void PackedWindow::reuse(std::unique_ptr<AggregateTable> closed) {
  if (table_ != nullptr || !closed->isSmall()) return;
  closed->clear();
  table_ = std::move(closed);
}

}  // namespace android::kiv
