// Every value that a caller passes is reported, as exactly as the fields allow.
#include <gmock/gmock.h>

#include <climits>
#include <cmath>
#include <limits>

#include "tests/support/LogCapture.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::LogCapture;
using std::chrono::milliseconds;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;
using Type = NumericAggregationType;

constexpr KivPcmInfoExt kPcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
constexpr auto kObject = ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT;

std::string everyByte() {
  std::string text;
  for (int byte = 1; byte < 256; ++byte) text.push_back(static_cast<char>(byte));
  return text;
}

struct TextCase {
  const char* name;
  std::string passed;
  std::string reported;  // fields end at the first NUL
};

void PrintTo(const TextCase& one, std::ostream* out) { *out << one.name; }

std::vector<TextCase> textCases() {
  const std::string megabyte(1024 * 1024, 'm');
  return {{"Empty", "", ""},
          {"OneMegabyte", megabyte, megabyte},
          {"EmbeddedNul", std::string("before\0after", 12), "before"},
          {"OnlyANul", std::string(1, '\0'), ""},
          {"EveryOtherByte", everyByte(), everyByte()},
          {"Conversions", "%n%s%d%", "%n%s%d%"}};
}

/// Every text argument of every operation, in turn.
class ReportedTextTest : public LoggerRig, public testing::WithParamInterface<TextCase> {
 protected:
  /// Flushes, and returns the only event.
  const ::kiv_test::Event& flushed(TelemetryLogger& reporting) {
    EXPECT_TRUE(reporting.flush());
    all = events();
    EXPECT_THAT(all, SizeIs(1));
    all.resize(1);
    return all.front();
  }

  const ::kiv_test::Event& flushed() { return flushed(*logger); }

  const std::string passed = GetParam().passed;
  const std::string reported = GetParam().reported;
  const LogCapture log;
  const std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::NON_BLOCKING);
  std::vector<::kiv_test::Event> all;
};

INSTANTIATE_TEST_SUITE_P(Of, ReportedTextTest, testing::ValuesIn(textCases()),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_P(ReportedTextTest, ErrorCode) {
  logger->logErrorCode(passed, "api", KivErrorSeverity::INFO, "class");
  EXPECT_EQ(flushed().strings.at("kiv_error_code"), reported);
}

TEST_P(ReportedTextTest, ApiOfEveryErrorReport) {
  logger->logErrorCode("code", passed, KivErrorSeverity::INFO, "class");
  EXPECT_EQ(flushed().strings.at("kiv_api"), reported);
  recorder.reset();
  logger->logKivErrorCode(KivError::OK, passed, KivErrorSeverity::INFO, "class");
  EXPECT_EQ(flushed().strings.at("kiv_api"), reported);
  recorder.reset();
  logger->logKivErrorCode(KivError::OK, 1, passed, KivErrorSeverity::INFO, "class");
  EXPECT_EQ(flushed().strings.at("kiv_api"), reported);
  recorder.reset();
  logger->logAndroidStatusErrorCode(0, passed, KivErrorSeverity::INFO);
  EXPECT_EQ(flushed().strings.at("kiv_api"), reported);
}

TEST_P(ReportedTextTest, ClassOfAnError) {
  logger->logErrorCode("code", "api", KivErrorSeverity::INFO, passed);
  // Only an empty class is replaced by the logger's name. One that starts with a NUL is not empty.
  EXPECT_EQ(flushed().strings.at("kiv_class"), passed.empty() ? "logger" : reported);
}

TEST_P(ReportedTextTest, NameOfALogger) {
  const auto named = makeLogger(Model::NON_BLOCKING, passed);
  named->logErrorCode("code", "api", KivErrorSeverity::INFO, "");
  EXPECT_EQ(flushed(*named).strings.at("kiv_class"), reported);
}

TEST_P(ReportedTextTest, StreamEvent) {
  logger->logStreamEvent(kPcm, kObject, passed);
  EXPECT_EQ(flushed().strings.at("kiv_event"), reported);
}

TEST_P(ReportedTextTest, NameOfEveryTypeOfValue) {
  logger->logKivEvent(passed, 1, Type::SUM);
  EXPECT_EQ(flushed().strings.at("kiv_event_name"), reported);
  recorder.reset();
  logger->logKivEvent(passed, 1.0F, Type::SUM);
  EXPECT_EQ(flushed().strings.at("kiv_event_name"), reported);
  recorder.reset();
  logger->logKivEvent(passed, std::string("value"), Type::COUNT);
  EXPECT_EQ(flushed().strings.at("kiv_event_name"), reported);
}

TEST_P(ReportedTextTest, Value) {
  logger->logKivEvent("name", passed, Type::COUNT);
  EXPECT_EQ(flushed().strings.at("value_string"), reported);
}

TEST_P(ReportedTextTest, ClientCall) {
  logger->logKivClientCall(passed, passed);
  EXPECT_EQ(flushed().strings.at("kiv_event_name"), "client_api_call." + reported);
  EXPECT_EQ(all.front().strings.at("value_string"), reported);
}

TEST_P(ReportedTextTest, TraceSection) {
  logger->kiv_endTraceSection(logger->kiv_beginTraceSection(passed, passed));
  EXPECT_EQ(flushed().strings.at("kiv_event_name"), "api_latency_us." + reported);
}

TEST_P(ReportedTextTest, Trace) {
  const auto process = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  process->start();
  process->flush();
  recorder.reset();
  logger->stopTrace(logger->startTrace(passed, passed));
  EXPECT_EQ(flushed(*process).strings.at("kiv_event_name"), "api_latency_us." + reported);
}

TEST_P(ReportedTextTest, LineOfTheLog) {
  logger->logErrorCode(passed, passed, KivErrorSeverity::INFO, passed);
  logger->flush();
  ASSERT_THAT(log.lines(), SizeIs(1));
  // The log cuts lines, and the library cuts tags.
  constexpr size_t kLongestLine = 1023;
  EXPECT_EQ(log.lines()[0].tag, reported.substr(0, kLongestLine));
  const std::string text = reported + " - " + reported;
  EXPECT_EQ(log.lines()[0].text, text.substr(0, kLongestLine));
}

class ReportedInputTest : public LoggerRig {
 protected:
  const std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::NON_BLOCKING);
};

