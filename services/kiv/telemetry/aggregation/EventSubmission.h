/// Handing events to the telemetry module: the part of submission that does not depend on the kind
/// of event.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "AggregateTable.h"
#include "EventFields.h"
#include "tamsa/UnifiedTelemetry.h"

namespace android::kiv {

/// Milliseconds since the Unix epoch, truncated from microseconds, on which a device's clock ticks.
long long toEpochMilliseconds(std::chrono::system_clock::time_point time);

/// Clears those fields that are not empty already.
void clearFields(std::unordered_map<std::string, int64_t>& int_fields,
                 std::unordered_map<std::string, float>& float_fields,
                 std::unordered_map<std::string, std::string>& string_fields);

/// Creates an event, sets the fields, reports it and releases it. A refused event is logged and
/// dropped.
void submitEvent(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler, const char* event_name,
                 const std::unordered_map<std::string, int64_t>& int_fields,
                 const std::unordered_map<std::string, float>& float_fields,
                 const std::unordered_map<std::string, std::string>& string_fields);

/// Does the same for every entry of a table, in key order.
void submitTable(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler,
                 const AggregateTable& table, const EventKind& kind,
                 std::chrono::system_clock::time_point start,
                 std::chrono::system_clock::time_point end);

}  // namespace android::kiv
