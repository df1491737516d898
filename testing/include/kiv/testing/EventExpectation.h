/// Building blocks of the matchers: conditions on events, with the text for messages. Independent
/// of any test framework. Tests use `EventMatchers.h`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kiv/Export.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing::internal {

/// The report that an event is made of.
enum class EventKind {
  ERROR_CODE,
  STREAM_EVENT,
  AUDIO_LATENCY,
  GENERIC_VALUE,
  TRACE_LATENCY,  ///< A generic value by which the library reports a trace.
  CLIENT_CALL,    ///< A generic value by which the library reports a client's call.
  OTHER,          ///< From an aggregator that is not the library's.
};

/// A condition on a value.
template <typename T>
struct Expected {
  bool exact = true;                    ///< One value is expected, rather than a property.
  std::string text;                     ///< The value, or the property: `starts with "ren"`.
  std::function<bool(const T&)> holds;  ///< True if a value fulfils the condition.
};

/// The wording of a condition on a field; "%" is replaced by the text of the expected value.
struct Phrase {
  std::string subject;   ///< `API`
  std::string exact;     ///< `from API %`
  std::string property;  ///< `from an API that %`
};

/// A condition on an event.
struct Condition {
  std::string clause;    ///< Its clause in the description of the event: `from API "render"`.
  std::string subject;   ///< What it is about: `API`.
  std::string expected;  ///< `"render"`, or `one that starts with "ren"`.
  std::function<bool(const TelemetryEvent&)> holds;
  std::function<std::string(const TelemetryEvent&)> actual;  ///< The event's value, as text.
  bool is_count = false;
};

/// Conditions on fields. A `prefix` is cut off the field's text before it is compared.
KIV_EXPORT Condition onText(const Phrase& phrase, std::string field, Expected<std::string> expected,
                            const std::string& prefix = "");
KIV_EXPORT Condition onInt(const Phrase& phrase, std::string field, Expected<int64_t> expected);
KIV_EXPORT Condition onFloat(const Phrase& phrase, std::string field, Expected<float> expected);
KIV_EXPORT Condition onCount(Expected<int64_t> expected);
/// A condition on the event's own name.
KIV_EXPORT Condition onName(std::string clause, std::string name);

/// A value as it is written in messages.
KIV_EXPORT std::string formatValue(const std::string& text);
KIV_EXPORT std::string formatValue(int64_t number);
KIV_EXPORT std::string formatValue(float number);
/// The severity's name; the number of a value without one.
KIV_EXPORT std::string formatSeverity(int64_t severity);

/// The conditions that one event must fulfil.
class KIV_EXPORT EventExpectation {
 public:
  explicit EventExpectation(EventKind kind) : kind_(kind) {}

  /// The first condition is the one that names the event.
  void add(Condition condition) { conditions_.push_back(std::move(condition)); }

  bool matches(const TelemetryEvent& event) const;

  /// True if all conditions but those on the count are fulfilled.
  bool matchesExceptForCount(const TelemetryEvent& event) const;

  /// True if the event is of the expected kind.
  bool matchesKind(const TelemetryEvent& event) const;

  /// `error code "kiv.MMAP_FAILED", from API "render"`
  std::string description() const;

  /// `an error code`
  std::string kindDescription() const;

  /// The conditions that an event of the kind does not fulfil: `API: expected "render", was
  /// "open"`.
  std::vector<std::string> differences(const TelemetryEvent& event) const;

  /// The number of conditions that an event of the kind does not fulfil. Its name counts twice.
  int distance(const TelemetryEvent& event) const;

 private:
  EventKind kind_;
  std::vector<Condition> conditions_;
};

/// The result of matching a list of events, and an explanation for messages.
struct Verdict {
  bool holds = false;
  std::string explanation;
};

/// `expected_times` of the events match.
KIV_EXPORT Verdict contains(const std::vector<TelemetryEvent>& events,
                            const EventExpectation& expectation,
                            const Expected<int64_t>& expected_times);

/// Explains which expectations found no event, which events no expectation (by index), and what the
/// former come closest to.
KIV_EXPORT std::string explainMismatch(const std::vector<TelemetryEvent>& events,
                                       const std::vector<EventExpectation>& missing,
                                       const std::vector<size_t>& unexpected);

/// The counts of the matching events add up to `total`.
KIV_EXPORT Verdict hasTotalCount(const std::vector<TelemetryEvent>& events,
                                 const EventExpectation& expectation,
                                 const Expected<int64_t>& total);

/// There are events, and all are from one session.
KIV_EXPORT Verdict isOneSession(const std::vector<TelemetryEvent>& events);

}  // namespace android::kiv::telemetry_testing::internal
