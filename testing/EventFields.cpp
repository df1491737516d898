#include "testing/EventFields.h"

#include "kiv/EventNames.h"

namespace android::kiv::telemetry_testing::internal {

namespace {

template <typename T>
T valueOf(const std::map<std::string, T>& fields, const std::string& name) {
  const auto found = fields.find(name);
  return found != fields.end() ? found->second : T();
}

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

std::string textOf(const TelemetryEvent& event, const std::string& field) {
  return valueOf(event.strings, field);
}

int64_t intOf(const TelemetryEvent& event, const std::string& field) {
  return valueOf(event.ints, field);
}

float floatOf(const TelemetryEvent& event, const std::string& field) {
  return valueOf(event.floats, field);
}

EventKind kindOf(const TelemetryEvent& event) {
  if (event.name == event_names::kErrorCode) return EventKind::ERROR_CODE;
  if (event.name == event_names::kStreamEvent) return EventKind::STREAM_EVENT;
  if (event.name == event_names::kAudioLatency) return EventKind::AUDIO_LATENCY;
  if (event.name != event_names::kGeneric) return EventKind::OTHER;
  const std::string name = textOf(event, "kiv_event_name");
  if (startsWith(name, event_names::kTracePrefix)) return EventKind::TRACE_LATENCY;
  if (startsWith(name, event_names::kClientCallPrefix)) return EventKind::CLIENT_CALL;
  return EventKind::GENERIC_VALUE;
}

}  // namespace android::kiv::telemetry_testing::internal
