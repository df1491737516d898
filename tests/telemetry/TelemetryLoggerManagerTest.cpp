// The process-wide manager and the handles by which clients reach it.
#include <gmock/gmock.h>

#include <set>
#include <thread>

#include "kiv/TelemetryLogger.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PrivateMembers.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/TestSessions.h"
#include "tests/support/WorkerHold.h"

namespace android::kiv {

namespace {

using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using ::kiv_test::WorkerHold;
using testing::ElementsAre;
using testing::SizeIs;

/// There is one manager per process: resets the state that earlier tests left.
class TelemetryLoggerManagerTest : public RecorderTest {
 protected:
  TelemetryLoggerManagerTest() {
    defaultLogger()->start();
    defaultLogger()->flush();
    recorder.reset();
  }

  static std::shared_ptr<TelemetryLogger> defaultLogger() {
    return TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  }

  /// Reports through `logger`, and returns the session of the event.
  std::string sessionOf(TelemetryLogger& logger) {
    recorder.reset();
    logger.logKivEvent<long long>("n", 1, NumericAggregationType::SUM);
    logger.flush();
    return strings("kiv_session_id").at(0);
  }

  /// Reports while the worker is blocked. A call that waits would time out and lose the report.
  void expectNotToBlock(TelemetryLogger& logger) {
    recorder.reset();
    TaskRunner runner(kiv_test::workerOf(TelemetryLoggerManager::getInstance()));
    WorkerHold hold(runner);
    logger.logKivEvent<long long>("n", 1, NumericAggregationType::SUM);
    hold.release();
    ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
    logger.flush();
    EXPECT_THAT(ints("aggregated_count"), ElementsAre(1));
  }

  /// The class that is reported for an error without a class: the logger's name.
  std::string nameOf(TelemetryHandler& logger) {
    recorder.reset();
    const LogCapture quiet;
    logger.logErrorCode("code", "api", KivErrorSeverity::INFO, "");
    logger.flush();
    return strings("kiv_class").at(0);
  }
};

TEST_F(TelemetryLoggerManagerTest, IsOnePerProcess) {
  EXPECT_EQ(&TelemetryLoggerManager::getInstance(), &TelemetryLoggerManager::getInstance());
}

TEST_F(TelemetryLoggerManagerTest, ConcurrentFirstCallersGetTheSameManager) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    Latch go;
    std::vector<TelemetryLoggerManager*> seen(4);
    std::vector<std::thread> threads;
    for (auto& manager : seen) {
      threads.emplace_back([&] {
        go.wait();
        manager = &TelemetryLoggerManager::getInstance();
      });
    }
    go.countDown();
    for (auto& thread : threads) thread.join();
    EXPECT_THAT(std::set<TelemetryLoggerManager*>(seen.begin(), seen.end()), SizeIs(1));
  });
}

TEST_F(TelemetryLoggerManagerTest, TheDefaultLoggerHasNoName) {
  EXPECT_EQ(nameOf(*defaultLogger()), "");
}

TEST_F(TelemetryLoggerManagerTest, TheDefaultLoggerReportsUnderTheRootSession) {
  EXPECT_EQ(sessionOf(*defaultLogger()).size(), 36u);
}

TEST_F(TelemetryLoggerManagerTest, TheDefaultLoggerDoesNotBlock) {
  expectNotToBlock(*defaultLogger());
}

TEST_F(TelemetryLoggerManagerTest, ALoggerByDefaultIsLikeTheDefaultLogger) {
  const auto logger = std::make_shared<TelemetryLogger>();
  EXPECT_EQ(sessionOf(*logger), sessionOf(*defaultLogger()));
  EXPECT_EQ(nameOf(*logger), "");
}

TEST_F(TelemetryLoggerManagerTest, ALoggerByDefaultDoesNotBlock) {
  expectNotToBlock(*std::make_shared<TelemetryLogger>());
}

TEST_F(TelemetryLoggerManagerTest, ATaskRunnerLoggerWithoutManagersSharesThoseOfTheProcess) {
  const auto logger =
      std::make_shared<TelemetryLogger>(session("s"), "n", TelemetrySubmissionModel::BLOCKING);
  EXPECT_TRUE(logger->stop());
  EXPECT_FALSE(defaultLogger()->flush());
  EXPECT_TRUE(defaultLogger()->start());
  EXPECT_EQ(sessionOf(*logger), "s");
}

TEST_F(TelemetryLoggerManagerTest, ATaskRunnerLoggerStartsTheManagersWithoutTheWorker) {
  EXPECT_TRUE(defaultLogger()->stop());
  TaskRunner runner(kiv_test::workerOf(TelemetryLoggerManager::getInstance()));
  WorkerHold hold(runner);
  const TelemetryLogger logger(session("s"), "n", TelemetrySubmissionModel::BLOCKING);
  hold.release();
  EXPECT_TRUE(defaultLogger()->flush());
}

TEST_F(TelemetryLoggerManagerTest, CreatesLoggersWithANewChildOfTheGivenSession) {
  const auto logger =
      kiv_test::createLogger(TelemetryLoggerManager::getInstance(), "n", session("parent"), false);
  const std::string text = sessionOf(*logger);
  EXPECT_EQ(text.rfind("parent.", 0), 0u);
  EXPECT_EQ(text.size(), 7u + 36);
}

TEST_F(TelemetryLoggerManagerTest, CreatesBlockingLoggersWhenAskedTo) {
  const LogCapture log;
  const auto logger =
      kiv_test::createLogger(TelemetryLoggerManager::getInstance(), "n", session("parent"), true);
  for (size_t i = 1; i <= 50; ++i) {
    logger->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
    ASSERT_THAT(log.lines(), SizeIs(i));
  }
}

