/// GoogleMock matchers of telemetry events, which read like the sentence they check:
///
///   EXPECT_THAT(events(), Contains(ErrorCode(KivError::MMAP_FAILED)
///                                      .fromApi("render").ofClass("Mixer").counted(3)));
///   EXPECT_THAT(events(), ContainsOnly(StreamEvent("open").once(), TraceLatency("open").once()));
///   EXPECT_THAT(events(), Not(Contains(ClientCall("close"))));
///
/// What is not said is not looked at. Wherever a value stands a matcher of it may:
/// `counted(Ge(2))`, `fromApi(StartsWith("ren"))`. Matchers of single events can also be used with
/// GoogleMock's own matchers of containers; those below say more where they fail.
#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kiv/KivError.h"
#include "kiv/KivPcmInfo.h"
#include "kiv/KivSessionId.h"
#include "kiv/KivStatus.h"
#include "kiv/NumericAggregationType.h"
#include "kiv/testing/EventExpectation.h"
#include "kiv/testing/TelemetryEvent.h"

namespace android::kiv::telemetry_testing {

namespace internal {

/// What a value or a matcher expects of a field.
template <typename T, typename Value>
Expected<T> expect(const Value& value) {
  constexpr bool kExact = std::is_same_v<T, std::string> ? std::is_convertible_v<Value, std::string>
                          : std::is_same_v<T, float>     ? std::is_arithmetic_v<Value>
                                                         : std::is_integral_v<Value>;
  if constexpr (kExact) {
    const T expected = static_cast<T>(value);
    return {true, inWords(expected), [expected](const T& actual) { return actual == expected; }};
  } else {
    const auto matcher = ::testing::SafeMatcherCast<const T&>(value);
    return {false, ::testing::DescribeMatcher<const T&>(matcher),
            [matcher](const T& actual) { return matcher.Matches(actual); }};
  }
}

}  // namespace internal

/// A matcher of lists of events.
class EventListMatcher {
 public:
  /// Marks a matcher for GoogleTest, which calls the operations that it needs.
  using is_gtest_matcher = void;
  /// Whether a list is so, and in words why not.
  using Judge = std::function<internal::Verdict(const std::vector<TelemetryEvent>&)>;

  /// What is expected, what is not, and how to tell.
  EventListMatcher(std::string description, std::string negation, Judge judge)
      : description_(std::move(description)),
        negation_(std::move(negation)),
        judge_(std::move(judge)) {}

  /// Whether the events are so; if not, why.
  bool MatchAndExplain(const std::vector<TelemetryEvent>& events,
                       ::testing::MatchResultListener* listener) const {
    const internal::Verdict verdict = judge_(events);
    *listener << verdict.explanation;
    return verdict.holds;
  }
  /// What is expected, in words.
  void DescribeTo(std::ostream* out) const { *out << description_; }
  /// What is expected of those that must not match, in words.
  void DescribeNegationTo(std::ostream* out) const { *out << negation_; }

 private:
  std::string description_;
  std::string negation_;
  Judge judge_;
};

/// What the matchers of all kinds of events have in common. Each operation returns a matcher with
/// one condition more.
template <typename Derived>
class EventMatcher {
 public:
  /// Marks a matcher for GoogleTest, which calls the operations that it needs.
  using is_gtest_matcher = void;

  /// So many equal reports are in the event.
  template <typename Count>
  Derived counted(const Count& count) const {
    return with(internal::onCount(internal::expect<int64_t>(count)));
  }
  /// One report is in the event.
  Derived once() const { return counted(1); }
  /// So many equal reports, or more, are in the event.
  Derived atLeast(int64_t count) const { return counted(::testing::Ge(count)); }

  /// Of the session with this text.
  template <typename Text>
  Derived inSession(const Text& text) const {
    return with(internal::onText({"session", "in session %", "in a session that %"},
                                 "kiv_session_id", internal::expect<std::string>(text)));
  }
  /// Of this session.
  Derived inSession(const KivSessionId& session) const { return inSession(session.toString()); }

