// The logging operations of loggers.
#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "instrumentation/AllocationCount.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WorkerHold.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv::KivPcmInfo;
using ::kiv::KivSampleFormat;
using ::kiv::KivStreamType;
using ::kiv_test::kNoTag;
using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using ::kiv_test::session;
using ::kiv_test::WorkerHold;
using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::KilledBySignal;
using testing::SizeIs;
using Type = NumericAggregationType;

constexpr KivErrorSeverity kError = KivErrorSeverity::ERROR;
constexpr KivStreamType kObject = KivStreamType::KIV_STREAM_TYPE_OBJECT;
constexpr KivPcmInfoExt kPcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};

class TelemetryLoggerReportsTest : public LoggerRig {
 protected:
  /// Captures error lines, which would only clutter the test's output.
  LogCapture log;
  std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::BLOCKING);
};

TEST_F(TelemetryLoggerReportsTest, AnErrorHasItsFourFields) {
  logger->logErrorCode("code", "api", KivErrorSeverity::FATAL, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("code"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre("api"));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("class"));
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s"));
  EXPECT_THAT(ints("severity"), ElementsAre(3));
}

TEST_F(TelemetryLoggerReportsTest, AnErrorIsWrittenToTheLogUnderItsClass) {
  logger->logErrorCode("code", "api", KivErrorSeverity::INFO, "Mixer");
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_ERROR, "Mixer", "api - code"}));
}

/// The line that the Android log makes of an error.
LogLine formattedLine(const std::string& kiv_class, const std::string& api,
                      const std::string& error_code) {
  LogCapture log;
  __android_log_print(ANDROID_LOG_ERROR, kiv_class.c_str(), "%s - %s", api.c_str(),
                      error_code.c_str());
  return log.lines().at(0);
}

TEST_F(TelemetryLoggerReportsTest, AnErrorLineIsCutAtTheLimitOfFormattedLines) {
  for (const size_t size : {1019u, 1020u, 1021u, 1022u, 1023u, 1024u, 5000u}) {
    const LogLine in_code = formattedLine("class", "a", std::string(size, 'c'));
    const LogLine in_api = formattedLine("class", std::string(size, 'a'), "code");
    const LogCapture written;
    logger->logErrorCode(std::string(size, 'c'), "a", kError, "class");
    logger->logErrorCode("code", std::string(size, 'a'), kError, "class");
    EXPECT_THAT(written.lines(), ElementsAre(in_code, in_api)) << size;
  }
}

TEST_F(TelemetryLoggerReportsTest, TheTextsOfAnErrorLineEndAtTheirFirstNul) {
  const std::string text("a\0b", 3);
  const LogLine formatted = formattedLine(text, text, text);
  const LogCapture written;
  logger->logErrorCode(text, text, kError, text);
  EXPECT_THAT(written.lines(), ElementsAre(formatted));
}

TEST_F(TelemetryLoggerReportsTest, WithoutAClassTheTagIsEmptyAndTheLoggersNameIsReported) {
  logger->logErrorCode("code", "api", kError, "");
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_ERROR, "", "api - code"}));
  logger->flush();
  EXPECT_THAT(strings("kiv_class"), ElementsAre("logger"));
}

TEST_F(TelemetryLoggerReportsTest, AnEmptyClassMergesWithTheLoggersNameAsClass) {
  logger->logErrorCode("code", "api", kError, "");
  logger->logErrorCode("code", "api", kError, "logger");
  logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2));
}

