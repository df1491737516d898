/// Control over the clocks that the library reads.
#pragma once

#include <chrono>

namespace kiv_test {

/// While one lives, the library's clocks stand still and move only when told. One at a time; any
/// thread may read the clocks meanwhile. Otherwise they are the system's.
class FakeClock {
 public:
  using SystemTime = std::chrono::system_clock::time_point;

  /// Both clocks start at arbitrary times.
  FakeClock();
  ~FakeClock();

  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  /// Moves both clocks on.
  void advance(std::chrono::nanoseconds time);

  /// Moves the monotonic clock alone.
  void advanceSteady(std::chrono::nanoseconds time);

  /// Sets the wall clock alone, as an administrator or a time server would.
  void setSystem(SystemTime time);

  SystemTime system() const;
};

}  // namespace kiv_test
