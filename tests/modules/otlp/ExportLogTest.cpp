// What the log says of an export that does not go well.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExportLog.h"
#include "LogCapture.h"

namespace TAMSA::otlp {
namespace {

using kiv_test::LogLine;
using testing::ElementsAre;

constexpr TimePoint kStart{std::chrono::hours(1)};

class ExportLogTest : public testing::Test {
 protected:
  kiv_test::LogCapture lines_;
  ExportLog log_{"http://host/"};
};

TEST_F(ExportLogTest, SaysOnceThatDeliveryFailsAndOnceThatItGoesOn) {
  log_.delivered();
  log_.failed("no route");
  log_.failed("no route");
  log_.delivered();
  log_.delivered();
  EXPECT_THAT(
      lines_.lines(),
      ElementsAre(
          LogLine{ANDROID_LOG_WARN, "TamsaOtlp", "cannot deliver to http://host/: no route"},
          LogLine{ANDROID_LOG_INFO, "TamsaOtlp", "delivering to http://host/ again"}));
}

TEST_F(ExportLogTest, CountsWhatIsDroppedAndSaysSoOnceAMinute) {
  log_.dropped(1, "full", kStart);
  log_.dropped(2, "full", kStart + std::chrono::seconds(1));
  log_.dropped(3, "full", kStart + std::chrono::seconds(59));
  log_.dropped(4, "gone", kStart + std::chrono::seconds(60));
  EXPECT_THAT(
      lines_.lines(),
      ElementsAre(LogLine{ANDROID_LOG_ERROR, "TamsaOtlp", "dropped 1 events, 1 in all: full"},
                  LogLine{ANDROID_LOG_ERROR, "TamsaOtlp", "dropped 9 events, 10 in all: gone"}));
}

TEST_F(ExportLogTest, TellsTheRestOnDemandAndOnce) {
  log_.dropped(1, "full", kStart);
  log_.dropped(2, "full", kStart);
  log_.tellDropped();
  log_.tellDropped();
  EXPECT_THAT(lines_.lines(), testing::SizeIs(2));
  EXPECT_EQ(lines_.lines()[1].text, "dropped 2 events, 3 in all: full");
}

TEST_F(ExportLogTest, RepeatsNoAdvice) {
  log_.advised("slow down");
  log_.advised("slow down");
  log_.advised("thanks");
  EXPECT_THAT(lines_.lines(),
              ElementsAre(LogLine{ANDROID_LOG_WARN, "TamsaOtlp", "http://host/ says: slow down"},
                          LogLine{ANDROID_LOG_WARN, "TamsaOtlp", "http://host/ says: thanks"}));
}

}  // namespace
}  // namespace TAMSA::otlp
