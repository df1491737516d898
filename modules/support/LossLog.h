/// Writes lost events to the Android log.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "modules/support/LossTable.h"

namespace TAMSA::support {

/// Logs the first loss at once, and what follows at most once a minute: how many events and reports
/// were lost, and how many for each cause. Any thread may use it.
class LossLog {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::minutes kInterval{1};

  /// `tag` must outlive the log.
  explicit LossLog(const char* tag) : tag_(tag) {}

  void add(const LossTable& losses, TimePoint now) noexcept;

  /// Logs at once what has not been logged yet.
  void logPending() noexcept;

 private:
  void logLocked() noexcept;

  const char* const tag_;

  std::mutex mutex_;
  LossTable pending_;
  uint64_t events_in_all_ = 0;
  TimePoint next_line_ = TimePoint::min();
};

}  // namespace TAMSA::support
