/// A progress bar on a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace render_service {

/// One line that is redrawn in place, at most ten times a second. Not synchronized.
class ProgressBar {
 public:
  /// Draws on `terminal`, which is not owned; never draws anything if not `enabled`.
  ProgressBar(FILE* terminal, bool enabled);

  /// Erases the bar.
  ~ProgressBar();

  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  bool enabled() const { return enabled_; }

  /// Sets the number that is 100 percent.
  void setTotal(uint64_t total) { total_ = total; }

  /// Shows that `done` of the total are done, and the name of the current item.
  void update(uint64_t done, const std::string& current);

  /// Writes a line of text in place of the bar, also if the bar is not enabled.
  void print(const std::string& line);

 private:
  void wipe();

  FILE* const terminal_;
  const bool enabled_;
  uint64_t total_ = 0;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point last_drawn_;  // if drawn_ was ever true
};

}  // namespace render_service
