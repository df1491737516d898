#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "services/kiv/telemetry/ProcessExit.h"

namespace android::kiv::internal {
namespace {

[[noreturn]] void exitAfterTheFirstRegistration() {
  std::atexit([] {
    const bool left = ExitBudget::deadline() > std::chrono::steady_clock::now();
    fputs(left ? "budget left\n" : "budget spent\n", stderr);
  });
  ExitBudget::registerEnd();
  std::exit(0);
}

TEST(ExitBudgetDeathTest, IsWholeIfTheProcessEndsWhileItIsRegistered) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitAfterTheFirstRegistration(), testing::ExitedWithCode(0), "budget left");
}

}  // namespace
}  // namespace android::kiv::internal
