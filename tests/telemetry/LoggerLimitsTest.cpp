// Loggers at their limits: submissions inside each other, constructors beside a stopped
// aggregation, long chains and names, no owner, and the host's random numbers.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::Event;
using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using Type = NumericAggregationType;

class LoggerLimitsTest : public LoggerRig {
 protected:
  ~LoggerLimitsTest() override { recorder.reset(); }

  /// Submits from inside each submission for as long as that works; then calls `deepest` once.
  template <typename Deepest>
  int submitInsideEachOther(Deepest deepest) {
    const auto logger = makeLogger(Model::BLOCKING);
    std::atomic<int> depth{0};
    bool reached = false;
    recorder.onReport([&](const Event& /*event*/) {
      if (reached) return;
      ++depth;
      logger->logKivEvent<long long>("nested", 1, Type::SUM);
      const int before = depth;
      if (depth < 20) logger->flush();
      if (depth > before || reached) return;
      reached = true;
      deepest(*logger);
    });
    logger->logKivEvent<long long>("outer", 1, Type::SUM);
    EXPECT_TRUE(logger->flush());
    recorder.onReport(nullptr);
    return depth;
  }
};

TEST_F(LoggerLimitsTest, FourSubmissionsFitInsideEachOther) {
  const LogCapture quiet;
  EXPECT_EQ(submitInsideEachOther([](TelemetryLogger&) {}), 4);
}

TEST_F(LoggerLimitsTest, AFlushThatIsTooDeepIsFalseAndLogsAndLosesNothing) {
  const LogCapture log;
  submitInsideEachOther([](TelemetryLogger& logger) { EXPECT_FALSE(logger.flush()); });
  EXPECT_THAT(log.lines(), Contains(Field(&::kiv_test::LogLine::text,
                                          "flush: Too many nested submissions! The window stays "
                                          "open.")));
  EXPECT_TRUE(makeLogger(Model::BLOCKING)->flush());
  const std::vector<std::string> names = strings("kiv_event_name");
  EXPECT_EQ(std::count(names.begin(), names.end(), "nested"), 4);
}

TEST_F(LoggerLimitsTest, AStopThatIsTooDeepIsFalseAndLogsAndLosesNothing) {
  const LogCapture log;
  submitInsideEachOther([](TelemetryLogger& logger) { EXPECT_FALSE(logger.stop()); });
  EXPECT_THAT(log.lines(), Contains(Field(&::kiv_test::LogLine::text,
                                          "stop: Too many nested submissions! The window stays "
                                          "open.")));
  EXPECT_TRUE(makeLogger(Model::BLOCKING)->flush());
  const std::vector<std::string> names = strings("kiv_event_name");
  EXPECT_EQ(std::count(names.begin(), names.end(), "nested"), 4);
}

TEST_F(LoggerLimitsTest, SubmissionsOnOtherThreadsAreNotInsideEachOther) {
  constexpr int kThreads = 6;
  Latch all_inside(kThreads);
  static thread_local bool inside = false;
  recorder.onReport([&](const Event& /*event*/) {
    inside = true;
    all_inside.countDown();
    all_inside.wait();
  });
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      makeLogger(Model::LOCKING_IMMEDIATE)->logKivEvent<long long>("n", 1, Type::SUM);
      EXPECT_TRUE(inside);
      // One that did not get inside lets the others go on.
      if (!inside) all_inside.countDown();
    });
  }
  for (auto& one : threads) one.join();
}

/// Notes on which thread it is emptied.
class NotingAggregator : public KivGenericNumericEventAggregator<long long> {
 public:
  void reset() override {
    reset_on = std::this_thread::get_id();
    KivGenericNumericEventAggregator<long long>::reset();
  }

  std::thread::id reset_on;
};

TEST_F(LoggerLimitsTest, AConstructorLeavesAStoppedAggregationToTheWorker) {
  const auto aggregator = std::make_shared<NotingAggregator>();
  integers = std::make_shared<TimedAggregationManager<KivGenericEvent<long long>>>(
      aggregator, kAggregationPeriod);
  EXPECT_TRUE(makeLogger(Model::BLOCKING)->stop());
  const auto logger = makeLogger(Model::BLOCKING);
  EXPECT_TRUE(logger->flush());
  std::thread::id worker;
  ASSERT_TRUE(runner.postTaskAndWait([&] { worker = std::this_thread::get_id(); }).ok());
  EXPECT_EQ(aggregator->reset_on, worker);
}

TEST_F(LoggerLimitsTest, LoggersMayBeMadeWhileWhatTheyShareIsStoppedAndStarted) {
  constexpr int kRounds = 500;
  const LogCapture quiet;
  const auto stopping = makeLogger(Model::NON_BLOCKING);
  std::atomic<bool> over{false};
  std::vector<std::thread> makers;
  for (int i = 0; i < 2; ++i) {
    makers.emplace_back([&] {
      while (!over) makeLogger(Model::BLOCKING)->logKivEvent<long long>("n", 1, Type::SUM);
    });
  }
  for (int i = 0; i < kRounds; ++i) {
    stopping->logKivEvent<long long>("n", 1, Type::SUM);
    stopping->stop();
    stopping->start();
  }
  over = true;
  for (auto& maker : makers) maker.join();
  EXPECT_TRUE(stopping->flush());
}

TEST_F(LoggerLimitsTest, AChainOfSessionsMayBeLongerThanTheStack) {
  constexpr size_t kSessions = 200'000;
  auto last = std::make_shared<KivSessionId>(nullptr);
  for (size_t i = 1; i < kSessions; ++i) last = std::make_shared<KivSessionId>(last);
  const std::string text = last->toString();
  EXPECT_EQ(text.size(), kSessions * 37 - 1);
  EXPECT_EQ(text.substr(text.size() - 36), KivSessionId(*last).toString().substr(text.size() - 36));
}

TEST_F(LoggerLimitsTest, TheHostsRandomNumbersStayAsTheyAre) {
  std::srand(42);
  const int expected = std::rand();
  std::srand(42);
  const KivSessionId session(nullptr);
  EXPECT_EQ(std::rand(), expected);
}

TEST_F(LoggerLimitsTest, ALongClassNameIsCutInTheLogAndReportedWhole) {
  const std::string name(1'000'000, 'x');
  {
    const LogCapture log;
    const auto logger = makeLogger(Model::BLOCKING);
    logger->logErrorCode("code", "api", KivErrorSeverity::INFO, name);
    EXPECT_TRUE(logger->flush());
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].tag, std::string(1023, 'x'));
  }
  EXPECT_THAT(strings("kiv_class"), ElementsAre(name));
}

TEST_F(LoggerLimitsTest, ALoggerWithoutAnOwnerSaysSoBeforeTheProcessEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        TelemetryLogger logger;
        logger.logKivEvent<long long>("n", 1, Type::SUM);
      },
      testing::KilledBySignal(SIGABRT), "no std::shared_ptr owns");
}

}  // namespace
}  // namespace android::kiv