using TelemetryEnvTest = TelemetryLoggerManagerTest;

TEST_F(TelemetryEnvTest, WithoutArgumentsReturnsTheDefaultLogger) {
  EXPECT_EQ(TelemetryEnv().getLogger(), defaultLogger());
  EXPECT_EQ(TelemetryEnv().getLogger(), TelemetryEnv().getLogger());
}

TEST_F(TelemetryEnvTest, WithANameReturnsANewLogger) {
  const TelemetryEnv first("Mixer");
  const TelemetryEnv second("Mixer");
  EXPECT_NE(first.getLogger(), second.getLogger());
  EXPECT_EQ(nameOf(*first.getLogger()), "Mixer");
  EXPECT_NE(sessionOf(*first.getLogger()), sessionOf(*second.getLogger()));
}

TEST_F(TelemetryEnvTest, NamedLoggersShareTheAggregations) {
  const TelemetryEnv first("Mixer");
  const TelemetryEnv second("Mixer");
  EXPECT_TRUE(first.getLogger()->stop());
  EXPECT_FALSE(second.getLogger()->flush());
  EXPECT_TRUE(second.getLogger()->start());
}

TEST_F(TelemetryEnvTest, ANamedLoggersSessionIsAChildOfTheDefaultLoggers) {
  const std::string root = sessionOf(*defaultLogger());
  const std::string text = sessionOf(*TelemetryEnv("Mixer").getLogger());
  EXPECT_EQ(text.substr(0, 37), root + ".");
  EXPECT_EQ(text.size(), 36u + 1 + 36);
}

TEST_F(TelemetryEnvTest, AGivenSessionIsTheParent) {
  const TelemetryEnv env("Mixer", session("top", session("root")));
  EXPECT_EQ(sessionOf(*env.getLogger()).rfind("root.top.", 0), 0u);
  EXPECT_EQ(nameOf(*env.getLogger()), "Mixer");
}

TEST_F(TelemetryEnvTest, ReturnsAGivenLogger) {
  const auto logger = std::make_shared<TelemetryLogger>();
  EXPECT_EQ(TelemetryEnv(logger).getLogger(), logger);
}

TEST_F(TelemetryEnvTest, LoggersDoNotBlock) {
  expectNotToBlock(*TelemetryEnv("Mixer").getLogger());
  expectNotToBlock(*TelemetryEnv("Mixer", session("s")).getLogger());
}

TEST_F(TelemetryEnvTest, RegistersTheDefaultLoggerWithTheDelegate) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    EXPECT_EQ(TelemetryDelegate::getInstance().getHandler(), nullptr);
    const TelemetryEnv env;
    EXPECT_EQ(TelemetryDelegate::getInstance().getHandler(), defaultLogger().get());
  });
}

TEST_F(TelemetryEnvTest, EveryConstructorRegisters) {
  const auto expectRegistered = [] {
    EXPECT_EQ(TelemetryDelegate::getInstance().getHandler(), defaultLogger().get());
  };
  KIV_EXPECT_IN_FRESH_PROCESS({
    const TelemetryEnv env("Mixer");
    expectRegistered();
  });
  KIV_EXPECT_IN_FRESH_PROCESS({
    const TelemetryEnv env("Mixer", session("s"));
    expectRegistered();
  });
  KIV_EXPECT_IN_FRESH_PROCESS({
    const TelemetryEnv env(defaultLogger());
    expectRegistered();
  });
}

TEST_F(TelemetryEnvTest, RegistersOncePerProcess) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const TelemetryEnv first;
    // The next registration replaces this one.
    TelemetryDelegate::getInstance().registerHandler(nullptr, nullptr);
    for (int i = 0; i < 9; ++i) const TelemetryEnv further("Mixer");
    EXPECT_EQ(TelemetryDelegate::getInstance().getHandler(), nullptr);
  });
}

TEST_F(TelemetryEnvTest, TheRegisteredFactoryMakesImmediateLoggersUnderTheRootSession) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const TelemetryEnv env;
    const LogCapture quiet;
    const auto handler = TelemetryDelegate::getInstance().createHandler("Client");
    defaultLogger()->stop();
    handler->logErrorCode("code", "api", KivErrorSeverity::INFO, "");
    EXPECT_THAT(strings("kiv_class"), ElementsAre("Client"));
    EXPECT_EQ(events()[0].thread, std::this_thread::get_id());
    const std::string session_of_handler = strings("kiv_session_id")[0];
    defaultLogger()->start();
    EXPECT_EQ(session_of_handler, sessionOf(*defaultLogger()));
  });
}

TEST_F(TelemetryEnvTest, LoggersComeAndGoOnManyThreadsWhileReportsFlow) {
  const TelemetryEnv reporting("Mixer");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int j = 0; j < 100; ++j) {
        const TelemetryEnv env("Client");
        env.getLogger()->logKivEvent<long long>("n", 1, NumericAggregationType::SUM);
      }
    });
  }
  for (int i = 0; i < 50; ++i) {
    reporting.getLogger()->logKivEvent<long long>("n", 1, NumericAggregationType::SUM);
    EXPECT_TRUE(reporting.getLogger()->flush());
  }
  for (auto& thread : threads) thread.join();
  reporting.getLogger()->flush();
  int64_t total = 0;
  for (const int64_t count : ints("aggregated_count")) total += count;
  EXPECT_EQ(total, 4 * 100 + 50);
}

}  // namespace
}  // namespace android::kiv
