/// The attributes that name this process as the origin of log records.
#pragma once

#include <string>

#include "modules/otlp/LogRecord.h"

namespace TAMSA::otlp {

/// The resource attributes that need no configuration. Each call makes a new `service.instance.id`.
Attributes describeProcess();

/// The name of the program to which a link as in /proc points. The kernel marks one whose file was
/// replaced or removed; the mark is not part of the name.
std::string programName(const std::string& link);

}  // namespace TAMSA::otlp
