// Memory of a key while its window is open, and of a report while it waits for the worker.
#include <future>

#include "bench/harness/Heap.h"
#include "bench/library/OwnAggregations.h"
#include "bench/peers/Keys.h"
#include "bench/peers/PeerKeys.h"
#include "bench/peers/Reporter.h"
#include "bench/rows/Rows.h"
#include "prometheus/counter.h"
#include "prometheus/family.h"

namespace kiv_bench {

namespace {

constexpr uint32_t kCounts[] = {1000, 100000};

/// The growth of the heap for each of `count` things that `fill` makes.
template <typename Fill>
std::vector<double> bytesEach(uint32_t count, const Fill& fill) {
  const size_t before = heapInUse();
  fill();
  return {static_cast<double>(heapInUse() - before) / count};
}

std::vector<Contestant> keyContestants(uint32_t count) {
  auto library = [count] {
    const auto keys = libraryKeys(count);
    const auto aggregator = makeOwnAggregator();
    return bytesEach(count, [&] {
      for (const auto& key : keys) aggregator->add(key);
    });
  };
  auto prometheus_cpp = [count] {
    const auto keys = labelValues(libraryKeys(count));
    prometheus::Family<prometheus::Counter> family("errors", "", prometheus::Labels{});
    return bytesEach(count, [&] {
      for (const auto& values : keys) family.Add(makeLabels(values)).Increment();
    });
  };
  return {{"library", library}, {"prometheus-cpp", prometheus_cpp}};
}

std::vector<double> runQueue(const TaskReporterKind& kind, uint32_t count) {
  const auto reporter = kind.make();
  reporter->drain();
  std::promise<void> gate;
  std::promise<void> held;
  reporter->post([&held, opened = gate.get_future().share()] {
    held.set_value();
    opened.wait();
  });
  held.get_future().wait();
  auto bytes = bytesEach(count, [&] {
    for (uint32_t i = 0; i < count; ++i) reporter->report(Report());
  });
  gate.set_value();
  reporter->drain();
  return bytes;
}

std::vector<Contestant> queueContestants(uint32_t count) {
  std::vector<Contestant> all;
  for (const TaskReporterKind& kind : taskReporterKinds()) {
    all.push_back({kind.name, [=, &kind] { return runQueue(kind, count); }});
  }
  return all;
}

}  // namespace

std::vector<Comparison> memoryComparisons() {
  std::vector<Comparison> all;
  for (const uint32_t count : kCounts) {
    all.push_back({"bytes per distinct key",
                   std::to_string(count) + " keys",
                   {{"", "B", {{"prometheus-cpp", Aim{0.4}}}}},
                   [=] { return keyContestants(count); }});
  }
  for (const uint32_t count : kCounts) {
    all.push_back({"bytes per queued report",
                   std::to_string(count) + " reports",
                   {{"", "B", {{"asio post", Aim{0.7}}}}},
                   [=] { return queueContestants(count); }});
  }
  return all;
}

}  // namespace kiv_bench
