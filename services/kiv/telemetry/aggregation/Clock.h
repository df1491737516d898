/// The clocks that the library reads. Tests link another definition, and so decide what time it is.
#pragma once

#include <chrono>

namespace android::kiv::internal {

/// Never set back: measures ages and durations.
std::chrono::steady_clock::time_point steadyNow();

/// The wall clock, which may jump.
std::chrono::system_clock::time_point systemNow();

}  // namespace android::kiv::internal
