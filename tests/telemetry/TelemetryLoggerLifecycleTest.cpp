// Construction, submission models and lifecycle of loggers.
#include <gmock/gmock.h>

#include <thread>
#include <type_traits>

#include "tests/support/FakeClock.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WorkerHold.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using ::kiv_test::session;
using ::kiv_test::WorkerHold;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::KilledBySignal;
using testing::SizeIs;

class TelemetryLoggerLifecycleTest : public LoggerRig {
 protected:
  /// Makes one report of every kind.
  static void reportEveryKind(TelemetryLogger& logger) {
    const KivPcmInfoExt pcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
    logger.logKivEvent<std::string>("text", "", NumericAggregationType::COUNT);
    logger.logKivEvent<float>("float", 0.0F, NumericAggregationType::AVG);
    logger.logKivEvent<long long>("integer", 0, NumericAggregationType::AVG);
    logger.logAudioLatency(pcm, ::kiv::KivStreamType(2), std::chrono::milliseconds(1));
    logger.logStreamEvent(pcm, ::kiv::KivStreamType(2), "start");
    logger.logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  }

  std::vector<std::string> eventNames() const {
    std::vector<std::string> names;
    for (const auto& event : events()) {
      const auto generic = event.strings.find("kiv_event_name");
      names.push_back(generic != event.strings.end() ? generic->second : event.name);
    }
    return names;
  }
};

TEST(TelemetrySubmissionModel, IsA32BitNumberFromZeroToTwo) {
  static_assert(std::is_same_v<std::underlying_type_t<TelemetrySubmissionModel>, int32_t>);
  EXPECT_EQ(static_cast<int>(TelemetrySubmissionModel::NON_BLOCKING), 0);
  EXPECT_EQ(static_cast<int>(TelemetrySubmissionModel::BLOCKING), 1);
  EXPECT_EQ(static_cast<int>(TelemetrySubmissionModel::LOCKING_IMMEDIATE), 2);
}

TEST_F(TelemetryLoggerLifecycleTest, IsATelemetryHandlerWithoutPointerAdjustment) {
  const auto logger = makeLogger(Model::NON_BLOCKING);
  const TelemetryHandler* const handler = logger.get();
  EXPECT_EQ(static_cast<const void*>(handler), static_cast<const void*>(logger.get()));
}

TEST_F(TelemetryLoggerLifecycleTest, ALoggerIsConstructedRunning) {
  for (const Model model : {Model::NON_BLOCKING, Model::BLOCKING, Model::LOCKING_IMMEDIATE}) {
    EXPECT_TRUE(makeLogger(model)->flush());
  }
}

TEST_F(TelemetryLoggerLifecycleTest, FlushOfAFreshLoggerSendsNothing) {
  EXPECT_TRUE(makeLogger(Model::NON_BLOCKING)->flush());
  EXPECT_THAT(recorder.calls(), IsEmpty());
}

TEST_F(TelemetryLoggerLifecycleTest, ConstructingAnotherLoggerDoesNotRestartRunningManagers) {
  const auto first = makeLogger(Model::BLOCKING);
  reportEveryKind(*first);
  const auto second = makeLogger(Model::BLOCKING);
  first->flush();
  EXPECT_THAT(events(), SizeIs(6));
}

TEST_F(TelemetryLoggerLifecycleTest, FlushVisitsTheKindsInTheirOrder) {
  const auto logger = makeLogger(Model::BLOCKING);
  reportEveryKind(*logger);
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(eventNames(), ElementsAre("wexo_kiv_error_code", "wexo_kiv_stream_event", "",
                                        "integer", "float", "text"));
}

TEST_F(TelemetryLoggerLifecycleTest, StopVisitsTheKindsInTheirOrder) {
  const auto logger = makeLogger(Model::BLOCKING);
  reportEveryKind(*logger);
  EXPECT_TRUE(logger->stop());
  EXPECT_THAT(eventNames(), ElementsAre("wexo_kiv_error_code", "wexo_kiv_stream_event", "",
                                        "integer", "float", "text"));
}

TEST_F(TelemetryLoggerLifecycleTest, FlushActsOnAllKindsEvenIfOneIsNotRunning) {
  const auto logger = makeLogger(Model::BLOCKING);
  reportEveryKind(*logger);
  error_codes->stop();
  recorder.reset();
  EXPECT_FALSE(logger->flush());
  EXPECT_THAT(events(), SizeIs(5));
}

TEST_F(TelemetryLoggerLifecycleTest, StopActsOnAllKindsEvenIfOneIsNotRunning) {
  const auto logger = makeLogger(Model::BLOCKING);
  reportEveryKind(*logger);
  error_codes->stop();
  recorder.reset();
  EXPECT_FALSE(logger->stop());
  EXPECT_THAT(events(), SizeIs(5));
}

