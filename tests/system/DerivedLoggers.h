/// Loggers that clients derived, one translation unit built with run-time type information and one
/// without.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kiv/TelemetryLogger.h"

namespace derived_client {

/// Arguments that overrides were called with.
using Seen = std::vector<std::string>;

/// A logger that notes errors and traces in `seen` and reports them as its base does. Everything
/// else is the base's.
std::shared_ptr<android::kiv::TelemetryLogger> makeLoggerWithoutRtti(Seen& seen);

}  // namespace derived_client