  /// Of any session that was opened under this one, as that of a `TelemetryEnv(name, parent)` is.
  Derived inChildOf(const KivSessionId& parent) const {
    return inSession(::testing::StartsWith(parent.toString() + "."));
  }

  /// Whether the event is so; if not, how it differs.
  bool MatchAndExplain(const TelemetryEvent& event,
                       ::testing::MatchResultListener* listener) const {
    if (!expectation_.isNear(event)) {
      *listener << "which is not " << expectation_.describeKind();
      return false;
    }
    const std::vector<std::string> differences = expectation_.differences(event);
    for (size_t i = 0; i < differences.size(); ++i) {
      *listener << (i == 0 ? "but for " : "; ") << differences[i];
    }
    return differences.empty();
  }
  /// What is expected, in words.
  void DescribeTo(std::ostream* out) const { *out << "is " << expectation_.describe(); }
  /// What is expected of those that must not match, in words.
  void DescribeNegationTo(std::ostream* out) const { *out << "is not " << expectation_.describe(); }

  /// For matchers of many events.
  const internal::EventExpectation& expectation() const { return expectation_; }

  /// At least one event is this. Found by its argument: it goes before GoogleMock's, and where it
  /// fails it tells which events come nearest.
  friend EventListMatcher Contains(const Derived& event) {
    const internal::EventExpectation expectation = event.expectation();
    return {"contains " + expectation.describe(), "contains no " + expectation.describe(),
            [expectation](const auto& events) { return internal::contains(events, expectation); }};
  }

 protected:
  /// Of this kind, and of a name.
  EventMatcher(internal::EventKind kind, internal::Condition name) : expectation_(kind) {
    expectation_.add(std::move(name));
  }

  /// With one condition more.
  Derived with(internal::Condition condition) const {
    Derived matcher = static_cast<const Derived&>(*this);
    matcher.expectation_.add(std::move(condition));
    return matcher;
  }

 private:
  friend Derived;

  internal::EventExpectation expectation_;
};

/// A reported error.
class ErrorCode : public EventMatcher<ErrorCode> {
 public:
  /// One of the catalogue, reported without a number.
  explicit ErrorCode(KivError error) : ErrorCode("kiv." + kivErrorToString(error)) {}

  /// One of the catalogue, reported with this number.
  ErrorCode(KivError error, int detail)
      : ErrorCode("kiv." + kivErrorToString(error) + "=" + std::to_string(detail)) {}

  /// One by its text.
  template <typename Text>
  explicit ErrorCode(const Text& text)
      : EventMatcher(internal::EventKind::ERROR_CODE,
                     internal::onText({"error code", "error code %", "an error code that %"},
                                      "kiv_error_code", internal::expect<std::string>(text))) {}

  /// Reported from this operation.
  template <typename Text>
  ErrorCode fromApi(const Text& api) const {
    return with(internal::onText({"API", "from API %", "from an API that %"}, "kiv_api",
                                 internal::expect<std::string>(api)));
  }

  /// Of this class, or where none was named, by the logger of this name.
  template <typename Text>
  ErrorCode ofClass(const Text& kiv_class) const {
    return with(internal::onText({"class", "of class %", "of a class that %"}, "kiv_class",
                                 internal::expect<std::string>(kiv_class)));
  }

  /// Of this severity.
  ErrorCode ofSeverity(KivErrorSeverity severity) const {
    const auto number = static_cast<int64_t>(severity);
    internal::Expected<int64_t> expected = internal::expect<int64_t>(number);
    expected.words = internal::severityInWords(number);
    internal::Condition condition =
        internal::onInt({"severity", "of severity %", ""}, "severity", expected);
    condition.actual = [](const TelemetryEvent& event) {
      const auto found = event.ints.find("severity");
      return found != event.ints.end() ? internal::severityInWords(found->second) : "missing";
    };
    return with(std::move(condition));
  }
};

/// A reported Android status.
inline ErrorCode AndroidStatus(int status) {
  return ErrorCode("android." + KivStatus(status).toString());
}

/// What happened to a stream.
class StreamEvent : public EventMatcher<StreamEvent> {
 public:
  /// One with this text.
  template <typename Text>
  explicit StreamEvent(const Text& event)
      : EventMatcher(internal::EventKind::STREAM_EVENT,
                     internal::onText({"stream event", "stream event %", "a stream event that %"},
                                      "kiv_event", internal::expect<std::string>(event))) {}

