#include "testing/EventKinds.h"

#include "kiv/TelemetryLogger.h"

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

std::string countedInWords(int64_t count) {
  return count == 1 ? "counted once" : "counted " + inWords(count) + " times";
}

EventKind kindOf(const TelemetryEvent& event) {
  if (event.name == KivErrorCodeBaseAggregator::kKivErrorCodeEvent) return EventKind::ERROR_CODE;
  if (event.name == KivStreamEventBaseAggregator::kKivStreamEvent) return EventKind::STREAM_EVENT;
  if (event.name.empty()) return EventKind::AUDIO_LATENCY;
  if (event.name != KivGenericInt64BaseAggregator::kKivGenericEvent) return EventKind::OTHER;
  const std::string name = textOf(event, "kiv_event_name");
  if (startsWith(name, kTracePrefix)) return EventKind::TRACE_LATENCY;
  if (startsWith(name, kClientCallPrefix)) return EventKind::CLIENT_CALL;
  return EventKind::GENERIC_VALUE;
}

}  // namespace android::kiv::telemetry_testing::internal