TEST_F(TelemetryLoggerReportsTest, CatalogueErrorsAreNamed) {
  logger->logKivErrorCode(KivError::MMAP_FAILED, "api", kError, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kiv.MMAP_FAILED"));
}

TEST_F(TelemetryLoggerReportsTest, CatalogueErrorsHaveTheirDetail) {
  logger->logKivErrorCode(KivError::MMAP_FAILED, -12, "api", kError, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kiv.MMAP_FAILED=-12"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre("api"));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("class"));
  EXPECT_THAT(ints("severity"), ElementsAre(2));
}

TEST_F(TelemetryLoggerReportsTest, UnlistedErrorsAreNumbers) {
  logger->logKivErrorCode(KivError(9999), "api", kError, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kiv.9999"));
}

TEST_F(TelemetryLoggerReportsTest, AndroidStatusesAreNamedByThePlatform) {
  logger->logAndroidStatusErrorCode(-EPIPE, "api", KivErrorSeverity::WARNING);
  logger->logAndroidStatusErrorCode(-EACCES, "api", KivErrorSeverity::WARNING);
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"),
              ElementsAre("android." + statusToString(-EACCES), "android.DEAD_OBJECT"));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("logger", "logger"));
  EXPECT_THAT(ints("severity"), ElementsAre(1, 1));
}

TEST_F(TelemetryLoggerReportsTest, AnAndroidStatusIsWrittenToTheLogWithoutAClass) {
  logger->logAndroidStatusErrorCode(-EPIPE, "api", kError);
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, "", "api - android.DEAD_OBJECT"}));
}

class OverriddenErrors : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  void logErrorCode(const std::string& error_code, const std::string& /*api*/,
                    KivErrorSeverity /*severity*/, const std::string& /*kiv_class*/) override {
    seen.push_back(error_code);
  }

  std::vector<std::string> seen;
};

TEST_F(TelemetryLoggerReportsTest, EveryErrorReportReachesAnOverride) {
  const auto overridden = makeLoggerOf<OverriddenErrors>(Model::NON_BLOCKING);
  overridden->logKivErrorCode(KivError::OK, "api", kError, "class");
  overridden->logKivErrorCode(KivError::OK, 3, "api", kError, "class");
  overridden->logAndroidStatusErrorCode(0, "api", kError);
  EXPECT_THAT(overridden->seen, ElementsAre("kiv.OK", "kiv.OK=3", "android.OK"));
}

/// Records the threads on which errors are logged.
class ErrorThreads : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  void logErrorCode(const std::string& error_code, const std::string& api,
                    KivErrorSeverity severity, const std::string& kiv_class) override {
    threads.push_back(std::this_thread::get_id());
    TelemetryLogger::logErrorCode(error_code, api, severity, kiv_class);
  }

  std::vector<std::thread::id> threads;
};

TEST_F(TelemetryLoggerReportsTest, TheWorkerCallsTheOverrideToo) {
  const auto overridden = makeLoggerOf<ErrorThreads>(Model::BLOCKING);
  std::thread::id worker;
  ASSERT_TRUE(runner.postTaskAndWait([&] { worker = std::this_thread::get_id(); }).ok());
  overridden->logErrorCode("code", "api", kError, "class");
  EXPECT_THAT(overridden->threads, ElementsAre(std::this_thread::get_id(), worker));
  overridden->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1));
}

TEST_F(TelemetryLoggerReportsTest, AStreamEventHasItsDescriptorsFields) {
  logger->logStreamEvent(kPcm, kObject, "start");
  logger->flush();
  EXPECT_THAT(strings("kiv_event"), ElementsAre("start"));
  EXPECT_THAT(strings("pcm_format"), ElementsAre("AUDIO_FORMAT_PCM_16_BIT"));
  EXPECT_THAT(strings("stream_type"), ElementsAre("KIV_STREAM_TYPE_OBJECT"));
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s"));
  EXPECT_THAT(ints("sample_rate"), ElementsAre(48000));
  EXPECT_THAT(ints("samples"), ElementsAre(960));
  EXPECT_THAT(ints("channels"), ElementsAre(2));
  EXPECT_THAT(ints("interleaved"), ElementsAre(1));
}

