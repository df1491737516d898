/// GoogleMock matchers of telemetry events, which read like the sentence they check:
///
///   EXPECT_THAT(events(), Contains(ErrorCode(KivError::MMAP_FAILED)
///                                      .fromApi("render").ofClass("Mixer").counted(3)));
///   EXPECT_THAT(events(), ContainsOnly(StreamEvent("open").once(), TraceLatency("open").once()));
///   EXPECT_THAT(events(), Not(Contains(ClientCall("close"))));
///
/// Fields that you do not mention are not checked. Every value can be a GoogleMock matcher instead:
/// `counted(Ge(2))`, `fromApi(StartsWith("ren"))`. Matchers of single events work with GoogleMock's
/// own container matchers too; those below explain more when they fail.
#pragma once

#if !__has_include(<gmock/gmock.h>)
#error \
    "kiv/testing/EventMatchers.h needs GoogleMock. With another test framework, use kiv/testing/RecordedTelemetry.h."
#endif

#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kiv/EventNames.h"
#include "kiv/KivError.h"
#include "kiv/KivPcmInfo.h"
#include "kiv/KivSessionId.h"
#include "kiv/KivStatus.h"
#include "kiv/NumericAggregationType.h"
#include "kiv/testing/EventExpectation.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing {

namespace internal {

/// The condition that a value, or a matcher of it, puts on a field.
template <typename T, typename Value>
Expected<T> expect(const Value& value) {
  constexpr bool kExact = std::is_same_v<T, std::string> ? std::is_convertible_v<Value, std::string>
                          : std::is_same_v<T, float>     ? std::is_arithmetic_v<Value>
                                                         : std::is_integral_v<Value>;
  if constexpr (kExact) {
    const T expected = static_cast<T>(value);
    return {true, formatValue(expected),
            [expected](const T& actual) { return actual == expected; }};
  } else {
    const auto matcher = ::testing::SafeMatcherCast<const T&>(value);
    return {false, ::testing::DescribeMatcher<const T&>(matcher),
            [matcher](const T& actual) { return matcher.Matches(actual); }};
  }
}

/// Pairs every event with one expectation of its own. `matchers` are those of the expectations, in
/// their order.
inline Verdict containsOnly(
    const std::vector<TelemetryEvent>& events, const std::vector<EventExpectation>& expectations,
    const std::vector<::testing::Matcher<const TelemetryEvent&>>& matchers) {
  if (::testing::Value(events, ::testing::UnorderedElementsAreArray(matchers))) return {true, ""};
  std::vector<::testing::Matcher<const TelemetryEvent&>> paired_matchers;
  std::vector<EventExpectation> missing;
  for (size_t i = 0; i < matchers.size(); ++i) {
    paired_matchers.push_back(matchers[i]);
    if (::testing::Value(events, ::testing::IsSupersetOf(paired_matchers))) continue;
    paired_matchers.pop_back();
    missing.push_back(expectations[i]);
  }
  std::vector<TelemetryEvent> paired_events;
  std::vector<size_t> unexpected;
  for (size_t i = 0; i < events.size(); ++i) {
    paired_events.push_back(events[i]);
    if (::testing::Value(paired_events, ::testing::IsSubsetOf(paired_matchers))) continue;
    paired_events.pop_back();
    unexpected.push_back(i);
  }
  return {false, explainMismatch(events, missing, unexpected)};
}

}  // namespace internal

/// A matcher of lists of events.
class EventListMatcher {
 public:
  /// Marks a matcher for GoogleTest, which calls the operations that it needs.
  using is_gtest_matcher = void;
  /// Matches a list, and explains the result.
  using Judge = std::function<internal::Verdict(const std::vector<TelemetryEvent>&)>;

  /// `description` and its `negation` are used in messages.
  EventListMatcher(std::string description, std::string negation, Judge judge)
      : description_(std::move(description)),
        negation_(std::move(negation)),
        judge_(std::move(judge)) {}

  /// True if the list matches. Writes an explanation.
  bool MatchAndExplain(const std::vector<TelemetryEvent>& events,
                       ::testing::MatchResultListener* listener) const {
    const internal::Verdict verdict = judge_(events);
    *listener << verdict.explanation;
    return verdict.holds;
  }
  /// Describes the lists that match.
  void DescribeTo(std::ostream* out) const { *out << description_; }
  /// Describes the lists that do not match.
  void DescribeNegationTo(std::ostream* out) const { *out << negation_; }

 private:
  std::string description_;
  std::string negation_;
  Judge judge_;
};

/// A matcher of lists with at least one event of this sort.
class ContainsEventMatcher : public EventListMatcher {
 public:
  /// Made by `Contains`.
  explicit ContainsEventMatcher(const internal::EventExpectation& expectation)
      : EventListMatcher("contains " + expectation.description(),
                         "contains no " + expectation.description(),
                         judge(expectation, internal::expect<int64_t>(::testing::Ge(1)))),
        expectation_(expectation) {}

