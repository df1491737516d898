// The matchers, with events that the library has really made, and what they say where they fail.
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

/// What a matcher says against an event; "" if it matches.
template <typename Matcher>
std::string objection(const TelemetryEvent& event, const Matcher& matcher) {
  testing::StringMatchResultListener listener;
  const bool matches = testing::ExplainMatchResult(matcher, event, &listener);
  EXPECT_EQ(matches, listener.str().empty());
  return listener.str();
}

/// What a test that fails says.
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

TEST_F(EventMatchersTest, AnErrorCodeIsLookedAtInEveryField) {
  reportErrors(3);
  const TelemetryEvent event = onlyEvent();
  const ErrorCode error(KivError::MMAP_FAILED);
  EXPECT_EQ(objection(event, error), "");
  EXPECT_EQ(objection(event, error.fromApi("render").ofClass("Mixer").counted(3)), "");
  EXPECT_EQ(objection(event, error.ofSeverity(KivErrorSeverity::ERROR).inChildOf(session)), "");

  EXPECT_EQ(objection(event, ErrorCode(KivError::MUNMAP_FAILED)),
            "but for error code: expected \"kiv.MUNMAP_FAILED\", was \"kiv.MMAP_FAILED\"");
  EXPECT_EQ(objection(event, error.fromApi("open")),
            "but for API: expected \"open\", was \"render\"");
  EXPECT_EQ(objection(event, error.ofClass("Sink")),
            "but for class: expected \"Sink\", was \"Mixer\"");
  EXPECT_EQ(objection(event, error.ofSeverity(KivErrorSeverity::FATAL)),
            "but for severity: expected FATAL, was ERROR");
  EXPECT_EQ(objection(event, error.once()), "but for count: expected 1, was 3");
  EXPECT_EQ(objection(event, error.fromApi("open").once()),
            "but for API: expected \"open\", was \"render\"; count: expected 1, was 3");
  EXPECT_EQ(objection(event, StreamEvent("open")), "which is not a stream event");
}

