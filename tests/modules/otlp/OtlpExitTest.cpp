// What is sent when a process ends or forks. That nothing hangs shows in the tests' coming to an
// end.
#include <gmock/gmock.h>

#include "OtlpTest.h"

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
  /// Long enough that only the end of the process can be why something is sent.
  const Environment patient_ = {{"OTEL_BLRP_SCHEDULE_DELAY", "3600000"}};
};

TEST_F(OtlpExit, SendsWhatIsQueued) {
  report(server_.url(), 10, "exit", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(10));
}

TEST_F(OtlpExit, SendsWhatIsReportedInExitHandlersThatAreOlderThanTheModule) {
  const ProgramResult result = report(server_.url(), 10, "late", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(20));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, SendsWhatIsReportedOnlyThen) {
  report(server_.url(), 10, "late-only", patient_);
  EXPECT_THAT(numbers(server_.requests()), SizeIs(10));
}

TEST_F(OtlpExit, SendsWhatIsReportedWhenTheModuleIsLoadedOnlyThen) {
  report(server_.url(), 10, "load-late", patient_);
  EXPECT_THAT(numbers(server_.requests()), SizeIs(10));
}

TEST_F(OtlpExit, SendsWhatIsReportedAfterAllLibrariesWereFinalised) {
  const ProgramResult result = report(server_.url(), 10, "after-everything", patient_);
  EXPECT_EQ(numbers(server_.requests()), numbersBelow(20));
  EXPECT_EQ(result.err, "");
}

TEST_F(OtlpExit, WithoutReportsSendsNothing) {
  report(server_.url(), 0, "create", patient_);
  EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(OtlpExit, IsNotHeldUpByReportsThatFlowOn) {
  report(server_.url(), 10, "flow", patient_);
  EXPECT_THAT(numbers(server_.requests()), IsSupersetOf(numbersBelow(10)));
}

TEST_F(OtlpExit, DoesNotHangWhenNobodyAnswers) {
  for (const char* way : {"late", "late-only", "load-late", "after-everything", "flow"}) {
    FaultServer silent(std::deque<Reaction>(100, {"", Reaction::Then::HANG}));
    const ProgramResult result = report(silent.url(), 10, way, patient_);
    EXPECT_THAT(result.err, AllOf(HasSubstr("TamsaOtlp"), HasSubstr("dropped"))) << way;
  }
}

TEST_F(OtlpExit, TakesNoLongerThanAnExportMay) {
  FaultServer silent(std::deque<Reaction>(100, {"", Reaction::Then::HANG}));
  const ProgramResult result =
      report(silent.url(), 10, "late", {{"OTEL_BLRP_EXPORT_TIMEOUT", "1"}});
  EXPECT_THAT(result.err, HasSubstr("dropped"));
}

TEST_F(OtlpExit, ThatSkipsHandlersLeavesTheQueueUnsent) {
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

TEST_F(OtlpExit, OfAForkDoesNotHangWhenNobodyAnswers) {
  if (kCannotFork) GTEST_SKIP() << "the sanitizer's own locks may stay locked in the child";
  for (const char* way : {"fork", "fork-to-report"}) {
    FaultServer silent(std::deque<Reaction>(100, {"", Reaction::Then::HANG}));
    const ProgramResult result = report(silent.url(), 10, way, patient_);
    EXPECT_EQ(dropped(result), 10) << way;
  }
}

}  // namespace
}  // namespace kiv_test
