// Modules, workers and threads that do not go on. Each test runs a process with a time limit of its
// own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/RunProgram.h"

namespace {

using kiv_test::occurrences;
using kiv_test::ProgramResult;
using kiv_test::runProgram;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Runs a process that has to end well, and returns what it wrote on standard error.
std::string outputOf(const std::string& way) {
  const ProgramResult result =
      runProgram({HANG_PROGRAM, way}, {{"LD_LIBRARY_PATH", HOOKED_MODULE_DIR}});
  EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
  return result.err;
}

TEST(ExitOnWorker, SubmitsTheOpenWindows) {
  EXPECT_THAT(outputOf("exit-on-worker"), HasSubstr("reported before exit 5"));
}

TEST(HangingModule, ExitGivesUpTheWindowsThatItDoesNotTake) {
  EXPECT_THAT(outputOf("hanging-window"), HasSubstr("Gave up 4 of 6 windows"));
}

TEST(HangingModule, ExitGivesUpTheTasksBehindIt) {
  EXPECT_THAT(outputOf("hanging-queue"),
              AllOf(HasSubstr("Gave up 5 queued tasks"), HasSubstr("Gave up 6 of 6 windows")));
}

TEST(HangingModule, ExitWaitsForOneThatIsOnlySlow) {
  const std::string err = outputOf("slow-window");
  EXPECT_EQ(occurrences(err, "reported n"), 10u) << err;
  EXPECT_THAT(err, Not(HasSubstr("Gave up")));
}

TEST(HangingWorker, OfTheProgramLosesNoWindowAtExit) {
  EXPECT_THAT(outputOf("hanging-worker"),
              AllOf(HasSubstr("reported n 3"), Not(HasSubstr("windows"))));
}

TEST(CancelledThread, ThatWaitsKeepsItsLogger) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers' run-time libraries do not survive a cancelled thread";
#endif
  outputOf("cancel");
}

TEST(CancelledThread, InsideASubmissionFinishesThat) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers' run-time libraries do not survive a cancelled thread";
#endif
  EXPECT_THAT(outputOf("cancel-submission"), HasSubstr("reported n 1"));
}

TEST(LogThatReports, WhileTheModuleIsLoadedDoesNotWaitForItself) {
  EXPECT_THAT(outputOf("log"), AllOf(HasSubstr("logged"), HasSubstr("reported n 3")));
}

TEST(LogThatReports, WhileTheModuleIsLoadedLosesNothingOfItsLogger) {
  EXPECT_THAT(outputOf("same-logger"),
              AllOf(HasSubstr("reported n 1"), HasSubstr("reported of the log 1")));
}

}  // namespace
