/// An event as it reached the telemetry module.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "kiv/Export.h"

namespace android::kiv::telemetry_testing {

/// Its fields by name, each in the map of its type.
struct TelemetryEvent {
  std::string name;                            ///< As it was created under.
  std::map<std::string, int64_t> ints;         ///< Its integer fields.
  std::map<std::string, float> floats;         ///< Its float fields.
  std::map<std::string, std::string> strings;  ///< Its text fields.
};

/// The event in words, without its session and its window.
KIV_EXPORT std::string describe(const TelemetryEvent& event);

/// How GoogleTest prints these, the events of a list one a line and numbered.
KIV_EXPORT void PrintTo(const TelemetryEvent& event, std::ostream* out);
/// The same for a list.
KIV_EXPORT void PrintTo(const std::vector<TelemetryEvent>& events, std::ostream* out);

}  // namespace android::kiv::telemetry_testing
