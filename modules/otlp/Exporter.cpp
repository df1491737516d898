#include "Exporter.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "OtlpEncoder.h"

namespace TAMSA::otlp {

namespace {

TimePoint after(TimePoint begin, const TimeLimit& limit) {
  return limit ? begin + *limit : TimePoint::max();
}

}  // namespace

Exporter::Exporter(const OtlpConfig& config, Transport& transport, Timing& timing, ExportLog& log,
                   Chance chance)
    : resource_(config.resource),
      request_timeout_(config.request_timeout),
      export_timeout_(config.export_timeout),
      transport_(transport),
      timing_(timing),
      log_(log),
      chance_(std::move(chance)) {}

void Exporter::send(const std::vector<LogRecord>& batch) {
  const uint64_t told_dropped = dropped_;
  try {
    // What earlier batches have brought about is not taken off this one's time.
    if (waitForTurn([this] { return timing_.rushEnd(); })) {
      deliver(encodeRequest(resource_, batch, told_dropped), batch.size(), told_dropped);
    } else {
      giveUp(batch.size());
    }
  } catch (const std::exception& error) {
    countDropped(batch.size(), error.what());
  }
}

void Exporter::countDropped(uint64_t events, const std::string& reason) {
  dropped_ += events;
  log_.dropped(events, reason, timing_.now());
}

void Exporter::deliver(const std::string& body, uint64_t events, uint64_t told_dropped) {
  const TimePoint begin = timing_.now();
  const Limit batch_end = [&] {
    return std::min(after(begin, export_timeout_), timing_.rushEnd());
  };
  do {
    const TimePoint request_end = after(timing_.now(), request_timeout_);
    const Reply reply = transport_.send(body, [&] { return std::min(request_end, batch_end()); });
    switch (reply.verdict) {
      case Reply::Verdict::DELIVERED:
        backoff_.reset();
        backoff_end_ = asked_end_ = TimePoint::min();
        last_reason_.clear();
        dropped_ -= told_dropped;
        log_.delivered();
        if (reply.rejected > 0) {
          countDropped(std::min(reply.rejected, events),
                       "rejected by the collector: " + reply.reason);
        } else if (!reply.reason.empty()) {
          log_.advised(reply.reason);
        }
        return;
      case Reply::Verdict::REFUSED:
        log_.failed(reply.reason);
        countDropped(events, reply.reason);
        return;
      case Reply::Verdict::TRY_AGAIN:
        log_.failed(reply.reason);
        postpone(reply);
        break;
    }
  } while (waitForTurn(batch_end));
  giveUp(events);
}

void Exporter::giveUp(uint64_t events) {
  countDropped(events, last_reason_.empty() ? "no time was left" : last_reason_);
}

/// Waits until the next try may be made; false at once if that is not before the limit.
bool Exporter::waitForTurn(const Limit& limit) {
  for (;;) {
    if (const unsigned rushes = timing_.rushes(); rushes != known_rushes_) {
      known_rushes_ = rushes;
      backoff_end_ = TimePoint::min();
    }
    const TimePoint turn = std::max(backoff_end_, asked_end_);
    const TimePoint now = timing_.now();
    if (std::max(turn, now) >= limit()) return false;
    if (turn <= now) return true;
    timing_.sleepUntil(turn, known_rushes_);
  }
}

void Exporter::postpone(const Reply& reply) {
  const TimePoint now = timing_.now();
  backoff_end_ = now + backoff_.next(chance_());
  if (reply.retry_after) {
    asked_end_ = now + std::min<std::chrono::seconds>(*reply.retry_after, kLongestRetryAfter);
  }
  last_reason_ = reply.reason;
}

}  // namespace TAMSA::otlp