TEST_F(TelemetryLoggerReportsTest, ACompactDescriptorIsConverted) {
  const KivPcmInfo pcm{0, KivSampleFormat::SAMPLE_FORMAT_PCM_8, 44100, 6, 480, false};
  logger->logStreamEvent(pcm, kObject, "start");
  logger->flush();
  EXPECT_THAT(strings("pcm_format"), ElementsAre("AUDIO_FORMAT_PCM_8_BIT"));
  EXPECT_THAT(ints("sample_rate"), ElementsAre(44100));
  EXPECT_THAT(ints("samples"), ElementsAre(480));
  EXPECT_THAT(ints("channels"), ElementsAre(6));
  EXPECT_THAT(ints("interleaved"), ElementsAre(0));
}

TEST_F(TelemetryLoggerReportsTest, LatenciesAreAveragedPerConfiguration) {
  KivPcmInfoExt other = kPcm;
  other.channels = 1;
  logger->logAudioLatency(kPcm, kObject, milliseconds(10));
  logger->logAudioLatency(kPcm, kObject, milliseconds(20));
  logger->logAudioLatency(other, kObject, milliseconds(30));
  logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1, 2));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("AVG", "AVG"));
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s", "s"));
}

TEST_F(TelemetryLoggerReportsTest, LatenciesOfBothFormsOfADescriptorHaveTheSameKey) {
  const KivPcmInfo compact{0, KivSampleFormat::SAMPLE_FORMAT_PCM_16, 48000, 2, 960, true};
  logger->logAudioLatency(compact, kObject, milliseconds(10));
  logger->logAudioLatency(kPcm, kObject, milliseconds(20));
  logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2));
}

TEST_F(TelemetryLoggerReportsTest, Int64IsReportedAsLongLong) {
  logger->logKivEvent<int64_t>("n", 1, Type::SUM);
  logger->logKivEvent<long long>("n", 2, Type::SUM);
  logger->logKivEvent<long>("n", 3, Type::SUM);
  logger->logKivEvent("n", 4, Type::SUM);
  logger->flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(10));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(4));
}

TEST_F(TelemetryLoggerReportsTest, FloatsReachTheirAggregation) {
  logger->logKivEvent<float>("n", 0.5F, Type::MAX);
  logger->logKivEvent("n", 0.75F, Type::MAX);
  logger->flush();
  ASSERT_THAT(events(), SizeIs(1));
  EXPECT_EQ(events()[0].floats.at("value_float"), 0.75F);
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s"));
}

TEST_F(TelemetryLoggerReportsTest, StringsAreCounted) {
  logger->logKivEvent<std::string>("n", "v", Type::COUNT);
  logger->logKivEvent("n", std::string("v"), Type::COUNT);
  logger->flush();
  EXPECT_THAT(strings("value_string"), ElementsAre("v"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2));
}

TEST_F(TelemetryLoggerReportsTest, ClientCallsAreCountedStrings) {
  logger->logKivClientCall("open", "ok");
  logger->flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("client_api_call.open"));
  EXPECT_THAT(strings("value_string"), ElementsAre("ok"));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("COUNT"));
}

TEST_F(TelemetryLoggerReportsTest, NamesHaveTheirPrefixOnEveryThread) {
  const auto immediate = makeLogger(Model::LOCKING_IMMEDIATE);
  immediate->logKivClientCall("open", "ok");
  immediate->kiv_endTraceSection(immediate->kiv_beginTraceSection("open"));
  ASSERT_TRUE(runner.postTaskAndWait([&] { logger->logKivClientCall("close", "ok"); }).ok());
  logger->flush();
  EXPECT_THAT(strings("kiv_event_name"),
              ElementsAre("client_api_call.open", "api_latency_us.open", "client_api_call.close"));
}

TEST_F(TelemetryLoggerReportsTest, ClientCallsAndCountedStringsHaveTheSameKey) {
  logger->logKivClientCall("open", "ok");
  logger->logKivEvent<std::string>("client_api_call.open", "ok", Type::COUNT);
  logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2));
}

TEST_F(TelemetryLoggerReportsTest, TextsAreNotFormatStrings) {
  const std::string text = "%n%s%d%";
  logger->logErrorCode(text, text, kError, text);
  logger->logStreamEvent(kPcm, kObject, text);
  logger->logKivEvent<std::string>(text, text, Type::COUNT);
  logger->flush();
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_ERROR, text, text + " - " + text}));
  EXPECT_THAT(strings("kiv_error_code"), Contains(text));
  EXPECT_THAT(strings("kiv_event"), Contains(text));
  EXPECT_THAT(strings("value_string"), Contains(text));
}

