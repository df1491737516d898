#include "kiv/testing/TelemetryEvent.h"

#include <algorithm>
#include <ostream>

#include "testing/EventKinds.h"

namespace android::kiv::telemetry_testing {

namespace {

using internal::countedInWords;
using internal::countOf;
using internal::EventKind;
using internal::floatOf;
using internal::intOf;
using internal::inWords;
using internal::severityInWords;
using internal::textOf;

// More than anybody reads.
constexpr size_t kMostShown = 40;

std::string errorInWords(const TelemetryEvent& event) {
  return "error code " + inWords(textOf(event, "kiv_error_code")) + ", from API " +
         inWords(textOf(event, "kiv_api")) + ", of class " + inWords(textOf(event, "kiv_class")) +
         ", of severity " + severityInWords(intOf(event, "severity"));
}

std::string streamInWords(const TelemetryEvent& event) {
  return "stream event " + inWords(textOf(event, "kiv_event")) + ", of type " +
         textOf(event, "stream_type") + ", in format " + textOf(event, "pcm_format") + ", at " +
         inWords(intOf(event, "sample_rate")) + " Hz, with " + inWords(intOf(event, "samples")) +
         " samples, on " + inWords(intOf(event, "channels")) + " channels, " +
         (intOf(event, "interleaved") != 0 ? "interleaved" : "not interleaved");
}

/// An event has a field for each type, of which two are empty.
std::string valueInWords(const TelemetryEvent& event) {
  const std::string text = textOf(event, "value_string");
  const float decimal = floatOf(event, "value_float");
  const int64_t integer = intOf(event, "value_int");
  const bool counted = textOf(event, "aggregation_method") == "COUNT";
  // Numbers that were counted are not zero.
  if (!text.empty() || (counted && decimal == 0.0F && integer == 0)) {
    return "with text " + inWords(text);
  }
  if (decimal != 0.0F) return "with float " + inWords(decimal);
  return "with integer " + inWords(integer);
}

std::string genericInWords(const TelemetryEvent& event) {
  return "generic value " + inWords(textOf(event, "kiv_event_name")) + ", " + valueInWords(event) +
         ", combined by " + textOf(event, "aggregation_method");
}

std::string traceInWords(const TelemetryEvent& event) {
  const std::string name =
      textOf(event, "kiv_event_name").substr(sizeof(internal::kTracePrefix) - 1);
  return "latency of trace " + inWords(name) + ", averaging " + inWords(intOf(event, "value_int")) +
         " us";
}

std::string callInWords(const TelemetryEvent& event) {
  const std::string api =
      textOf(event, "kiv_event_name").substr(sizeof(internal::kClientCallPrefix) - 1);
  return "client call of " + inWords(api) + ", with " + inWords(textOf(event, "value_string"));
}

template <typename T>
void appendFields(std::string& words, const std::map<std::string, T>& fields) {
  for (const auto& [name, value] : fields) words += ", " + name + " " + inWords(value);
}

std::string fieldsInWords(const TelemetryEvent& event) {
  std::string words = "event " + inWords(event.name);
  appendFields(words, event.ints);
  appendFields(words, event.floats);
  appendFields(words, event.strings);
  return words;
}

}  // namespace

std::string describe(const TelemetryEvent& event) {
  const std::string counted = ", " + countedInWords(countOf(event));
  switch (internal::kindOf(event)) {
    case EventKind::ERROR_CODE:
      return errorInWords(event) + counted;
    case EventKind::STREAM_EVENT:
      return streamInWords(event) + counted;
    case EventKind::AUDIO_LATENCY:
      return "audio latency" + counted;
    case EventKind::GENERIC_VALUE:
      return genericInWords(event) + counted;
    case EventKind::TRACE_LATENCY:
      return traceInWords(event) + counted;
    case EventKind::CLIENT_CALL:
      return callInWords(event) + counted;
    case EventKind::OTHER:
      break;
  }
  return fieldsInWords(event);
}

void PrintTo(const TelemetryEvent& event, std::ostream* out) { *out << describe(event); }

void PrintTo(const std::vector<TelemetryEvent>& events, std::ostream* out) {
  if (events.empty()) {
    *out << "no events";
    return;
  }
  *out << "{";
  for (size_t i = 0; i < std::min(events.size(), kMostShown); ++i) {
    *out << "\n    #" << i << " " << describe(events[i]);
  }
  if (events.size() > kMostShown) *out << "\n    and " << events.size() - kMostShown << " more";
  *out << "\n  }";
}

}  // namespace android::kiv::telemetry_testing
