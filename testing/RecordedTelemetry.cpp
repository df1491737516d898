#include "kiv/testing/RecordedTelemetry.h"

#include <utility>

#include "kiv/TelemetryLogger.h"
#include "modules/recording/Recorder.h"

namespace android::kiv::telemetry_testing {

namespace {

// The worker is given one second to come to a task. One that has a long queue gets more.
constexpr int kTries = 60;

}  // namespace

RecordedTelemetry::RecordedTelemetry() { clear(); }

// An object stands for the telemetry of the process, of which it holds nothing itself.
// NOLINTBEGIN(readability-convert-member-functions-to-static)

bool RecordedTelemetry::flush() {
  const auto logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  for (int i = 0; i < kTries; ++i) {
    // Started first, so that a flush can fail for one reason only: that the worker was busy.
    if (logger->start() && logger->flush()) return true;
  }
  return false;
}

std::vector<TelemetryEvent> RecordedTelemetry::events() const {
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
