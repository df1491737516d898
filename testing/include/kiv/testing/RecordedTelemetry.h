/// What the code under test has reported, whatever the test framework.
#pragma once

#include <vector>

#include "kiv/Export.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing {

/// The telemetry of this process, from the construction on. Needs no environment: a program that is
/// linked with `kiv::telemetry_testing` reports to a module that keeps events for it.
///
/// What is reported there is the process's, so one of these at a time. Any thread may use it, but
/// only one at a time.
class KIV_EXPORT RecordedTelemetry {
 public:
  /// Starts afresh: a stopped aggregation is started, windows are opened anew, and what was
  /// reported before is forgotten.
  RecordedTelemetry();

  RecordedTelemetry(const RecordedTelemetry&) = delete;
  RecordedTelemetry& operator=(const RecordedTelemetry&) = delete;

  /// Waits until the worker has taken every report that was made before, and closes the open
  /// windows. A stopped aggregation is started again. False if the worker was busy for a minute.
  ///
  /// Loggers with a worker of their own are flushed by their owners.
  bool flush();

  /// The events that have reached the module since the construction or the last `clear()`, in their
  /// order. Flush before, or there are none yet.
  std::vector<TelemetryEvent> events() const;

  /// Flushes, and forgets all events. False as `flush()`.
  bool clear();
};

}  // namespace android::kiv::telemetry_testing
