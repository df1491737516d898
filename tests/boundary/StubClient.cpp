// A client of the library as shipped, beside stubs of the libraries that it needs.
#include "kiv/TelemetryLogger.h"

int main() {
  android::kiv::disableTelemetryForTesting();
  const android::kiv::TelemetryEnv telemetry("client");
  telemetry.getLogger()->logErrorCode("code", "api", android::kiv::KivErrorSeverity::ERROR,
                                      "class");
  return telemetry.getLogger()->flush() ? 0 : 1;
}
