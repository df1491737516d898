// What aggregation costs the worker: folding one report, and submitting one key.
#include <algorithm>
#include <map>
#include <unordered_map>

#include "Keys.h"
#include "Measure.h"
#include "NullModule.h"
#include "PeerKeys.h"
#include "Require.h"
#include "Rows.h"
#include "prometheus/counter.h"
#include "prometheus/family.h"

namespace kiv_bench {

namespace {

using android::kiv::KivErrorCodeAggregator;
using android::kiv::NumericAggregationType;
using CounterFamily = prometheus::Family<prometheus::Counter>;

constexpr uint32_t kBatch = 1000;
constexpr uint32_t kKeyCounts[] = {10, 1000, 100000};

std::string keysText(uint32_t keys) { return std::to_string(keys) + " keys"; }

/// Folds each key once, so that it is known, and then times reports of keys in no order.
template <typename Keys, typename Fold>
Contestant foldingContestant(const std::string& name, Keys keys, uint32_t reports, Fold fold) {
  for (const auto& key : keys) fold(key);
  auto picks = shuffledPicks(static_cast<uint32_t>(keys.size()), reports);
  return {name, [keys = std::move(keys), picks = std::move(picks), fold = std::move(fold)] {
            const auto batches = static_cast<uint32_t>(picks.size()) / kBatch;
            return std::vector<double>{
                timePerCall(batches, kBatch, [&](uint32_t i) { fold(keys[picks[i]]); })};
          }};
}

std::vector<Contestant> foldingContestants(uint32_t keys, uint32_t reports) {
  auto aggregator = std::make_shared<KivErrorCodeAggregator>(NumericAggregationType::COUNT);
  auto family = std::make_shared<CounterFamily>("errors", "", prometheus::Labels{});
  auto ordered = std::make_shared<std::map<PlainKey, PlainAggregate>>();
  auto hashed = std::make_shared<std::unordered_map<PlainKey, PlainAggregate, PlainKeyHash>>();
  const auto events = libraryKeys(keys);
  return {
      foldingContestant("library", events, reports,
                        [=](const auto& event) { aggregator->add(event); }),
      foldingContestant("prometheus-cpp", prometheusKeys(events), reports,
                        [=](const auto& labels) { family->Add(labels).Increment(); }),
      // Builds its key, once, as an aggregator does; with one comparison a node.
      foldingContestant("ordered map", plainKeys(events), reports,
                        [=](const PlainKey& key) {
                          ordered->try_emplace(PlainKey(key)).first->second.fold(1.0F);
                        }),
      foldingContestant("hash map", plainKeys(events), reports,
                        [=](const PlainKey& key) { (*hashed)[key].fold(1.0F); }),
  };
}

/// Fills the table and times how it is submitted and emptied.
std::vector<double> runSubmission(const std::vector<android::kiv::KivErrorCodeEvent>& keys,
                                  uint32_t windows) {
  KivErrorCodeAggregator aggregator(NumericAggregationType::COUNT);
  const auto now = std::chrono::system_clock::now();
  const uint64_t before = reportedEvents();
  std::vector<double> times;
  for (uint32_t window = 0; window < windows; ++window) {
    for (const auto& key : keys) aggregator.add(key);
    const auto start = Clock::now();
    aggregator.flush(now, now);
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
  for (const auto& labels : prometheusKeys(*events)) family->Add(labels).Increment();
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
                     return foldingContestants(keys, 20000 * effort.scale);
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
