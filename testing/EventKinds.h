/// How events are told apart, and where their names are.
#pragma once

#include <string>

#include "kiv/testing/EventExpectation.h"

namespace android::kiv::telemetry_testing::internal {

inline constexpr char kTracePrefix[] = "api_latency_us.";
inline constexpr char kClientCallPrefix[] = "client_api_call.";

EventKind kindOf(const TelemetryEvent& event);

/// A field's value; the type's empty one where it is missing.
std::string textOf(const TelemetryEvent& event, const std::string& field);
int64_t intOf(const TelemetryEvent& event, const std::string& field);
float floatOf(const TelemetryEvent& event, const std::string& field);

inline int64_t countOf(const TelemetryEvent& event) { return intOf(event, "aggregated_count"); }

/// "counted once", "counted 3 times".
std::string countedInWords(int64_t count);

}  // namespace android::kiv::telemetry_testing::internal
