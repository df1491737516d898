#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/AssertionReport.h"
#include "tests/support/LogCapture.h"

namespace android::kiv {
namespace {

using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using testing::ElementsAre;

TEST(AssertionReport, LogsConditionFunctionAndLine) {
  const LogCapture log;
  logAssertionErrorCode("a < b", nullptr, "compare", 12);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_ERROR, "KivAssertion",
                                               "a < b failed in compare:12"}));
}

TEST(AssertionReport, LogsTheDetailWhereThereIsOne) {
  const LogCapture log;
  logAssertionErrorCode("a < b", "100%s", "compare", 12);
  EXPECT_THAT(log.lines(), ElementsAre(LogLine{ANDROID_LOG_ERROR, "KivAssertion",
                                               "a < b failed in compare:12: 100%s"}));
}

}  // namespace
}  // namespace android::kiv
