#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "instrumentation/AllocationCount.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/TimedAggregationManager.h"
#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/aggregation/WindowAccess.h"
#include "tests/support/FakeClock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {
namespace {

using ::kiv_test::AllocationCount;
using ::kiv_test::FakeClock;
using ::kiv_test::kNoTag;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::system_clock;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// Records a manager's calls of its aggregator.
class FakeAggregator : public KivAggregator<KivErrorCodeEvent> {
 public:
  void add(const KivErrorCodeEvent& event) override { calls.push_back("add " + event.api); }

  void flush(system_clock::time_point start, system_clock::time_point end) override {
    calls.emplace_back("flush");
    windows.emplace_back(start, end);
    if (const auto hook = std::exchange(on_flush, nullptr)) hook();
  }

  void reset() override { calls.emplace_back("reset"); }

  std::vector<std::string> calls;
  std::vector<std::pair<system_clock::time_point, system_clock::time_point>> windows;
  std::function<void()> on_flush;  ///< Called inside the next flush.
};

KivErrorCodeEvent report(const std::string& name) {
  return {session("s"), name, "", "", KivErrorSeverity::INFO};
}

class TimedAggregationManagerTest : public testing::Test {
 protected:
  /// The aggregator's calls since the last call of this.
  std::vector<std::string> calls() { return std::exchange(aggregator->calls, {}); }

  FakeClock clock;
  std::shared_ptr<FakeAggregator> aggregator = std::make_shared<FakeAggregator>();
  std::optional<TimedAggregationManager<KivErrorCodeEvent>> manager{std::in_place, aggregator,
                                                                    kAggregationPeriod};
};

TEST_F(TimedAggregationManagerTest, PeriodIsFiveSeconds) {
  EXPECT_EQ(kAggregationPeriod, milliseconds(5000));
}

TEST_F(TimedAggregationManagerTest, IsConstructedStopped) {
  EXPECT_FALSE(manager->flush());
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(TimedAggregationManagerTest, StartEmptiesTheAggregator) {
  manager->start();
  EXPECT_THAT(calls(), ElementsAre("reset"));
}

TEST_F(TimedAggregationManagerTest, StartingARunningOneChangesNothing) {
  manager->start();
  const auto started = clock.system();
  clock.advance(milliseconds(100));
  manager->start();
  manager->flush();
  EXPECT_THAT(calls(), ElementsAre("reset", "flush"));
  EXPECT_EQ(aggregator->windows[0].first, started);
}

TEST_F(TimedAggregationManagerTest, StartingLogsNothing) {
  const LogCapture log;
  manager->start();
  manager->start();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TimedAggregationManagerTest, AddWhileStoppedIsLoggedAndDropped) {
  const LogCapture log;
  manager->add(report("a"));
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "add: TimedAggregationManager not running! Cannot add."}));
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(TimedAggregationManagerTest, FlushWhileStoppedIsAnError) {
  const LogCapture log;
  EXPECT_FALSE(manager->flush());
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "flush: TimedAggregationManager not running! Cannot flush."}));
  EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(TimedAggregationManagerTest, StoppingTwiceIsLoggedAtDebugPriority) {
  manager->start();
  const LogCapture log;
  EXPECT_TRUE(manager->stop());
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_FALSE(manager->stop());
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_DEBUG, kNoTag,
                                               "stop: TimedAggregationManager not running!"}));
}

TEST_F(TimedAggregationManagerTest, TheLongestPeriodDoesNotOverflow) {
  TimedAggregationManager<KivErrorCodeEvent> endless(aggregator, milliseconds::max());
  endless.start();
  clock.advance(std::chrono::hours(24 * 365 * 100));
  endless.add(report("a"));
  EXPECT_THAT(calls(), ElementsAre("reset", "add a"));
}

TEST_F(TimedAggregationManagerTest, ReportsExactlyThePeriodApartShareAWindow) {
  manager->start();
  manager->add(report("a"));
  clock.advance(milliseconds(5000));
  manager->add(report("b"));
  EXPECT_THAT(calls(), ElementsAre("reset", "add a", "add b"));
}

TEST_F(TimedAggregationManagerTest, AReportOneTickAfterThePeriodIsInTheNextWindow) {
  manager->start();
  manager->add(report("a"));
  clock.advance(milliseconds(5000));
  clock.advanceSteady(nanoseconds(1));
  manager->add(report("b"));
  EXPECT_THAT(calls(), ElementsAre("reset", "add a", "flush", "add b"));
}

