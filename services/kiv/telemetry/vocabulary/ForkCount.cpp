#include "services/kiv/telemetry/vocabulary/ForkCount.h"

#include <pthread.h>

#include <atomic>

namespace android::kiv::internal {

namespace {

constexpr unsigned kUnclaimed = -1U;

std::atomic<unsigned> claimed_at{kUnclaimed};

}  // namespace

unsigned fork_count = 0;

void watchForks() {
  pthread_atfork(nullptr, nullptr, [] { ++fork_count; });
}

void claimProcess() { claimed_at = forkCount(); }

bool isForkedCopy() {
  const unsigned claimed = claimed_at.load(std::memory_order_relaxed);
  return claimed != kUnclaimed && claimed != forkCount();
}

}  // namespace android::kiv::internal
