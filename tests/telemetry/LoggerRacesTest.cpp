// Loggers that are created, destroyed, stopped and started while other threads report.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "tests/support/FakeClock.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::FakeClock;
using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using Type = NumericAggregationType;

class LoggerRacesTest : public LoggerRig {
 protected:
  static constexpr int kThreads = 4;

  /// Runs `work` on four threads that start together. Returns when all have ended.
  template <typename Work>
  static void together(Work work) {
    Latch begin(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&begin, work, i] {
        begin.countDown();
        begin.wait();
        work(i);
      });
    }
    for (auto& one : threads) one.join();
  }

  int64_t counted() const {
    int64_t total = 0;
    for (const int64_t count : ints("aggregated_count")) total += count;
    return total;
  }
};

TEST_F(LoggerRacesTest, LoggersComeAndGoOnFourThreadsWhileReportsRollWindowsOver) {
  constexpr int kReports = 300;
  FakeClock clock;
  const auto lasting = makeLogger(Model::NON_BLOCKING, "lasting");
  together([&](int i) {
    for (int j = 0; j < kReports; ++j) {
      const auto own = makeLogger(j % 2 == 0 ? Model::NON_BLOCKING : Model::BLOCKING);
      own->logKivEvent("of one that goes", 1, Type::SUM);
      lasting->logKivEvent("of one that stays", 1, Type::SUM);
      // Lets the next report find an expired window.
      if (i == 0 && j % 10 == 0) clock.advance(kAggregationPeriod + std::chrono::milliseconds(1));
    }
  });
  EXPECT_TRUE(lasting->flush());
  EXPECT_EQ(counted(), kThreads * kReports * 2);
  EXPECT_GT(events().size(), 2u * 2u);
}

TEST_F(LoggerRacesTest, ImmediateLoggersComeAndGoOnFourThreadsBesideTheSharedOnes) {
  constexpr int kReports = 100;
  const auto lasting = makeLogger(Model::NON_BLOCKING, "lasting");
  together([&](int) {
    for (int j = 0; j < kReports; ++j) {
      makeLogger(Model::LOCKING_IMMEDIATE)->logKivEvent("immediate", 1, Type::SUM);
      lasting->logKivEvent("shared", 1, Type::SUM);
    }
  });
  EXPECT_TRUE(lasting->flush());
  EXPECT_EQ(counted(), kThreads * kReports * 2);
}

TEST_F(LoggerRacesTest, StopAndStartByOneLoggerLoseOnlyReportsThatOthersMakeWhileStopped) {
  constexpr int kReports = 400;
  const LogCapture log;
  const auto stopping = makeLogger(Model::NON_BLOCKING, "stopping");
  const std::vector<std::shared_ptr<TelemetryLogger>> loggers = {
      makeLogger(Model::NON_BLOCKING), makeLogger(Model::BLOCKING), makeLogger(Model::NON_BLOCKING),
      makeLogger(Model::BLOCKING)};
  std::atomic<int> reporting{kThreads};
  std::thread stopper([&] {
    while (reporting > 0) {
      EXPECT_TRUE(stopping->stop());
      EXPECT_TRUE(stopping->start());
    }
  });
  together([&](int i) {
    for (int j = 0; j < kReports; ++j) {
      loggers[static_cast<size_t>(i)]->logKivEvent("n", 1, Type::SUM);
    }
    --reporting;
  });
  stopper.join();
  EXPECT_TRUE(stopping->flush());
  // Each report was either counted or logged as dropped.
  EXPECT_EQ(counted() + static_cast<int64_t>(log.lines().size()), kThreads * kReports);
  for (const auto& line : log.lines()) {
    ASSERT_EQ(line.text, "add: TimedAggregationManager not running! Cannot add.");
  }
}

TEST_F(LoggerRacesTest, EachThreadMayDropTheLastReferenceWhileReportsAreQueued) {
  constexpr int kRounds = 200;
  const auto lasting = makeLogger(Model::BLOCKING, "lasting");
  together([&](int) {
    for (int j = 0; j < kRounds; ++j) {
      auto own = makeLogger(Model::NON_BLOCKING);
      own->logKivEvent("n", 1, Type::SUM);
      // Now the queued report is the only owner, and the worker destroys the logger.
      own.reset();
    }
  });
  EXPECT_TRUE(lasting->flush());
  EXPECT_EQ(counted(), kThreads * kRounds);
}

}  // namespace
}  // namespace android::kiv
