// Calls whose whole work their caller waits for, and trace sections.
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <future>

#include "bench/harness/Measure.h"
#include "bench/harness/Placement.h"
#include "bench/harness/Require.h"
#include "bench/null_module/NullModule.h"
#include "bench/peers/LibraryLogger.h"
#include "bench/peers/PingPong.h"
#include "bench/peers/Task.h"
#include "bench/rows/Rows.h"

namespace kiv_bench {

namespace {

using android::kiv::NumericAggregationType;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;

constexpr uint32_t kBatch = 100;

/// A contestant that is measured on one processor, together with the workers that it starts: `make`
/// returns the operation that is timed.
template <typename Make>
Contestant pinned(const std::string& name, uint32_t batches, Make make) {
  return {
      name, [=] {
        const Confinement confinement(Placement::ONE_PROCESSOR);
        const auto operation = make();
        for (uint32_t i = 0; i < kBatch; ++i) operation();
        return std::vector<double>{timePerCall(batches, kBatch, [&](uint32_t) { operation(); })};
      }};
}

/// One event per report; what is not submitted would be measured for nothing.
class ImmediateLogger {
 public:
  void report() {
    logger_.logErrorCode(report_.error_code, report_.api, report_.severity, report_.kiv_class);
    ++reports_;
  }

  ~ImmediateLogger() {
    require(reportedEvents() - events_before_ == reports_, "a report was not submitted");
  }

 private:
  Report report_;
  const uint64_t events_before_ = reportedEvents();
  uint64_t reports_ = 0;
  TelemetryLogger logger_{makeSession(), "SpatialAudioSink",
                          TelemetrySubmissionModel::LOCKING_IMMEDIATE};
};

auto immediateReport() {
  return [logger = std::make_shared<ImmediateLogger>()] { logger->report(); };
}

/// The fields of an error event by name, formatted into a line that goes nowhere.
auto nineFields() {
  auto logger =
      std::make_shared<spdlog::logger>("errors", std::make_shared<spdlog::sinks::null_sink_st>());
  return [logger, session = makeSession().toString(), report = Report(),
          start = std::chrono::system_clock::now()] {
    using std::chrono::milliseconds;
    logger->log(spdlog::level::err,
                "start_time_since_epoch={} end_time_since_epoch={} aggregation_method={} "
                "aggregated_count={} kiv_session_id={} kiv_class={} kiv_api={} kiv_error_code={} "
                "severity={}",
                start.time_since_epoch() / milliseconds(1),
                std::chrono::system_clock::now().time_since_epoch() / milliseconds(1), "COUNT", 1,
                session, report.kiv_class, report.api, report.error_code,
                static_cast<int>(report.severity));
  };
}

auto waitedReport() {
  auto library = std::make_shared<LibraryLogger>(TelemetrySubmissionModel::BLOCKING);
  return [library, report = Report()] { library->report(report); };
}

auto asioFuture() {
  auto takings = std::make_shared<Takings>();
  auto pool = std::make_shared<boost::asio::thread_pool>(1);
  auto session = std::make_shared<android::kiv::KivSessionId>(makeSession());
  // In this order: the pool joins its thread when it goes.
  return [takings, pool, session, report = Report()] {
    std::packaged_task<void()> task(bindReport(*takings, session, report));
    auto done = task.get_future();
    boost::asio::post(*pool, std::move(task));
    done.wait();
  };
}

auto pingPong() {
  return [game = std::make_shared<PingPong>()] { game->play(); };
}

/// Nanoseconds for one of what `operation` does, in bursts between which the worker catches up.
template <typename Operation>
std::vector<double> runTraceBursts(uint32_t bursts, const Operation& operation) {
  const Confinement confinement(Placement::ONE_PROCESSOR);
  LibraryLogger library(TelemetrySubmissionModel::NON_BLOCKING);
  std::vector<double> times;
  for (uint32_t burst = 0; burst < bursts; ++burst) {
    times.push_back(timePerCall(1, 1000, [&](uint32_t) { operation(*library.logger); }));
    library.runOnWorker([] {});
  }
  return {median(std::move(times))};
}

std::vector<Contestant> traceContestants(uint32_t bursts) {
  auto section = [api = Report().api](TelemetryLogger& logger) {
    logger.kiv_endTraceSection(logger.kiv_beginTraceSection(api));
  };
  auto by_hand = [name = "api_latency_us." + Report().api](TelemetryLogger& logger) {
    const auto start = Clock::now();
    logger.logKivEvent(name, static_cast<int64_t>(nanosecondsSince(start) / 1000),
                       NumericAggregationType::AVG);
  };
  // The record of a section also owns its name and its class.
  auto with_record = [api = Report().api,
                      name = "api_latency_us." + Report().api](TelemetryLogger& logger) {
    const android::kiv::KivTraceInfo record{api, Clock::now(), LibraryLogger::kName};
    logger.logKivEvent(name, static_cast<int64_t>(nanosecondsSince(record.start_time) / 1000),
                       NumericAggregationType::AVG);
  };
  return {
      {"library", [=] { return runTraceBursts(bursts, section); }},
      {"two clock reads and a report", [=] { return runTraceBursts(bursts, by_hand); }},
      {"the same with a record", [=] { return runTraceBursts(bursts, with_record); }},
  };
}

}  // namespace

std::vector<Comparison> callComparisons(const Effort& effort) {
  const uint32_t batches = 20 * effort.scale;
  return {
      {"LOCKING_IMMEDIATE report",
       "1 thread, pinned",
       {{"", "ns", {{"spdlog, nine fields", Aim{1.5}}}}},
       [=] {
         return std::vector<Contestant>{pinned("library", batches, immediateReport),
                                        pinned("spdlog, nine fields", batches, nineFields)};
       }},
      {"waited report",
       "1 thread, pinned",
       {{"", "ns", {{"asio post, future", Aim{1.0}}}}},
       [=] {
         return std::vector<Contestant>{pinned("library", batches, waitedReport),
                                        pinned("asio post, future", batches, asioFuture),
                                        pinned("ping-pong", batches, pingPong)};
       }},
      {"trace section",
       "1 thread, pinned",
       {{"", "ns", {{"two clock reads and a report", Aim{1.1}}}}},
       [=] { return traceContestants(5 * effort.scale); }},
  };
}

}  // namespace kiv_bench
