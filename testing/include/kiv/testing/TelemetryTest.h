/// A GoogleTest fixture for tests of what code reports.
///
///   using namespace android::kiv::telemetry_testing;
///
///   TEST_F(TelemetryTest, ReportsAFailedMapping) {
///     Mixer mixer;
///     mixer.render();
///     EXPECT_THAT(events(), Contains(ErrorCode(KivError::MMAP_FAILED).fromApi("render").once()));
///   }
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "kiv/TelemetrySwitch.h"
#include "kiv/testing/EventMatchers.h"
#include "kiv/testing/RecordedTelemetry.h"

namespace android::kiv::telemetry_testing {

/// Every test starts with no events and with new windows. Tests may run in one process or in
/// several, but not at the same time in one process.
///
/// A report that comes more than five seconds after its window was opened opens a new window, and
/// equal reports in two windows make two events. Tests that take so long use `TotalCount`, or close
/// windows with `flush()`.
class TelemetryTest : public ::testing::Test {
 protected:
  TelemetryTest() {
    EXPECT_TRUE(isTelemetryEnabled())
        << "disableTelemetryForTesting() was called earlier in this process. It cannot be undone: "
           "no event will arrive. Run the test that calls it in a separate process.";
  }

  /// Flushes, and returns the events of all reports since the test's start or `clearEvents()`,
  /// those of `NON_BLOCKING` loggers included. Reports of other threads are included if they were
  /// made before.
  std::vector<TelemetryEvent> events() {
    flush();
    return recorded_.submittedEvents();
  }

  /// Closes the open windows. Later reports make separate events.
  void flush() { EXPECT_TRUE(recorded_.flush()) << "The telemetry worker is stuck."; }

  /// Flushes, and discards all events.
  void clearEvents() { EXPECT_TRUE(recorded_.clear()) << "The telemetry worker is stuck."; }

 private:
  RecordedTelemetry recorded_;
};

}  // namespace android::kiv::telemetry_testing
