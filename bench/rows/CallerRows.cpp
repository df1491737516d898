#include "bench/rows/CallerRuns.h"
#include "bench/rows/Rows.h"

namespace kiv_bench {

namespace {

struct Setting {
  std::string text;
  Producers producers;
  bool has_aims;
};

const std::vector<Setting>& settings() {
  static const std::vector<Setting> all = {
      {"1 thread, pinned", {1, Placement::ONE_PROCESSOR}, true},
      {"1 thread, worker apart", {1, Placement::WORKER_APART}, false},
      {"2 threads", {2, Placement::FREE}, true},
      {"4 threads", {4, Placement::FREE}, true},
  };
  return all;
}

using Run = std::vector<double> (*)(const ReporterKind&, const Producers&, uint32_t);

std::vector<Contestant> contestants(Run run, const Producers& producers, uint32_t count) {
  std::vector<Contestant> all;
  for (const ReporterKind& kind : reporterKinds()) {
    all.push_back({kind.name, [=, &kind] { return run(kind, producers, count); }});
  }
  return all;
}

std::vector<Comparison> comparisons(const std::string& measure, const std::vector<Figure>& figures,
                                    Run run, uint32_t count) {
  std::vector<Comparison> all;
  for (const Setting& setting : settings()) {
    Comparison comparison{measure, setting.text, figures,
                          [=, &setting] { return contestants(run, setting.producers, count); }};
    if (!setting.has_aims) {
      for (Figure& figure : comparison.figures) figure.aims.clear();
    }
    all.push_back(comparison);
  }
  return all;
}

}  // namespace

std::vector<Comparison> pacedComparisons(const Effort& effort) {
  return comparisons("non-blocking report, paced",
                     {{"p50", "ns", {{"spdlog async", {0.2}}}},
                      {"p99", "ns", {{"spdlog async", {0.4}}}},
                      {"p99.9", "ns", {}}},
                     runPaced, 500 * effort.scale);
}

std::vector<Comparison> burstComparisons(const Effort& effort) {
  return comparisons("non-blocking report, bursts",
                     {{"wall", "ns", {{"spdlog async", {0.4}}, {"asio post", {0.55}}}},
                      {"p99", "ns", {{"spdlog async", {0.1}}}}},
                     runBursts, 5 * effort.scale);
}

std::vector<Comparison> sustainedComparisons(const Effort& effort) {
  constexpr Aim kAim{1.5, Aim::Sense::AT_LEAST};
  return comparisons(
      "reports sustained, end to end",
      {{"", "M/s", {{"spdlog async", kAim}, {"asio post", kAim}, {"plain queue", kAim}}}},
      runSustained, 5000 * effort.scale);
}

}  // namespace kiv_bench
