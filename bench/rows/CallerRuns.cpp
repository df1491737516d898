#include "bench/rows/CallerRuns.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <time.h>

#include <chrono>
#include <functional>
#include <random>
#include <thread>

#include "bench/harness/Measure.h"
#include "bench/harness/Statistics.h"

namespace kiv_bench {

namespace {

constexpr uint32_t kBurst = 1000;

/// A reporter that has run in, and the threads that report to it.
class Stage {
 public:
  Stage(const ReporterKind& kind, const Producers& producers)
      : producers_(producers),
        confinement_(producers.placement),
        reporter_(confinement_.startWorker(kind.make)) {
    for (uint32_t i = 0; i < kBurst; ++i) reporter_->report(Report());
    reporter_->drain();
  }

  Reporter& reporter() const { return *reporter_; }

  /// Calls `work` on each producer's thread, and joins what they return. A single producer is the
  /// calling thread, which is the one that is confined.
  Samples run(const std::function<Samples(size_t)>& work) const {
    if (producers_.threads == 1) return work(0);
    std::vector<Samples> samples(producers_.threads);
    std::vector<std::thread> threads;
    for (size_t n = 0; n < samples.size(); ++n) {
      threads.emplace_back([&, n] { samples[n] = work(n); });
    }
    for (auto& thread : threads) thread.join();
    Samples all;
    for (const Samples& part : samples) all.insert(all.end(), part.begin(), part.end());
    return all;
  }

 private:
  const Producers producers_;
  const Confinement confinement_;
  const std::unique_ptr<Reporter> reporter_;
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
  // NOLINTNEXTLINE(bugprone-posix-return): the value for that thread is negative.
  bool meet() { return pthread_barrier_wait(&barrier_) == PTHREAD_BARRIER_SERIAL_THREAD; }

 private:
  pthread_barrier_t barrier_;
};

/// The processor time of all threads of the process.
std::chrono::nanoseconds processorTime() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

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

Samples burstCalls(Reporter& reporter) {
  const Report report;
  Samples samples;
  samples.reserve(kBurst);
  for (uint32_t n = 0; n < kBurst; ++n) samples.push_back(timedReport(reporter, report));
  return samples;
}

/// Timed as a whole, so that reading the clock for single calls adds nothing.
Samples burstWhole(Reporter& reporter) {
  const Report report;
  const auto start = Clock::now();
  for (uint32_t n = 0; n < kBurst; ++n) reporter.report(report);
  return {static_cast<uint32_t>(nanosecondsSince(start))};
}

Samples bursts(const Stage& stage, Barrier& barrier, uint32_t count, Samples (*burst)(Reporter&)) {
  return stage.run([&](size_t) {
    Samples all;
    for (uint32_t i = 0; i < count; ++i) {
      barrier.meet();
      const Samples samples = burst(stage.reporter());
      all.insert(all.end(), samples.begin(), samples.end());
      if (barrier.meet()) stage.reporter().drain();
    }
    return all;
  });
}

}  // namespace

std::vector<double> runPaced(const ReporterKind& kind, const Producers& producers,
                             uint32_t reports) {
  const Stage stage(kind, producers);
  Samples calls = stage.run([&](size_t n) { return paced(stage.reporter(), n, reports); });
  return {percentile(calls, 0.5), percentile(calls, 0.99)};
}

std::vector<double> runProcessorTime(const ReporterKind& kind, const Producers& producers,
                                     uint32_t reports) {
  const Stage stage(kind, producers);
  const auto start = processorTime();
  stage.run([&](size_t n) { return paced(stage.reporter(), n, reports); });
  stage.reporter().drain();
  return {static_cast<double>((processorTime() - start).count()) / reports};
}

std::vector<double> runBursts(const ReporterKind& kind, const Producers& producers,
                              uint32_t count) {
  const Stage stage(kind, producers);
  Barrier barrier(producers.threads);
  Samples wholes = bursts(stage, barrier, count, burstWhole);
  Samples calls = bursts(stage, barrier, count, burstCalls);
  return {percentile(wholes, 0.5) / kBurst, percentile(calls, 0.99)};
}

std::vector<double> runSustained(const ReporterKind& kind, const Producers& producers,
                                 uint32_t reports) {
  const Stage stage(kind, producers);
  const auto start = Clock::now();
  stage.run([&](size_t) {
    const Report report;
    for (uint32_t i = 0; i < reports; ++i) stage.reporter().report(report);
    return Samples();
  });
  stage.reporter().drain();
  return {1000.0 * reports * static_cast<double>(producers.threads) /
          static_cast<double>(nanosecondsSince(start))};
}

}  // namespace kiv_bench
