/// A fixture with a separate worker and six separate aggregations, so that tests do not affect each
/// other through those of the process.
#pragma once

#include <memory>
#include <string>

#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {

class LoggerRig : public ::kiv_test::RecorderTest {
 protected:
  using Model = TelemetrySubmissionModel;

  std::shared_ptr<TelemetryLogger> makeLogger(Model model, const std::string& name = "logger",
                                              const std::string& session = "s") {
    return makeLoggerOf<TelemetryLogger>(model, name, session);
  }

  template <typename Logger>
  std::shared_ptr<Logger> makeLoggerOf(Model model, const std::string& name = "logger",
                                       const std::string& session = "s") {
    if (model == Model::LOCKING_IMMEDIATE) {
      return std::make_shared<Logger>(::kiv_test::session(session), name, model);
    }
    return std::make_shared<Logger>(::kiv_test::session(session), name, thread,
                                    managers.error_code_manager_, managers.stream_event_manager_,
                                    managers.audio_latency_manager_, managers.int64_event_manager_,
                                    managers.float_event_manager_, managers.string_event_manager_,
                                    model);
  }

  /// Waits until all posted tasks have run.
  void settle() {
    EXPECT_TRUE(runner.postTaskAndWait([] {}).ok());
  }

  std::shared_ptr<TaskRunnerThread> thread = TaskRunnerThread::create(std::chrono::hours(1));
  TaskRunner runner{thread};
  internal::AggregationManagers managers = internal::makeAggregationManagers();
  TelemetryLogger::Manager<KivErrorCodeEvent>& error_codes = managers.error_code_manager_;
  TelemetryLogger::Manager<KivStreamEvent>& stream_events = managers.stream_event_manager_;
  TelemetryLogger::Manager<KivAudioLatencyEvent>& latencies = managers.audio_latency_manager_;
  TelemetryLogger::Manager<KivGenericEvent<long long>>& integers = managers.int64_event_manager_;
  TelemetryLogger::Manager<KivGenericEvent<float>>& floats = managers.float_event_manager_;
  TelemetryLogger::Manager<KivGenericEvent<std::string>>& texts = managers.string_event_manager_;
};

}  // namespace android::kiv