  /// A matcher of lists with this number of such events, rather than with at least one. `times` is
  /// a number or a matcher of one.
  template <typename Number>
  EventListMatcher Times(const Number& times) const {
    const internal::Expected<int64_t> expected = internal::expect<int64_t>(times);
    const std::string what = (expected.exact ? expected.text + " times "
                                             : "a number of times that " + expected.text + ": ") +
                             expectation_.description();
    return {"contains " + what, "does not contain " + what, judge(expectation_, expected)};
  }

 private:
  static Judge judge(const internal::EventExpectation& expectation,
                     const internal::Expected<int64_t>& times) {
    return [expectation, times](const std::vector<TelemetryEvent>& events) {
      return internal::contains(events, expectation, times);
    };
  }

  internal::EventExpectation expectation_;
};

/// Base of the matchers of all kinds of events. Each operation returns a matcher with one more
/// condition.
template <typename Derived>
class EventMatcher {
 public:
  /// Marks a matcher for GoogleTest, which calls the operations that it needs.
  using is_gtest_matcher = void;

  /// The event counts this number of equal reports.
  template <typename Count>
  Derived counted(const Count& count) const {
    return with(internal::onCount(internal::expect<int64_t>(count)));
  }
  /// The event counts one report.
  Derived once() const { return counted(1); }
  /// The event counts this number of equal reports, or more.
  Derived atLeast(int64_t count) const { return counted(::testing::Ge(count)); }

  /// From the session with this text.
  template <typename Text>
  Derived inSession(const Text& text) const {
    return with(internal::onText({"session", "in session %", "in a session that %"},
                                 "kiv_session_id", internal::expect<std::string>(text)));
  }
  /// From this session.
  Derived inSession(const KivSessionId& session) const { return inSession(session.toString()); }

  /// From a session below this one, such as the one of a `TelemetryEnv(name, parent)`.
  Derived inChildOf(const KivSessionId& parent) const {
    return inSession(::testing::StartsWith(parent.toString() + "."));
  }

  /// True if the event matches. Otherwise writes how it differs.
  bool MatchAndExplain(const TelemetryEvent& event,
                       ::testing::MatchResultListener* listener) const {
    if (!expectation_.matchesKind(event)) {
      *listener << "which is not " << expectation_.kindDescription();
      return false;
    }
    const std::vector<std::string> differences = expectation_.differences(event);
    for (size_t i = 0; i < differences.size(); ++i) {
      *listener << (i == 0 ? "which differs in " : "; ") << differences[i];
    }
    return differences.empty();
  }
  /// Describes the events that match.
  void DescribeTo(std::ostream* out) const { *out << "is " << expectation_.description(); }
  /// Describes the events that do not match.
  void DescribeNegationTo(std::ostream* out) const {
    *out << "is not " << expectation_.description();
  }

  /// For matchers of lists.
  const internal::EventExpectation& expectation() const { return expectation_; }

  /// Matches lists with at least one such event; `Contains(event).Times(n)` those with `n`. Found
  /// by argument-dependent lookup and preferred to GoogleMock's `Contains`; a failure shows the
  /// events that come closest.
  friend ContainsEventMatcher Contains(const Derived& event) {
    return ContainsEventMatcher(event.expectation());
  }

 protected:
  /// The first condition names the event.
  EventMatcher(internal::EventKind kind, internal::Condition name) : expectation_(kind) {
    expectation_.add(std::move(name));
  }

  /// A copy with one more condition.
  Derived with(internal::Condition condition) const {
    Derived matcher = static_cast<const Derived&>(*this);
    matcher.expectation_.add(std::move(condition));
    return matcher;
  }

 private:
  friend Derived;

  internal::EventExpectation expectation_;
};

/// Matches a reported error.
class ErrorCode : public EventMatcher<ErrorCode> {
 public:
  /// An error of the catalogue, reported without a number.
  explicit ErrorCode(KivError error)
      : ErrorCode(event_names::kKivErrorPrefix + kivErrorToString(error)) {}

  /// An error of the catalogue, reported with this number.
  ErrorCode(KivError error, int detail)
      : ErrorCode(event_names::kKivErrorPrefix + kivErrorToString(error) + "=" +
                  std::to_string(detail)) {}

  /// An error with this text.
  template <typename Text>
  explicit ErrorCode(const Text& text)
      : EventMatcher(internal::EventKind::ERROR_CODE,
                     internal::onText({"error code", "error code %", "an error code that %"},
                                      "kiv_error_code", internal::expect<std::string>(text))) {}

