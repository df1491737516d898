#include "services/kiv/telemetry/aggregation/Clock.h"

namespace android::kiv::internal {

std::chrono::steady_clock::time_point steadyNow() { return std::chrono::steady_clock::now(); }

std::chrono::system_clock::time_point systemNow() { return std::chrono::system_clock::now(); }

}  // namespace android::kiv::internal
