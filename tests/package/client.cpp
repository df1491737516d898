// The smallest program that needs all that an installed package has to bring: headers, both
// libraries, and what they depend on.
#include <kiv/TelemetryLogger.h>
#include <tamsa/UnifiedTelemetry.h>

int main() {
  const android::kiv::TelemetryEnv telemetry("PackageClient");
  telemetry.getLogger()->logKivEvent<int64_t>("answer", 42,
                                              android::kiv::NumericAggregationType::SUM);
  const android::kiv::KivStatus status;
  return status.ok() && *audio_format_to_string(AUDIO_FORMAT_PCM_FLOAT) == 'A' ? 0 : 1;
}
