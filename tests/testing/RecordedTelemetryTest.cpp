// The recording of events, and the fixture that uses it.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <kiv/TelemetryLogger.h>
#include <kiv/testing/TelemetryTest.h>

#include <sstream>
#include <thread>
#include <vector>

#include "modules/recording/Recorder.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/Latch.h"

namespace android::kiv::telemetry_testing {
namespace {

using ::kiv_test::Latch;
using testing::IsEmpty;

class RecordedTelemetryTest : public TelemetryTest {
 protected:
  const std::shared_ptr<TelemetryLogger> logger = TelemetryEnv("Mixer").getLogger();
};

TEST_F(RecordedTelemetryTest, EventsIncludeWhatWasPostedBefore) {
  for (int i = 0; i < 10'000; ++i) logger->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").counted(10'000)));
}

TEST_F(RecordedTelemetryTest, EventsIncludeReportsOfOtherThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] { logger->logKivClientCall("open", "ok"); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").counted(4)));
}

TEST_F(RecordedTelemetryTest, EventsStayUntilTheyAreCleared) {
  logger->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), Contains(ClientCall("open")));
  EXPECT_THAT(events(), Contains(ClientCall("open")));
  clearEvents();
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(RecordedTelemetryTest, ClearDiscardsReportsOfTheOpenWindow) {
  logger->logKivClientCall("open", "ok");
  clearEvents();
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(RecordedTelemetryTest, ReportsAfterAFlushMakeSeparateEvents) {
  logger->logKivClientCall("open", "ok");
  flush();
  logger->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").once(), ClientCall("open").once()));
}

TEST_F(RecordedTelemetryTest, LoggersOfEveryModelAreRecorded) {
  const KivSessionId session(nullptr);
  using Model = TelemetrySubmissionModel;
  for (const Model model : {Model::NON_BLOCKING, Model::BLOCKING, Model::LOCKING_IMMEDIATE}) {
    const auto other = std::make_shared<TelemetryLogger>(session, "Mixer", model);
    other->logKivClientCall("open", "ok");
    EXPECT_THAT(events(), ContainsOnly(ClientCall("open").inSession(session).once()));
    clearEvents();
  }
}

TEST_F(RecordedTelemetryTest, AStoppedAggregationHasSubmittedItsEvents) {
  logger->logKivClientCall("open", "ok");
  ASSERT_TRUE(logger->stop());
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").once()));
}

TEST(RecordedTelemetry, StartsWithoutEarlierReports) {
  const auto logger = TelemetryEnv("Mixer").getLogger();
  logger->logKivClientCall("submitted", "ok");
  ASSERT_TRUE(logger->flush());
  logger->logKivClientCall("aggregated", "ok");
  RecordedTelemetry telemetry;
  EXPECT_THAT(telemetry.events(), IsEmpty());
}

TEST(RecordedTelemetry, StartsAStoppedAggregation) {
  const auto logger = TelemetryEnv("Mixer").getLogger();
  ASSERT_TRUE(logger->stop());
  RecordedTelemetry telemetry;
  logger->logKivClientCall("open", "ok");
  EXPECT_THAT(telemetry.events(), ContainsOnly(ClientCall("open").once()));
}

TEST(RecordedTelemetry, FlushesWhenAskedForEvents) {
  RecordedTelemetry telemetry;
  TelemetryEnv("Mixer").getLogger()->logKivClientCall("open", "ok");
  EXPECT_THAT(telemetry.submittedEvents(), IsEmpty());
  EXPECT_THAT(telemetry.events(), ContainsOnly(ClientCall("open").once()));
  EXPECT_THAT(telemetry.submittedEvents(), ContainsOnly(ClientCall("open").once()));
}

TEST(TelemetryEvent, IsEqualIfNameAndFieldsAreEqual) {
  const TelemetryEvent event{"name", {{"a", 1}}, {{"b", 2.0F}}, {{"c", "d"}}};
  EXPECT_TRUE(event == TelemetryEvent(event));
  EXPECT_FALSE(event != TelemetryEvent(event));
  TelemetryEvent other = event;
  other.name = "other";
  EXPECT_FALSE(event == other);
  EXPECT_TRUE(event != other);
  other = event;
  other.ints["a"] = 2;
  EXPECT_FALSE(event == other);
  other = event;
  other.floats["b"] = 3.0F;
  EXPECT_FALSE(event == other);
  other = event;
  other.strings["c"] = "e";
  EXPECT_FALSE(event == other);
}

TEST(TelemetryEvent, IsWrittenToStreams) {
  const TelemetryEvent event{"name", {{"a", 1}}, {}, {}};
  std::ostringstream one;
  one << event;
  EXPECT_EQ(one.str(), toString(event));
  std::ostringstream list;
  list << std::vector{event, event};
  EXPECT_EQ(list.str(), "{\n    #0 event \"name\", a 1\n    #1 event \"name\", a 1\n  }");
  EXPECT_EQ(list.str(), testing::PrintToString(std::vector{event, event}));
}

TEST_F(RecordedTelemetryTest, EventsWaitForABusyWorker) {
  Latch busy;
  Latch done;
  auto& recorder = TAMSA::recording::Recorder::getInstance();
  recorder.onReport([&](const TAMSA::recording::Event&) {
    busy.countDown();
    done.wait();
  });
  logger->logKivClientCall("open", "ok");
  std::thread reporter([this] { logger->flush(); });
  busy.wait();
  // Twice as long as one flush waits for the worker.
  std::thread patience([&] {
    EXPECT_FALSE(logger->flush());
    EXPECT_FALSE(logger->flush());
    done.countDown();
  });
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").once()));
  patience.join();
  reporter.join();
  recorder.onReport({});
}

TEST(TelemetryTestFixture, FailsIfTelemetryWasSwitchedOff) {
  struct Fixture : TelemetryTest {
    void TestBody() override {}
  };
  KIV_EXPECT_IN_FRESH_PROCESS({
    disableTelemetryForTesting();
    EXPECT_NONFATAL_FAILURE(Fixture(), "disableTelemetryForTesting() was called earlier");
  });
}

}  // namespace
}  // namespace android::kiv::telemetry_testing
