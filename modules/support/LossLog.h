/// Writes lost events to the Android log.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "modules/support/LossTable.h"

namespace TAMSA::support {

/// Logs the first loss at once, and what follows at most once a minute: how many events and reports
/// were lost, and how many for each cause. Any thread may use it, also the function of the Android
/// log that is given these lines.
class LossLog {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::minutes kInterval{1};

  /// `tag` must outlive the log.
  explicit LossLog(const char* tag) : tag_(tag) {}

  /// Counts losses. Logs them and those before them, unless the last line is too recent. There is
  /// no timer, so call it now and then without losses, too.
  void add(const LossTable& losses, TimePoint now) noexcept;

  /// Logs at once what has not been logged yet.
  void logPending() noexcept;

 private:
  /// Releases `lock`, which holds mutex_, and then logs.
  void logPending(std::unique_lock<std::mutex> lock) noexcept;

  const char* const tag_;

  std::mutex mutex_;
  LossTable pending_;
  uint64_t events_in_all_ = 0;
  TimePoint next_line_ = TimePoint::min();
};

}  // namespace TAMSA::support
