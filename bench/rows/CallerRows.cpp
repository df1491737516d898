#include "CallerRuns.h"
#include "Producers.h"
#include "Rows.h"

namespace kiv_bench {

namespace {

constexpr size_t kThreadCounts[] = {1, 2, 4};

using Run = std::vector<double> (*)(const ReporterKind&, size_t, uint32_t);

std::vector<Contestant> contestants(Run run, size_t threads, uint32_t count) {
  std::vector<Contestant> all;
  for (const ReporterKind& kind : reporterKinds()) {
    all.push_back({kind.name, [=, &kind] { return run(kind, threads, count); }});
  }
  return all;
}

std::vector<Comparison> comparisons(const std::string& measure, const std::vector<Figure>& figures,
                                    Run run, uint32_t count) {
  std::vector<Comparison> all;
  for (const size_t threads : kThreadCounts) {
    all.push_back({measure, producersText(threads), figures,
                   [=] { return contestants(run, threads, count); }});
  }
  return all;
}

}  // namespace

std::vector<Comparison> pacedComparisons(const Effort& effort) {
  return comparisons("non-blocking report, paced",
                     {{"p50", "ns", {{"spdlog async", {0.2}}}},
                      {"p99", "ns", {{"spdlog async", {0.4}}}},
                      {"p99.9", "ns", {}}},
                     runPaced, 300 * effort.scale);
}

std::vector<Comparison> burstComparisons(const Effort& effort) {
  return comparisons("non-blocking report, bursts",
                     {{"wall", "ns", {{"spdlog async", {0.4}}, {"asio post", {0.55}}}},
                      {"p99", "ns", {{"spdlog async", {0.1}}}}},
                     runBursts, 6 * effort.scale);
}

std::vector<Comparison> sustainedComparisons(const Effort& effort) {
  constexpr Aim kAim{1.5, Aim::Sense::AT_LEAST};
  return comparisons(
      "reports sustained, end to end",
      {{"", "M/s", {{"spdlog async", kAim}, {"asio post", kAim}, {"plain queue", kAim}}}},
      runSustained, 5000 * effort.scale);
}

}  // namespace kiv_bench
