/// What the module tells the Android log.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "ExportQueue.h"

namespace TAMSA::otlp {

/// Says once when delivery stops and when it goes on, and at most once a minute what was dropped,
/// so that an absent collector does not fill the log. Any thread may use it.
class ExportLog {
 public:
  static constexpr std::chrono::minutes kBetweenDropLines{1};

  /// `destination` must be free of secrets, and so must all reasons.
  explicit ExportLog(std::string destination) : destination_(std::move(destination)) {}

  static void warn(const std::string& text);

  void failed(const std::string& reason);
  void delivered();
  /// Something that the collector wants to be known, though it took the events.
  void advised(const std::string& reason);

  void dropped(uint64_t events, const std::string& reason, TimePoint now);
  /// Tells what was dropped and has not been told yet.
  void tellDropped();

 private:
  void tellDroppedLocked();

  const std::string destination_;

  std::mutex mutex_;
  bool is_failing_ = false;
  std::string last_advice_;
  uint64_t untold_ = 0;
  uint64_t dropped_in_all_ = 0;
  std::string reason_;
  TimePoint next_drop_line_ = TimePoint::min();
};

}  // namespace TAMSA::otlp
