// Export when a process ends or forks. A process that hangs is found by the time limit of the
// tests.
#include <gmock/gmock.h>

#include <cstdio>

#include "tests/modules/otlp/OtlpTest.h"

namespace kiv_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::SizeIs;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr bool kCannotFork = true;
#else
constexpr bool kCannotFork = false;
#endif

class OtlpExit : public OtlpTest {
 protected:
  FaultServer server_;
  /// So long that events are sent only because the process ends.
  const Environment patient_ = {{"OTEL_BLRP_SCHEDULE_DELAY", "3600000"}};
};

TEST_F(OtlpExit, SendsWhatIsQueued) {
  report(server_.url(), 10, "exit", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(10));
}

TEST_F(OtlpExit, SendsReportsOfExitHandlersThatAreOlderThanTheModule) {
  const ProgramResult result = report(server_.url(), 10, "late", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(20));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, SendsReportsOfExitHandlersOnly) {
  report(server_.url(), 10, "late-only", patient_);
  EXPECT_THAT(numbers(server_.requests()), SizeIs(10));
}

TEST_F(OtlpExit, SendsReportsIfTheModuleIsLoadedByAnExitHandler) {
  report(server_.url(), 10, "load-late", patient_);
  EXPECT_THAT(numbers(server_.requests()), SizeIs(10));
}

TEST_F(OtlpExit, SendsReportsIfTheModuleIsLoadedWhileLibrariesAreFinalized) {
  report(server_.url(), 10, "load-in-finalizer", patient_);
  EXPECT_THAT(numbers(server_.requests()), SizeIs(10));
}

TEST_F(OtlpExit, SendsReportsAfterAllLibrariesWereFinalized) {
  const ProgramResult result = report(server_.url(), 10, "after-everything", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(20));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, DoesNotFillTheQueueWithOneLargeWindow) {
  for (const char* way : {"late-window", "load-late-window"}) {
    const ProgramResult result = report(server_.url(), 17'000, way, patient_);
    EXPECT_THAT(result.out, HasSubstr("taken 17000, refused 0")) << way;
    EXPECT_THAT(result.err, testing::Not(HasSubstr("the queue is full"))) << way;
    std::printf("FIGURES | %s | 17000 | lost %d |\n", way, lost(result));
    std::fflush(stdout);
  }
}

TEST_F(OtlpExit, SendsLossesOfTheLastEvents) {
  FaultServer refusing({answer(400)});
  report(refusing.url(), 10, "exit", patient_);
  EXPECT_EQ(reportedLosses(refusing.requests()),
            (std::map<std::string, int>{{"HTTP status 400", 10}}));
}

TEST_F(OtlpExit, SendsNothingWithoutReports) {
  report(server_.url(), 0, "create", patient_);
  EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(OtlpExit, IsNotDelayedByReportsThatContinue) {
  report(server_.url(), 10, "flow", patient_);
  EXPECT_THAT(numbers(server_.requests()), IsSupersetOf(numbersBelow(10)));
}

TEST_F(OtlpExit, LosesNothingThatIsReportedWhileItFlushes) {
  Environment environment = patient_;
  // Small requests, so that those of the main thread's events end while there are others.
  environment["OTEL_BLRP_MAX_EXPORT_BATCH_SIZE"] = "100";
  const ProgramResult result = report(server_.url(), 1'000, "rest", environment);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(2'000));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, DoesNotHangWithoutAnswers) {
  for (const char* way : {"late", "late-only", "load-late", "after-everything", "flow"}) {
    FaultServer silent(std::deque<Reaction>(100, {"", Reaction::Then::HANG}));
    const ProgramResult result = report(silent.url(), 10, way, patient_);
    EXPECT_THAT(result.err, AllOf(HasSubstr("TamsaOtlp"), HasSubstr("lost"))) << way;
  }
}

TEST_F(OtlpExit, LogsAllLossesIfTheModuleIsLoadedWhileLibrariesAreFinalized) {
  FaultServer closed{FaultServer::NotYet()};
  for (const std::string& url : {closed.url(), std::string("htp:/collector")}) {
    EXPECT_EQ(lost(report(url, 10, "load-in-finalizer", patient_)), 10) << url;
  }
}

TEST_F(OtlpExit, IsLimitedByTheTimeOfAnExport) {
  FaultServer silent(std::deque<Reaction>(100, {"", Reaction::Then::HANG}));
  const ProgramResult result =
      report(silent.url(), 10, "late", {{"OTEL_BLRP_EXPORT_TIMEOUT", "1"}});
  EXPECT_THAT(result.err, HasSubstr("lost"));
}

TEST_F(OtlpExit, WithoutExitHandlersSendsNothing) {
  auto reporter = reportMeanwhile(server_.url(), 10, "abrupt", patient_);
  reporter.finish();
  EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(OtlpExit, OfAForkLeavesTheQueueToTheParent) {
  if (kCannotFork) GTEST_SKIP() << "the sanitizer's own locks may stay locked in the child";
  const ProgramResult result = report(server_.url(), 10, "fork", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(10));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, OfAForkThatReportsSendsThat) {
  if (kCannotFork) GTEST_SKIP() << "the sanitizer's own locks may stay locked in the child";
  const ProgramResult result = report(server_.url(), 10, "fork-to-report", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(20));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, OfAForkDoesNotHangWithoutAnswers) {
  if (kCannotFork) GTEST_SKIP() << "the sanitizer's own locks may stay locked in the child";
  for (const char* way : {"fork", "fork-to-report"}) {
    FaultServer silent(std::deque<Reaction>(100, {"", Reaction::Then::HANG}));
    const ProgramResult result = report(silent.url(), 10, way, patient_);
    EXPECT_EQ(lost(result), 10) << way;
  }
}

}  // namespace
}  // namespace kiv_test
