// A test without a framework, of the installed test kit alone.
#include <kiv/TelemetryLogger.h>
#include <kiv/testing/RecordedTelemetry.h>

int main() {
  android::kiv::telemetry_testing::RecordedTelemetry recorded;
  const android::kiv::TelemetryEnv telemetry("Recorder");
  telemetry.getLogger()->logKivEvent("answer", 42, android::kiv::NumericAggregationType::SUM);
  return recorded.flush() && recorded.events().size() == 1 ? 0 : 1;
}