  /// Reported from this API.
  template <typename Text>
  ErrorCode fromApi(const Text& api) const {
    return with(internal::onText({"API", "from API %", "from an API that %"}, "kiv_api",
                                 internal::expect<std::string>(api)));
  }

  /// Reported for this class, or, if the report named no class, by a logger of this name.
  template <typename Text>
  ErrorCode ofClass(const Text& kiv_class) const {
    return with(internal::onText({"class", "of class %", "of a class that %"}, "kiv_class",
                                 internal::expect<std::string>(kiv_class)));
  }

  /// Reported with this severity.
  ErrorCode ofSeverity(KivErrorSeverity severity) const {
    const auto number = static_cast<int64_t>(severity);
    internal::Expected<int64_t> expected = internal::expect<int64_t>(number);
    expected.text = internal::formatSeverity(number);
    internal::Condition condition =
        internal::onInt({"severity", "of severity %", ""}, "severity", expected);
    condition.actual = [](const TelemetryEvent& event) {
      const auto found = event.ints.find("severity");
      return found != event.ints.end() ? internal::formatSeverity(found->second) : "missing";
    };
    return with(std::move(condition));
  }
};

/// Matches a reported Android status.
inline ErrorCode AndroidStatus(int status) {
  return ErrorCode(event_names::kAndroidStatusPrefix + KivStatus(status).toString());
}

/// Matches a stream event.
class StreamEvent : public EventMatcher<StreamEvent> {
 public:
  /// A stream event with this text.
  template <typename Text>
  explicit StreamEvent(const Text& event)
      : EventMatcher(internal::EventKind::STREAM_EVENT,
                     internal::onText({"stream event", "stream event %", "a stream event that %"},
                                      "kiv_event", internal::expect<std::string>(event))) {}

  /// The stream has this type.
  StreamEvent ofType(::kiv::KivStreamType type) const {
    const char* const known = event_names::streamType(type);
    const std::string name = known != nullptr ? known : std::to_string(static_cast<int>(type));
    return with(internal::onText({"type", "of type " + name, ""}, "stream_type",
                                 internal::expect<std::string>(name)));
  }
  /// The stream's samples have this format.
  StreamEvent inFormat(audio_format_t format) const {
    const std::string name = audio_format_to_string(format);
    return with(internal::onText({"format", "in format " + name, ""}, "pcm_format",
                                 internal::expect<std::string>(name)));
  }

  /// The stream has this rate, in frames per second without fraction.
  template <typename Number>
  StreamEvent atRate(const Number& rate) const {
    return with(internal::onInt({"sample rate", "at % Hz", "at a sample rate that %"},
                                "sample_rate", internal::expect<int64_t>(rate)));
  }
  /// The stream's buffer has this number of samples.
  template <typename Number>
  StreamEvent withSamples(const Number& samples) const {
    return with(internal::onInt({"samples", "with % samples", "with a number of samples that %"},
                                "samples", internal::expect<int64_t>(samples)));
  }
  /// The stream has this number of channels.
  template <typename Number>
  StreamEvent onChannels(const Number& channels) const {
    return with(internal::onInt({"channels", "on % channels", "on a number of channels that %"},
                                "channels", internal::expect<int64_t>(channels)));
  }
  /// The stream's channels are interleaved, or are not.
  StreamEvent interleaved(bool interleaved = true) const {
    const char* const clause = interleaved ? "interleaved" : "not interleaved";
    return with(internal::onInt({"interleaved", clause, ""}, "interleaved",
                                internal::expect<int64_t>(interleaved)));
  }
};

/// Matches the latency samples of one stream. The event has the number of samples and the session,
/// but neither the average nor the stream.
class AudioLatency : public EventMatcher<AudioLatency> {
 public:
  /// The latency samples of any stream.
  AudioLatency()
      : EventMatcher(internal::EventKind::AUDIO_LATENCY,
                     internal::onName("audio latency", event_names::kAudioLatency)) {}
};

/// Matches a named value, which may also be a trace or a client call.
class GenericValue : public EventMatcher<GenericValue> {
 public:
  /// A value of this name.
  template <typename Text>
  explicit GenericValue(const Text& name)
      : EventMatcher(
            internal::EventKind::GENERIC_VALUE,
            internal::onText({"name", "generic value %", "a generic value with a name that %"},
                             "kiv_event_name", internal::expect<std::string>(name))) {}

  /// The combined integer. An average of integers has no fraction.
  template <typename Number>
  GenericValue withInt(const Number& value) const {
    return with(internal::onInt({"integer", "with integer %", "with an integer that %"},
                                "value_int", internal::expect<int64_t>(value)));
  }
  /// The combined float.
  template <typename Number>
  GenericValue withFloat(const Number& value) const {
    return with(internal::onFloat({"float", "with float %", "with a float that %"}, "value_float",
                                  internal::expect<float>(value)));
  }

