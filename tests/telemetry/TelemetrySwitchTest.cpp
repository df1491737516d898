#include <gtest/gtest.h>

#include <thread>

#include "kiv/TelemetryLogger.h"
#include "kiv/TelemetrySwitch.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/RecorderTest.h"

namespace android::kiv {
namespace {

using TelemetrySwitchTest = ::kiv_test::RecorderTest;

TEST_F(TelemetrySwitchTest, IsOnInAFreshProcess) {
  KIV_EXPECT_IN_FRESH_PROCESS(EXPECT_TRUE(isTelemetryEnabled()));
}

TEST_F(TelemetrySwitchTest, StaysOffForEveryThread) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    disableTelemetryForTesting();
    EXPECT_FALSE(isTelemetryEnabled());
    bool seen = true;
    std::thread([&] { seen = isTelemetryEnabled(); }).join();
    EXPECT_FALSE(seen);
  });
}

TEST_F(TelemetrySwitchTest, CanBeSwitchedOffTwice) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    disableTelemetryForTesting();
    disableTelemetryForTesting();
    EXPECT_FALSE(isTelemetryEnabled());
  });
}

TEST_F(TelemetrySwitchTest, WhileOffReportsAreDroppedAndNothingIsSent) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    const TelemetryEnv env("Mixer");
    disableTelemetryForTesting();
    env.getLogger()->logKivClientCall("open", "ok");
    EXPECT_TRUE(env.getLogger()->flush());
    EXPECT_TRUE(recorder.calls().empty());
  });
}

}  // namespace
}  // namespace android::kiv
