/// The records that wait for a request.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "modules/support/LossTable.h"

namespace TAMSA::otlp {

using TimePoint = std::chrono::steady_clock::time_point;

/// A record as the queue holds it.
struct QueuedRecord {
  std::string encoded;
  uint64_t reports = 1;    ///< That the event combines.
  uint64_t source = 0;     ///< Identifies the handler that reported it.
  int64_t window_end = 0;  ///< End of the event's window; equal for all events of one submission.
};

/// Bounded, first in, first out. The records of a batch stay in the queue, and count, until it is
/// settled. Callers must serialize their calls.
///
/// A full queue refuses records, with two exceptions, so that one large submission neither loses
/// events nor shuts others out: the rest of a submission of which a record was taken, and one
/// submission of a handler that has nothing in the queue. It never exceeds `kHardLimit` by these.
class ExportQueue {
 public:
  static constexpr size_t kHardLimit = 65'536;

  ExportQueue(size_t max_size, size_t max_batch_size, std::chrono::milliseconds delay)
      : max_size_(max_size), max_batch_size_(max_batch_size), delay_(delay) {}

  /// False if the queue is full. Throws only if memory is short.
  bool push(QueuedRecord record, TimePoint now);

  /// When a batch is due: at once if there is a whole one, else when the oldest record has waited
  /// for the delay. Nothing if no record waits.
  std::optional<TimePoint> dueAt() const;

  /// The encoded records of the next batch: the oldest ones, at most `max_records` with at most
  /// `max_bytes`, but at least one. They remain valid and in their place until `settleBatch` or
  /// `returnBatch`. There must be no other batch. Throws only if memory is short.
  std::vector<std::string_view> beginBatch(size_t max_records, size_t max_bytes);

  /// Removes the records of the batch, which were sent or lost. Returns how many they were.
  support::LossCount settleBatch();

  /// Leaves the records of the batch at the front of the queue.
  void returnBatch() { batch_size_ = 0; }

  /// Removes all records but those of the batch. Returns how many they were.
  support::LossCount clear();

  /// The records of the batch.
  support::LossCount batchCount() const;

  size_t batchSize() const { return batch_size_; }
  size_t size() const { return records_.size(); }
  size_t maxBatchSize() const { return max_batch_size_; }

  /// Records that were ever taken in.
  uint64_t pushed() const { return pushed_; }

  /// Records that were ever removed.
  uint64_t removed() const { return pushed_ - records_.size(); }

 private:
  struct Waiting {
    QueuedRecord record;
    TimePoint since;
  };

  /// A handler with records in the queue.
  struct Source {
    size_t records = 0;
    int64_t last_window_end = 0;
  };

  bool hasRoomFor(const QueuedRecord& record) const;
  void forget(const QueuedRecord& record);

  const size_t max_size_;
  const size_t max_batch_size_;
  const std::chrono::milliseconds delay_;

  std::deque<Waiting> records_;
  std::map<uint64_t, Source> sources_;
  size_t batch_size_ = 0;
  uint64_t pushed_ = 0;
};

}  // namespace TAMSA::otlp
