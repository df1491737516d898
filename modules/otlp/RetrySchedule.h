/// Computes when the next request may be made.
#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

#include "modules/otlp/Backoff.h"
#include "modules/otlp/ExportQueue.h"

namespace TAMSA::otlp {

/// Delays requests after failures, by the collector's `Retry-After` and by a back-off of our own.
/// The later of both counts.
class RetrySchedule {
 public:
  /// A longer `Retry-After` is shortened to this.
  static constexpr std::chrono::hours kLongestRetryAfter{1};

  TimePoint nextAttempt() const { return std::max(backoff_end_, retry_after_end_); }

  void onSuccess() { *this = {}; }

  void onFailure(TimePoint now, std::optional<std::chrono::seconds> retry_after, double jitter) {
    backoff_end_ = now + backoff_.next(jitter);
    if (retry_after) {
      retry_after_end_ = now + std::min<std::chrono::seconds>(*retry_after, kLongestRetryAfter);
    }
  }

  /// Ends the back-off, but not a delay that the collector asked for.
  void endBackoff() { backoff_end_ = TimePoint::min(); }

 private:
  Backoff backoff_;
  TimePoint backoff_end_ = TimePoint::min();
  TimePoint retry_after_end_ = TimePoint::min();
};

}  // namespace TAMSA::otlp
