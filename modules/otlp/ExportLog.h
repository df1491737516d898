/// The module's lines in the Android log.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <utility>

#include "modules/otlp/Reply.h"
#include "modules/support/LossLog.h"

namespace TAMSA::otlp {

/// Logs when delivery fails and when it works again, what the collector advises, and lost events.
/// Each of the three at most once a minute, so that a collector in trouble does not fill the log.
/// Any thread may use it.
class ExportLog {
 public:
  using TimePoint = support::LossLog::TimePoint;

  static constexpr char kTag[] = "TamsaOtlp";
  static constexpr std::chrono::minutes kInterval{1};

  /// `destination` and all reasons must be free of secrets.
  explicit ExportLog(std::string destination) : destination_(std::move(destination)) {}

  static void warn(const std::string& text);
  static void error(const std::string& text);

  /// Logs what a reply means for delivery, or nothing if memory is short. `bytes` is the size of
  /// the request.
  void answered(const Reply& reply, size_t bytes, TimePoint now) noexcept;

  void lost(const support::LossTable& losses, TimePoint now) noexcept { losses_.add(losses, now); }

  /// Logs at once what was lost and has not been logged yet.
  void logPendingLosses() noexcept { losses_.logPending(); }

 private:
  void log(const Reply& reply, size_t bytes, TimePoint now);
  void failed(const std::string& reason, TimePoint now);
  void delivered();
  void advised(const std::string& advice, TimePoint now);

  const std::string destination_;
  support::LossLog losses_{kTag};

  std::mutex mutex_;
  bool is_failure_logged_ = false;
  TimePoint next_failure_ = TimePoint::min();
  TimePoint next_advice_ = TimePoint::min();
};

}  // namespace TAMSA::otlp