TEST_F(TelemetryLoggerReportsTest, SessionsNeverMerge) {
  const auto other = makeLogger(Model::BLOCKING, "logger", "t");
  logger->logErrorCode("code", "api", kError, "class");
  other->logErrorCode("code", "api", kError, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s", "t"));
}

TEST_F(TelemetryLoggerReportsTest, ABlockingReportIsCountedWhenTheCallReturns) {
  logger->logErrorCode("code", "api", kError, "class");
  EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(TelemetryLoggerReportsTest, ABlockingLatencyIsCountedWhenTheCallReturns) {
  // The worker is idle, so this thread may flush the window itself.
  logger->logAudioLatency(kPcm, kObject, milliseconds(10));
  latencies->flush();
  EXPECT_THAT(events(), SizeIs(1));
}

TEST_F(TelemetryLoggerReportsTest, ANonBlockingReportDoesNotWaitForTheWorker) {
  const auto non_blocking = makeLogger(Model::NON_BLOCKING);
  WorkerHold hold(runner);
  non_blocking->logErrorCode("code", "api", kError, "class");
  non_blocking->logAudioLatency(kPcm, kObject, milliseconds(10));
  EXPECT_THAT(log.lines(), IsEmpty());
  hold.release();
  settle();
  EXPECT_THAT(log.lines(), SizeIs(1));
}

TEST_F(TelemetryLoggerReportsTest, ANonBlockingReportAllocatesItsTaskAndAPlaceInTheQueue) {
  const auto non_blocking = makeLogger(Model::NON_BLOCKING);
  WorkerHold hold(runner);
  const std::string error_code = "kiv.SERVICE_STREAM_NOT_READY";
  const std::string api = "configureAudioStream";
  const std::string kiv_class = "SpatialAudioSink";
  const ::kiv_test::AllocationCount allocations;
  non_blocking->logErrorCode(error_code, api, kError, kiv_class);
  EXPECT_EQ(allocations.count(), 2u);
  hold.release();
  settle();
}

TEST_F(TelemetryLoggerReportsTest, LongTextsArriveUncut) {
  const std::string text(100000, 'x');
  logger->logErrorCode(text + "1", text + "2", kError, text + "3");
  logger->flush();
  EXPECT_TRUE(strings("kiv_error_code").at(0) == text + "1");
  EXPECT_TRUE(strings("kiv_api").at(0) == text + "2");
  EXPECT_TRUE(strings("kiv_class").at(0) == text + "3");
}

TEST_F(TelemetryLoggerReportsTest, AShortReportAfterALongOneHasOnlyItsOwnTexts) {
  logger->logErrorCode("a long code", "a long api", kError, "a long class");
  logger->flush();
  recorder.reset();
  logger->logErrorCode("code", "", kError, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("code"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre(""));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("class"));
}

TEST_F(TelemetryLoggerReportsTest, AReportMadeOnTheWorkerIsCountedAtOnce) {
  size_t lines = 0;
  ASSERT_TRUE(runner
                  .postTaskAndWait([&] {
                    logger->logErrorCode("code", "api", kError, "class");
                    lines = log.lines().size();
                  })
                  .ok());
  EXPECT_EQ(lines, 1u);
}

TEST_F(TelemetryLoggerReportsTest, EveryKindCanBeReportedOnTheWorker) {
  ASSERT_TRUE(runner
                  .postTaskAndWait([&] {
                    logger->logStreamEvent(kPcm, kObject, "start");
                    logger->logAudioLatency(kPcm, kObject, milliseconds(10));
                    logger->logKivEvent<long long>("n", 1, Type::SUM);
                    logger->logKivEvent<float>("n", 1, Type::SUM);
                    logger->logKivClientCall("open", "ok");
                  })
                  .ok());
  logger->flush();
  EXPECT_THAT(events(), SizeIs(5));
}

TEST_F(TelemetryLoggerReportsTest, EveryImmediateReportIsSubmittedAtOnce) {
  const auto immediate = makeLogger(Model::LOCKING_IMMEDIATE);
  size_t submitted = 0;
  const auto expectOneMore = [&] { EXPECT_EQ(events().size(), ++submitted); };
  immediate->logErrorCode("code", "api", kError, "class");
  expectOneMore();
  immediate->logStreamEvent(kPcm, kObject, "start");
  expectOneMore();
  immediate->logAudioLatency(kPcm, kObject, milliseconds(10));
  expectOneMore();
  immediate->logKivEvent<long long>("n", 1, Type::SUM);
  expectOneMore();
  immediate->logKivEvent<float>("n", 1, Type::SUM);
  expectOneMore();
  immediate->logKivClientCall("open", "ok");
  expectOneMore();
}

TEST_F(TelemetryLoggerReportsTest, EqualImmediateReportsAreSeparateEvents) {
  const auto immediate = makeLogger(Model::LOCKING_IMMEDIATE);
  immediate->logErrorCode("code", "api", kError, "class");
  immediate->logErrorCode("code", "api", kError, "class");
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1, 1));
}