TEST_F(TelemetryLoggerLifecycleTest, FlushIsTrueOnlyIfEveryKindWasRunning) {
  const auto logger = makeLogger(Model::BLOCKING);
  const auto expectFalseWithout = [&](auto& manager) {
    manager->stop();
    EXPECT_FALSE(logger->flush());
    manager->start();
    EXPECT_TRUE(logger->flush());
  };
  expectFalseWithout(error_codes);
  expectFalseWithout(stream_events);
  expectFalseWithout(latencies);
  expectFalseWithout(integers);
  expectFalseWithout(floats);
  expectFalseWithout(texts);
}

TEST_F(TelemetryLoggerLifecycleTest, StopIsTrueOnlyIfEveryKindWasRunning) {
  const auto logger = makeLogger(Model::BLOCKING);
  const auto expectFalseWithout = [&](auto& manager) {
    EXPECT_TRUE(logger->start());
    manager->stop();
    EXPECT_FALSE(logger->stop());
    EXPECT_TRUE(logger->start());
    EXPECT_TRUE(logger->stop());
  };
  expectFalseWithout(error_codes);
  expectFalseWithout(stream_events);
  expectFalseWithout(latencies);
  expectFalseWithout(integers);
  expectFalseWithout(floats);
  expectFalseWithout(texts);
}

TEST_F(TelemetryLoggerLifecycleTest, AnImmediateLoggerStopsOnceAndStartsAgain) {
  const auto logger = makeLogger(Model::LOCKING_IMMEDIATE);
  EXPECT_TRUE(logger->stop());
  EXPECT_FALSE(logger->stop());
  EXPECT_TRUE(logger->start());
  EXPECT_TRUE(logger->stop());
}

TEST_F(TelemetryLoggerLifecycleTest, StoppingOneTaskRunnerLoggerStopsTheOthers) {
  const auto first = makeLogger(Model::NON_BLOCKING);
  const auto second = makeLogger(Model::BLOCKING);
  EXPECT_TRUE(first->stop());
  EXPECT_FALSE(second->flush());
  EXPECT_TRUE(second->start());
  EXPECT_TRUE(first->flush());
}

TEST_F(TelemetryLoggerLifecycleTest, ImmediateLoggersShareNothing) {
  const auto first = makeLogger(Model::LOCKING_IMMEDIATE);
  const auto second = makeLogger(Model::LOCKING_IMMEDIATE);
  EXPECT_TRUE(first->stop());
  EXPECT_TRUE(second->flush());
}

TEST_F(TelemetryLoggerLifecycleTest, ReportsMadeWhileStoppedAreDropped) {
  const auto logger = makeLogger(Model::BLOCKING);
  logger->stop();
  {
    const LogCapture quiet;
    logger->logErrorCode("lost", "api", KivErrorSeverity::INFO, "class");
  }
  logger->start();
  logger->logErrorCode("kept", "api", KivErrorSeverity::INFO, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kept"));
}

TEST_F(TelemetryLoggerLifecycleTest, LifecycleWorksInsideATaskOnTheWorker) {
  const auto logger = makeLogger(Model::BLOCKING);
  bool stopped = false;
  bool flushed = true;
  bool started = false;
  ASSERT_TRUE(runner
                  .postTaskAndWait([&] {
                    stopped = logger->stop();
                    flushed = logger->flush();
                    started = logger->start();
                  })
                  .ok());
  EXPECT_TRUE(stopped);
  EXPECT_FALSE(flushed);
  EXPECT_TRUE(started);
}

TEST_F(TelemetryLoggerLifecycleTest, FlushWaitsForTheWorkerInTheNonBlockingModelToo) {
  const auto logger = makeLogger(Model::NON_BLOCKING);
  logger->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  logger->flush();
  ASSERT_THAT(events(), SizeIs(1));
  EXPECT_NE(events()[0].thread, std::this_thread::get_id());
}

TEST_F(TelemetryLoggerLifecycleTest, AnImmediateLoggerFlushesOnTheCallersThread) {
  const auto logger = makeLogger(Model::LOCKING_IMMEDIATE);
  logger->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  ASSERT_THAT(events(), SizeIs(1));
  EXPECT_EQ(events()[0].thread, std::this_thread::get_id());
}

TEST_F(TelemetryLoggerLifecycleTest, LifecycleCallsFailWhenTheWorkerIsBusy) {
  thread = TaskRunnerThread::create(std::chrono::milliseconds(1));
  runner = TaskRunner(thread);
  const auto logger = makeLogger(Model::NON_BLOCKING);
  WorkerHold hold(runner);
  const LogCapture log;
  EXPECT_FALSE(logger->start());
  EXPECT_FALSE(logger->flush());
  EXPECT_FALSE(logger->stop());
  EXPECT_THAT(log.lines(), IsEmpty());
}

class CountingFlushes : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  bool flush() override {
    ++flushes;
    return TelemetryLogger::flush();
  }

  int flushes = 0;
};

