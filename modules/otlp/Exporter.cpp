#include "modules/otlp/Exporter.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "modules/otlp/LogRecord.h"

namespace TAMSA::otlp {

using support::LossCause;
using support::LossCount;
using support::LossTable;

std::vector<std::string_view> Exporter::Request::records() const {
  std::vector<std::string_view> all(loss_records.begin(), loss_records.end());
  all.insert(all.end(), queued.begin(), queued.end());
  return all;
}

Exporter::Exporter(const OtlpConfig& config, const Encoder& encoder, Jitter jitter)
    : encoder_(encoder),
      overhead_(encoder.overhead()),
      jitter_(std::move(jitter)),
      queue_(config.max_queue_size, config.max_batch_size, config.schedule_delay),
      max_records_(config.max_batch_size) {}

std::optional<LossCause> Exporter::add(QueuedRecord record, TimePoint now) {
  if (overhead_ + record.encoded.size() > kMaxRequestBytes) {
    return LossCause{"an event exceeds the size of a request",
                     std::to_string(record.encoded.size()) + " bytes"};
  }
  if (queue_.push(std::move(record), now)) return std::nullopt;
  return LossCause{"the queue is full", last_failure_};
}

void Exporter::addLoss(const LossCause& cause, const LossCount& count) {
  losses_.add(cause, count);
  are_losses_tried_ = false;
}

bool Exporter::mustSendLosses() const {
  return is_ending_ && !are_losses_tried_ && !losses_.isEmpty();
}

std::optional<TimePoint> Exporter::nextAttempt() const {
  std::optional<TimePoint> due = queue_.dueAt();
  if (is_ending_ && (due || mustSendLosses())) due = TimePoint::min();
  if (!due) return std::nullopt;
  return std::max(*due, schedule_.nextAttempt());
}

Exporter::Request Exporter::begin() {
  is_under_way_ = true;
  losses_under_way_ = LossTable();
  Request request;
  size_t bytes = overhead_;
  if (!std::exchange(are_losses_held_back_, false)) {
    for (const LogRecord& record : makeLossRecords(losses_, std::chrono::system_clock::now())) {
      request.loss_records.push_back(encoder_.encodeRecord(record));
      bytes += request.loss_records.back().size();
    }
    losses_under_way_ = losses_;
  }
  const size_t losses = request.loss_records.size();
  request.queued = queue_.beginBatch(max_records_ > losses ? max_records_ - losses : 1,
                                     max_bytes_ > bytes ? max_bytes_ - bytes : 1);
  loss_records_under_way_ = losses;
  return request;
}

LossTable Exporter::complete(const Reply& reply, size_t bytes, TimePoint now) noexcept {
  is_under_way_ = false;
  if (std::exchange(is_abandoned_, false)) {
    if (reply.verdict == Reply::Verdict::DELIVERED) {
      losses_.subtract(losses_under_way_);
      losses_.subtract(losses_abandoned_);
    }
    queue_.settleBatch();
    return {};
  }
  try {
    switch (reply.verdict) {
      case Reply::Verdict::DELIVERED:
        return onDelivered(reply);
      case Reply::Verdict::TOO_LARGE:
        return onTooLarge(reply, bytes);
      case Reply::Verdict::REFUSED:
        return loseBatch(reply);
      case Reply::Verdict::RETRYABLE:
        onFailure(reply, now);
        break;
    }
  } catch (const std::exception&) {
    // Memory is too short for a text about the failure.
  }
  return {};
}

LossTable Exporter::onDelivered(const Reply& reply) {
  schedule_.onSuccess();
  last_failure_.clear();
  max_records_ = queue_.maxBatchSize();
  const bool is_anything_accepted =
      reply.rejected == 0 || reply.rejected < queue_.batchSize() + loss_records_under_way_;
  if (is_anything_accepted) losses_.subtract(losses_under_way_);
  const LossCount sent = queue_.settleBatch();
  are_losses_tried_ = sent.events == 0 && !is_anything_accepted;
  LossTable losses;
  if (reply.rejected == 0) return losses;
  // A collector that rejects a part does not say which: each event combines one report or more.
  const uint64_t rejected = std::min(reply.rejected, sent.events);
  if (rejected == 0) return losses;
  losses.add({reply.cause, reply.detail},
             rejected == sent.events ? sent : LossCount{rejected, rejected});
  losses_.add(losses);
  return losses;
}

LossTable Exporter::onTooLarge(const Reply& reply, size_t bytes) {
  const size_t records = queue_.batchSize();
  if (records == 1 && loss_records_under_way_ > 0) {
    // It may fit without the losses.
    are_losses_held_back_ = true;
    queue_.returnBatch();
    return {};
  }
  if (records <= 1) return loseBatch(reply);
  max_records_ = (records + 1) / 2;
  max_bytes_ = std::clamp(bytes / 2, kMinRequestBytes, max_bytes_);
  queue_.returnBatch();
  return {};
}

LossTable Exporter::loseBatch(const Reply& reply) {
  if (reply.is_answer) {
    schedule_.onSuccess();
    last_failure_.clear();
  }
  LossTable losses;
  const LossCount lost = queue_.settleBatch();
  if (lost.events == 0) {
    are_losses_tried_ = true;
    return losses;
  }
  losses.add({reply.cause, reply.detail}, lost);
  losses_.add(losses);
  // Without a collector, there is no use in sending them by themselves.
  are_losses_tried_ = !reply.is_answer;
  return losses;
}

void Exporter::onFailure(const Reply& reply, TimePoint now) {
  queue_.returnBatch();
  schedule_.onFailure(now, reply.retry_after, jitter_());
  last_failure_ = reply.reason();
}

LossTable Exporter::abandon() {
  LossTable losses;
  const LossCause cause{"the process ended first", last_failure_};
  LossCount lost = queue_.clear();
  if (is_under_way_ && !is_abandoned_) {
    is_abandoned_ = true;
    losses_abandoned_ = LossTable();
    losses_abandoned_.add(cause, queue_.batchCount());
    lost += queue_.batchCount();
  }
  if (lost.events == 0) return losses;
  losses.add(cause, lost);
  losses_.add(losses);
  // There is no time left to send them by themselves.
  are_losses_tried_ = true;
  return losses;
}

}  // namespace TAMSA::otlp
