/// The switch that decides whether aggregated telemetry is submitted.
///
/// It stops neither aggregation nor logging: while it is off, windows close as usual and their
/// contents are discarded. Both functions may be called from any thread; the first call of either
/// creates the process's `TelemetryLoggerManager`.
#pragma once

#include "kiv/Export.h"

namespace android::kiv {

/// True until `disableTelemetryForTesting()` is called, or until process exit has submitted the
/// last windows or given them up.
KIV_EXPORT bool isTelemetryEnabled();

/// Switches submission off for the rest of the process.
KIV_EXPORT void disableTelemetryForTesting();

}  // namespace android::kiv
