/// Replaces the clocks that the library reads.
#pragma once

#include <chrono>

namespace kiv_test {

/// While an object exists, the library's clocks stand still and move only by its operations. One at
/// a time; any thread may read the clocks. Without an object they are the system's clocks.
class FakeClock {
 public:
  using SystemTime = std::chrono::system_clock::time_point;

  /// Starts both clocks at arbitrary times.
  FakeClock();
  ~FakeClock();

  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  /// Advances both clocks.
  void advance(std::chrono::nanoseconds time);

  /// Advances only the monotonic clock.
  void advanceSteady(std::chrono::nanoseconds time);

  /// Sets only the wall clock, as a time server does.
  void setSystem(SystemTime time);

  SystemTime system() const;
};

}  // namespace kiv_test
