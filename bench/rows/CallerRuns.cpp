#include "CallerRuns.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>
#include <optional>
#include <random>
#include <thread>

#include "Measure.h"
#include "Placement.h"
#include "Producers.h"
#include "Statistics.h"

namespace kiv_bench {

namespace {

constexpr uint32_t kBurst = 1000;

/// A reporter, placed as befits the number of its producers, that has run in.
class Stage {
 public:
  Stage(const ReporterKind& kind, size_t threads) {
    if (threads == 1) placement_.emplace();
    reporter = placement_.has_value() ? placement_->besides(kind.make) : kind.make();
    for (uint32_t i = 0; i < kBurst; ++i) reporter->report(Report());
    reporter->drain();
  }

 private:
  std::optional<ProducerPlacement> placement_;

 public:
  std::unique_ptr<Reporter> reporter;
};

/// Where producers meet before each burst.
class Barrier {
 public:
  explicit Barrier(size_t threads) : barrier_() {
    pthread_barrier_init(&barrier_, nullptr, static_cast<unsigned>(threads));
  }
  ~Barrier() { pthread_barrier_destroy(&barrier_); }

  Barrier(const Barrier&) = delete;
  Barrier& operator=(const Barrier&) = delete;

  /// True on one of the threads.
  bool meet() { return pthread_barrier_wait(&barrier_) == PTHREAD_BARRIER_SERIAL_THREAD; }

 private:
  pthread_barrier_t barrier_;
};

uint32_t timedReport(Reporter& reporter, const Report& report) {
  const auto start = Clock::now();
  reporter.report(report);
  return static_cast<uint32_t>(nanosecondsSince(start));
}

Samples paced(Reporter& reporter, size_t seed, uint32_t reports) {
  const Report report;
  Samples samples;
  samples.reserve(reports);
  std::minstd_rand random(static_cast<unsigned>(seed) + 1);
  std::uniform_int_distribution<int> pause(100, 300);
  prctl(PR_SET_TIMERSLACK, 1);
  auto next = Clock::now();
  for (uint32_t i = 0; i < reports; ++i) {
    next += std::chrono::microseconds(pause(random));

    std::this_thread::sleep_until(next);
    samples.push_back(timedReport(reporter, report));
  }
  return samples;
}

/// Every other burst is timed as a whole, so that reading the clock for single calls adds nothing.
struct BurstSamples {
  Samples calls;
  Samples wholes;
};

BurstSamples burst(Reporter& reporter, Barrier& barrier, uint32_t bursts) {
  const Report report;
  BurstSamples samples;
  samples.calls.reserve(size_t{bursts} * kBurst);
  for (uint32_t i = 0; i < bursts; ++i) {
    barrier.meet();
    for (uint32_t n = 0; n < kBurst; ++n) samples.calls.push_back(timedReport(reporter, report));
    if (barrier.meet()) reporter.drain();
    barrier.meet();
    const auto start = Clock::now();
    for (uint32_t n = 0; n < kBurst; ++n) reporter.report(report);
    samples.wholes.push_back(static_cast<uint32_t>(nanosecondsSince(start)));
    if (barrier.meet()) reporter.drain();
  }
  return samples;
}

Samples joined(const std::vector<Samples>& parts) {
  Samples all;
  for (const Samples& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace

std::vector<double> runPaced(const ReporterKind& kind, size_t threads, uint32_t reports) {
  const Stage stage(kind, threads);
  std::vector<Samples> samples(threads);
  runProducers(threads, [&](size_t n) { samples[n] = paced(*stage.reporter, n, reports); });
  Samples all = joined(samples);
  return {percentile(all, 0.5), percentile(all, 0.99), percentile(all, 0.999)};
}

std::vector<double> runBursts(const ReporterKind& kind, size_t threads, uint32_t bursts) {
  const Stage stage(kind, threads);
  Barrier barrier(threads);
  std::vector<Samples> calls(threads);
  std::vector<Samples> wholes(threads);
  runProducers(threads, [&](size_t n) {
    BurstSamples samples = burst(*stage.reporter, barrier, bursts);
    calls[n] = std::move(samples.calls);
    wholes[n] = std::move(samples.wholes);
  });
  Samples all_calls = joined(calls);
  Samples all_wholes = joined(wholes);
  return {percentile(all_wholes, 0.5) / kBurst, percentile(all_calls, 0.99)};
}

std::vector<double> runSustained(const ReporterKind& kind, size_t threads, uint32_t reports) {
  const Stage stage(kind, threads);
  const auto start = Clock::now();
  runProducers(threads, [&](size_t) {
    const Report report;
    for (uint32_t i = 0; i < reports; ++i) stage.reporter->report(report);
  });
  stage.reporter->drain();
  return {1000.0 * reports * static_cast<double>(threads) /
          static_cast<double>(nanosecondsSince(start))};
}

}  // namespace kiv_bench
