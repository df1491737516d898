/// The fixture of tests that look at what their code reports.
///
///   using namespace android::kiv::telemetry_testing;
///
///   TEST_F(TelemetryTest, ARefusedMappingIsAnError) {
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

/// Each test starts without events and with fresh windows. Tests may run in one process or in many,
/// but not at the same time in one.
///
/// A window of the library's closes when a report comes more than five seconds after it was opened,
/// and equal reports in two windows make two events. Tests that long close windows themselves, by
/// `flush()`, or look at `TotalCount`.
class TelemetryTest : public ::testing::Test {
 protected:
  TelemetryTest() {
    EXPECT_TRUE(isTelemetryEnabled())
        << "disableTelemetryForTesting() was called earlier in this process. It cannot be undone: "
           "no event will arrive. Run the test that calls it in a process of its own.";
  }

  /// The events of everything that was reported since the test's start or `clearEvents()`, those of
  /// `NON_BLOCKING` loggers included; those of other threads, if they had made their reports.
  /// Closes the open windows.
  std::vector<TelemetryEvent> events() {
    flush();
    return recorded_.events();
  }

  /// Closes the open windows. Reports after it make events of their own.
  void flush() { EXPECT_TRUE(recorded_.flush()) << "The telemetry worker is stuck."; }

  /// Forgets what was reported so far.
  void clearEvents() { EXPECT_TRUE(recorded_.clear()) << "The telemetry worker is stuck."; }

 private:
  RecordedTelemetry recorded_;
};

}  // namespace android::kiv::telemetry_testing
