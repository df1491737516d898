#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "instrumentation/AllocationCount.h"
#include "services/kiv/telemetry/vocabulary/KivFatalCheck.h"
#include "tests/support/LogCapture.h"

namespace android::kiv::internal {
namespace {

using ::kiv_test::AllocationCount;
using ::kiv_test::LogCapture;
using testing::IsEmpty;
using testing::KilledBySignal;

void checkPositive(int number) {
  KIV_FATAL_CHECK_AT("some/File", 12, number > 0 && number != 100, "the number should be positive");
}

TEST(FatalCheck, PassingWritesNothing) {
  const LogCapture log;
  checkPositive(1);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(FatalCheck, PassingAllocatesNothing) {
  const AllocationCount allocations;
  checkPositive(1);
  EXPECT_EQ(allocations.count(), 0u);
}

TEST(FatalCheckDeathTest, FailingAbortsWithFileLineConditionAndMessage) {
  EXPECT_EXIT(checkPositive(0), KilledBySignal(SIGABRT),
              "\\[some/File:12\\] \\(number > 0 && number != 100\\) the number should be positive");
}

TEST(FatalCheckDeathTest, FailingIsRecordedByTheCommonLibraryFirst) {
  EXPECT_EXIT(checkPositive(0), KilledBySignal(SIGABRT),
              "number > 0 && number != 100 failed in checkPositive:12\n(.|\n)*\\[some/File:12\\]");
}

TEST(FatalCheckDeathTest, AnEmptyMessageReportsTheConditionAndASpace) {
  EXPECT_EXIT(KIV_FATAL_CHECK_AT("f", 1, 1 == 2, ""), KilledBySignal(SIGABRT),
              "\\[f:1\\] \\(1 == 2\\) \n");
}

TEST(FatalCheckDeathTest, AMessageWithoutTextIsEmpty) {
  EXPECT_EXIT(KivFatalLogMessage("f", 1, true), KilledBySignal(SIGABRT), "\\[f:1\\] \n");
}

TEST(FatalCheckDeathTest, AbortsUnderTheNameOfItsFlagAndNoTag) {
  EXPECT_EXIT(checkPositive(0), KilledBySignal(SIGABRT),
              "assert\\(condition_, null, \\[%s:%d\\] %s\\)");
}

TEST(FatalCheckDeathTest, TextIsNotAFormatString) {
  EXPECT_EXIT(KIV_FATAL_CHECK_AT("f", 1, 1 == 2, "%s%n"), KilledBySignal(SIGABRT), "%s%n");
}

}  // namespace
}  // namespace android::kiv::internal
