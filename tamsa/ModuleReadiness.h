/// Loading the telemetry module ahead of its first use.
#pragma once

#include <chrono>

namespace TAMSA::UnifiedTelemetry {

/// True once the module has been loaded, or found missing, and its functions have been looked up.
/// Nothing here takes the loader's lock from then on. Costs one load of an atomic variable.
bool isModuleReady();

/// True inside a call that makes the module ready: in a function of the log or of the module.
bool isPreparingModule();

/// Makes the module ready on the calling thread. While another thread does, waits for that one, but
/// not beyond `limit`: it may be waiting for a lock that the caller holds. True if the module is
/// ready. False at once inside a call that makes it ready.
bool prepareModule(std::chrono::milliseconds limit);

/// Makes the module ready, and waits for another thread without a limit. False only inside a call
/// that makes it ready.
bool prepareModule();

}  // namespace TAMSA::UnifiedTelemetry