TEST_F(ReportedInputTest, TextsThatDifferAfterANulAreSeparateKeysWithEqualFields) {
  const LogCapture quiet;
  for (const std::string& text : {std::string("a\0b", 3), std::string("a\0c", 3)}) {
    logger->logErrorCode(text, "api", KivErrorSeverity::INFO, "class");
    logger->logErrorCode("code", text, KivErrorSeverity::INFO, "class");
    logger->logErrorCode("code", "api", KivErrorSeverity::INFO, text);
    logger->logStreamEvent(kPcm, kObject, text);
    logger->logKivEvent(text, 1, Type::SUM);
    logger->logKivEvent(text, 1.0F, Type::SUM);
    logger->logKivEvent(text, std::string("value"), Type::COUNT);
    logger->logKivEvent("name", text, Type::COUNT);
  }
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(ints("aggregated_count"), AllOf(SizeIs(2 * 8), Each(1)));
}

/// The integer that is reported for `values` of one name.
class ReportedIntegerTest : public ReportedInputTest {
 protected:
  int64_t reportedFor(Type type, std::initializer_list<long long> values) {
    recorder.reset();
    for (const long long value : values) logger->logKivEvent("n", value, type);
    EXPECT_TRUE(logger->flush());
    return ints("value_int").at(0);
  }
};

TEST_F(ReportedIntegerTest, TheExtremesSurviveEveryMethod) {
  for (const Type type : {Type::AVG, Type::SUM, Type::MAX, Type::MIN}) {
    EXPECT_EQ(reportedFor(type, {LLONG_MAX}), LLONG_MAX) << static_cast<int>(type);
    EXPECT_EQ(reportedFor(type, {LLONG_MIN}), LLONG_MIN) << static_cast<int>(type);
  }
  EXPECT_EQ(reportedFor(Type::COUNT, {LLONG_MAX, LLONG_MIN}), 2);
}

TEST_F(ReportedIntegerTest, TheExtremesMeet) {
  EXPECT_EQ(reportedFor(Type::MAX, {LLONG_MIN, LLONG_MAX}), LLONG_MAX);
  EXPECT_EQ(reportedFor(Type::MIN, {LLONG_MAX, LLONG_MIN}), LLONG_MIN);
  EXPECT_EQ(reportedFor(Type::SUM, {LLONG_MAX, LLONG_MIN}), 0);
  EXPECT_EQ(reportedFor(Type::AVG, {LLONG_MIN, LLONG_MAX}), 0);
}

TEST_F(ReportedIntegerTest, SumsBeyondTheRangeSaturate) {
  EXPECT_EQ(reportedFor(Type::SUM, {LLONG_MAX, LLONG_MAX, LLONG_MAX}), LLONG_MAX);
  EXPECT_EQ(reportedFor(Type::SUM, {LLONG_MIN, LLONG_MIN, LLONG_MIN}), LLONG_MIN);
}

TEST_F(ReportedIntegerTest, AnyByteIsAMethod) {
  EXPECT_EQ(reportedFor(Type(255), {LLONG_MAX, 7}), 0);
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("UNKNOWN"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2));
}

class ReportedFloatTest : public ReportedInputTest {
 protected:
  float reportedFor(Type type, std::initializer_list<float> values) {
    recorder.reset();
    for (const float value : values) logger->logKivEvent("n", value, type);
    EXPECT_TRUE(logger->flush());
    return events().at(0).floats.at("value_float");
  }

  static constexpr float kInfinity = std::numeric_limits<float>::infinity();
  static constexpr float kLargest = std::numeric_limits<float>::max();
  static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
};

