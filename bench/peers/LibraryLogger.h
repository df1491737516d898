/// A logger on a worker and aggregations of its own, so that measurements do not meet in the
/// process's shared ones.
#pragma once

#include <memory>

#include "bench/peers/Report.h"
#include "kiv/TelemetryLogger.h"

namespace kiv_bench {

class LibraryLogger {
 public:
  static constexpr const char* kName = "SpatialAudioSink";

  explicit LibraryLogger(android::kiv::TelemetrySubmissionModel model);

  void report(const Report& report) {
    logger->logErrorCode(report.error_code, report.api, report.severity, report.kiv_class);
  }

  /// Returns when the worker has run `task`, after all that was posted before.
  void runOnWorker(std::function<void()> task) { (void)runner.postTaskAndWait(std::move(task)); }

  const std::shared_ptr<android::kiv::TaskRunnerThread> thread;
  android::kiv::TaskRunner runner;
  const std::shared_ptr<android::kiv::TelemetryLogger> logger;
};

}  // namespace kiv_bench
