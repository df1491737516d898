// Traces that end with their scope.
#include <gmock/gmock.h>

#include <thread>
#include <type_traits>
#include <vector>

#include "kiv/ScopedKivTrace.h"
#include "tests/support/FakeClock.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::FakeClock;
using std::chrono::microseconds;
using testing::ElementsAre;
using testing::IsEmpty;

static_assert(!std::is_copy_constructible_v<ScopedKivTrace>);
static_assert(!std::is_copy_assignable_v<ScopedKivTrace>);
static_assert(std::is_nothrow_move_constructible_v<ScopedKivTrace>);
static_assert(std::is_nothrow_move_assignable_v<ScopedKivTrace>);

class ScopedKivTraceTest : public LoggerRig {
 protected:
  /// The durations that have been reported, one event each.
  std::vector<int64_t> durations() {
    logger->flush();
    return ints("value_int");
  }

  FakeClock clock;
  std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::BLOCKING, "Mixer");
};

TEST_F(ScopedKivTraceTest, EndsWithItsScope) {
  {
    const ScopedKivTrace trace(logger, "render");
    clock.advance(microseconds(5));
    EXPECT_THAT(durations(), IsEmpty());
  }
  EXPECT_THAT(durations(), ElementsAre(5));
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us.render"));
}

TEST_F(ScopedKivTraceTest, TheClassComesBeforeTheName) {
  { const ScopedKivTrace trace(logger, "Renderer", "render"); }
  logger->flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us.render"));
}

TEST_F(ScopedKivTraceTest, ReportsThroughItsLogger) {
  { const ScopedKivTrace trace(makeLogger(Model::BLOCKING, "Mixer", "other"), "render"); }
  logger->flush();
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("other"));
}

TEST_F(ScopedKivTraceTest, EndsEarlyAndThenNotAgain) {
  {
    ScopedKivTrace trace(logger, "render");
    clock.advance(microseconds(5));
    trace.end();
    clock.advance(microseconds(7));
    trace.end();
  }
  EXPECT_THAT(durations(), ElementsAre(5));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1));
}

TEST_F(ScopedKivTraceTest, AMovedSectionEndsOnceWithItsNewOwner) {
  {
    std::vector<ScopedKivTrace> outer;
    {
      ScopedKivTrace trace(logger, "render");
      outer.push_back(std::move(trace));
    }
    clock.advance(microseconds(5));
    EXPECT_THAT(durations(), IsEmpty());
  }
  EXPECT_THAT(durations(), ElementsAre(5));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1));
}

TEST_F(ScopedKivTraceTest, AssignmentEndsTheSectionThatItReplaces) {
  ScopedKivTrace trace(logger, "first");
  clock.advance(microseconds(5));
  trace = ScopedKivTrace(logger, "second");
  EXPECT_THAT(durations(), ElementsAre(5));
  clock.advance(microseconds(7));
  trace.end();
  EXPECT_THAT(durations(), ElementsAre(5, 7));
  EXPECT_THAT(strings("kiv_event_name"),
              ElementsAre("api_latency_us.first", "api_latency_us.second"));
}

TEST_F(ScopedKivTraceTest, AssignmentToItselfEndsNothing) {
  ScopedKivTrace trace(logger, "render");
  ScopedKivTrace& same = trace;
  trace = std::move(same);
  EXPECT_THAT(durations(), IsEmpty());
  clock.advance(microseconds(5));
  trace.end();
  EXPECT_THAT(durations(), ElementsAre(5));
}

TEST_F(ScopedKivTraceTest, EndsOnAnotherThread) {
  std::thread([trace = ScopedKivTrace(logger, "render")] {}).join();
  EXPECT_THAT(durations(), ElementsAre(0));
}

TEST_F(ScopedKivTraceTest, KeepsItsLoggerAliveUntilTheSectionHasEnded) {
  std::weak_ptr<TelemetryLogger> watch;
  ScopedKivTrace trace(nullptr, "none");
  {
    auto own = makeLogger(Model::BLOCKING);
    watch = own;
    trace = ScopedKivTrace(std::move(own), "render");
  }
  EXPECT_FALSE(watch.expired());
  trace.end();
  settle();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ScopedKivTraceTest, WithoutALoggerDoesNothing) {
  {
    ScopedKivTrace trace(nullptr, "render");
    const ScopedKivTrace with_class(nullptr, "Renderer", "render");
    trace.end();
  }
  EXPECT_THAT(durations(), IsEmpty());
}

}  // namespace
}  // namespace android::kiv
