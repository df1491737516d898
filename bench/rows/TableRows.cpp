// The cost of aggregation for the worker: folding one report, and submitting one key.
#include <algorithm>
#include <map>

#include "bench/harness/Measure.h"
#include "bench/harness/Require.h"
#include "bench/library/OwnAggregations.h"
#include "bench/null_module/NullModule.h"
#include "bench/peers/Keys.h"
#include "bench/peers/PeerKeys.h"
#include "bench/rows/Rows.h"
#include "prometheus/counter.h"
#include "prometheus/family.h"

namespace kiv_bench {

namespace {

using CounterFamily = prometheus::Family<prometheus::Counter>;

constexpr uint32_t kBatch = 100;
constexpr uint32_t kKeyCounts[] = {10, 1000, 100000};

std::string keysText(uint32_t keys) { return std::to_string(keys) + " keys"; }

/// Times reports of known keys in no order. Like reports that come out of a queue they are fresh
/// copies, so that it is the table that the processor has to fetch and not the report.
template <typename Key, typename Fold>
std::vector<double> runFolds(const std::vector<Key>& keys, const std::vector<uint32_t>& picks,
                             const Fold& fold) {
  std::vector<double> times;
  std::vector<Key> reports;
  for (auto pick = picks.begin(); pick != picks.end();) {
    reports.clear();
    while (reports.size() < kBatch) reports.push_back(keys[*pick++]);
    times.push_back(timePerCall(1, kBatch, [&](uint32_t i) { fold(reports[i]); }));
  }
  return {median(std::move(times))};
}

template <typename Key, typename Fold>
Contestant foldingContestant(const std::string& name, std::vector<Key> keys, uint32_t batches,
                             Fold fold) {
  for (const Key& key : keys) fold(key);
  auto picks = shuffledPicks(static_cast<uint32_t>(keys.size()), batches * kBatch);
  return {name, [keys = std::move(keys), picks = std::move(picks), fold = std::move(fold)] {
            return runFolds(keys, picks, fold);
          }};
}

std::vector<Contestant> foldingContestants(uint32_t keys, uint32_t batches) {
  auto aggregator = std::shared_ptr(makeOwnAggregator());
  auto family = std::make_shared<CounterFamily>("errors", "", prometheus::Labels{});
  auto ordered = std::make_shared<std::map<PlainKey, PlainAggregate>>();
  const auto events = libraryKeys(keys);
  const auto values = labelValues(events);
  return {
      foldingContestant("library", events, batches,
                        [=](const auto& event) { aggregator->add(event); }),
      foldingContestant("prometheus-cpp", values, batches,
                        [=](const auto& report) { family->Add(makeLabels(report)).Increment(); }),
      // Builds its key, once, as an aggregator does; with one comparison a node.
      foldingContestant("ordered map", plainKeys(events), batches,
                        [=](const PlainKey& key) {
                          ordered->try_emplace(PlainKey(key)).first->second.fold(1.0F);
                        }),
  };
}

/// Fills the table and times how it is submitted and emptied.
std::vector<double> runSubmission(const std::vector<android::kiv::KivErrorCodeEvent>& keys,
                                  uint32_t windows) {
  const auto aggregator = makeOwnAggregator();
  const auto now = std::chrono::system_clock::now();
  const uint64_t before = reportedEvents();
  std::vector<double> times;
  for (uint32_t window = 0; window < windows; ++window) {
    for (const auto& key : keys) aggregator->add(key);
    const auto start = Clock::now();
    aggregator->flush(now, now);
    times.push_back(static_cast<double>(nanosecondsSince(start)));
  }
  require(reportedEvents() - before == uint64_t{windows} * keys.size(),
          "not every key was submitted");
  return {median(std::move(times)) / static_cast<double>(keys.size())};
}

std::vector<double> runCollection(const CounterFamily& family, uint32_t keys, uint32_t windows) {
  return {timePerCall(windows, 1, [&](uint32_t) { keep(family.Collect()); }) / keys};
}

std::vector<Contestant> submissionContestants(uint32_t keys, uint32_t windows) {
  auto events = std::make_shared<std::vector<android::kiv::KivErrorCodeEvent>>(libraryKeys(keys));
  auto family = std::make_shared<CounterFamily>("errors", "", prometheus::Labels{});
  for (const auto& values : labelValues(*events)) family->Add(makeLabels(values)).Increment();
  return {
      {"library", [=] { return runSubmission(*events, windows); }},
      {"prometheus-cpp", [=] { return runCollection(*family, keys, windows); }},
  };
}

Aim aimByKeys(uint32_t keys, double few, double many) { return {keys <= 1000 ? few : many}; }

}  // namespace

std::vector<Comparison> foldComparisons(const Effort& effort) {
  std::vector<Comparison> all;
  for (const uint32_t keys : kKeyCounts) {
    const Figure figure{
        "", "ns", {{"prometheus-cpp", aimByKeys(keys, 0.2, 0.4)}, {"ordered map", Aim{1.25}}}};
    all.push_back({"fold one report", keysText(keys), {figure}, [=] {
                     return foldingContestants(keys, 200 * effort.scale);
                   }});
  }
  return all;
}

std::vector<Comparison> submitComparisons(const Effort& effort) {
  std::vector<Comparison> all;
  for (const uint32_t keys : kKeyCounts) {
    const Figure figure{"", "ns", {{"prometheus-cpp", aimByKeys(keys, 0.3, 0.5)}}};
    const uint32_t windows = std::max(1U, 2000 * effort.scale / keys);
    all.push_back({"submit one key", keysText(keys), {figure}, [=] {
                     return submissionContestants(keys, windows);
                   }});
  }
  return all;
}

}  // namespace kiv_bench
