// Instructions and allocations that the library needs for one report. Unlike times, these repeat.
#include <chrono>
#include <future>

#include "bench/counts/Counted.h"
#include "bench/harness/Log.h"
#include "bench/harness/Require.h"
#include "bench/library/OwnAggregations.h"
#include "bench/null_module/NullModule.h"
#include "bench/peers/Keys.h"
#include "bench/peers/LibraryLogger.h"

namespace kiv_bench {

namespace {

using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;

constexpr uint32_t kCount = 1000;

template <typename Operation>
void countEach(const char* name, const Operation& operation) {
  countSection(name, kCount, [&] {
    for (uint32_t i = 0; i < kCount; ++i) operation(i);
  });
}

/// While the worker is busy, so that it is never the caller who has to wake it.
template <typename Operation>
void countWithWorkerBusy(const char* name, const Operation& operation) {
  LibraryLogger library(TelemetrySubmissionModel::NON_BLOCKING);
  operation(*library.logger);
  library.runOnWorker([] {});
  std::promise<void> busy;
  std::promise<void> release;
  library.runner.postTask([&] {
    busy.set_value();
    release.get_future().wait();
  });
  busy.get_future().wait();
  countEach(name, [&](uint32_t) { operation(*library.logger); });
  release.set_value();
  library.runOnWorker([] {});
}

void reportError(TelemetryLogger& logger, const Report& report) {
  logger.logErrorCode(report.error_code, report.api, report.severity, report.kiv_class);
}

void countCallers() {
  const Report report;
  countWithWorkerBusy("non-blocking report, caller",
                      [&](TelemetryLogger& logger) { reportError(logger, report); });
  countWithWorkerBusy("trace section, caller", [&](TelemetryLogger& logger) {
    logger.kiv_endTraceSection(logger.kiv_beginTraceSection(report.api));
  });

  LibraryLogger waiting(TelemetrySubmissionModel::BLOCKING);
  waiting.report(report);
  countEach("waited report, caller", [&](uint32_t) { waiting.report(report); });

  TelemetryLogger immediate(makeSession(), report.kiv_class,
                            TelemetrySubmissionModel::LOCKING_IMMEDIATE);
  reportError(immediate, report);
  const uint64_t before = reportedEvents();
  countEach("LOCKING_IMMEDIATE report", [&](uint32_t) { reportError(immediate, report); });
  require(reportedEvents() - before == kCount, "a report was not submitted");
}

/// Posts reports of a known key, and counts what the worker does with them.
template <typename Operation>
void countOnWorker(const char* name, const Operation& operation) {
  LibraryLogger library(TelemetrySubmissionModel::NON_BLOCKING);
  operation(*library.logger);
  library.runOnWorker([&] { countEach(name, [&](uint32_t) { operation(*library.logger); }); });
}

void countWorker() {
  using android::kiv::NumericAggregationType;
  const Report report;
  // Longer than what a string holds without memory of its own.
  const std::string name = "a value's name of some length";
  const android::kiv::KivTraceInfo trace{name, std::chrono::steady_clock::now(), report.kiv_class};
  countOnWorker("report, worker's part",
                [&](TelemetryLogger& logger) { reportError(logger, report); });
  countOnWorker("integer value, worker's part", [&](TelemetryLogger& logger) {
    logger.logKivEvent<long long>(name, 1, NumericAggregationType::SUM);
  });
  countOnWorker("text value, worker's part", [&](TelemetryLogger& logger) {
    logger.logKivEvent<std::string>(name, report.api, NumericAggregationType::COUNT);
  });
  countOnWorker("client call, worker's part",
                [&](TelemetryLogger& logger) { logger.logKivClientCall(name, report.api); });
  countOnWorker("end of a trace, worker's part",
                [&](TelemetryLogger& logger) { logger.kiv_endTraceSection(trace); });
}

void countTable() {
  const auto keys = libraryKeys(kCount);
  const auto picks = shuffledPicks(kCount, kCount);
  const auto aggregator = makeOwnAggregator();
  const auto now = std::chrono::system_clock::now();
  aggregator->add(keys.front());
  aggregator->flush(now, now);
  countEach("fold, new key", [&](uint32_t i) { aggregator->add(keys[i]); });
  countEach("fold, one of 1000 keys", [&](uint32_t i) { aggregator->add(keys[picks[i]]); });
  const uint64_t before = reportedEvents();
  countSection("submit one key", kCount, [&] { aggregator->flush(now, now); });
  require(reportedEvents() - before == kCount, "a key was not submitted");
}

}  // namespace

}  // namespace kiv_bench

int main() {
  kiv_bench::discardLog();
  kiv_bench::countCallers();
  kiv_bench::countWorker();
  kiv_bench::countTable();
  return 0;
}
