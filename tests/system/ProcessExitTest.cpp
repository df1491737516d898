// Events that a process leaves behind when it ends, with the real module loaded by the real
// library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "tests/support/FromEnvironment.h"
#include "tests/support/JsonEvents.h"
#include "tests/support/RunProgram.h"

namespace {

using kiv_test::fromEnvironment;
using kiv_test::ProgramResult;
using kiv_test::readEvents;
using kiv_test::runProgram;
using kiv_test::TemporaryDirectory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class ProcessExitTest : public testing::Test {
 protected:
  /// Ends a process in the given way, which must go well.
  ProgramResult endProcess(const std::string& way,
                           std::map<std::string, std::string> environment = {},
                           const char* program = EXIT_PROGRAM) {
    std::remove(events_file.c_str());
    environment["LD_LIBRARY_PATH"] = JSONL_MODULE_DIR;
    environment["TAMSA_JSONL_PATH"] = events_file;
    const ProgramResult result = runProgram({program, way}, environment);
    EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
    return result;
  }

  /// Does it as often as asked for, because it depends on the order of threads: what was reported
  /// under a name must be there each time, exactly.
  void endProcessAgainAndAgain(const std::string& way,
                               const std::map<std::string, int64_t>& expected,
                               const std::map<std::string, std::string>& environment = {},
                               const char* program = EXIT_PROGRAM) {
    const size_t runs = fromEnvironment("KIV_EXIT_RUNS", 10);
    for (size_t run = 1; run <= runs && !HasFailure(); ++run) {
      endProcess(way, environment, program);
      for (const auto& [name, count] : expected) {
        EXPECT_EQ(reported(name), count) << name << ", run " << run;
      }
    }
    RecordProperty("runs", std::to_string(runs));
  }

  /// The counts of the events with this name, added up.
  int64_t reported(const std::string& name) const {
    int64_t total = 0;
    for (const auto& event : readEvents(events_file)) {
      if (event.value("kiv_event_name", "") == name) {
        total += event["aggregated_count"].get<int64_t>();
      }
    }
    return total;
  }

  TemporaryDirectory directory;
  const std::string events_file = directory.file("events.jsonl");
};

TEST_F(ProcessExitTest, WithoutTelemetryLeavesNothing) {
  endProcess("nothing");
  EXPECT_THAT(readEvents(events_file), IsEmpty());
}

TEST_F(ProcessExitTest, ReturningFromMainLosesNoReport) {
  endProcessAgainAndAgain("return", {{"before return", 100}});
}

TEST_F(ProcessExitTest, ReportsOfJoinedThreadsAreNotLost) {
  endProcessAgainAndAgain("join", {{"before return", 100}});
}

TEST_F(ProcessExitTest, WindowsAreSubmittedFromTheLastKindToTheFirst) {
  endProcess("every-kind");
  std::vector<std::string> names;
  for (const auto& event : readEvents(events_file)) {
    names.push_back(event.value("kiv_event_name", event["event"].get<std::string>()));
  }
  EXPECT_THAT(names, ElementsAre("text", "float", "integer", "", "wexo_kiv_stream_event",
                                 "wexo_kiv_error_code"));
}

TEST_F(ProcessExitTest, AnObjectOlderThanTheManagerMayReportFromItsDestructor) {
  endProcessAgainAndAgain("early-object", {{"from a destructor", 3}});
}

TEST_F(ProcessExitTest, AnObjectYoungerThanTheManagerMayReportFromItsDestructor) {
  endProcessAgainAndAgain("late-object", {{"from a destructor", 3}});
}

TEST_F(ProcessExitTest, AnObjectMayReportBeforeMainAndFromItsDestructor) {
  endProcessAgainAndAgain("nothing", {{"before main", 4}, {"from a destructor", 3}},
                          {{"REPORT_BEFORE_MAIN", "1"}});
}

TEST_F(ProcessExitTest, AModuleThatIsFinalizedFirstStillTakesTheLastWindows) {
  endProcess("flush");
  EXPECT_EQ(reported("before flush"), 5);
  EXPECT_EQ(reported("before return"), 7);
}

TEST_F(ProcessExitTest, ReportsOfALeakedLoggerAreNotLost) {
  endProcessAgainAndAgain("leak", {{"before return", 10}});
}

TEST_F(ProcessExitTest, ReportsOfALeakedDefaultLoggerAreNotLost) {
  endProcessAgainAndAgain("leak-default", {{"before return", 10}});
}

TEST_F(ProcessExitTest, ExitWhileLoggersComeAndGoKeepsWhatWasReportedBefore) {
  endProcessAgainAndAgain("exit-while-made", {{"before exit", 100}});
}

TEST_F(ProcessExitTest, ReportsBehindASlowOneAreNotLost) {
  endProcess("slow-at-the-end");
  EXPECT_EQ(reported("from a destructor"), 3);
}

TEST_F(ProcessExitTest, ExitWhileReportsFlowKeepsWhatWasReportedBefore) {
  endProcessAgainAndAgain("exit-while-flowing", {{"before exit", 100}});
}

TEST_F(ProcessExitTest, LoggersThatOutliveTheManagerSubmitWhatCameBeforeAndNothingAfter) {
  endProcessAgainAndAgain("keep", {{"before return", 30}, {"integer", 0}});
  EXPECT_THAT(endProcess("keep").err, HasSubstr("the kept loggers are gone"));
}

TEST_F(ProcessExitTest, SwitchedOffLeavesNothing) {
  endProcess("switched-off");
  EXPECT_THAT(readEvents(events_file), IsEmpty());
}

TEST_F(ProcessExitTest, ImmediateReportsAreThereBeforeTheEnd) {
  endProcess("immediate");
  EXPECT_EQ(reported("immediate"), 2);
}

TEST_F(ProcessExitTest, WhatWasSubmittedByStopIsNotSubmittedAgain) {
  endProcess("stop");
  EXPECT_EQ(reported("before stop"), 5);
  EXPECT_THAT(readEvents(events_file), SizeIs(1));
}

TEST_F(ProcessExitTest, ALoggerThatIsStoppedAndKeptIsNoFault) {
  const ProgramResult result = endProcess("stop-and-leak");
  EXPECT_EQ(reported("before stop"), 5);
  EXPECT_THAT(result.err, Not(HasSubstr("not running")));
}

TEST_F(ProcessExitTest, ReportsAfterTheManagersEndAreTakenAndSubmittedNowhere) {
  const ProgramResult result = endProcess("afterlife");
  EXPECT_THAT(result.err, HasSubstr("flushed, telemetry off, the manager of main gives today's"));
  EXPECT_EQ(reported("before return"), 100);
  EXPECT_THAT(readEvents(events_file), SizeIs(1));
}

TEST_F(ProcessExitTest, TheFirstUseAfterTheLibrarysExitMakesOneManagerThatSubmitsNothing) {
  const ProgramResult result = endProcess("only-afterlife");
  EXPECT_THAT(result.err, HasSubstr("flushed, telemetry off, the manager of main gives today's"));
  EXPECT_THAT(readEvents(events_file), IsEmpty());
}

TEST_F(ProcessExitTest, AClientThatIsUnloadedLeavesTheLibraryAndItsReportsBehind) {
  // The leak checker cannot read the thread-local storage of a loaded library in a thread that
  // lives.
  endProcessAgainAndAgain("3", {{"passing", 3}}, {{"LSAN_OPTIONS", "detect_leaks=0"}},
                          UNLOAD_PROGRAM);
}

class ForkTest : public ProcessExitTest {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer's allocator may stay locked in the child";
#endif
  }
};

