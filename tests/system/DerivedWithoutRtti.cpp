#include "tests/system/DerivedLoggers.h"
#include "tests/system/NotingLogger.h"

namespace derived_client {

std::shared_ptr<android::kiv::TelemetryLogger> makeLoggerWithoutRtti(Seen& seen) {
  return std::make_shared<NotingLogger>(seen);
}

}  // namespace derived_client
