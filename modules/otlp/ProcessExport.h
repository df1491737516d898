/// How the handlers of a process reach its export.
#pragma once

#include "LogRecord.h"

namespace TAMSA::otlp {

/// Reads the configuration, if this is the process's first call, and warns of what is wrong in it.
/// Throws only for want of memory, as `report` does.
void prepareExport();

/// Hands over a record; false if it is lost already. True without further ado if export is switched
/// off. A process that was forked exports by itself, and leaves what its parent had queued to that.
bool report(LogRecord record);

}  // namespace TAMSA::otlp
