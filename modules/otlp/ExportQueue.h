/// The events that wait for their request.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

#include "LogRecord.h"

namespace TAMSA::otlp {

using TimePoint = std::chrono::steady_clock::time_point;

/// Bounded, first in, first out. Used under its owner's lock.
class ExportQueue {
 public:
  ExportQueue(size_t max_size, size_t max_batch_size, std::chrono::milliseconds delay)
      : max_size_(max_size), max_batch_size_(max_batch_size), delay_(delay) {}

  /// False, and the record is lost, if the queue is full. Throws only for want of memory.
  bool push(LogRecord record, TimePoint now) {
    if (waiting_.size() >= max_size_) return false;
    waiting_.push_back({std::move(record), now});
    ++pushed_;
    return true;
  }

  /// When a batch is to be taken: at once if there is a whole one, else when the oldest record has
  /// waited long enough. Nothing if no record waits.
  std::optional<TimePoint> dueAt() const {
    if (waiting_.empty()) return std::nullopt;
    if (waiting_.size() >= max_batch_size_) return TimePoint::min();
    return waiting_.front().since + delay_;
  }

  /// The oldest records, no more than a batch may hold.
  std::vector<LogRecord> takeBatch() {
    std::vector<LogRecord> batch;
    batch.reserve(std::min(waiting_.size(), max_batch_size_));
    while (!waiting_.empty() && batch.size() < max_batch_size_) {
      batch.push_back(std::move(waiting_.front().record));
      waiting_.pop_front();
    }
    return batch;
  }

  /// Drops all that wait; how many these were.
  size_t clear() {
    const size_t dropped = waiting_.size();
    waiting_.clear();
    return dropped;
  }

  size_t size() const { return waiting_.size(); }

  /// How many records have been taken in, ever.
  uint64_t pushed() const { return pushed_; }

 private:
  struct Waiting {
    LogRecord record;
    TimePoint since;
  };

  const size_t max_size_;
  const size_t max_batch_size_;
  const std::chrono::milliseconds delay_;
  std::deque<Waiting> waiting_;
  uint64_t pushed_ = 0;
};

}  // namespace TAMSA::otlp
