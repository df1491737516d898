// The matchers, on events that the library made, and their failure messages.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <kiv/TelemetryLogger.h>
#include <kiv/testing/TelemetryTest.h>

#include <fstream>
#include <iterator>

namespace android::kiv::telemetry_testing {
namespace {

using ::kiv::KivSampleFormat;
using ::kiv::KivStreamType;
using testing::AllOf;
using testing::ElementsAre;
using testing::FloatNear;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;
using testing::Not;
using testing::StartsWith;
using Events = std::vector<TelemetryEvent>;
using Type = NumericAggregationType;

constexpr ::kiv::KivPcmInfo kStereo{0, KivSampleFormat::SAMPLE_FORMAT_FLOAT, 48000, 2, 960, true};

class EventMatchersTest : public TelemetryTest {
 protected:
  void reportErrors(int count, const char* api = "render") {
    for (int i = 0; i < count; ++i) {
      logger->logKivErrorCode(KivError::MMAP_FAILED, api, KivErrorSeverity::ERROR, "Mixer");
    }
  }

  TelemetryEvent onlyEvent() {
    const Events reported = events();
    EXPECT_EQ(reported.size(), 1u);
    return reported.empty() ? TelemetryEvent() : reported.front();
  }

  const KivSessionId session{nullptr};
  const std::shared_ptr<TelemetryLogger> logger = TelemetryEnv("Mixer", session).getLogger();
};

/// A matcher's explanation why an event does not match; "" if it matches.
template <typename Matcher>
std::string mismatch(const TelemetryEvent& event, const Matcher& matcher) {
  testing::StringMatchResultListener listener;
  const bool matches = testing::ExplainMatchResult(matcher, event, &listener);
  EXPECT_EQ(matches, listener.str().empty());
  return listener.str();
}

/// The message of a failing assertion.
template <typename Matcher>
std::string failureOf(const Events& reported, const Matcher& matcher) {
  testing::TestPartResultArray failures;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    EXPECT_THAT(reported, matcher);
  }
  EXPECT_EQ(failures.size(), 1);
  return failures.size() == 0 ? "" : failures.GetTestPartResult(0).message();
}

TEST_F(EventMatchersTest, AnErrorCodeIsComparedInEveryField) {
  reportErrors(3);
  const TelemetryEvent event = onlyEvent();
  const ErrorCode error(KivError::MMAP_FAILED);
  EXPECT_EQ(mismatch(event, error), "");
  EXPECT_EQ(mismatch(event, error.fromApi("render").ofClass("Mixer").counted(3)), "");
  EXPECT_EQ(mismatch(event, error.ofSeverity(KivErrorSeverity::ERROR).inChildOf(session)), "");

  EXPECT_EQ(mismatch(event, ErrorCode(KivError::MUNMAP_FAILED)),
            "which differs in error code: expected \"kiv.MUNMAP_FAILED\", was \"kiv.MMAP_FAILED\"");
  EXPECT_EQ(mismatch(event, error.fromApi("open")),
            "which differs in API: expected \"open\", was \"render\"");
  EXPECT_EQ(mismatch(event, error.ofClass("Sink")),
            "which differs in class: expected \"Sink\", was \"Mixer\"");
  EXPECT_EQ(mismatch(event, error.ofSeverity(KivErrorSeverity::FATAL)),
            "which differs in severity: expected FATAL, was ERROR");
  EXPECT_EQ(mismatch(event, error.once()), "which differs in count: expected 1, was 3");
  EXPECT_EQ(mismatch(event, error.fromApi("open").once()),
            "which differs in API: expected \"open\", was \"render\"; count: expected 1, was 3");
  EXPECT_EQ(mismatch(event, StreamEvent("open")), "which is not a stream event");
}

TEST_F(EventMatchersTest, AnErrorCodeCanHaveANumberOrBeAStatusOrAText) {
  logger->logKivErrorCode(KivError::MMAP_FAILED, -12, "render", KivErrorSeverity::INFO, "");
  logger->logAndroidStatusErrorCode(-2, "render", KivErrorSeverity::INFO);
  logger->logErrorCode("out of \"luck\"", "render", KivErrorSeverity::INFO, "");
  const Events reported = events();
  EXPECT_THAT(reported,
              ContainsOnly(ErrorCode(KivError::MMAP_FAILED, -12), AndroidStatus(-2),
                           ErrorCode("out of \"luck\"").ofSeverity(KivErrorSeverity::INFO)));
  EXPECT_THAT(reported, Not(Contains(ErrorCode(KivError::MMAP_FAILED))));
  EXPECT_THAT(reported, Not(Contains(AndroidStatus(-3))));
}

TEST_F(EventMatchersTest, AStreamEventIsComparedInEveryField) {
  logger->logStreamEvent(kStereo, KivStreamType::KIV_STREAM_TYPE_OBJECT, "open");
  const TelemetryEvent event = onlyEvent();
  const StreamEvent open("open");
  EXPECT_EQ(mismatch(event, open.ofType(KivStreamType::KIV_STREAM_TYPE_OBJECT)
                                .inFormat(AUDIO_FORMAT_PCM_FLOAT)
                                .atRate(48000)
                                .withSamples(960)
                                .onChannels(2)
                                .interleaved()
                                .once()
                                .inChildOf(session)),
            "");

  EXPECT_EQ(mismatch(event, StreamEvent("close")),
            "which differs in stream event: expected \"close\", was \"open\"");
  EXPECT_EQ(
      mismatch(event, open.ofType(KivStreamType::KIV_STREAM_TYPE_BUNDLE)),
      "which differs in type: expected \"KIV_STREAM_TYPE_BUNDLE\", was \"KIV_STREAM_TYPE_OBJECT\"");
  EXPECT_EQ(mismatch(event, open.inFormat(AUDIO_FORMAT_PCM_16_BIT)),
            "which differs in format: expected \"AUDIO_FORMAT_PCM_16_BIT\", was "
            "\"AUDIO_FORMAT_PCM_FLOAT\"");
  EXPECT_EQ(mismatch(event, open.atRate(44100)),
            "which differs in sample rate: expected 44100, was 48000");
  EXPECT_EQ(mismatch(event, open.withSamples(2)), "which differs in samples: expected 2, was 960");
  EXPECT_EQ(mismatch(event, open.onChannels(960)),
            "which differs in channels: expected 960, was 2");
  EXPECT_EQ(mismatch(event, open.interleaved(false)),
            "which differs in interleaved: expected 0, was 1");
}

TEST_F(EventMatchersTest, EveryStreamTypeHasTheReportedName) {
  for (int type = 0; type <= 6; ++type) {
    const auto stream_type = static_cast<KivStreamType>(type);
    logger->logStreamEvent(kStereo, stream_type, "open");
    EXPECT_EQ(mismatch(onlyEvent(), StreamEvent("open").ofType(stream_type)), "");
    clearEvents();
  }
}

TEST_F(EventMatchersTest, AnAudioLatencyIsCounted) {
  for (int i = 1; i <= 3; ++i) {
    logger->logAudioLatency(kStereo, KivStreamType::KIV_STREAM_TYPE_OBJECT,
                            std::chrono::milliseconds(i));
  }
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(mismatch(event, AudioLatency().counted(3).inChildOf(session)), "");
  EXPECT_EQ(mismatch(event, AudioLatency().once()), "which differs in count: expected 1, was 3");
  EXPECT_EQ(mismatch(event, TraceLatency("open")), "which is not a trace's latency");
}

TEST_F(EventMatchersTest, AGenericValueIsComparedInTheFieldOfItsType) {
  logger->logKivEvent("blocks", 40, Type::SUM);
  logger->logKivEvent("blocks", 2, Type::SUM);
  const TelemetryEvent integer = onlyEvent();
  clearEvents();
  logger->logKivEvent("gain", 0.25F, Type::MAX);
  const TelemetryEvent decimal = onlyEvent();
  clearEvents();
  logger->logKivEvent("device", std::string("phones"), Type::COUNT);
  const TelemetryEvent text = onlyEvent();

  const GenericValue blocks("blocks");
  EXPECT_EQ(mismatch(integer, blocks.withInt(42).combinedBy(Type::SUM).counted(2)), "");
  EXPECT_EQ(mismatch(integer, blocks.withInt(2)), "which differs in integer: expected 2, was 42");
  EXPECT_EQ(mismatch(integer, blocks.combinedBy(Type::AVG)),
            "which differs in method: expected \"AVG\", was \"SUM\"");
  EXPECT_EQ(mismatch(integer, GenericValue("gain")),
            "which differs in name: expected \"gain\", was \"blocks\"");
  EXPECT_EQ(mismatch(decimal, GenericValue("gain").withFloat(0.25).combinedBy(Type::MAX)), "");
  EXPECT_EQ(mismatch(decimal, GenericValue("gain").withFloat(0.1F)),
            "which differs in float: expected 0.1, was 0.25");
  EXPECT_EQ(mismatch(text, GenericValue("device").withText("phones").combinedBy(Type::COUNT)), "");
  EXPECT_EQ(mismatch(text, GenericValue("device").withText("speaker")),
            "which differs in text: expected \"speaker\", was \"phones\"");
  EXPECT_EQ(mismatch(text, AudioLatency()), "which is not an audio latency");
}

TEST_F(EventMatchersTest, EveryMethodHasTheReportedName) {
  for (const Type method : {Type::AVG, Type::SUM, Type::MAX, Type::MIN, Type::COUNT, Type(5)}) {
    logger->logKivEvent("blocks", 1, method);
    EXPECT_EQ(mismatch(onlyEvent(), GenericValue("blocks").combinedBy(method)), "");
    clearEvents();
  }
}

TEST_F(EventMatchersTest, ATraceIsComparedInItsNameAndItsAverage) {
  const KivTraceInfo an_hour_ago{"render", std::chrono::steady_clock::now() - std::chrono::hours(1),
                                 ""};
  logger->kiv_endTraceSection(an_hour_ago);
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(mismatch(event, TraceLatency("render").averaging(Ge(3'600'000'000 - 256)).once()), "");
  EXPECT_EQ(mismatch(event, GenericValue("api_latency_us.render").combinedBy(Type::AVG)), "");
  EXPECT_EQ(mismatch(event, TraceLatency("rend")),
            "which differs in trace: expected \"rend\", was \"render\"");
  EXPECT_THAT(mismatch(event, TraceLatency("render").averaging(0)),
              StartsWith("which differs in average: expected 0, was 36"));
  EXPECT_EQ(mismatch(event, ClientCall("render")), "which is not a client call");
}

TEST_F(EventMatchersTest, AValueWithASimilarNameIsNeitherATraceNorAClientCall) {
  logger->logKivEvent("api_latency_ms.render", 1, Type::AVG);
  logger->logKivEvent("client_api_load.open", std::string("ok"), Type::COUNT);
  EXPECT_THAT(events(), Not(Contains(TraceLatency("render"))));
  EXPECT_THAT(events(), Not(Contains(ClientCall("open"))));
  EXPECT_THAT(events(), Contains(GenericValue("api_latency_ms.render")));
}

TEST_F(EventMatchersTest, AClientCallIsComparedInItsApiAndItsText) {
  logger->logKivClientCall("open", "ok");
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(mismatch(event, ClientCall("open").withText("ok").once()), "");
  EXPECT_EQ(mismatch(event, ClientCall("close")),
            "which differs in API: expected \"close\", was \"open\"");
  EXPECT_EQ(mismatch(event, ClientCall("open").withText("refused")),
            "which differs in text: expected \"refused\", was \"ok\"");
  EXPECT_EQ(mismatch(event, ErrorCode("ok")), "which is not an error code");
}

TEST(EventNamed, IsComparedInTheNamedFields) {
  const TelemetryEvent event{"own_event", {{"depth", 3}}, {{"level", 0.5F}}, {{"unit", "dB"}}};
  const EventNamed own("own_event");
  EXPECT_EQ(mismatch(event, own.withInt("depth", 3).withFloat("level", 0.5).withText("unit", "dB")),
            "");
  EXPECT_EQ(mismatch(event, EventNamed("other")),
            "which differs in event: expected \"other\", was "
            "\"own_event\"");
  EXPECT_EQ(mismatch(event, own.withInt("depth", 4)), "which differs in depth: expected 4, was 3");
  EXPECT_EQ(mismatch(event, own.withFloat("level", 1)),
            "which differs in level: expected 1, was 0.5");
  EXPECT_EQ(mismatch(event, own.withText("unit", "V")),
            "which differs in unit: expected \"V\", was \"dB\"");
  EXPECT_EQ(mismatch(event, own.withInt("width", 3)),
            "which differs in width: expected 3, was missing");
  EXPECT_EQ(testing::PrintToString(event), "event \"own_event\", depth 3, level 0.5, unit \"dB\"");
}

TEST_F(EventMatchersTest, AMatcherCanReplaceAValue) {
  reportErrors(2);
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(mismatch(event, ErrorCode(StartsWith("kiv.")).fromApi(HasSubstr("end")).atLeast(2)),
            "");
  EXPECT_EQ(mismatch(event, ErrorCode(StartsWith("android."))),
            "which differs in error code: expected one that starts with \"android.\", was "
            "\"kiv.MMAP_FAILED\"");
  EXPECT_EQ(mismatch(event, ErrorCode(StartsWith("kiv")).counted(AllOf(Ge(3), Le(5)))),
            "which differs in count: expected one that (is >= 3) and (is <= 5), was 2");
  const TelemetryEvent decimal{"own_event", {}, {{"level", 0.5F}}, {}};
  EXPECT_EQ(mismatch(decimal, EventNamed("own_event").withFloat("level", FloatNear(0.6F, 0.2F))),
            "");
}

TEST_F(EventMatchersTest, ASessionIsComparedWithTheLoggersOrItsParent) {
  logger->logKivClientCall("open", "ok");
  const TelemetryEvent event = onlyEvent();
  const std::string text = event.strings.at("kiv_session_id");
  const ClientCall open("open");
  EXPECT_EQ(mismatch(event, open.inSession(text)), "");
  EXPECT_EQ(
      mismatch(event, open.inSession(session)),
      "which differs in session: expected \"" + session.toString() + "\", was \"" + text + "\"");
  EXPECT_THAT(mismatch(event, open.inChildOf(KivSessionId(nullptr))),
              StartsWith("which differs in session: expected one that starts with "));
}

TEST_F(EventMatchersTest, ASessionIsNotAChildOfItself) {
  TelemetryLogger(session, "", TelemetrySubmissionModel::LOCKING_IMMEDIATE)
      .logKivClientCall("open", "ok");
  EXPECT_THAT(events(), Contains(ClientCall("open").inSession(session)));
  EXPECT_THAT(events(), Not(Contains(ClientCall("open").inChildOf(session))));
}

TEST_F(EventMatchersTest, MatchersWorkWithGoogleMocksContainerMatchers) {
  reportErrors(1, "open");
  reportErrors(1, "render");
  EXPECT_THAT(events(), ElementsAre(ErrorCode(KivError::MMAP_FAILED).fromApi("open"),
                                    ErrorCode(KivError::MMAP_FAILED).fromApi("render")));
  EXPECT_THAT(events(), testing::Contains(ErrorCode(KivError::MMAP_FAILED)).Times(2));
  EXPECT_THAT(events(), testing::Each(ErrorCode(KivError::MMAP_FAILED)));
}

TEST_F(EventMatchersTest, ContainsCanDemandANumberOfEvents) {
  reportErrors(1, "open");
  reportErrors(1, "render");
  const Events reported = events();
  const ErrorCode error(KivError::MMAP_FAILED);
  EXPECT_THAT(reported, Contains(error).Times(2));
  EXPECT_THAT(reported, Contains(error).Times(Ge(1)));
  EXPECT_THAT(reported, Contains(error.fromApi("close")).Times(0));
  EXPECT_THAT(reported, Not(Contains(error).Times(1)));
  EXPECT_THAT(reported, Not(Contains(error).Times(3)));
}

TEST_F(EventMatchersTest, AFloatOf0IsComparedAsAFloat) {
  logger->logKivEvent("gain", 0.0F, Type::SUM);
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(mismatch(event, GenericValue("gain").withFloat(0.0F)), "");
  EXPECT_THAT(toString(event), HasSubstr("float 0"));
}

TEST_F(EventMatchersTest, ContainsOnlyPairsEveryEventWithOneExpectation) {
  reportErrors(1, "open");
  reportErrors(2, "render");
  const Events reported = events();
  const ErrorCode any(KivError::MMAP_FAILED);
  EXPECT_THAT(reported, ContainsOnly(any.fromApi("render"), any.fromApi("open")));
  // The first must leave "open" to the second, which accepts no other.
  EXPECT_THAT(reported, ContainsOnly(any, any.fromApi("open")));
  EXPECT_THAT(reported, Not(ContainsOnly(any)));
  EXPECT_THAT(reported, Not(ContainsOnly(any, any, any)));
  EXPECT_THAT(reported, Not(ContainsOnly(any.fromApi("open"), any.fromApi("open"))));
  EXPECT_THAT(Events(), ContainsOnly());
}

TEST_F(EventMatchersTest, TheTotalCountIsTheSumOverAllWindows) {
  reportErrors(1);
  flush();
  reportErrors(2);
  const Events reported = events();
  const ErrorCode error(KivError::MMAP_FAILED);
  EXPECT_THAT(reported, TotalCount(error, 3));
  EXPECT_THAT(reported, TotalCount(error, Ge(3)));
  EXPECT_THAT(reported, TotalCount(error.fromApi("open"), 0));
  EXPECT_THAT(reported, Not(TotalCount(error, 2)));
  EXPECT_THAT(reported, Not(TotalCount(error.fromApi("open"), 1)));
}

TEST_F(EventMatchersTest, TheEventsOfOneLoggerAreInOneSession) {
  EXPECT_THAT(events(), Not(InOneSession()));
  reportErrors(1);
  logger->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), InOneSession());
  TelemetryEnv("Mixer", session).getLogger()->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), Not(InOneSession()));
}

TEST(FormatValue, WritesAFloatWithAsFewDigitsAsAreExact) {
  EXPECT_EQ(internal::formatValue(0.1F), "0.1");
  EXPECT_EQ(internal::formatValue(16'777'215.0F), "16777215");
}

// Failure messages.

const TelemetryEvent kRender{"wexo_kiv_error_code",
                             {{"aggregated_count", 2}, {"severity", 2}},
                             {},
                             {{"kiv_error_code", "kiv.MMAP_FAILED"},
                              {"kiv_api", "render"},
                              {"kiv_class", "Mixer"},
                              {"kiv_session_id", "root.child"}}};

TelemetryEvent errorWith(const std::string& field, const std::string& text) {
  TelemetryEvent event = kRender;
  event.strings[field] = text;
  return event;
}

const TelemetryEvent kTrace{"wexo_kiv_generic",
                            {{"aggregated_count", 3}, {"value_int", 412}},
                            {{"value_float", 0.0F}},
                            {{"kiv_event_name", "api_latency_us.render"},
                             {"aggregation_method", "AVG"},
                             {"value_string", ""},
                             {"kiv_session_id", "root.child"}}};

const ErrorCode kThrice =
    ErrorCode(KivError::MMAP_FAILED).fromApi("render").ofClass("Mixer").counted(3);

TEST(FailureMessage, WithoutEventsIsShort) {
  EXPECT_EQ(failureOf({}, Contains(kThrice)),
            R"(Value of: reported
Expected: contains error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times
  Actual: no events)");
}

constexpr char kClosestMessage[] = R"(Value of: reported
Expected: contains error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED=-12", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, closest event:
    #1 differs in
      error code: expected "kiv.MMAP_FAILED", was "kiv.MMAP_FAILED=-12"
      count: expected 3, was 2)";

