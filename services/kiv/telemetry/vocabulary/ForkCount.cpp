#include "services/kiv/telemetry/vocabulary/ForkCount.h"

#include <pthread.h>

namespace android::kiv::internal {

namespace {

// Written only in a fresh child, which has one thread.
unsigned count = 0;

}  // namespace

void watchForks() {
  pthread_atfork(nullptr, nullptr, [] { ++count; });
}

unsigned forkCount() { return count; }

}  // namespace android::kiv::internal