TEST_F(EventMatchersTest, AnErrorCodeMayHaveANumberOrBeAStatusOrAText) {
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

TEST_F(EventMatchersTest, AStreamEventIsLookedAtInEveryField) {
  logger->logStreamEvent(kStereo, KivStreamType::KIV_STREAM_TYPE_OBJECT, "open");
  const TelemetryEvent event = onlyEvent();
  const StreamEvent open("open");
  EXPECT_EQ(objection(event, open.ofType(KivStreamType::KIV_STREAM_TYPE_OBJECT)
                                 .inFormat(AUDIO_FORMAT_PCM_FLOAT)
                                 .atRate(48000)
                                 .withSamples(960)
                                 .onChannels(2)
                                 .interleaved()
                                 .once()
                                 .inChildOf(session)),
            "");

  EXPECT_EQ(objection(event, StreamEvent("close")),
            "but for stream event: expected \"close\", was \"open\"");
  EXPECT_EQ(objection(event, open.ofType(KivStreamType::KIV_STREAM_TYPE_BUNDLE)),
            "but for type: expected \"KIV_STREAM_TYPE_BUNDLE\", was \"KIV_STREAM_TYPE_OBJECT\"");
  EXPECT_EQ(objection(event, open.inFormat(AUDIO_FORMAT_PCM_16_BIT)),
            "but for format: expected \"AUDIO_FORMAT_PCM_16_BIT\", was "
            "\"AUDIO_FORMAT_PCM_FLOAT\"");
  EXPECT_EQ(objection(event, open.atRate(44100)), "but for sample rate: expected 44100, was 48000");
  EXPECT_EQ(objection(event, open.withSamples(2)), "but for samples: expected 2, was 960");
  EXPECT_EQ(objection(event, open.onChannels(960)), "but for channels: expected 960, was 2");
  EXPECT_EQ(objection(event, open.interleaved(false)), "but for interleaved: expected 0, was 1");
}

TEST_F(EventMatchersTest, EveryTypeOfStreamHasTheNameThatIsReported) {
  for (int type = 0; type <= 6; ++type) {
    const auto stream_type = static_cast<KivStreamType>(type);
    logger->logStreamEvent(kStereo, stream_type, "open");
    EXPECT_EQ(objection(onlyEvent(), StreamEvent("open").ofType(stream_type)), "");
    clearEvents();
  }
}

TEST_F(EventMatchersTest, AnAudioLatencyIsCounted) {
  for (int i = 1; i <= 3; ++i) {
    logger->logAudioLatency(kStereo, KivStreamType::KIV_STREAM_TYPE_OBJECT,
                            std::chrono::milliseconds(i));
  }
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(objection(event, AudioLatency().counted(3).inChildOf(session)), "");
  EXPECT_EQ(objection(event, AudioLatency().once()), "but for count: expected 1, was 3");
  EXPECT_EQ(objection(event, TraceLatency("open")), "which is not a trace's latency");
}

TEST_F(EventMatchersTest, AGenericValueIsLookedAtInTheFieldOfItsType) {
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
  EXPECT_EQ(objection(integer, blocks.withInt(42).combinedBy(Type::SUM).counted(2)), "");
  EXPECT_EQ(objection(integer, blocks.withInt(2)), "but for integer: expected 2, was 42");
  EXPECT_EQ(objection(integer, blocks.combinedBy(Type::AVG)),
            "but for method: expected \"AVG\", was \"SUM\"");
  EXPECT_EQ(objection(integer, GenericValue("gain")),
            "but for name: expected \"gain\", was \"blocks\"");
  EXPECT_EQ(objection(decimal, GenericValue("gain").withFloat(0.25).combinedBy(Type::MAX)), "");
  EXPECT_EQ(objection(decimal, GenericValue("gain").withFloat(0.1F)),
            "but for float: expected 0.1, was 0.25");
  EXPECT_EQ(objection(text, GenericValue("device").withText("phones").combinedBy(Type::COUNT)), "");
  EXPECT_EQ(objection(text, GenericValue("device").withText("speaker")),
            "but for text: expected \"speaker\", was \"phones\"");
  EXPECT_EQ(objection(text, AudioLatency()), "which is not an audio latency");
}

TEST_F(EventMatchersTest, EveryMethodHasTheNameThatIsReported) {
  for (const Type method : {Type::AVG, Type::SUM, Type::MAX, Type::MIN, Type::COUNT}) {
    logger->logKivEvent("blocks", 1, method);
    EXPECT_EQ(objection(onlyEvent(), GenericValue("blocks").combinedBy(method)), "");
    clearEvents();
  }
}

TEST_F(EventMatchersTest, ATraceIsKnownByItsNameAndItsAverage) {
  const KivTraceInfo an_hour_ago{"render", std::chrono::steady_clock::now() - std::chrono::hours(1),
                                 ""};
  logger->kiv_endTraceSection(an_hour_ago);
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(objection(event, TraceLatency("render").averaging(Ge(3'600'000'000 - 256)).once()), "");
  EXPECT_EQ(objection(event, GenericValue("api_latency_us.render").combinedBy(Type::AVG)), "");
  EXPECT_EQ(objection(event, TraceLatency("rend")),
            "but for trace: expected \"rend\", was \"render\"");
  EXPECT_THAT(objection(event, TraceLatency("render").averaging(0)),
              StartsWith("but for average: expected 0, was 36"));
  EXPECT_EQ(objection(event, ClientCall("render")), "which is not a client call");
}

TEST_F(EventMatchersTest, AnyValueIsNoTraceAndNoClientCall) {
  logger->logKivEvent("api_latency_ms.render", 1, Type::AVG);
  logger->logKivEvent("client_api_load.open", std::string("ok"), Type::COUNT);
  EXPECT_THAT(events(), Not(Contains(TraceLatency("render"))));
  EXPECT_THAT(events(), Not(Contains(ClientCall("open"))));
  EXPECT_THAT(events(), Contains(GenericValue("api_latency_ms.render")));
}

TEST_F(EventMatchersTest, AClientCallIsKnownByItsApiAndItsText) {
  logger->logKivClientCall("open", "ok");
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(objection(event, ClientCall("open").withText("ok").once()), "");
  EXPECT_EQ(objection(event, ClientCall("close")), "but for API: expected \"close\", was \"open\"");
  EXPECT_EQ(objection(event, ClientCall("open").withText("refused")),
            "but for text: expected \"refused\", was \"ok\"");
  EXPECT_EQ(objection(event, ErrorCode("ok")), "which is not an error code");
}

TEST(EventNamed, IsLookedAtByTheFieldsThatAreNamed) {
  const TelemetryEvent event{"own_event", {{"depth", 3}}, {{"level", 0.5F}}, {{"unit", "dB"}}};
  const EventNamed own("own_event");
  EXPECT_EQ(
      objection(event, own.withInt("depth", 3).withFloat("level", 0.5).withText("unit", "dB")), "");
  EXPECT_EQ(objection(event, EventNamed("other")),
            "but for event: expected \"other\", was "
            "\"own_event\"");
  EXPECT_EQ(objection(event, own.withInt("depth", 4)), "but for depth: expected 4, was 3");
  EXPECT_EQ(objection(event, own.withFloat("level", 1)), "but for level: expected 1, was 0.5");
  EXPECT_EQ(objection(event, own.withText("unit", "V")),
            "but for unit: expected \"V\", was \"dB\"");
  EXPECT_EQ(objection(event, own.withInt("width", 3)), "but for width: expected 3, was missing");
  EXPECT_EQ(testing::PrintToString(event), "event \"own_event\", depth 3, level 0.5, unit \"dB\"");
}

TEST_F(EventMatchersTest, AMatcherMayStandForAValue) {
  reportErrors(2);
  const TelemetryEvent event = onlyEvent();
  EXPECT_EQ(objection(event, ErrorCode(StartsWith("kiv.")).fromApi(HasSubstr("end")).atLeast(2)),
            "");
  EXPECT_EQ(objection(event, ErrorCode(StartsWith("android."))),
            "but for error code: expected one that starts with \"android.\", was "
            "\"kiv.MMAP_FAILED\"");
  EXPECT_EQ(objection(event, ErrorCode(StartsWith("kiv")).counted(AllOf(Ge(3), Le(5)))),
            "but for count: expected one that (is >= 3) and (is <= 5), was 2");
  const TelemetryEvent decimal{"own_event", {}, {{"level", 0.5F}}, {}};
  EXPECT_EQ(objection(decimal, EventNamed("own_event").withFloat("level", FloatNear(0.6F, 0.2F))),
            "");
}

TEST_F(EventMatchersTest, ASessionIsTheLoggersOrOneThatItIsBelow) {
  logger->logKivClientCall("open", "ok");
  const TelemetryEvent event = onlyEvent();
  const std::string text = event.strings.at("kiv_session_id");
  const ClientCall open("open");
  EXPECT_EQ(objection(event, open.inSession(text)), "");
  EXPECT_EQ(objection(event, open.inSession(session)),
            "but for session: expected \"" + session.toString() + "\", was \"" + text + "\"");
  EXPECT_THAT(objection(event, open.inChildOf(KivSessionId(nullptr))),
              StartsWith("but for session: expected one that starts with "));
}

TEST_F(EventMatchersTest, ASessionIsNotBelowItself) {
  TelemetryLogger(session, "", TelemetrySubmissionModel::LOCKING_IMMEDIATE)
      .logKivClientCall("open", "ok");
  EXPECT_THAT(events(), Contains(ClientCall("open").inSession(session)));
  EXPECT_THAT(events(), Not(Contains(ClientCall("open").inChildOf(session))));
}

TEST_F(EventMatchersTest, MatchersAlsoServeGoogleMocksContainers) {
  reportErrors(1, "open");
  reportErrors(1, "render");
  EXPECT_THAT(events(), ElementsAre(ErrorCode(KivError::MMAP_FAILED).fromApi("open"),
                                    ErrorCode(KivError::MMAP_FAILED).fromApi("render")));
  EXPECT_THAT(events(), testing::Contains(ErrorCode(KivError::MMAP_FAILED)).Times(2));
  EXPECT_THAT(events(), testing::Each(ErrorCode(KivError::MMAP_FAILED)));
}

TEST_F(EventMatchersTest, ContainsOnlyLeavesNeitherAnEventNorAnExpectation) {
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

TEST_F(EventMatchersTest, TheTotalCountIsThatOfAllWindows) {
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

TEST_F(EventMatchersTest, OneSessionIsThatOfOneLogger) {
  EXPECT_THAT(events(), Not(InOneSession()));
  reportErrors(1);
  logger->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), InOneSession());
  TelemetryEnv("Mixer", session).getLogger()->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), Not(InOneSession()));
}

TEST(Words, OfAFloatAreAsShortAsTheyCanBeTrue) {
  EXPECT_EQ(internal::inWords(0.1F), "0.1");
  EXPECT_EQ(internal::inWords(16'777'215.0F), "16777215");
}

// What is said.

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

constexpr char kNearestMessage[] = R"(Value of: reported
Expected: contains error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED=-12", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, of which this one comes nearest:
    #1, but for
      error code: expected "kiv.MMAP_FAILED", was "kiv.MMAP_FAILED=-12"
      count: expected 3, was 2)";

TEST(FailureMessage, ShowsInWhatTheNearestEventDiffers) {
  EXPECT_EQ(
      failureOf({kTrace, errorWith("kiv_error_code", "kiv.MMAP_FAILED=-12")}, Contains(kThrice)),
      kNearestMessage);
}

TEST(FailureMessage, IsTheSameBesideGoogleMocksOwnMatcher) {
  using testing::Contains;
  EXPECT_EQ(
      failureOf({kTrace, errorWith("kiv_error_code", "kiv.MMAP_FAILED=-12")}, Contains(kThrice)),
      kNearestMessage);
  EXPECT_THAT(failureOf({kTrace}, Contains(ErrorCode("a"))), HasSubstr("none of which is"));
}

TEST(FailureMessage, ShowsSeveralEventsThatAreAsNear) {
  EXPECT_EQ(
      failureOf({errorWith("kiv_api", "open"), kTrace, errorWith("kiv_class", "Sink")},
                Contains(ErrorCode(KivError::MMAP_FAILED).fromApi("render").ofClass("Mixer"))),
      R"(Value of: reported
Expected: contains error code "kiv.MMAP_FAILED", from API "render", of class "Mixer"
  Actual: {
    #0 error code "kiv.MMAP_FAILED", from API "open", of class "Mixer", of severity ERROR, counted 2 times
    #1 latency of trace "render", averaging 412 us, counted 3 times
    #2 error code "kiv.MMAP_FAILED", from API "render", of class "Sink", of severity ERROR, counted 2 times
  }, of which these come nearest:
    #0, but for
      API: expected "render", was "open"
    #2, but for
      class: expected "Mixer", was "Sink")");
}

TEST(FailureMessage, LeavesOutWhatIsMuchFurtherThanTheNearest) {
  TelemetryEvent far = errorWith("kiv_api", "open");
  far.strings["kiv_class"] = "Sink";
  far.strings["kiv_error_code"] = "kiv.MUNMAP_FAILED";
  EXPECT_THAT(failureOf({far, kRender}, Contains(kThrice)),
              testing::EndsWith(R"(, of which this one comes nearest:
    #1, but for
      count: expected 3, was 2)"));
}

TEST(FailureMessage, TakesAnotherErrorForFurtherThanAnotherCount) {
  TelemetryEvent other = errorWith("kiv_error_code", "kiv.MUNMAP_FAILED");
  other.ints["aggregated_count"] = 3;
  EXPECT_THAT(failureOf({other, kRender}, Contains(kThrice)),
              testing::EndsWith(R"(, of which these come nearest:
    #1, but for
      count: expected 3, was 2
    #0, but for
      error code: expected "kiv.MMAP_FAILED", was "kiv.MUNMAP_FAILED")"));
}

TEST(FailureMessage, ShowsThreeNearEventsAtMost) {
  const std::string message =
      failureOf(Events(4, errorWith("kiv_api", "open")), Contains(kThrice.fromApi("render")));
  EXPECT_THAT(message, HasSubstr("#2, but for"));
  EXPECT_THAT(message, Not(HasSubstr("#3, but for")));
}

TEST(FailureMessage, SaysThatNoneIsOfTheKind) {
  EXPECT_THAT(failureOf({kTrace}, Contains(kThrice)),
              testing::EndsWith("\n  }, none of which is an error code"));
}

TEST(FailureMessage, AddsUpWhatWasExpectedInOneWindow) {
  TelemetryEvent once = kRender;
  once.ints["aggregated_count"] = 1;
  EXPECT_THAT(failureOf({kRender, kTrace, once}, Contains(kThrice)), testing::EndsWith(R"(
  #0 and #2 are as expected but for their counts, 3 in all: they are of different windows, or differ in what was not asked for)"));
}

TEST(FailureMessage, ShowsWhatShouldNotBe) {
  EXPECT_EQ(failureOf({kTrace, kRender}, Not(Contains(ErrorCode("kiv.MMAP_FAILED")))),
            R"(Value of: reported
Expected: contains no error code "kiv.MMAP_FAILED"
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, of which #1 is one)");
}

TEST(FailureMessage, ShowsWhatNobodyExpected) {
  EXPECT_EQ(failureOf({kTrace, kRender}, ContainsOnly(TraceLatency("render").counted(3))),
            R"(Value of: reported
Expected: contains these and no other:
    latency of trace "render", counted 3 times
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, of which nothing was said about #1)");
}

TEST(FailureMessage, ComparesWhatIsMissingWithWhatIsLeftOver) {
  EXPECT_EQ(failureOf({kTrace, kRender}, ContainsOnly(TraceLatency("render"), kThrice)),
            R"(Value of: reported
Expected: contains these and no other:
    latency of trace "render"
    error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times
  Actual: {
    #0 latency of trace "render", averaging 412 us, counted 3 times
    #1 error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", of severity ERROR, counted 2 times
  }, without error code "kiv.MMAP_FAILED", from API "render", of class "Mixer", counted 3 times;
  left over is #1, of which this one comes nearest:
    #1, but for
      count: expected 3, was 2)");
}

TEST(FailureMessage, NamesEverythingThatIsMissing) {
  EXPECT_THAT(failureOf({kTrace}, ContainsOnly(TraceLatency("render"), ErrorCode("a"),
                                               ClientCall("open").withText("ok").once())),
              testing::EndsWith(R"(
  }, without error code "a"
  and without client call of "open", with "ok", counted once)"));
}

TEST(FailureMessage, SaysOfWhichEventsATotalIs) {
  const ErrorCode error("kiv.MMAP_FAILED");
  const std::string message = failureOf({kRender, kTrace, kRender}, TotalCount(error, 3));
  EXPECT_THAT(message, HasSubstr("Expected: contains error code \"kiv.MMAP_FAILED\", with a total "
                                 "count of 3\n"));
  EXPECT_THAT(message, testing::EndsWith("}, of which #0 and #2 together count 4"));
  EXPECT_THAT(failureOf({kRender}, TotalCount(error, Ge(3))),
              AllOf(HasSubstr("with a total count that is >= 3\n"),
                    testing::EndsWith("}, of which #0 counts 2")));
}

TEST(FailureMessage, SaysWhichEventsAreOfWhichSession) {
  EXPECT_THAT(
      failureOf({kTrace, errorWith("kiv_session_id", "root.other"), kRender}, InOneSession()),
      testing::EndsWith(R"(
  }, with
    #0 and #2 of session root.child
    #1 of session root.other)"));
}

TEST(FailureMessage, ListsAFewDozenEvents) {
  const std::string message = failureOf(Events(43, kTrace), IsEmpty());
  EXPECT_THAT(message, HasSubstr("\n    #39 latency"));
  EXPECT_THAT(message, HasSubstr("\n    and 3 more\n  }"));
}

TEST(FailureMessage, IsTheOneThatTheGuideShows) {
  std::ifstream file(GUIDE);
  const std::string guide{std::istreambuf_iterator<char>(file), {}};
  std::string indented = "    ";
  for (const char character : std::string(kNearestMessage)) {
    indented += character;
    if (character == '\n') indented += "    ";
  }
  indented.replace(indented.find("reported"), sizeof("reported") - 1, "events()");
  EXPECT_THAT(guide, HasSubstr(indented + "\n"));
}

TEST_F(EventMatchersTest, EventsOfAllKindsArePrintedInWords) {
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
    #4 generic value "blocks", with integer 0, combined by SUM, counted once
    #5 generic value "gain", with float 0.1, combined by MAX, counted once
    #6 client call of "open", with "ok", counted once
    #7 generic value "device", with text "", combined by COUNT, counted once
  })");
}

}  // namespace
}  // namespace android::kiv::telemetry_testing