TEST(FailureMessage, ShowsHowTheClosestEventDiffers) {
  EXPECT_EQ(
      failureOf({kTrace, errorWith("kiv_error_code", "kiv.MMAP_FAILED=-12")}, Contains(kThrice)),
      kClosestMessage);
}

TEST(FailureMessage, IsTheSameWhereGoogleMocksContainsIsUsedToo) {
  using testing::Contains;
  EXPECT_EQ(
      failureOf({kTrace, errorWith("kiv_error_code", "kiv.MMAP_FAILED=-12")}, Contains(kThrice)),
      kClosestMessage);
  EXPECT_THAT(failureOf({kTrace}, Contains(ErrorCode("a"))), HasSubstr("none of which is"));
}

TEST(FailureMessage, ShowsSeveralEventsThatAreEquallyClose) {
  EXPECT_EQ(
      failureOf({errorWith("kiv_api", "open"), kTrace, errorWith("kiv_class", "Sink")},
                Contains(ErrorCode(KivError::MMAP_FAILED).fromApi("render").ofClass("Mixer"))),
      R"(Value of: reported
Expected: contains error code "kiv.MMAP_FAILED", from API "render", of class "Mixer"
  Actual: {
    #0 error code "kiv.MMAP_FAILED", from API "open", of class "Mixer", of severity ERROR, counted 2 times
    #1 latency of trace "render", averaging 412 us, counted 3 times
    #2 error code "kiv.MMAP_FAILED", from API "render", of class "Sink", of severity ERROR, counted 2 times
  }, closest events:
    #0 differs in
      API: expected "render", was "open"
    #2 differs in
      class: expected "Mixer", was "Sink")");
}

