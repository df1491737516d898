// Trace sections and the trace interface.
#include <gmock/gmock.h>

#include <thread>

#include "tests/support/FakeClock.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::FakeClock;
using std::chrono::microseconds;
using std::chrono::nanoseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class TelemetryLoggerTracesTest : public LoggerRig {
 protected:
  FakeClock clock;
  std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::BLOCKING, "Mixer");
};

TEST_F(TelemetryLoggerTracesTest, ASectionIsReportedInMicrosecondsUnderItsName) {
  const KivTraceInfo info = logger->kiv_beginTraceSection("open");
  clock.advance(nanoseconds(1'500'999));
  logger->kiv_endTraceSection(info);
  logger->flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us.open"));
  EXPECT_THAT(ints("value_int"), ElementsAre(1500));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("AVG"));
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s"));
}

TEST_F(TelemetryLoggerTracesTest, LessThanAMicrosecondIsZero) {
  const KivTraceInfo info = logger->kiv_beginTraceSection("open");
  clock.advance(nanoseconds(999));
  logger->kiv_endTraceSection(info);
  logger->flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(0));
}

TEST_F(TelemetryLoggerTracesTest, ASectionThatBeginsAfterItsEndIsTruncatedTowardZero) {
  KivTraceInfo info = logger->kiv_beginTraceSection("open");
  info.start_time += nanoseconds(1'999);
  logger->kiv_endTraceSection(info);
  logger->flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(-1));
}

TEST_F(TelemetryLoggerTracesTest, ASectionLongerThanADurationCanBeIsAsLongAsThat) {
  KivTraceInfo info = logger->kiv_beginTraceSection("open");
  clock.advance(microseconds(1));
  info.start_time = std::chrono::steady_clock::time_point::min();
  logger->kiv_endTraceSection(info);
  logger->flush();
  const auto longest = std::chrono::duration_cast<microseconds>(nanoseconds::max()).count();
  EXPECT_THAT(ints("value_int"), ElementsAre(static_cast<long long>(static_cast<float>(longest))));
}

TEST_F(TelemetryLoggerTracesTest, SectionsOfOneNameAreAveraged) {
  for (const int duration : {100, 200, 600}) {
    const KivTraceInfo info = logger->kiv_beginTraceSection("open");
    clock.advance(microseconds(duration));
    logger->kiv_endTraceSection(info);
  }
  logger->flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(300));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(3));
}

TEST_F(TelemetryLoggerTracesTest, ASectionWithoutAClassHasTheLoggersName) {
  const KivTraceInfo info = logger->kiv_beginTraceSection("open");
  EXPECT_EQ(info.name, "open");
  EXPECT_EQ(info.kiv_class, "Mixer");
}

TEST_F(TelemetryLoggerTracesTest, TheClassComesBeforeTheName) {
  const KivTraceInfo info = logger->kiv_beginTraceSection("Renderer", "start");
  EXPECT_EQ(info.name, "start");
  EXPECT_EQ(info.kiv_class, "Renderer");
  logger->kiv_endTraceSection(info);
  logger->flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us.start"));
}

TEST_F(TelemetryLoggerTracesTest, AnEmptyNameLeavesThePrefix) {
  logger->kiv_endTraceSection(logger->kiv_beginTraceSection(""));
  logger->flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us."));
}

TEST_F(TelemetryLoggerTracesTest, ASectionEndedTwiceIsReportedTwice) {
  const KivTraceInfo info = logger->kiv_beginTraceSection("open");
  logger->kiv_endTraceSection(info);
  logger->kiv_endTraceSection(info);
  logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2));
}

TEST_F(TelemetryLoggerTracesTest, ASectionNeverEndedReportsNothing) {
  static_cast<void>(logger->kiv_beginTraceSection("open"));
  logger->flush();
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(TelemetryLoggerTracesTest, TheWallClockDoesNotMatter) {
  const KivTraceInfo info = logger->kiv_beginTraceSection("open");
  clock.setSystem(clock.system() + std::chrono::hours(5));
  clock.advanceSteady(microseconds(7));
  logger->kiv_endTraceSection(info);
  logger->flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(7));
}

class TraceHandlerTest : public TelemetryLoggerTracesTest {
 protected:
  TraceHandlerTest() {
    default_logger->flush();
    recorder.reset();
  }

  std::shared_ptr<TelemetryLogger> default_logger =
      TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  TraceHandler& handler = *logger;
};

TEST_F(TraceHandlerTest, StartRecordsNameTimeAndClass) {
  const auto token = handler.startTrace("Renderer", "start");
  const auto& info = *static_cast<const KivTraceInfo*>(token.get());
  EXPECT_EQ(info.name, "start");
  EXPECT_EQ(info.kiv_class, "Renderer");
  const auto started = info.start_time;
  clock.advance(microseconds(1));
  const auto later = handler.startTrace("Renderer", "start");
  EXPECT_EQ(static_cast<const KivTraceInfo*>(later.get())->start_time - started, microseconds(1));
}

TEST_F(TraceHandlerTest, StopReportsThroughTheDefaultLoggerWhicheverStarted) {
  const auto token = handler.startTrace("Renderer", "start");
  clock.advance(microseconds(42));
  handler.stopTrace(token);
  logger->flush();
  EXPECT_THAT(events(), IsEmpty());
  default_logger->flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us.start"));
  EXPECT_THAT(ints("value_int"), ElementsAre(42));
  // The root session, which has no parent, and not the session of the starting logger.
  ASSERT_THAT(strings("kiv_session_id"), SizeIs(1));
  EXPECT_EQ(strings("kiv_session_id")[0].size(), 36u);
}

TEST_F(TraceHandlerTest, StopOnAnotherThreadReportsToo) {
  const auto token = handler.startTrace("Renderer", "start");
  std::thread([&] { handler.stopTrace(token); }).join();
  default_logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1));
}

TEST_F(TraceHandlerTest, StopWithAnEmptyTokenDoesNothing) {
  handler.stopTrace(nullptr);
  default_logger->flush();
  EXPECT_THAT(recorder.calls(), IsEmpty());
}

TEST_F(TraceHandlerTest, TheTokenIsDestroyedWhenBothSidesHaveReleasedIt) {
  auto token = handler.startTrace("Renderer", "start");
  const std::weak_ptr<void> watch = token;
  handler.stopTrace(token);
  EXPECT_FALSE(watch.expired());
  token.reset();
  EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace android::kiv
