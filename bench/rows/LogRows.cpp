// What the line that every error writes to the Android log costs the worker.
#include <android/log.h>
#include <fcntl.h>
#include <unistd.h>

#include "bench/harness/Log.h"
#include "bench/harness/Measure.h"
#include "bench/library/OwnAggregations.h"
#include "bench/peers/Keys.h"
#include "bench/peers/LibraryLogger.h"
#include "bench/rows/Rows.h"

namespace kiv_bench {

namespace {

constexpr uint32_t kBatch = 100;

/// Sends lines where they go on a host unless a program says otherwise, to standard error, which
/// leads nowhere meanwhile: the terminal's speed is not ours to measure.
class RealLog {
 public:
  RealLog() : stderr_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
    __android_log_set_logger(__android_log_stderr_logger);
  }

  ~RealLog() {
    discardLog();
    dup2(stderr_, STDERR_FILENO);
    close(stderr_);
  }

  RealLog(const RealLog&) = delete;
  RealLog& operator=(const RealLog&) = delete;

 private:
  const int stderr_;
};

/// Nanoseconds for the worker's part of a report.
std::vector<double> runOnWorker(uint32_t batches) {
  LibraryLogger library(android::kiv::TelemetrySubmissionModel::NON_BLOCKING);
  double time = 0;
  library.runOnWorker([&] {
    const Report report;
    time = timePerCall(batches, kBatch, [&](uint32_t) { library.report(report); });
  });
  return {time};
}

std::vector<double> runFold(uint32_t batches) {
  const auto event = libraryKeys(1).front();
  const auto aggregator = makeOwnAggregator();
  return {timePerCall(batches, kBatch, [&](uint32_t) { aggregator->add(event); })};
}

std::vector<Contestant> logContestants(uint32_t batches) {
  return {
      {"library",
       [=] {
         const RealLog log;
         return runOnWorker(batches);
       }},
      {"discarding log", [=] { return runOnWorker(batches); }},
      {"folding alone", [=] { return runFold(batches); }},
  };
}

}  // namespace

std::vector<Comparison> logComparisons(const Effort& effort) {
  return {{"worker's part of a report", "real log, to /dev/null", {{"", "ns", {}}}, [=] {
             return logContestants(50 * effort.scale);
           }}};
}

}  // namespace kiv_bench
