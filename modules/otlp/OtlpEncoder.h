/// The JSON encoding of the OpenTelemetry protocol.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "LogRecord.h"

namespace TAMSA::otlp {

/// An export request with one log record for each event, in their order.
///
/// A record's time is the end of the event's window, and is left out if the event has none; its
/// severity is the event's, and INFO if it has none that is known. Its attributes are `event.name`
/// and the fields; a field of that name is left out, since no attribute may come twice. A float is
/// written as the shortest number that reads back as the same float, and bytes that are not UTF-8
/// become U+FFFD. `dropped` events that no request has told of yet become an attribute of the
/// scope. Throws only for want of memory.
std::string encodeRequest(const Attributes& resource, const std::vector<LogRecord>& records,
                          uint64_t dropped);

}  // namespace TAMSA::otlp