TEST_F(TimedAggregationManagerTest, AReportOneMillisecondAfterThePeriodIsInTheNextWindow) {
  manager->start();
  manager->add(report("a"));
  clock.advance(milliseconds(5001));
  manager->add(report("b"));
  EXPECT_THAT(calls(), ElementsAre("reset", "add a", "flush", "add b"));
}

TEST_F(TimedAggregationManagerTest, UsesTheGivenPeriod) {
  TimedAggregationManager<KivErrorCodeEvent> hasty(aggregator, milliseconds(10));
  hasty.start();
  clock.advance(milliseconds(10));
  hasty.add(report("a"));
  clock.advance(milliseconds(1));
  hasty.add(report("b"));
  EXPECT_THAT(calls(), ElementsAre("reset", "add a", "flush", "add b"));
}

TEST_F(TimedAggregationManagerTest, TheAgeIsMeasuredFromTheWindowsStartAndNotFromItsLastReport) {
  manager->start();
  for (int i = 0; i < 3; ++i) {
    clock.advance(milliseconds(2000));
    manager->add(report("a"));
  }
  EXPECT_THAT(calls(), ElementsAre("reset", "add a", "add a", "flush", "add a"));
}

TEST_F(TimedAggregationManagerTest, ALateReportOpensANewWindowAtItsOwnTime) {
  manager->start();
  const auto started = clock.system();
  clock.advance(milliseconds(60'000));
  manager->add(report("a"));
  const auto rolled = clock.system();
  EXPECT_THAT(aggregator->windows, ElementsAre(Pair(started, rolled)));
  clock.advance(milliseconds(5000));
  manager->add(report("b"));
  EXPECT_EQ(aggregator->windows.size(), 1u);
}

TEST_F(TimedAggregationManagerTest, AWindowStartsAtTheEndOfTheLastOne) {
  manager->start();
  const auto first = clock.system();
  clock.advance(milliseconds(10));
  manager->flush();
  const auto second = clock.system();
  clock.advance(milliseconds(20));
  manager->flush();
  const auto third = clock.system();
  EXPECT_THAT(aggregator->windows, ElementsAre(Pair(first, second), Pair(second, third)));
}

TEST_F(TimedAggregationManagerTest, FlushKeepsItRunning) {
  manager->start();
  EXPECT_TRUE(manager->flush());
  EXPECT_TRUE(manager->flush());
  manager->add(report("a"));
  EXPECT_THAT(calls(), ElementsAre("reset", "flush", "flush", "add a"));
}

TEST_F(TimedAggregationManagerTest, FlushRestartsTheAge) {
  manager->start();
  clock.advance(milliseconds(4000));
  manager->flush();
  clock.advance(milliseconds(4000));
  manager->add(report("a"));
  EXPECT_THAT(calls(), ElementsAre("reset", "flush", "add a"));
}

TEST_F(TimedAggregationManagerTest, StopSubmitsTheOpenWindow) {
  manager->start();
  const auto started = clock.system();
  clock.advance(milliseconds(10));
  EXPECT_TRUE(manager->stop());
  EXPECT_THAT(aggregator->windows, ElementsAre(Pair(started, clock.system())));
  EXPECT_FALSE(manager->flush());
}

TEST_F(TimedAggregationManagerTest, TheNextWindowIsOpenWhileOneIsSubmitted) {
  manager->start();
  clock.advance(milliseconds(10));
  const auto closed = clock.system();
  aggregator->on_flush = [this] {
    clock.advance(milliseconds(20));
    EXPECT_TRUE(manager->flush());
  };
  EXPECT_TRUE(manager->flush());
  ASSERT_EQ(aggregator->windows.size(), 2u);
  EXPECT_EQ(aggregator->windows[0].second, closed);
  EXPECT_THAT(aggregator->windows[1], Pair(closed, clock.system()));
}

TEST_F(TimedAggregationManagerTest, RunsUntilAStopHasSubmittedItsWindow) {
  manager->start();
  const LogCapture log;
  aggregator->on_flush = [this] { manager->add(report("a")); };
  EXPECT_TRUE(manager->stop());
  EXPECT_THAT(calls(), ElementsAre("reset", "flush", "add a"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TimedAggregationManagerTest, RestartingDiscardsReportsMadeWhileStopped) {
  manager->start();
  manager->stop();
  manager->add(report("lost"));
  manager->start();
  manager->add(report("a"));
  EXPECT_THAT(calls(), ElementsAre("reset", "flush", "reset", "add a"));
}

TEST_F(TimedAggregationManagerTest, RestartingOpensAWindowAtTheTimeOfTheStart) {
  manager->start();
  manager->stop();
  clock.advance(milliseconds(60'000));
  manager->start();
  const auto started = clock.system();
  clock.advance(milliseconds(1));
  manager->flush();
  EXPECT_EQ(aggregator->windows.back().first, started);
}

TEST_F(TimedAggregationManagerTest, DestroyingARunningOneSubmitsItsWindow) {
  manager->start();
  const auto started = clock.system();
  clock.advance(milliseconds(10));
  manager.reset();
  EXPECT_THAT(aggregator->windows, ElementsAre(Pair(started, clock.system())));
}

TEST_F(TimedAggregationManagerTest, DestroyingAStoppedOneSubmitsNothing) {
  const LogCapture log;
  manager.reset();
  EXPECT_THAT(calls(), IsEmpty());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(TimedAggregationManagerTest, DestroyingItReleasesTheAggregator) {
  manager.reset();
  EXPECT_EQ(aggregator.use_count(), 1);
}

TEST_F(TimedAggregationManagerTest, AJumpOfTheWallClockClosesNoWindowButIsReported) {
  manager->start();
  const auto started = clock.system();
  clock.setSystem(started + hours(24));
  manager->add(report("a"));
  EXPECT_THAT(calls(), ElementsAre("reset", "add a"));
  manager->flush();
  EXPECT_THAT(aggregator->windows, ElementsAre(Pair(started, started + hours(24))));
}

TEST_F(TimedAggregationManagerTest, AWallClockThatIsSetBackIsReportedUnchanged) {
  manager->start();
  const auto started = clock.system();
  clock.setSystem(started - hours(1));
  clock.advanceSteady(milliseconds(5001));
  manager->add(report("a"));
  EXPECT_THAT(aggregator->windows, ElementsAre(Pair(started, started - hours(1))));
}

TEST_F(TimedAggregationManagerTest, DuringARolloverTheManagerIsRunning) {
  manager->start();
  std::atomic<bool> rolling{true};
  // The constructors of other loggers do this.
  std::thread other([&] {
    while (rolling) manager->start();
  });
  for (int i = 0; i < 20'000; ++i) manager->flush();
  rolling = false;
  other.join();
  EXPECT_EQ(std::count(aggregator->calls.begin(), aggregator->calls.end(), "reset"), 1);
}

TEST_F(TimedAggregationManagerTest, AClientsAggregatorIsGivenTheReportsEvent) {
  manager->start();
  calls();
  const KivErrorCodeEvent event = report("a");
  internal::WindowAccess::add(*manager, internal::ErrorCodeReport::of(event));
  EXPECT_THAT(calls(), ElementsAre("add a"));
}

class OwnManagerTest : public RecorderTest {
 protected:
  void addReport(const std::string& name) {
    const KivErrorCodeEvent event = report(name);
    internal::WindowAccess::add(*manager, internal::ErrorCodeReport::of(event));
  }

  FakeClock clock;
  const std::shared_ptr<TimedAggregationManager<KivErrorCodeEvent>> manager =
      internal::makeAggregationManagers().error_code_manager_;
};

TEST_F(OwnManagerTest, AReportCountsAsItsEvent) {
  manager->start();
  addReport("a");
  manager->add(report("a"));
  addReport("a");
  manager->flush();
  EXPECT_THAT(strings("kiv_api"), ElementsAre("a"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(3));
}

TEST_F(OwnManagerTest, AReportOfAKnownKeyIsNotCopied) {
  manager->start();
  const KivErrorCodeEvent event = report(std::string(100, 'a'));
  const auto reported = internal::ErrorCodeReport::of(event);
  internal::WindowAccess::add(*manager, reported);
  const AllocationCount allocations;
  internal::WindowAccess::add(*manager, reported);
  EXPECT_EQ(allocations.count(), 0u);
}

TEST_F(OwnManagerTest, AReportIsAddedToTheWindowThatIsOpenThen) {
  manager->start();
  addReport("a");
  clock.advance(kAggregationPeriod);
  addReport("at the end");
  clock.advance(nanoseconds(1));
  addReport("behind it");
  EXPECT_THAT(strings("kiv_api"), ElementsAre("a", "at the end"));
}

TEST_F(OwnManagerTest, AReportIsDroppedWithALogLineWhileStopped) {
  const LogCapture log;
  addReport("a");
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "add: TimedAggregationManager not running! Cannot add."}));
  manager->start();
  manager->flush();
  EXPECT_THAT(events(), IsEmpty());
}

}  // namespace
}  // namespace android::kiv