TEST_F(ReportedFloatTest, NaNAndInfinityAreReportedUnchanged) {
  EXPECT_TRUE(std::isnan(reportedFor(Type::SUM, {kNaN})));
  EXPECT_TRUE(std::isnan(reportedFor(Type::AVG, {1, kNaN, 2})));
  EXPECT_EQ(reportedFor(Type::MAX, {-kInfinity}), -kInfinity);
  EXPECT_TRUE(std::isnan(reportedFor(Type::SUM, {kInfinity, -kInfinity})));
  EXPECT_EQ(reportedFor(Type::COUNT, {kNaN, kInfinity}), 2.0F);
}

TEST_F(ReportedFloatTest, SumsBeyondTheRangeAreInfinite) {
  EXPECT_EQ(reportedFor(Type::SUM, {kLargest, kLargest}), kInfinity);
  EXPECT_EQ(reportedFor(Type::SUM, {-kLargest, -kLargest}), -kInfinity);
}

struct RateCase {
  float passed;
  int64_t reported;
};

TEST_F(ReportedInputTest, SampleRatesAreTruncatedAndSaturate) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const RateCase cases[] = {
      {44100.9F, 44100},
      {-5.0F, 0},
      {-0.9F, 0},
      {-kInfinity, 0},
      {std::numeric_limits<float>::lowest(), 0},
      {std::numeric_limits<float>::quiet_NaN(), 0},
      {-0.0F, 0},
      {std::numeric_limits<float>::denorm_min(), 0},
      {2147483520.0F, 2147483520},
      // Numbers from the upper half of 32 bits are sent as negative.
      {2147483648.0F, INT32_MIN},
      {4294967040.0F, -256},
      {4294967296.0F, -1},
      {1e20F, -1},
      {kInfinity, -1},
  };
  for (const RateCase& one : cases) {
    recorder.reset();
    KivPcmInfoExt pcm = kPcm;
    pcm.sampleRate = one.passed;
    logger->logStreamEvent(pcm, kObject, "start");
    EXPECT_TRUE(logger->flush());
    EXPECT_THAT(ints("sample_rate"), ElementsAre(one.reported)) << one.passed;
  }
}

TEST_F(ReportedInputTest, NegativeCompactSampleRatesAreZero) {
  ::kiv::KivPcmInfo pcm{};
  for (const int32_t rate : {INT32_MIN, -1}) {
    recorder.reset();
    pcm.sampleRate = rate;
    logger->logStreamEvent(pcm, kObject, "start");
    EXPECT_TRUE(logger->flush());
    EXPECT_THAT(ints("sample_rate"), ElementsAre(0));
  }
  recorder.reset();
  pcm.sampleRate = INT32_MAX;
  logger->logStreamEvent(pcm, kObject, "start");
  EXPECT_TRUE(logger->flush());
  // Converted to float it becomes one more, which is in the upper half of 32 bits.
  EXPECT_THAT(ints("sample_rate"), ElementsAre(INT32_MIN));
}

TEST_F(ReportedInputTest, LatenciesOfAnySizeAreCounted) {
  for (const milliseconds latency : {milliseconds::min(), milliseconds(-1), milliseconds(0),
                                     milliseconds(1LL << 32), milliseconds::max()}) {
    logger->logAudioLatency(kPcm, kObject, latency);
  }
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(5));
}

TEST_F(ReportedInputTest, LatenciesAtInvalidRatesBelongToTheNearestValidRate) {
  using Limits = std::numeric_limits<float>;
  for (const float rate : {0.0F, -1.0F, -Limits::infinity(), Limits::quiet_NaN(), 4294967296.0F,
                           1e20F, Limits::infinity()}) {
    KivPcmInfoExt pcm = kPcm;
    pcm.sampleRate = rate;
    logger->logAudioLatency(pcm, kObject, milliseconds(1));
  }
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(4, 3));
}

TEST_F(ReportedInputTest, NumbersOfAStreamHaveTheirWholeRange) {
  const KivPcmInfoExt pcm{0.0F, UINT32_MAX, UINT32_MAX, false, audio_format_t(0xFFFFFFFF)};
  logger->logStreamEvent(pcm, ::kiv::KivStreamType(-128), "start");
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(ints("samples"), ElementsAre(-1));
  EXPECT_THAT(ints("channels"), ElementsAre(-1));
  EXPECT_THAT(strings("pcm_format"), ElementsAre(""));
  EXPECT_THAT(strings("stream_type"), ElementsAre("-128"));
}

TEST_F(ReportedInputTest, AnySeverityAndAnyErrorNumberIsReported) {
  const LogCapture quiet;
  logger->logKivErrorCode(KivError(INT32_MIN), INT_MIN, "api", KivErrorSeverity(255), "class");
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kiv.-2147483648=-2147483648"));
  EXPECT_THAT(ints("severity"), ElementsAre(255));
}

}  // namespace
}  // namespace android::kiv
