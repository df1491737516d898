/// The clocks that the library reads. Tests link a definition of their own.
#pragma once

#include <chrono>

namespace android::kiv::internal {

/// Monotonic, for ages and durations.
std::chrono::steady_clock::time_point steadyNow();

/// The wall clock, which may jump.
std::chrono::system_clock::time_point systemNow();

}  // namespace android::kiv::internal
