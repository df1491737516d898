/// The fields of events, the kinds of events, and both as text.
#pragma once

#include <cstdint>
#include <string>

#include "kiv/testing/EventExpectation.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing::internal {

EventKind kindOf(const TelemetryEvent& event);

/// A field's value; empty or 0 where the field is missing.
std::string textOf(const TelemetryEvent& event, const std::string& field);
int64_t intOf(const TelemetryEvent& event, const std::string& field);
float floatOf(const TelemetryEvent& event, const std::string& field);

inline int64_t countOf(const TelemetryEvent& event) { return intOf(event, "aggregated_count"); }

}  // namespace android::kiv::telemetry_testing::internal
