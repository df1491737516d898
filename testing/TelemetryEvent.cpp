#include "kiv/testing/TelemetryEvent.h"

#include <algorithm>
#include <ostream>

#include "kiv/EventNames.h"
#include "testing/EventFields.h"

namespace android::kiv::telemetry_testing {

namespace {

using internal::countOf;
using internal::EventKind;
using internal::floatOf;
using internal::formatSeverity;
using internal::formatValue;
using internal::intOf;
using internal::textOf;

// A longer list hides what the reader looks for.
constexpr size_t kMostShown = 40;

std::string formatCount(const TelemetryEvent& event) {
  const int64_t count = countOf(event);
  return count == 1 ? "counted once" : "counted " + formatValue(count) + " times";
}

std::string formatErrorCode(const TelemetryEvent& event) {
  return "error code " + formatValue(textOf(event, "kiv_error_code")) + ", from API " +
         formatValue(textOf(event, "kiv_api")) + ", of class " +
         formatValue(textOf(event, "kiv_class")) + ", of severity " +
         formatSeverity(intOf(event, "severity"));
}

std::string formatStreamEvent(const TelemetryEvent& event) {
  return "stream event " + formatValue(textOf(event, "kiv_event")) + ", of type " +
         textOf(event, "stream_type") + ", in format " + textOf(event, "pcm_format") + ", at " +
         formatValue(intOf(event, "sample_rate")) + " Hz, with " +
         formatValue(intOf(event, "samples")) + " samples, on " +
         formatValue(intOf(event, "channels")) + " channels, " +
         (intOf(event, "interleaved") != 0 ? "interleaved" : "not interleaved");
}

/// Every generic event has a field for each type of value. Only the one of its own type is set, and
/// a value of 0 looks the same in both types of number.
std::string formatGenericValue(const TelemetryEvent& event) {
  const std::string text = textOf(event, "value_string");
  const float decimal = floatOf(event, "value_float");
  const int64_t integer = intOf(event, "value_int");
  if (!text.empty()) return "with text " + formatValue(text);
  if (decimal != 0.0F) return "with float " + formatValue(decimal);
  if (integer != 0) return "with integer " + formatValue(integer);
  // A number that was counted is not 0.
  const bool counted = textOf(event, "aggregation_method") ==
                       std::string(event_names::aggregationMethod(NumericAggregationType::COUNT));
  return counted ? "with text \"\"" : "with integer or float 0";
}

std::string formatGeneric(const TelemetryEvent& event) {
  return "generic value " + formatValue(textOf(event, "kiv_event_name")) + ", " +
         formatGenericValue(event) + ", combined by " + textOf(event, "aggregation_method");
}

std::string formatTrace(const TelemetryEvent& event) {
  const std::string name =
      textOf(event, "kiv_event_name").substr(sizeof(event_names::kTracePrefix) - 1);
  return "latency of trace " + formatValue(name) + ", averaging " +
         formatValue(intOf(event, "value_int")) + " us";
}

std::string formatClientCall(const TelemetryEvent& event) {
  const std::string api =
      textOf(event, "kiv_event_name").substr(sizeof(event_names::kClientCallPrefix) - 1);
  return "client call of " + formatValue(api) + ", with " +
         formatValue(textOf(event, "value_string"));
}

template <typename T>
void appendFields(std::string& line, const std::map<std::string, T>& fields) {
  for (const auto& [name, value] : fields) line += ", " + name + " " + formatValue(value);
}

std::string formatFields(const TelemetryEvent& event) {
  std::string line = "event " + formatValue(event.name);
  appendFields(line, event.ints);
  appendFields(line, event.floats);
  appendFields(line, event.strings);
  return line;
}

}  // namespace

bool operator==(const TelemetryEvent& left, const TelemetryEvent& right) {
  return left.name == right.name && left.ints == right.ints && left.floats == right.floats &&
         left.strings == right.strings;
}

bool operator!=(const TelemetryEvent& left, const TelemetryEvent& right) {
  return !(left == right);
}

std::string toString(const TelemetryEvent& event) {
  const std::string count = ", " + formatCount(event);
  switch (internal::kindOf(event)) {
    case EventKind::ERROR_CODE:
      return formatErrorCode(event) + count;
    case EventKind::STREAM_EVENT:
      return formatStreamEvent(event) + count;
    case EventKind::AUDIO_LATENCY:
      return "audio latency" + count;
    case EventKind::GENERIC_VALUE:
      return formatGeneric(event) + count;
    case EventKind::TRACE_LATENCY:
      return formatTrace(event) + count;
    case EventKind::CLIENT_CALL:
      return formatClientCall(event) + count;
    case EventKind::OTHER:
      break;
  }
  return formatFields(event);
}

std::ostream& operator<<(std::ostream& out, const TelemetryEvent& event) {
  return out << toString(event);
}

std::ostream& operator<<(std::ostream& out, const std::vector<TelemetryEvent>& events) {
  if (events.empty()) return out << "no events";
  out << "{";
  for (size_t i = 0; i < std::min(events.size(), kMostShown); ++i) {
    out << "\n    #" << i << " " << events[i];
  }
  if (events.size() > kMostShown) out << "\n    and " << events.size() - kMostShown << " more";
  return out << "\n  }";
}

void PrintTo(const std::vector<TelemetryEvent>& events, std::ostream* out) { *out << events; }

}  // namespace android::kiv::telemetry_testing
