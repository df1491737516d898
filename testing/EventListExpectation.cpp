// Lists of events as they are expected, and what is said where they are not.
#include <algorithm>
#include <optional>
#include <set>

#include "kiv/testing/EventExpectation.h"
#include "testing/EventKinds.h"

namespace android::kiv::telemetry_testing::internal {

namespace {

using Events = std::vector<TelemetryEvent>;
using Indices = std::vector<size_t>;

// More would be no nearest ones.
constexpr size_t kMostNear = 3;

std::string numbered(size_t index) { return "#" + std::to_string(index); }

/// "#1", "#1 and #2", "#1, #2 and #5".
std::string numbered(const Indices& indices) {
  std::string words;
  for (size_t i = 0; i < indices.size(); ++i) {
    if (i > 0) words += i + 1 < indices.size() ? ", " : " and ";
    words += numbered(indices[i]);
  }
  return words;
}

Indices all(const Events& events) {
  Indices indices;
  for (size_t i = 0; i < events.size(); ++i) indices.push_back(i);
  return indices;
}

template <typename Predicate>
Indices filter(const Indices& indices, const Predicate& predicate) {
  Indices kept;
  std::copy_if(indices.begin(), indices.end(), std::back_inserter(kept), predicate);
  return kept;
}

int64_t sumOfCounts(const Events& events, const Indices& indices) {
  int64_t sum = 0;
  for (const size_t i : indices) sum += countOf(events[i]);
  return sum;
}

/// Those of `candidates` that are of the expected kind and differ least, the nearest first.
Indices findNearest(const Events& events, const Indices& candidates,
                    const EventExpectation& expectation) {
  const auto distance = [&](size_t i) { return expectation.distance(events[i]); };
  Indices nearest = filter(candidates, [&](size_t i) { return expectation.isNear(events[i]); });
  std::stable_sort(nearest.begin(), nearest.end(),
                   [&](size_t left, size_t right) { return distance(left) < distance(right); });
  nearest.resize(std::min(nearest.size(), kMostNear));
  // What differs in much more than the nearest only hides it.
  while (nearest.size() > 1 && distance(nearest.back()) > distance(nearest.front()) + 1) {
    nearest.pop_back();
  }
  return nearest;
}

/// Equal reports make several events when a window ends between them: their counts add up.
std::string explainWindows(const Events& events, const Indices& candidates,
                           const EventExpectation& expectation) {
  const Indices parts =
      filter(candidates, [&](size_t i) { return expectation.acceptsButForCount(events[i]); });
  if (parts.size() < 2) return "";
  return "\n  " + numbered(parts) + " are as expected but for their counts, " +
         inWords(sumOfCounts(events, parts)) +
         " in all: they are of different windows, or differ in what was not asked for";
}

/// Which events come nearest to what none of them is, and in what they differ.
std::string explainNearest(const Events& events, const Indices& candidates,
                           const EventExpectation& expectation) {
  if (candidates.empty()) return "";
  const Indices nearest = findNearest(events, candidates, expectation);
  if (nearest.empty()) return "none of which is " + expectation.describeKind();
  std::string words =
      nearest.size() == 1 ? "of which this one comes nearest:" : "of which these come nearest:";
  for (const size_t i : nearest) {
    words += "\n    " + numbered(i) + ", but for";
    for (const std::string& difference : expectation.differences(events[i])) {
      words += "\n      " + difference;
    }
  }
  return words + explainWindows(events, candidates, expectation);
}

/// Tells expectations and events off against each other, as many as can be: an expectation that
/// takes an event from another leaves that one a different event, if there is any.
class Pairing {
 public:
  Pairing(const Events& events, const std::vector<EventExpectation>& expectations)
      : expectation_of_(events.size()) {
    for (const EventExpectation& expectation : expectations) {
      Indices accepted =
          filter(all(events), [&](size_t i) { return expectation.accepts(events[i]); });
      accepted_.push_back(std::move(accepted));
    }
    for (size_t i = 0; i < expectations.size(); ++i) {
      std::set<size_t> tried;
      if (!pair(i, tried)) missing_.push_back(i);
    }
    leftover_ = filter(all(events), [&](size_t i) { return !expectation_of_[i]; });
  }

  /// Expectations without an event.
  const Indices& missing() const { return missing_; }

  /// Events without an expectation.
  const Indices& leftover() const { return leftover_; }

 private:
  bool pair(size_t expectation, std::set<size_t>& tried) {
    for (const size_t event : accepted_[expectation]) {
      if (!tried.insert(event).second) continue;
      if (!expectation_of_[event] || pair(*expectation_of_[event], tried)) {
        expectation_of_[event] = expectation;
        return true;
      }
    }
    return false;
  }

  std::vector<Indices> accepted_;  // by expectation
  std::vector<std::optional<size_t>> expectation_of_;
  Indices missing_;
  Indices leftover_;
};

}  // namespace

Verdict contains(const Events& events, const EventExpectation& expectation) {
  const Indices accepted =
      filter(all(events), [&](size_t i) { return expectation.accepts(events[i]); });
  if (accepted.empty()) return {false, explainNearest(events, all(events), expectation)};
  return {true,
          "of which " + numbered(accepted) + (accepted.size() == 1 ? " is one" : " are such")};
}

Verdict containsOnly(const Events& events, const std::vector<EventExpectation>& expectations) {
  const Pairing pairing(events, expectations);
  std::string words;
  for (const size_t i : pairing.missing()) {
    words += (words.empty() ? "without " : "\n  and without ") + expectations[i].describe();
    // What another expectation has taken is none that went wrong.
    const std::string nearest = explainNearest(events, pairing.leftover(), expectations[i]);
    if (!nearest.empty()) {
      words += std::string(";\n  left over ") + (pairing.leftover().size() == 1 ? "is " : "are ") +
               numbered(pairing.leftover()) + ", " + nearest;
    }
  }
  if (pairing.missing().empty() && !pairing.leftover().empty()) {
    words = "of which nothing was said about " + numbered(pairing.leftover());
  }
  return {pairing.missing().empty() && pairing.leftover().empty(), words};
}

Verdict hasTotalCount(const Events& events, const EventExpectation& expectation,
                      const Expected<int64_t>& total) {
  const Indices accepted =
      filter(all(events), [&](size_t i) { return expectation.accepts(events[i]); });
  const int64_t sum = sumOfCounts(events, accepted);
  if (accepted.empty()) return {total.holds(0), explainNearest(events, all(events), expectation)};
  return {total.holds(sum), "of which " + numbered(accepted) +
                                (accepted.size() == 1 ? " counts " : " together count ") +
                                inWords(sum)};
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
  std::string words;
  for (const auto& [session, indices] : sessions) {
    words += (words.empty() ? "" : "\n    ") + numbered(indices) + " of session " + session;
  }
  return {sessions.size() == 1, words.empty() ? "" : "with\n    " + words};
}

}  // namespace android::kiv::telemetry_testing::internal