TEST_F(ForkTest, AForkedProcessSubmitsNothingOfTheWindowThatItInherited) {
  endProcessAgainAndAgain("exit", {{"before fork", 50}}, {}, FORK_PROGRAM);
}

TEST_F(ForkTest, AForkedProcessThatDropsALoggerWithWindowsOfItsOwnSubmitsNothingOfThem) {
  endProcessAgainAndAgain("own", {{"before fork", 50}}, {}, FORK_PROGRAM);
}

/// The process forks while its other threads report.
class BusyForkTest : public ForkTest {
 protected:
  void SetUp() override {
    ForkTest::SetUp();
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer's depot of stacks may stay locked in the child";
#endif
  }
};

TEST_F(BusyForkTest, AForkedProcessExitsAndLeavesReportingToItsParent) {
  endProcessAgainAndAgain("worker", {{"before fork", 50}, {"in the child", 0}}, {}, FORK_PROGRAM);
}

TEST_F(BusyForkTest, EveryCallReturnsInAForkedProcessAndOnlyImmediateReportsAreSubmitted) {
  // Ten children use one such logger that their parent made and one of their own.
  endProcessAgainAndAgain("everything", {{"before fork", 30}, {"integer", 20}}, {}, FORK_PROGRAM);
}

TEST(AbsentModule, OnlyTheLoaderSaysSoAndOnlyOnce) {
  const ProgramResult result = runProgram({EXIT_PROGRAM, "return"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("TAMSA loading module 'libtamsa.nebrik.so'"));
  EXPECT_THAT(result.err, HasSubstr("TAMSA module 'libtamsa.nebrik.so' not found"));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 2) << result.err;
}

TEST(AbsentModule, HarmsNoKindOfReport) {
  const ProgramResult result = runProgram({EXIT_PROGRAM, "every-kind"});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err, Not(HasSubstr("Failed to report")));
}

}  // namespace