  /// The reported text. Texts are counted, never combined.
  template <typename Text>
  GenericValue withText(const Text& value) const {
    return with(internal::onText({"text", "with text %", "with a text that %"}, "value_string",
                                 internal::expect<std::string>(value)));
  }

  /// The aggregation method.
  GenericValue combinedBy(NumericAggregationType method) const {
    const std::string name = event_names::aggregationMethod(method);
    return with(internal::onText({"method", "combined by " + name, ""}, "aggregation_method",
                                 internal::expect<std::string>(name)));
  }
};

/// Matches the measured latency of a trace.
class TraceLatency : public EventMatcher<TraceLatency> {
 public:
  /// The latency of the trace of this name.
  template <typename Text>
  explicit TraceLatency(const Text& name)
      : EventMatcher(
            internal::EventKind::TRACE_LATENCY,
            internal::onText({"trace", "latency of trace %", "the latency of a trace that %"},
                             "kiv_event_name", internal::expect<std::string>(name),
                             event_names::kTracePrefix)) {}

  /// The average latency, in microseconds.
  template <typename Number>
  TraceLatency averaging(const Number& microseconds) const {
    return with(internal::onInt({"average", "averaging % us", "averaging a number of us that %"},
                                "value_int", internal::expect<int64_t>(microseconds)));
  }
};

/// Matches a reported client call.
class ClientCall : public EventMatcher<ClientCall> {
 public:
  /// A call of this API.
  template <typename Text>
  explicit ClientCall(const Text& api)
      : EventMatcher(internal::EventKind::CLIENT_CALL,
                     internal::onText({"API", "client call of %", "a client call of an API that %"},
                                      "kiv_event_name", internal::expect<std::string>(api),
                                      event_names::kClientCallPrefix)) {}

  /// The reported text of the call.
  template <typename Text>
  ClientCall withText(const Text& value) const {
    return with(internal::onText({"text", "with %", "with a text that %"}, "value_string",
                                 internal::expect<std::string>(value)));
  }
};

/// Matches an event of an aggregator that is not the library's.
class EventNamed : public EventMatcher<EventNamed> {
 public:
  /// An event of this name.
  explicit EventNamed(const std::string& name)
      : EventMatcher(internal::EventKind::OTHER,
                     internal::onName("event " + internal::formatValue(name), name)) {}

  /// The event has this integer field.
  template <typename Number>
  EventNamed withInt(const std::string& field, const Number& value) const {
    return with(internal::onInt(phrase(field), field, internal::expect<int64_t>(value)));
  }
  /// The event has this float field.
  template <typename Number>
  EventNamed withFloat(const std::string& field, const Number& value) const {
    return with(internal::onFloat(phrase(field), field, internal::expect<float>(value)));
  }
  /// The event has this text field.
  template <typename Text>
  EventNamed withText(const std::string& field, const Text& value) const {
    return with(internal::onText(phrase(field), field, internal::expect<std::string>(value)));
  }

 private:
  static internal::Phrase phrase(const std::string& field) {
    return {field, "with " + field + " %", "with " + field + " that %"};
  }
};

/// Matches lists with one event for each of these matchers, and no other event.
template <typename... Matchers>
EventListMatcher ContainsOnly(const Matchers&... matchers) {
  const std::vector<internal::EventExpectation> expectations{matchers.expectation()...};
  const std::vector<::testing::Matcher<const TelemetryEvent&>> event_matchers{matchers...};
  std::string list;
  for (const internal::EventExpectation& expectation : expectations) {
    list += "\n    " + expectation.description();
  }
  return {"contains exactly these events:" + list, "does not contain exactly these events:" + list,
          [expectations, event_matchers](const auto& events) {
            return internal::containsOnly(events, expectations, event_matchers);
          }};
}

/// Matches lists in which the counts of all such events add up to this, in one window or in
/// several.
template <typename Derived, typename Count>
EventListMatcher TotalCount(const EventMatcher<Derived>& event, const Count& count) {
  const internal::EventExpectation& expectation = event.expectation();
  const internal::Expected<int64_t> total = internal::expect<int64_t>(count);
  const std::string what = expectation.description() + ", with a total count " +
                           (total.exact ? "of " : "that ") + total.text;
  return {"contains " + what, "does not contain " + what, [expectation, total](const auto& events) {
            return internal::hasTotalCount(events, expectation, total);
          }};
}

/// Matches lists with events, all from the same session.
inline EventListMatcher InOneSession() {
  return {"is from one session", "is not from one session",
          [](const auto& events) { return internal::isOneSession(events); }};
}

}  // namespace android::kiv::telemetry_testing
