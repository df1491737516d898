#include "services/kiv/telemetry/ProcessExit.h"

#include <algorithm>
#include <cstdlib>

namespace android::kiv::internal {

namespace {

using Clock = std::chrono::steady_clock;

// Written by exit handlers, which run one after the other.
Clock::time_point begin;
Clock::duration waited{};

}  // namespace

// Exit handlers are called in the reverse order of their registration.

void ExitBudget::registerEnd() {
  std::atexit([] {
    // Without a beginning the process ends while another thread makes the registrations.
    if (begin != Clock::time_point()) waited = Clock::now() - begin;
  });
}

void ExitBudget::registerBegin() {
  std::atexit([] { begin = Clock::now(); });
}

Clock::time_point ExitBudget::deadline() {
  return Clock::now() + std::max<Clock::duration>(kBudget - waited, kRest);
}

void ExitProgress::end() {
  std::lock_guard lock(mutex_);
  ended_ = true;
  ended_changed_.notify_all();
}

void ExitProgress::waitForEnd(Clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  ended_changed_.wait_until(lock, deadline, [this] { return ended_; });
}

}  // namespace android::kiv::internal