TEST_F(TelemetryLoggerReportsTest, AReportToAStoppedLoggerIsLoggedAndDropped) {
  logger->stop();
  logger->logStreamEvent(kPcm, kObject, "start");
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "add: TimedAggregationManager not running! Cannot add."}));
}

TEST_F(TelemetryLoggerReportsTest, AnErrorIsWrittenToTheLogBeforeItIsDropped) {
  logger->stop();
  logger->logErrorCode("code", "api", kError, "class");
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, "class", "api - code"},
                          LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "add: TimedAggregationManager not running! Cannot add."}));
}

TEST_F(TelemetryLoggerReportsTest, AnImmediateReportToAStoppedLoggerLogsAFailedFlush) {
  const auto immediate = makeLogger(Model::LOCKING_IMMEDIATE);
  immediate->stop();
  immediate->logStreamEvent(kPcm, kObject, "start");
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "add: TimedAggregationManager not running! Cannot add."},
                          LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "flush: TimedAggregationManager not running! Cannot flush."}));
}

TEST_F(TelemetryLoggerReportsTest, AQueuedReportHasCopiesOfItsArguments) {
  const auto non_blocking = makeLogger(Model::NON_BLOCKING);
  WorkerHold hold(runner);
  KivPcmInfoExt pcm = kPcm;
  std::string event = "start";
  non_blocking->logStreamEvent(pcm, kObject, event);
  non_blocking->logAudioLatency(pcm, kObject, milliseconds(10));
  pcm.channels = 6;
  event = "other";
  hold.release();
  settle();
  non_blocking->logAudioLatency(kPcm, kObject, milliseconds(20));
  non_blocking->flush();
  ASSERT_THAT(events(), SizeIs(2));
  EXPECT_EQ(events()[0].strings.at("kiv_event"), "start");
  EXPECT_EQ(events()[0].ints.at("channels"), 2);
  EXPECT_EQ(events()[1].ints.at("aggregated_count"), 2);
}

TEST_F(TelemetryLoggerReportsTest, AQueuedReportKeepsItsLoggerAlive) {
  auto owner = makeLogger(Model::NON_BLOCKING);
  const std::weak_ptr<TelemetryLogger> watch = owner;
  WorkerHold hold(runner);
  owner->logErrorCode("code", "api", kError, "class");
  owner.reset();
  EXPECT_FALSE(watch.expired());
  hold.release();
  settle();
  EXPECT_TRUE(watch.expired());
}

