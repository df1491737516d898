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
    return std::make_shared<Logger>(::kiv_test::session(session), name, thread, error_codes,
                                    stream_events, latencies, integers, floats, texts, model);
  }

  /// Waits until all posted tasks have run.
  void settle() {
    EXPECT_TRUE(runner.postTaskAndWait([] {}).ok());
  }

  std::shared_ptr<TaskRunnerThread> thread = TaskRunnerThread::create(std::chrono::hours(1));
  TaskRunner runner{thread};
  TelemetryLogger::Manager<KivErrorCodeEvent> error_codes = makeErrorCodeManager();
  TelemetryLogger::Manager<KivStreamEvent> stream_events = makeStreamEventManager();
  TelemetryLogger::Manager<KivAudioLatencyEvent> latencies = makeAudioLatencyManager();
  TelemetryLogger::Manager<KivGenericEvent<long long>> integers =
      makeNumericEventManager<long long>();
  TelemetryLogger::Manager<KivGenericEvent<float>> floats = makeNumericEventManager<float>();
  TelemetryLogger::Manager<KivGenericEvent<std::string>> texts = makeStringEventManager();
};

}  // namespace android::kiv
