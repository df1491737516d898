// A log whose function uses telemetry in turn.
#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "modules/support/LossLog.h"

namespace TAMSA::support {
namespace {

using testing::ElementsAre;

/// For a deadlock.
constexpr unsigned kHangsAfterSeconds = 30;

constexpr LossLog::TimePoint kStart{std::chrono::hours(1)};

LossLog* losses = nullptr;
std::vector<std::string> lines;

LossTable tableOf(const char* cause) {
  LossTable table;
  table.add({cause}, {1, 1});
  return table;
}

TEST(LossLog, MayBeUsedByTheFunctionThatGetsItsLines) {
  LossLog log("Tag");
  losses = &log;
  alarm(kHangsAfterSeconds);
  __android_log_set_logger([](const __android_logger_data* /*tag*/, const char* text) {
    lines.emplace_back(text);
    if (LossLog* const used = std::exchange(losses, nullptr)) {
      used->add(tableOf("lost by the function"), kStart);
      used->logPending();
    }
  });
  log.add(tableOf("lost"), kStart);
  __android_log_set_logger(__android_log_stderr_logger);
  alarm(0);
  EXPECT_THAT(lines, ElementsAre("lost 1 events (1 reports), 1 in all: 1: lost",
                                 "lost 1 events (1 reports), 2 in all: 1: lost by the function"));
}

}  // namespace
}  // namespace TAMSA::support
