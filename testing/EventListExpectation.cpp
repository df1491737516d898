// Expectations of lists of events, and the explanation where they are not fulfilled.
#include <algorithm>
#include <iterator>

#include "kiv/testing/EventExpectation.h"
#include "testing/EventFields.h"

namespace android::kiv::telemetry_testing::internal {

namespace {

using Events = std::vector<TelemetryEvent>;
using Indices = std::vector<size_t>;

// More events would not help the reader.
constexpr size_t kMostClosest = 3;

/// "#1", "#1 and #2", "#1, #2 and #5".
std::string numbered(const Indices& indices) {
  std::string text;
  for (size_t i = 0; i < indices.size(); ++i) {
    if (i > 0) text += i + 1 < indices.size() ? ", " : " and ";
    text += "#" + std::to_string(indices[i]);
  }
  return text;
}

template <typename Predicate>
Indices filter(const Indices& indices, const Predicate& predicate) {
  Indices kept;
  std::copy_if(indices.begin(), indices.end(), std::back_inserter(kept), predicate);
  return kept;
}

Indices all(const Events& events) {
  Indices indices;
  for (size_t i = 0; i < events.size(); ++i) indices.push_back(i);
  return indices;
}

Indices matching(const Events& events, const EventExpectation& expectation) {
  return filter(all(events), [&](size_t i) { return expectation.matches(events[i]); });
}

int64_t sumOfCounts(const Events& events, const Indices& indices) {
  int64_t sum = 0;
  for (const size_t i : indices) sum += countOf(events[i]);
  return sum;
}

/// The candidates of the expected kind with the fewest differences, the closest first.
Indices findClosest(const Events& events, const Indices& candidates,
                    const EventExpectation& expectation) {
  const auto distance = [&](size_t i) { return expectation.distance(events[i]); };
  Indices closest =
      filter(candidates, [&](size_t i) { return expectation.matchesKind(events[i]); });
  std::stable_sort(closest.begin(), closest.end(),
                   [&](size_t left, size_t right) { return distance(left) < distance(right); });
  closest.resize(std::min(closest.size(), kMostClosest));
  // Events with many more differences would hide those of the closest.
  while (closest.size() > 1 && distance(closest.back()) > distance(closest.front()) + 1) {
    closest.pop_back();
  }
  return closest;
}

/// Equal reports make several events when a window ends between them: their counts add up.
std::string explainWindows(const Events& events, const Indices& candidates,
                           const EventExpectation& expectation) {
  const Indices windows =
      filter(candidates, [&](size_t i) { return expectation.matchesExceptForCount(events[i]); });
  if (windows.size() < 2) return "";
  return "\n  " + numbered(windows) + " match except for their counts, which add up to " +
         formatValue(sumOfCounts(events, windows)) +
         ": they are from different windows, or differ in a field that is not checked";
}

/// The events that come closest to an expectation, and how they differ from it.
std::string explainClosest(const Events& events, const Indices& candidates,
                           const EventExpectation& expectation) {
  if (candidates.empty()) return "";
  const Indices closest = findClosest(events, candidates, expectation);
  if (closest.empty()) return "none of which is " + expectation.kindDescription();
  std::string text = closest.size() == 1 ? "closest event:" : "closest events:";
  for (const size_t i : closest) {
    text += "\n    " + numbered({i}) + " differs in";
    for (const std::string& difference : expectation.differences(events[i])) {
      text += "\n      " + difference;
    }
  }
  return text + explainWindows(events, candidates, expectation);
}

}  // namespace

Verdict contains(const Events& events, const EventExpectation& expectation,
                 const Expected<int64_t>& expected_times) {
  const Indices found = matching(events, expectation);
  const auto times = static_cast<int64_t>(found.size());
  Verdict verdict{expected_times.holds(times), ""};
  if (!found.empty()) {
    verdict.explanation = (times == 1 ? "matching event: " : "matching events: ") + numbered(found);
  }
  bool fewer_expected = false;
  for (int64_t fewer = 0; fewer < times; ++fewer) fewer_expected |= expected_times.holds(fewer);
  if (!verdict.holds && !fewer_expected) {
    const Indices others =
        filter(all(events), [&](size_t i) { return !expectation.matches(events[i]); });
    const std::string closest = explainClosest(events, others, expectation);
    if (!found.empty() && !closest.empty()) verdict.explanation += "; of the others, ";
    verdict.explanation += closest;
  }
  return verdict;
}

std::string explainMismatch(const Events& events, const std::vector<EventExpectation>& missing,
                            const Indices& unexpected) {
  std::string text;
  for (const EventExpectation& expectation : missing) {
    text += (text.empty() ? "missing: " : "\n  missing: ") + expectation.description();
    const std::string closest = explainClosest(events, unexpected, expectation);
    if (!closest.empty()) text += ";\n  unexpected: " + numbered(unexpected) + ", " + closest;
  }
  if (missing.empty()) text = "unexpected: " + numbered(unexpected);
  return text;
}

Verdict hasTotalCount(const Events& events, const EventExpectation& expectation,
                      const Expected<int64_t>& total) {
  const Indices found = matching(events, expectation);
  if (found.empty()) return {total.holds(0), explainClosest(events, all(events), expectation)};
  const int64_t sum = sumOfCounts(events, found);
  return {total.holds(sum),
          "where the total count of " + numbered(found) + " is " + formatValue(sum)};
}

Verdict isOneSession(const Events& events) {
  std::vector<std::pair<std::string, Indices>> sessions;
  for (size_t i = 0; i < events.size(); ++i) {
    const std::string session = textOf(events[i], "kiv_session_id");
    auto found = std::find_if(sessions.begin(), sessions.end(),
                              [&](const auto& entry) { return entry.first == session; });
    if (found == sessions.end()) found = sessions.insert(found, {session, {}});
    found->second.push_back(i);
  }
  std::string text;
  for (const auto& [session, indices] : sessions) {
    text += (text.empty() ? "with sessions\n    " : "\n    ") + session + ": " + numbered(indices);
  }
  return {sessions.size() == 1, text};
}

}  // namespace android::kiv::telemetry_testing::internal
