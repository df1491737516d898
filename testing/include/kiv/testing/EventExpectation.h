/// What the matchers are made of: expectations of events, in words and in code. They know nothing
/// of GoogleMock. Tests use `EventMatchers.h`.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kiv/Export.h"
#include "kiv/KivPcmInfo.h"
#include "kiv/NumericAggregationType.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing::internal {

/// What an event tells of.
enum class EventKind {
  ERROR_CODE,
  STREAM_EVENT,
  AUDIO_LATENCY,
  GENERIC_VALUE,
  TRACE_LATENCY,  ///< A generic value by which the library reports a trace.
  CLIENT_CALL,    ///< A generic value by which the library reports a client's call.
  OTHER,          ///< Of an aggregator that is not the library's.
};

/// A value that a field should have.
template <typename T>
struct Expected {
  bool exact = true;                    ///< One value, rather than all that have a property.
  std::string words;                    ///< The value, or the property: `starts with "ren"`.
  std::function<bool(const T&)> holds;  ///< Whether a value is it, or has it.
};

/// How a field is spoken of; "%" stands for the words of what is expected.
struct Phrase {
  std::string subject;   ///< `API`
  std::string exact;     ///< `from API %`
  std::string property;  ///< `from an API that %`
};

/// One thing that is expected of an event.
struct Condition {
  std::string clause;    ///< In the sentence that describes the event: `from API "render"`.
  std::string subject;   ///< What it is about: `API`.
  std::string expected;  ///< `"render"`, or `one that starts with "ren"`.
  std::function<bool(const TelemetryEvent&)> holds;
  std::function<std::string(const TelemetryEvent&)> actual;  ///< In words.
  bool is_count = false;
};

/// Conditions on fields. The `prefix` of a text is not looked at.
KIV_EXPORT Condition onText(const Phrase& phrase, std::string field, Expected<std::string> expected,
                            const std::string& prefix = "");
KIV_EXPORT Condition onInt(const Phrase& phrase, std::string field, Expected<int64_t> expected);
KIV_EXPORT Condition onFloat(const Phrase& phrase, std::string field, Expected<float> expected);
KIV_EXPORT Condition onCount(Expected<int64_t> expected);
/// A condition on the event's own name.
KIV_EXPORT Condition onName(std::string clause, std::string name);

/// A value in words, as it is written in messages.
KIV_EXPORT std::string inWords(const std::string& text);
KIV_EXPORT std::string inWords(int64_t number);
KIV_EXPORT std::string inWords(float number);
/// The names by which events hold these, and messages show them; the number of a value without one.
KIV_EXPORT std::string severityInWords(int64_t severity);
KIV_EXPORT std::string streamTypeInWords(::kiv::KivStreamType type);
KIV_EXPORT std::string methodInWords(NumericAggregationType method);

/// One event that is expected.
class KIV_EXPORT EventExpectation {
 public:
  explicit EventExpectation(EventKind kind) : kind_(kind) {}

  /// The first condition is the one that names the event.
  void add(Condition condition) { conditions_.push_back(std::move(condition)); }

  bool accepts(const TelemetryEvent& event) const;

  /// Whether the event is of the expected kind.
  bool isNear(const TelemetryEvent& event) const;

  /// `error code "kiv.MMAP_FAILED", from API "render"`
  std::string describe() const;

  /// `an error code`
  std::string describeKind() const;

  /// In what an event of the kind differs: `API: expected "render", was "open"`.
  std::vector<std::string> differences(const TelemetryEvent& event) const;

  /// How far an event of the kind is from what is expected. Its name counts twice.
  int distance(const TelemetryEvent& event) const;

  /// Whether it is expected but for its count.
  bool acceptsButForCount(const TelemetryEvent& event) const;

 private:
  EventKind kind_;
  std::vector<Condition> conditions_;
};

/// Whether a list of events is as expected, and what to say of it.
struct Verdict {
  bool holds = false;
  std::string explanation;
};

/// At least one of the events is accepted.
KIV_EXPORT Verdict contains(const std::vector<TelemetryEvent>& events,
                            const EventExpectation& expectation);

/// The events can be told one each to the expectations, and none is left.
KIV_EXPORT Verdict containsOnly(const std::vector<TelemetryEvent>& events,
                                const std::vector<EventExpectation>& expectations);

/// The counts of the accepted events add up to what is expected.
KIV_EXPORT Verdict hasTotalCount(const std::vector<TelemetryEvent>& events,
                                 const EventExpectation& expectation,
                                 const Expected<int64_t>& total);

/// There are events, and all are of one session.
KIV_EXPORT Verdict isOneSession(const std::vector<TelemetryEvent>& events);

}  // namespace android::kiv::telemetry_testing::internal
