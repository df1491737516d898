// Programs at the edges of the library's use. Each test runs a process with a time limit of its
// own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>
#include <string>

#include "tests/support/FromEnvironment.h"
#include "tests/support/RunProgram.h"

namespace {

using kiv_test::fromEnvironment;
using kiv_test::ProgramResult;
using kiv_test::runProgram;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

using Environment = std::map<std::string, std::string>;

ProgramResult run(const std::string& way, Environment environment = {},
                  const std::string& number = "") {
  environment["LD_LIBRARY_PATH"] = HOOKED_MODULE_DIR;
  return runProgram({EDGE_PROGRAM, way, number}, environment);
}

/// Runs a process that has to end well.
ProgramResult endsWell(const std::string& way, const Environment& environment = {},
                       const std::string& number = "") {
  const ProgramResult result = run(way, environment, number);
  EXPECT_EQ(result.exit_code, 0) << "signal " << result.signal << "\n" << result.err;
  return result;
}

/// Does it as often as asked for, because it depends on the order of threads.
void endsWellAgainAndAgain(const std::string& way, const std::string& number = "") {
  const size_t runs = fromEnvironment("KIV_EXIT_RUNS", 10);
  for (size_t i = 1; i <= runs && !testing::Test::HasFailure(); ++i) endsWell(way, {}, number);
}

TEST(DelegateHandler, IsSafeForTheWholeLifeOfTheProcess) { endsWellAgainAndAgain("handler"); }

TEST(WorkerSignals, ASignalThatMainReadsFromADescriptorIsNotTakenByTheWorker) {
  EXPECT_THAT(endsWell("signalfd", {{"TELEMETRY_BEFORE_MAIN", "1"}}).err,
              HasSubstr("read signal " + std::to_string(SIGTERM)));
}

TEST(WorkerSignals, ALogWithoutAReaderDoesNotEndTheProcess) { endsWell("closed-pipe"); }

TEST(WorkerSignals, AFaultOfTheWorkerReachesTheProgramsHandler) {
  EXPECT_THAT(endsWell("fault").err, HasSubstr("handled"));
}

TEST(ExitBehindMakers, IsNotDelayedByThreadsThatMakeLoggers) {
  endsWellAgainAndAgain("makers", "0");
}

TEST(ExitBehindMakers, IsNotDelayedByThreadsThatAskForTheManager) {
  endsWellAgainAndAgain("makers", "1");
}

TEST(ExitBehindMakers, IsNotDelayedByThreadsThatTrace) { endsWellAgainAndAgain("makers", "2"); }

TEST(ExitBehindMakers, IsNotDelayedByThreadsThatMakeHandlers) {
  endsWellAgainAndAgain("makers", "3");
}

TEST(ExitBehindMakers, EndsAfterThreadsThatMadeLoggersWereCancelled) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers' run-time libraries do not survive a cancelled thread";
#endif
  EXPECT_THAT(endsWell("cancel").err, HasSubstr("reported after cancellation 2"));
}

TEST(ExitBehindMakers, TheFirstUseMayComeWhileTheProcessExits) {
  endsWellAgainAndAgain("first-use");
}

TEST(FirstUse, DoesNotHangBecauseAThreadThatWaitsForItIsCancelled) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers' run-time libraries do not survive a cancelled thread";
#endif
  EXPECT_THAT(endsWell("cancel-first-use").err, HasSubstr("reported after cancellation 2"));
}

TEST(FirstUse, MayReplaceAFactoryThatUsesTelemetryWhenItGoes) {
  EXPECT_THAT(endsWell("factory").err, HasSubstr("reported from the factory 1"));
}

class LoaderLock : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Waits, LoaderLock,
                         testing::Values("flush", "stop", "blocking", "immediate-elsewhere",
                                         "immediate-here-and-elsewhere"),
                         [](const auto& way) {
                           std::string name = way.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST_P(LoaderLock, AStaticConstructorMayWaitForAFreshWorker) {
  EXPECT_THAT(endsWell("plugin", {{"WAIT_IN_CONSTRUCTOR", GetParam()}}).err, HasSubstr("waited"));
}

TEST_P(LoaderLock, AStaticConstructorMayWaitForAWorkerWithAWindow) {
  EXPECT_THAT(
      endsWell("plugin", {{"WAIT_IN_CONSTRUCTOR", GetParam()}, {"REPORT_BEFORE_PLUGIN", "1"}}).err,
      HasSubstr("waited"));
}

TEST_P(LoaderLock, AStaticDestructorMayWaitForAWorkerWithAWindow) {
  EXPECT_THAT(
      endsWell("plugin", {{"WAIT_IN_DESTRUCTOR", GetParam()}, {"REPORT_BEFORE_PLUGIN", "1"}}).err,
      HasSubstr("waited"));
}

TEST(LoaderLock, WhatAStaticConstructorFlushesIsSubmitted) {
  EXPECT_THAT(endsWell("plugin", {{"WAIT_IN_CONSTRUCTOR", "flush"}}).err,
              AllOf(HasSubstr("flush 1"), HasSubstr("reported of the plugin 3")));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(NoResources, AnAllocationThatFailsEndsTheProcessAndReachesNoClient) {
  int failed = 0;
  for (int n = 0;; ++n) {
    const ProgramResult result = run("memory", {}, std::to_string(n));
    if (result.exit_code == 0) break;
    EXPECT_EQ(result.signal, SIGABRT) << "allocation " << n << "\n" << result.err;
    ++failed;
  }
  EXPECT_GT(failed, 20);
}

TEST(NoResources, AThreadThatCannotBeMadeEndsTheProcessAndTheLogSaysWhy) {
  const ProgramResult result = run("thread");
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_THAT(result.err,
              HasSubstr("Cannot start a worker thread: Resource temporarily unavailable"));
}

TEST(NoResources, AModuleThatThrowsEndsTheProcess) {
  const ProgramResult result = run("throw");
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_THAT(result.err, Not(HasSubstr("reached the client")));
}

TEST(StartLimit, OfTheSharedWorkerIsASecond) {
  const std::string err = endsWell("wait", {{"PRINT_WAITS", "1"}}).err;
  const size_t at = err.find("waits ");
  ASSERT_NE(at, std::string::npos) << err;
  // The limit, less the time that passed before it was read.
  const double waits = std::atof(err.c_str() + at + 6);
  EXPECT_LE(waits, 1.0);
  EXPECT_GT(waits, 0.5);
}

#endif

}  // namespace
