// The smallest program that needs everything in an installed package: headers, both libraries, and
// their dependencies.
#include <kiv/TelemetryLogger.h>
#include <kiv/Version.h>
#include <tamsa/UnifiedTelemetry.h>

#ifdef EXPECTED_MAJOR
static_assert(KIV_TELEMETRY_VERSION_MAJOR == EXPECTED_MAJOR);
static_assert(KIV_TELEMETRY_VERSION_MINOR == EXPECTED_MINOR);
static_assert(KIV_TELEMETRY_VERSION_PATCH == EXPECTED_PATCH);
#endif

int main() {
  const android::kiv::TelemetryEnv telemetry("PackageClient");
  telemetry.getLogger()->logKivEvent<int64_t>("answer", 42,
                                              android::kiv::NumericAggregationType::SUM);
  const android::kiv::KivStatus status;
  return status.ok() && *audio_format_to_string(AUDIO_FORMAT_PCM_FLOAT) == 'A' ? 0 : 1;
}