TEST_F(TelemetryLoggerReportsTest, EveryKindButLatencyKeepsItsLoggerAlive) {
  const auto owner = makeLogger(Model::NON_BLOCKING);
  WorkerHold hold(runner);
  long owners = owner.use_count();
  const auto expectOneMoreOwner = [&] { EXPECT_EQ(owner.use_count(), ++owners); };
  owner->logErrorCode("code", "api", kError, "class");
  expectOneMoreOwner();
  owner->logStreamEvent(kPcm, kObject, "start");
  expectOneMoreOwner();
  owner->logKivEvent<long long>("n", 1, Type::SUM);
  expectOneMoreOwner();
  owner->logKivEvent<float>("n", 1, Type::SUM);
  expectOneMoreOwner();
  owner->logKivEvent<std::string>("n", "v", Type::SUM);
  expectOneMoreOwner();
  owner->logAudioLatency(kPcm, kObject, milliseconds(10));
  EXPECT_EQ(owner.use_count(), owners);
  hold.release();
  settle();
}

TEST_F(TelemetryLoggerReportsTest, AReportWhoseWaitTimesOutIsDroppedWithoutALogLine) {
  thread = TaskRunnerThread::create(milliseconds(1));
  runner = TaskRunner(thread);
  const auto blocking = makeLogger(Model::BLOCKING);
  Latch drained;
  WorkerHold hold(runner);
  blocking->logErrorCode("code", "api", kError, "class");
  runner.postTask([&] { drained.countDown(); });
  hold.release();
  drained.wait();
  EXPECT_THAT(log.lines(), IsEmpty());
}

using TelemetryLoggerReportsDeathTest = TelemetryLoggerReportsTest;

TEST_F(TelemetryLoggerReportsDeathTest, ReportingThroughALoggerWithoutASharedPtrAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  TelemetryLogger unowned(session("s"), "n", thread, error_codes, stream_events, latencies,
                          integers, floats, texts, Model::NON_BLOCKING);
  const auto aborted = KilledBySignal(SIGABRT);
  EXPECT_EXIT(unowned.logErrorCode("", "", kError, ""), aborted, "");
  EXPECT_EXIT(unowned.logStreamEvent(kPcm, kObject, ""), aborted, "");
  EXPECT_EXIT(unowned.logKivEvent<long long>("", 0, Type::SUM), aborted, "");
  EXPECT_EXIT(unowned.logKivEvent<std::string>("", "", Type::SUM), aborted, "");
}

TEST_F(TelemetryLoggerReportsTest, OnTheWorkerALoggerWithoutASharedPtrCanReport) {
  TelemetryLogger unowned(session("s"), "n", thread, error_codes, stream_events, latencies,
                          integers, floats, texts, Model::NON_BLOCKING);
  ASSERT_TRUE(runner.postTaskAndWait([&] { unowned.logStreamEvent(kPcm, kObject, "start"); }).ok());
  EXPECT_TRUE(unowned.flush());
  EXPECT_THAT(strings("kiv_event"), ElementsAre("start"));
}

TEST_F(TelemetryLoggerReportsTest, LatencyCanBeReportedThroughALoggerWithoutASharedPtr) {
  TelemetryLogger unowned(session("s"), "n", thread, error_codes, stream_events, latencies,
                          integers, floats, texts, Model::NON_BLOCKING);
  unowned.logAudioLatency(kPcm, kObject, milliseconds(10));
  EXPECT_TRUE(unowned.flush());
  EXPECT_THAT(events(), SizeIs(1));
}

TEST_F(TelemetryLoggerReportsTest, CountsAddUpWithReportsFromManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kReports = 500;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const auto own = makeLogger(i % 2 == 0 ? Model::NON_BLOCKING : Model::BLOCKING);
      for (int j = 0; j < kReports; ++j) {
        own->logKivEvent<long long>("n", 1, Type::SUM);
        if (j % 100 == 0) own->flush();
      }
    });
  }
  for (auto& reporting : threads) reporting.join();
  settle();
  logger->flush();
  int64_t total = 0;
  for (const int64_t count : ints("aggregated_count")) total += count;
  EXPECT_EQ(total, kThreads * kReports);
}

}  // namespace
}  // namespace android::kiv
