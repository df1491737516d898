/// The export of this process, shared by its handlers.
#pragma once

#include <cstdint>

#include "modules/support/Event.h"

namespace TAMSA::otlp {

/// The first call in a process reads the configuration and logs what is wrong in it. Throws only if
/// memory is short, as `report` does.
void prepareExport();

/// Takes an event of the handler `source`. An event that is lost is counted and logged. A process
/// that was forked exports its own events, and leaves what its parent had queued to the parent.
void report(const support::Event& event, uint64_t source);

}  // namespace TAMSA::otlp
