/// The state of an export: queue, batches, retries and losses.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "modules/otlp/Encoder.h"
#include "modules/otlp/ExportQueue.h"
#include "modules/otlp/OtlpConfig.h"
#include "modules/otlp/Reply.h"
#include "modules/otlp/RetrySchedule.h"
#include "modules/support/LossTable.h"

namespace TAMSA::otlp {

/// Has no thread and no clock. Callers must serialize their calls.
///
/// A batch that cannot be delivered now stays at the front of the queue. Events are lost only if
/// the queue is full or an answer refuses them. The next batch reports losses with a record for
/// each cause.
class Exporter {
 public:
  /// The size limit of a request before compression.
  static constexpr size_t kMaxRequestBytes = size_t{4} << 20U;

  /// The size that requests may always have, however often the collector calls them too large.
  static constexpr size_t kMinRequestBytes = size_t{64} << 10U;

  /// Random numbers from 0 to 1.
  using Jitter = std::function<double()>;

  struct Request {
    std::vector<std::string_view> queued;   ///< Valid until `complete`.
    std::vector<std::string> loss_records;  ///< Encoded as well.

    /// All records, as the encoder takes them.
    std::vector<std::string_view> records() const;
  };

  Exporter(const OtlpConfig& config, const Encoder& encoder, Jitter jitter);

  /// Takes a record in. Returns why not, if it is lost. Throws only if memory is short.
  std::optional<support::LossCause> add(QueuedRecord record, TimePoint now);

  /// Counts events that are lost, to be sent as a record.
  void addLoss(const support::LossCause& cause, const support::LossCount& count);

  /// When the next request may be made; nothing if there is nothing to send.
  std::optional<TimePoint> nextAttempt() const;

  /// Begins a request. `complete` must follow. Throws only if memory is short.
  Request begin();

  /// Ends a request of `bytes` bytes. Returns the losses that it caused.
  support::LossTable complete(const Reply& reply, size_t bytes, TimePoint now) noexcept;

  /// From now on nothing waits for more, and losses are sent even without events.
  void beginEnd() { is_ending_ = true; }

  /// Ends the current back-off.
  void endBackoff() { schedule_.endBackoff(); }

  /// Gives up all records, those of a request under way included. Returns the losses.
  support::LossTable abandon();

  bool isRequestUnderWay() const { return is_under_way_; }

  size_t queued() const { return queue_.size(); }

  /// Records ever taken in, and those of them that were sent or lost.
  uint64_t added() const { return queue_.pushed(); }
  uint64_t settled() const { return queue_.removed(); }

  /// True if losses are to be sent even without events.
  bool mustSendLosses() const;

 private:
  support::LossTable onDelivered(const Reply& reply);
  support::LossTable onTooLarge(const Reply& reply, size_t bytes);
  support::LossTable loseBatch(const Reply& reply);
  void onFailure(const Reply& reply, TimePoint now);

  const Encoder& encoder_;
  const size_t overhead_;
  const Jitter jitter_;

  ExportQueue queue_;
  RetrySchedule schedule_;

  /// Not delivered to the collector yet, and those of them that are under way.
  support::LossTable losses_;
  support::LossTable losses_under_way_;
  size_t loss_records_under_way_ = 0;
  /// Records under way that were counted as lost. The collector may take them all the same.
  support::LossTable losses_abandoned_;

  bool is_ending_ = false;
  bool is_under_way_ = false;
  bool is_abandoned_ = false;          ///< The records under way have been counted as lost.
  bool are_losses_tried_ = false;      ///< Need not be sent without events.
  bool are_losses_held_back_ = false;  ///< Not part of the next request.

  size_t max_records_;
  size_t max_bytes_ = kMaxRequestBytes;
  std::string last_failure_;
};

}  // namespace TAMSA::otlp
