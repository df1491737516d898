// A client in a library that a program loads and unloads.
#include "kiv/TelemetryLogger.h"

extern "C" __attribute__((visibility("default"))) void reportOnce() {
  using namespace android::kiv;
  const TelemetryEnv telemetry("Passing");
  telemetry.getLogger()->logKivEvent<long long>("passing", 1, NumericAggregationType::SUM);
}
