#include "kiv/testing/RecordedTelemetry.h"

#include <utility>

#include "kiv/TelemetryLogger.h"
#include "modules/recording/Recorder.h"

namespace android::kiv::telemetry_testing {

namespace {

// A flush waits one second for the worker. A worker with a long queue needs more.
constexpr int kTries = 60;

}  // namespace

RecordedTelemetry::RecordedTelemetry() { clear(); }

// The state belongs to the process; these are members because an object starts the recording.
// NOLINTBEGIN(readability-convert-member-functions-to-static)

bool RecordedTelemetry::flush() {
  const auto logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  for (int i = 0; i < kTries; ++i) {
    // After a start, a flush fails only if the worker is busy.
    if (logger->start() && logger->flush()) return true;
  }
  return false;
}

std::vector<TelemetryEvent> RecordedTelemetry::events() {
  flush();
  return submittedEvents();
}

std::vector<TelemetryEvent> RecordedTelemetry::submittedEvents() const {
  std::vector<TelemetryEvent> events;
  for (TAMSA::recording::Event& event : TAMSA::recording::Recorder::getInstance().events()) {
    events.push_back({std::move(event.name), std::move(event.ints), std::move(event.floats),
                      std::move(event.strings)});
  }
  return events;
}

// NOLINTEND(readability-convert-member-functions-to-static)

bool RecordedTelemetry::clear() {
  const bool flushed = flush();
  TAMSA::recording::Recorder::getInstance().reset();
  return flushed;
}

}  // namespace android::kiv::telemetry_testing
