// The fixture, and what it stands on.
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <kiv/TelemetryLogger.h>
#include <kiv/testing/TelemetryTest.h>

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

TEST_F(RecordedTelemetryTest, WhatWasPostedBeforeIsThere) {
  for (int i = 0; i < 10'000; ++i) logger->logKivClientCall("open", "ok");
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").counted(10'000)));
}

TEST_F(RecordedTelemetryTest, WhatOtherThreadsHaveReportedIsThere) {
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

TEST_F(RecordedTelemetryTest, ClearingForgetsWhatWasNotYetAnEvent) {
  logger->logKivClientCall("open", "ok");
  clearEvents();
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(RecordedTelemetryTest, AFlushSeparatesWhatComesBeforeFromWhatComesAfter) {
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

TEST_F(RecordedTelemetryTest, AStoppedAggregationHasHandedOverItsEvents) {
  logger->logKivClientCall("open", "ok");
  ASSERT_TRUE(logger->stop());
  EXPECT_THAT(events(), ContainsOnly(ClientCall("open").once()));
}

TEST(RecordedTelemetry, StartsWithoutWhatWasReportedBefore) {
  const auto logger = TelemetryEnv("Mixer").getLogger();
  logger->logKivClientCall("submitted", "ok");
  ASSERT_TRUE(logger->flush());
  logger->logKivClientCall("aggregated", "ok");
  RecordedTelemetry telemetry;
  ASSERT_TRUE(telemetry.flush());
  EXPECT_THAT(telemetry.events(), IsEmpty());
}

TEST(RecordedTelemetry, StartsAnAggregationThatWasStoppedBefore) {
  const auto logger = TelemetryEnv("Mixer").getLogger();
  ASSERT_TRUE(logger->stop());
  RecordedTelemetry telemetry;
  logger->logKivClientCall("open", "ok");
  ASSERT_TRUE(telemetry.flush());
  EXPECT_THAT(telemetry.events(), ContainsOnly(ClientCall("open").once()));
}

TEST_F(RecordedTelemetryTest, AWorkerThatIsLongBusyIsWaitedFor) {
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
  // The worker is given twice the time that a caller waits for it.
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

TEST(TelemetryTestFixture, SaysWhenTelemetryWasSwitchedOff) {
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
