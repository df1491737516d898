#include "tests/support/FakeClock.h"

#include <atomic>

#include "services/kiv/telemetry/aggregation/Clock.h"

namespace kiv_test {

namespace {

using std::chrono::steady_clock;
using std::chrono::system_clock;

std::atomic<bool> frozen{false};
std::atomic<steady_clock::rep> steady_ticks{0};
std::atomic<system_clock::rep> system_ticks{0};

}  // namespace

FakeClock::FakeClock() {
  steady_ticks = std::chrono::duration_cast<steady_clock::duration>(std::chrono::hours(7)).count();
  system_ticks =
      std::chrono::duration_cast<system_clock::duration>(std::chrono::hours(400000)).count();
  frozen = true;
}

FakeClock::~FakeClock() { frozen = false; }

void FakeClock::advance(std::chrono::nanoseconds time) {
  advanceSteady(time);
  system_ticks += std::chrono::duration_cast<system_clock::duration>(time).count();
}

void FakeClock::advanceSteady(std::chrono::nanoseconds time) {
  steady_ticks += std::chrono::duration_cast<steady_clock::duration>(time).count();
}

void FakeClock::setSystem(SystemTime time) { system_ticks = time.time_since_epoch().count(); }

FakeClock::SystemTime FakeClock::system() const {
  return SystemTime(system_clock::duration(system_ticks));
}

}  // namespace kiv_test

namespace android::kiv::internal {

std::chrono::steady_clock::time_point steadyNow() {
  using Clock = std::chrono::steady_clock;
  if (!kiv_test::frozen) return Clock::now();
  return Clock::time_point(Clock::duration(kiv_test::steady_ticks));
}

std::chrono::system_clock::time_point systemNow() {
  using Clock = std::chrono::system_clock;
  if (!kiv_test::frozen) return Clock::now();
  return Clock::time_point(Clock::duration(kiv_test::system_ticks));
}

}  // namespace android::kiv::internal
