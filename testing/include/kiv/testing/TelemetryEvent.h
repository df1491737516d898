/// An event as it reached the telemetry module.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "kiv/Export.h"

namespace android::kiv::telemetry_testing {

/// An event's name, and its fields by name, each in the map of its type.
struct TelemetryEvent {
  std::string name;                            ///< The event's name, such as "wexo_kiv_generic".
  std::map<std::string, int64_t> ints;         ///< Integer fields.
  std::map<std::string, float> floats;         ///< Float fields.
  std::map<std::string, std::string> strings;  ///< Text fields.
};

/// True if name and fields are equal, the session and the window included.
KIV_EXPORT bool operator==(const TelemetryEvent& left, const TelemetryEvent& right);
/// True if name or fields differ.
KIV_EXPORT bool operator!=(const TelemetryEvent& left, const TelemetryEvent& right);

/// The event as one line of text, without its session and its window.
KIV_EXPORT std::string toString(const TelemetryEvent& event);

/// Writes `toString(event)`. Test frameworks that print by `<<` print events so.
KIV_EXPORT std::ostream& operator<<(std::ostream& out, const TelemetryEvent& event);
/// Writes a list of events, numbered, one per line.
KIV_EXPORT std::ostream& operator<<(std::ostream& out, const std::vector<TelemetryEvent>& events);

/// Lets GoogleTest print lists of events by `<<`.
KIV_EXPORT void PrintTo(const std::vector<TelemetryEvent>& events, std::ostream* out);

}  // namespace android::kiv::telemetry_testing