TEST_F(TelemetryLoggerLifecycleTest, ThePostedFlushIsTheOverriddenOne) {
  const auto logger = makeLoggerOf<CountingFlushes>(Model::NON_BLOCKING);
  EXPECT_TRUE(logger->TelemetryLogger::flush());
  EXPECT_EQ(logger->flushes, 1);
}

TEST_F(TelemetryLoggerLifecycleTest, LastReferenceDroppedByTheWorkerLogsNothing) {
  auto logger = makeLogger(Model::NON_BLOCKING);
  const std::weak_ptr<TelemetryLogger> watch = logger;
  Latch released;
  WorkerHold hold(runner);
  logger->logErrorCode("last words", "api", KivErrorSeverity::INFO, "class");
  runner.postTask([&] { released.countDown(); });
  logger.reset();
  thread.reset();
  EXPECT_FALSE(watch.expired());
  hold.release();
  released.wait();
  EXPECT_TRUE(watch.expired());
  error_codes->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("last words"));
}

TEST_F(TelemetryLoggerLifecycleTest, DestroyingAnImmediateLoggerDestroysItsHandlers) {
  makeLogger(Model::LOCKING_IMMEDIATE)->logErrorCode("code", "api", KivErrorSeverity::INFO, "c");
  EXPECT_EQ(recorder.calls().back(), "destroyTelemetryHandler(9)");
}

using TelemetryLoggerDeathTest = TelemetryLoggerLifecycleTest;

constexpr char kConstructorCheck[] =
    "submission_model != TelemetrySubmissionModel::LOCKING_IMMEDIATE failed in "
    "TelemetryLogger:41\n(.|\n)*"
    "\\[services/kiv/telemetry/TelemetryLogger:41\\] "
    "\\(submission_model != TelemetrySubmissionModel::LOCKING_IMMEDIATE\\) "
    "The TelemetryLogger constructor without logger managers should be used for a submission "
    "model of LOCKING_IMMEDIATE\n";

TEST_F(TelemetryLoggerDeathTest, TheConstructorWithManagersRefusesTheImmediateModel) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(TelemetryLogger(session("s"), "n", thread, error_codes, stream_events, latencies,
                              integers, floats, texts, Model::LOCKING_IMMEDIATE),
              KilledBySignal(SIGABRT), kConstructorCheck);
}

constexpr char kModelCheck[] =
    "submission_model_ == TelemetrySubmissionModel::LOCKING_IMMEDIATE \\|\\| "
    "\\(task_runner_thread_ != nullptr && task_runner_ != std::nullopt\\) failed in "
    "ensureLoggerRespectsTelemetrySubmissionModel:351\n(.|\n)*"
    "\\[services/kiv/telemetry/include/kiv/TelemetryLogger:351\\] "
    "\\(submission_model_ == TelemetrySubmissionModel::LOCKING_IMMEDIATE \\|\\| "
    "\\(task_runner_thread_ != nullptr && task_runner_ != std::nullopt\\)\\) "
    "TelemetryLogger has a TelemetrySubmissionModel which requires a valid TaskRunnerThread and "
    "TaskRunner member, but at least one is null\n";

TEST_F(TelemetryLoggerDeathTest, WithoutAThreadTheFirstOperationAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  thread.reset();
  const auto logger = makeLogger(Model::NON_BLOCKING);
  const KivPcmInfoExt pcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
  const auto type = ::kiv::KivStreamType(2);
  const auto aborted = KilledBySignal(SIGABRT);
  EXPECT_EXIT(logger->start(), aborted, kModelCheck);
  EXPECT_EXIT(logger->stop(), aborted, kModelCheck);
  EXPECT_EXIT(logger->flush(), aborted, kModelCheck);
  EXPECT_EXIT(logger->logErrorCode("", "", KivErrorSeverity::INFO, ""), aborted, kModelCheck);
  EXPECT_EXIT(logger->logStreamEvent(pcm, type, ""), aborted, kModelCheck);
  EXPECT_EXIT(logger->logAudioLatency(pcm, type, std::chrono::milliseconds(1)), aborted,
              kModelCheck);
  EXPECT_EXIT(logger->logKivEvent<long long>("", 0, NumericAggregationType::SUM), aborted,
              kModelCheck);
  EXPECT_EXIT(logger->logKivEvent<std::string>("", "", NumericAggregationType::SUM), aborted,
              kModelCheck);
}

TEST_F(TelemetryLoggerLifecycleTest, WithoutAThreadALoggerCanBeMadeAndStartTraces) {
  thread.reset();
  const auto logger = makeLogger(Model::NON_BLOCKING);
  EXPECT_NE(logger->startTrace("class", "name"), nullptr);
}

}  // namespace
}  // namespace android::kiv
