/// Gives a test the events of the code under test, in any test framework.
#pragma once

#include <vector>

#include "kiv/Export.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing {

/// Records the telemetry of this process from its construction on. Needs no environment: a program
/// that links `kiv::telemetry_testing` reports to a module that records the events.
///
/// The recording belongs to the process, so there can be one of these at a time. Any thread may use
/// it, but only one at a time.
class KIV_EXPORT RecordedTelemetry {
 public:
  /// Starts with no events and with new windows. Starts the aggregation if it was stopped.
  RecordedTelemetry();

  RecordedTelemetry(const RecordedTelemetry&) = delete;
  RecordedTelemetry& operator=(const RecordedTelemetry&) = delete;

  /// Waits until the worker has processed every report that was made before, and closes the open
  /// windows. Starts the aggregation if it was stopped. Returns false if the worker was busy for a
  /// minute.
  ///
  /// Does not flush loggers that were built on a worker of their own.
  bool flush();

  /// Flushes, and returns the events since the construction or the last `clear()`, in their order.
  /// If the flush fails, events are missing: call `flush()` first to find out.
  std::vector<TelemetryEvent> events();

  /// As `events()`, but does not flush: without the reports whose window is still open.
  std::vector<TelemetryEvent> submittedEvents() const;

  /// Flushes, and discards all events. Returns false if the flush fails.
  bool clear();
};

}  // namespace android::kiv::telemetry_testing