  /// On a stream of this type.
  StreamEvent ofType(::kiv::KivStreamType type) const {
    const std::string name = internal::streamTypeInWords(type);
    return with(internal::onText({"type", "of type " + name, ""}, "stream_type",
                                 internal::expect<std::string>(name)));
  }
  /// On a stream of samples in this format.
  StreamEvent inFormat(audio_format_t format) const {
    const std::string name = audio_format_to_string(format);
    return with(internal::onText({"format", "in format " + name, ""}, "pcm_format",
                                 internal::expect<std::string>(name)));
  }

  /// Frames per second, without their fraction.
  template <typename Number>
  StreamEvent atRate(const Number& rate) const {
    return with(internal::onInt({"sample rate", "at % Hz", "at a sample rate that %"},
                                "sample_rate", internal::expect<int64_t>(rate)));
  }
  /// On a stream with a buffer of so many samples.
  template <typename Number>
  StreamEvent withSamples(const Number& samples) const {
    return with(internal::onInt({"samples", "with % samples", "with a number of samples that %"},
                                "samples", internal::expect<int64_t>(samples)));
  }
  /// On a stream of so many channels.
  template <typename Number>
  StreamEvent onChannels(const Number& channels) const {
    return with(internal::onInt({"channels", "on % channels", "on a number of channels that %"},
                                "channels", internal::expect<int64_t>(channels)));
  }
  /// On a stream whose channels are interleaved, or are not.
  StreamEvent interleaved(bool interleaved = true) const {
    const char* const clause = interleaved ? "interleaved" : "not interleaved";
    return with(internal::onInt({"interleaved", clause, ""}, "interleaved",
                                internal::expect<int64_t>(interleaved)));
  }
};

/// Samples of an audio latency. The library reports how many there were for a stream, neither which
/// stream nor their average: `counted` and the session are all that can be looked at.
class AudioLatency : public EventMatcher<AudioLatency> {
 public:
  /// Of any stream.
  AudioLatency()
      : EventMatcher(internal::EventKind::AUDIO_LATENCY, internal::onName("audio latency", "")) {}
};

/// A named value, whatever it was reported for.
class GenericValue : public EventMatcher<GenericValue> {
 public:
  /// One of this name.
  template <typename Text>
  explicit GenericValue(const Text& name)
      : EventMatcher(
            internal::EventKind::GENERIC_VALUE,
            internal::onText({"name", "generic value %", "a generic value with a name that %"},
                             "kiv_event_name", internal::expect<std::string>(name))) {}

  /// What samples have been combined to. Averages of integers are without their fraction.
  template <typename Number>
  GenericValue withInt(const Number& value) const {
    return with(internal::onInt({"integer", "with integer %", "with an integer that %"},
                                "value_int", internal::expect<int64_t>(value)));
  }
  /// The same for floats.
  template <typename Number>
  GenericValue withFloat(const Number& value) const {
    return with(internal::onFloat({"float", "with float %", "with a float that %"}, "value_float",
                                  internal::expect<float>(value)));
  }

  /// What was reported. Texts are counted, never combined.
  template <typename Text>
  GenericValue withText(const Text& value) const {
    return with(internal::onText({"text", "with text %", "with a text that %"}, "value_string",
                                 internal::expect<std::string>(value)));
  }