TEST(FailureMessage, OmitsEventsWithManyMoreDifferencesThanTheClosest) {
  TelemetryEvent far = errorWith("kiv_api", "open");
  far.strings["kiv_class"] = "Sink";
  far.strings["kiv_error_code"] = "kiv.MUNMAP_FAILED";
  EXPECT_THAT(failureOf({far, kRender}, Contains(kThrice)), testing::EndsWith(R"(, closest event:
    #1 differs in
      count: expected 3, was 2)"));
}

TEST(FailureMessage, CountsADifferentErrorCodeAsTwoDifferences) {
  TelemetryEvent other = errorWith("kiv_error_code", "kiv.MUNMAP_FAILED");
  other.ints["aggregated_count"] = 3;
  EXPECT_THAT(failureOf({other, kRender}, Contains(kThrice)), testing::EndsWith(R"(, closest events:
    #1 differs in
      count: expected 3, was 2
    #0 differs in
      error code: expected "kiv.MMAP_FAILED", was "kiv.MUNMAP_FAILED")"));
}

TEST(FailureMessage, ShowsThreeClosestEventsAtMost) {
  const std::string message =
      failureOf(Events(4, errorWith("kiv_api", "open")), Contains(kThrice.fromApi("render")));
  EXPECT_THAT(message, HasSubstr("#2 differs in"));
  EXPECT_THAT(message, Not(HasSubstr("#3 differs in")));
}

TEST(FailureMessage, SaysThatNoEventIsOfTheKind) {
  EXPECT_THAT(failureOf({kTrace}, Contains(kThrice)),
              testing::EndsWith("\n  }, none of which is an error code"));
}

TEST(FailureMessage, AddsUpTheCountsOfSeveralWindows) {
  TelemetryEvent once = kRender;
  once.ints["aggregated_count"] = 1;
  EXPECT_THAT(failureOf({kRender, kTrace, once}, Contains(kThrice)), testing::EndsWith(R"(
  #0 and #2 match except for their counts, which add up to 3: they are from different windows, or differ in a field that is not checked)"));
}

TEST(FailureMessage, NamesTheEventThatShouldNotExist) {
  EXPECT_EQ(failureOf({kTrace, kRender}, Not(Contains(ErrorCode("kiv.MMAP_FAILED")))),
            R"(Value of: reported
Expected: contains no error code "kiv.MMAP_FAILED"
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, matching event: #1)");
}

TEST(FailureMessage, NamesTheEventsThatAreTooFewOrTooMany) {
  const ErrorCode error = ErrorCode(KivError::MMAP_FAILED).fromApi("render");
  const Events reported{kRender, errorWith("kiv_api", "open"), kTrace};
  const std::string message = failureOf(reported, Contains(error).Times(2));
  EXPECT_THAT(message, HasSubstr("Expected: contains 2 times error code \"kiv.MMAP_FAILED\", from "
                                 "API \"render\"\n"));
  EXPECT_THAT(message, testing::EndsWith(R"(
  }, matching event: #0; of the others, closest event:
    #1 differs in
      API: expected "render", was "open")"));
  EXPECT_THAT(failureOf({kRender, kTrace, kRender}, Contains(error).Times(1)),
              testing::EndsWith("\n  }, matching events: #0 and #2"));
  EXPECT_THAT(failureOf({kTrace}, Contains(error).Times(Ge(2))),
              AllOf(HasSubstr("Expected: contains a number of times that is >= 2: error code"),
                    testing::EndsWith("}, none of which is an error code")));
}

TEST(FailureMessage, NamesUnexpectedEvents) {
  EXPECT_EQ(failureOf({kTrace, kRender}, ContainsOnly(TraceLatency("render").counted(3))),
            R"(Value of: reported
Expected: contains exactly these events:
    latency of trace "render", counted 3 times
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, unexpected: #1)");
}

TEST(FailureMessage, ComparesMissingEventsWithUnexpectedOnes) {
  EXPECT_EQ(failureOf({kTrace, kRender}, ContainsOnly(TraceLatency("render"), kThrice)),
            R"(Value of: reported
Expected: contains exactly these events:
    latency of trace "render"
    error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, missing: error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times;
  unexpected: #1, closest event:
    #1 differs in
      count: expected 3, was 2)");
}

TEST(FailureMessage, NamesEveryMissingEvent) {
  EXPECT_THAT(failureOf({kTrace}, ContainsOnly(ErrorCode("a"), TraceLatency("render"),
                                               ClientCall("open").withText("ok").once())),
              testing::EndsWith(R"(
  }, missing: error code "a"
  missing: client call of "open", with "ok", counted once)"));
}

TEST(FailureMessage, NamesTheEventsOfATotalCount) {
  const ErrorCode error("kiv.MMAP_FAILED");
  const std::string message = failureOf({kRender, kTrace, kRender}, TotalCount(error, 3));
  EXPECT_THAT(message, HasSubstr("Expected: contains error code \"kiv.MMAP_FAILED\", with a total "
                                 "count of 3\n"));
  EXPECT_THAT(message, testing::EndsWith("}, where the total count of #0 and #2 is 4"));
  EXPECT_THAT(failureOf({kRender}, TotalCount(error, Ge(3))),
              AllOf(HasSubstr("with a total count that is >= 3\n"),
                    testing::EndsWith("}, where the total count of #0 is 2")));
}

TEST(FailureMessage, ListsTheEventsOfEachSession) {
  EXPECT_THAT(
      failureOf({kTrace, errorWith("kiv_session_id", "root.other"), kRender}, InOneSession()),
      testing::EndsWith(R"(
  }, with sessions
    root.child: #0 and #2
    root.other: #1)"));
}

TEST(FailureMessage, ListsFortyEventsAtMost) {
  const std::string message = failureOf(Events(43, kTrace), IsEmpty());
  EXPECT_THAT(message, HasSubstr("\n    #39 latency"));
  EXPECT_THAT(message, HasSubstr("\n    and 3 more\n  }"));
}

TEST(FailureMessage, IsShownInTheGuide) {
  std::ifstream file(GUIDE);
  const std::string guide{std::istreambuf_iterator<char>(file), {}};
  std::string indented = "    ";
  for (const char character : std::string(kClosestMessage)) {
    indented += character;
    if (character == '\n') indented += "    ";
  }
  indented.replace(indented.find("reported"), sizeof("reported") - 1, "events()");
  EXPECT_THAT(guide, HasSubstr(indented + "\n"));
}

TEST_F(EventMatchersTest, EventsOfAllKindsArePrintedAsText) {
  reportErrors(1);
  logger->logErrorCode("a\nb", "", static_cast<KivErrorSeverity>(9), "");
  logger->logStreamEvent(kStereo, KivStreamType::KIV_STREAM_TYPE_OBJECT, "open");
  logger->logAudioLatency(kStereo, KivStreamType::KIV_STREAM_TYPE_OBJECT,
                          std::chrono::milliseconds(1));
  logger->logKivEvent("blocks", 0, Type::SUM);
  logger->logKivEvent("gain", 0.1F, Type::MAX);
  logger->logKivEvent("device", std::string(), Type::COUNT);
  logger->logKivClientCall("open", "ok");
  EXPECT_EQ(testing::PrintToString(events()), R"({
    #0 error code "a\nb", from API "", of class "Mixer", of severity 9, counted once
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted once
    #2 stream event "open", of type KIV_STREAM_TYPE_OBJECT, in format AUDIO_FORMAT_PCM_FLOAT, at 48000 Hz, with 960 samples, on 2 channels, interleaved, counted once
    #3 audio latency, counted once
    #4 generic value "blocks", with integer or float 0, combined by SUM, counted once
    #5 generic value "gain", with float 0.1, combined by MAX, counted once
    #6 client call of "open", with "ok", counted once
    #7 generic value "device", with text "", combined by COUNT, counted once
  })");
}

}  // namespace
}  // namespace android::kiv::telemetry_testing
