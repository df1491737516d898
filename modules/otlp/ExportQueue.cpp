#include "modules/otlp/ExportQueue.h"

#include <algorithm>
#include <utility>

namespace TAMSA::otlp {

bool ExportQueue::hasRoomFor(const QueuedRecord& record) const {
  if (records_.size() < max_size_) return true;
  if (records_.size() >= kHardLimit) return false;
  const auto source = sources_.find(record.source);
  return source == sources_.end() || source->second.last_window_end == record.window_end;
}

bool ExportQueue::push(QueuedRecord record, TimePoint now) {
  if (!hasRoomFor(record)) return false;
  // First, because this may throw.
  records_.push_back({});
  try {
    Source& source = sources_[record.source];
    ++source.records;
    source.last_window_end = record.window_end;
  } catch (...) {
    records_.pop_back();
    throw;
  }
  records_.back() = {std::move(record), now};
  ++pushed_;
  return true;
}

std::optional<TimePoint> ExportQueue::dueAt() const {
  if (records_.empty()) return std::nullopt;
  if (records_.size() >= max_batch_size_) return TimePoint::min();
  return records_.front().since + delay_;
}

std::vector<std::string_view> ExportQueue::beginBatch(size_t max_records, size_t max_bytes) {
  std::vector<std::string_view> batch;
  batch.reserve(std::min(records_.size(), max_records));
  size_t bytes = 0;
  for (const Waiting& waiting : records_) {
    const std::string& encoded = waiting.record.encoded;
    bytes += encoded.size();
    if (!batch.empty() && (batch.size() >= max_records || bytes > max_bytes)) break;
    batch.push_back(encoded);
  }
  batch_size_ = batch.size();
  return batch;
}

support::LossCount ExportQueue::batchCount() const {
  support::LossCount count;
  for (size_t i = 0; i < batch_size_; ++i) count += {1, records_[i].record.reports};
  return count;
}

support::LossCount ExportQueue::settleBatch() {
  const support::LossCount settled = batchCount();
  for (; batch_size_ > 0; --batch_size_) {
    forget(records_.front().record);
    records_.pop_front();
  }
  return settled;
}

support::LossCount ExportQueue::clear() {
  support::LossCount cleared;
  while (records_.size() > batch_size_) {
    cleared += {1, records_.back().record.reports};
    forget(records_.back().record);
    records_.pop_back();
  }
  return cleared;
}

void ExportQueue::forget(const QueuedRecord& record) {
  const auto source = sources_.find(record.source);
  if (--source->second.records == 0) sources_.erase(source);
}

}  // namespace TAMSA::otlp