  /// Combined by this method.
  GenericValue combinedBy(NumericAggregationType method) const {
    const std::string name = internal::methodInWords(method);
    return with(internal::onText({"method", "combined by " + name, ""}, "aggregation_method",
                                 internal::expect<std::string>(name)));
  }
};

/// How long something took that was traced.
class TraceLatency : public EventMatcher<TraceLatency> {
 public:
  /// Of the trace of this name.
  template <typename Text>
  explicit TraceLatency(const Text& name)
      : EventMatcher(
            internal::EventKind::TRACE_LATENCY,
            internal::onText({"trace", "latency of trace %", "the latency of a trace that %"},
                             "kiv_event_name", internal::expect<std::string>(name),
                             "api_latency_us.")) {}

  /// Microseconds.
  template <typename Number>
  TraceLatency averaging(const Number& microseconds) const {
    return with(internal::onInt({"average", "averaging % us", "averaging a number of us that %"},
                                "value_int", internal::expect<int64_t>(microseconds)));
  }
};

/// A client's call that was reported as such.
class ClientCall : public EventMatcher<ClientCall> {
 public:
  /// Of this operation.
  template <typename Text>
  explicit ClientCall(const Text& api)
      : EventMatcher(internal::EventKind::CLIENT_CALL,
                     internal::onText({"API", "client call of %", "a client call of an API that %"},
                                      "kiv_event_name", internal::expect<std::string>(api),
                                      "client_api_call.")) {}

  /// With what was reported of it.
  template <typename Text>
  ClientCall withText(const Text& value) const {
    return with(internal::onText({"text", "with %", "with a text that %"}, "value_string",
                                 internal::expect<std::string>(value)));
  }
};

/// An event of an aggregator of one's own.
class EventNamed : public EventMatcher<EventNamed> {
 public:
  /// One of this name.
  explicit EventNamed(const std::string& name)
      : EventMatcher(internal::EventKind::OTHER,
                     internal::onName("event " + internal::inWords(name), name)) {}

  /// Has this integer field.
  template <typename Number>
  EventNamed withInt(const std::string& field, const Number& value) const {
    return with(internal::onInt(phrase(field), field, internal::expect<int64_t>(value)));
  }
  /// Has this float field.
  template <typename Number>
  EventNamed withFloat(const std::string& field, const Number& value) const {
    return with(internal::onFloat(phrase(field), field, internal::expect<float>(value)));
  }
  /// Has this text field.
  template <typename Text>
  EventNamed withText(const std::string& field, const Text& value) const {
    return with(internal::onText(phrase(field), field, internal::expect<std::string>(value)));
  }

 private:
  static internal::Phrase phrase(const std::string& field) {
    return {field, "with " + field + " %", "with " + field + " that %"};
  }
};

/// The list holds one event for each of these, and no others.
template <typename... Matchers>
EventListMatcher ContainsOnly(const Matchers&... matchers) {
  const std::vector<internal::EventExpectation> expectations{matchers.expectation()...};
  std::string words;
  for (const internal::EventExpectation& expectation : expectations) {
    words += "\n    " + expectation.describe();
  }
  return {
      "contains these and no other:" + words, "contains others than these:" + words,
      [expectations](const auto& events) { return internal::containsOnly(events, expectations); }};
}

/// The counts of all such events add up to this, whether they are in one window or in several.
template <typename Derived, typename Count>
EventListMatcher TotalCount(const EventMatcher<Derived>& event, const Count& count) {
  const internal::EventExpectation expectation = event.expectation();
  const internal::Expected<int64_t> total = internal::expect<int64_t>(count);
  const std::string words = expectation.describe() + ", with a total count ";
  return {"contains " + words + (total.exact ? "of " : "that ") + total.words,
          "does not contain " + words + (total.exact ? "of " : "that ") + total.words,
          [expectation, total](const auto& events) {
            return internal::hasTotalCount(events, expectation, total);
          }};
}

/// There are events, and all are of the same session.
inline EventListMatcher InOneSession() {
  return {"is of one session", "is not of one session",
          [](const auto& events) { return internal::isOneSession(events); }};
}

}  // namespace android::kiv::telemetry_testing
