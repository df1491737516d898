#include "bench/rows/CallerRuns.h"
#include "bench/rows/Rows.h"

namespace kiv_bench {

namespace {

struct Setting {
  std::string text;
  Producers producers;
};

const std::vector<Setting>& settings() {
  static const std::vector<Setting> all = {
      {"1 thread, pinned", {1, Placement::ONE_PROCESSOR}},
      {"2 threads", {2, Placement::FREE}},
      {"4 threads", {4, Placement::FREE}},
  };
  return all;
}

using Run = std::vector<double> (*)(const ReporterKind&, const Producers&, uint32_t);

bool hasAim(const std::vector<Figure>& figures, const std::string& peer) {
  for (const Figure& figure : figures) {
    for (const PeerAim& aim : figure.aims) {
      if (aim.peer == peer) return true;
    }
  }
  return false;
}

/// The library, and the peers against which there is an aim.
std::vector<Contestant> contestants(const std::vector<Figure>& figures, Run run,
                                    const Producers& producers, uint32_t count) {
  std::vector<Contestant> all;
  for (const ReporterKind& kind : reporterKinds()) {
    if (!all.empty() && !hasAim(figures, kind.name)) continue;
    all.push_back({kind.name, [=, &kind] { return run(kind, producers, count); }});
  }
  return all;
}

std::vector<Comparison> comparisons(const std::string& measure, const std::vector<Figure>& figures,
                                    Run run, uint32_t count) {
  std::vector<Comparison> all;
  for (const Setting& setting : settings()) {
    all.push_back({measure, setting.text, figures,
                   [=, &setting] { return contestants(figures, run, setting.producers, count); }});
  }
  return all;
}

}  // namespace

std::vector<Comparison> pacedComparisons(const Effort& effort) {
  return comparisons(
      "non-blocking report, paced",
      {{"p50", "ns", {{"spdlog async", {0.2}}}}, {"p99", "ns", {{"spdlog async", {0.4}}}}},
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

std::vector<Comparison> processorTimeComparisons(const Effort& effort) {
  const Producers producers{1, Placement::WORKER_APART};
  const std::vector<Figure> figures{{"", "ns", {{"spdlog async", {0.8}}, {"asio post", {0.8}}}}};
  const uint32_t count = 500 * effort.scale;
  return {{"processor time of a paced report", "1 thread, worker apart", figures,
           [=] { return contestants(figures, runProcessorTime, producers, count); }}};
}

}  // namespace kiv_bench
