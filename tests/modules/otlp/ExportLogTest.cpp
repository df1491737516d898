// The log lines of an export.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "modules/otlp/ExportLog.h"
#include "tests/support/LogCapture.h"

namespace TAMSA::otlp {
namespace {

using kiv_test::LogLine;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::SizeIs;
using Verdict = Reply::Verdict;

constexpr ExportLog::TimePoint kStart{std::chrono::hours(1)};

class ExportLogTest : public testing::Test {
 protected:
  void answer(Verdict verdict, seconds time, const std::string& cause = "",
              const std::string& detail = "") {
    Reply reply;
    reply.verdict = verdict;
    reply.cause = cause;
    reply.detail = detail;
    log_.answered(reply, 1'000, kStart + time);
  }

  void lose(uint64_t events, uint64_t reports, const char* cause, seconds time,
            const char* detail = "") {
    support::LossTable losses;
    losses.add({cause, detail}, {events, reports});
    log_.lost(losses, kStart + time);
  }

  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const LogLine& line : lines_.lines()) texts.push_back(line.text);
    return texts;
  }

  kiv_test::LogCapture lines_;
  ExportLog log_{"http://host/"};
};

using ExportLogLosses = ExportLogTest;

TEST_F(ExportLogTest, SaysOnceThatDeliveryFailsAndOnceThatItWorksAgain) {
  answer(Verdict::DELIVERED, seconds(0));
  answer(Verdict::RETRYABLE, seconds(1), "HTTP status 503", "busy");
  answer(Verdict::RETRYABLE, seconds(2), "HTTP status 503", "busy");
  answer(Verdict::DELIVERED, seconds(3));
  answer(Verdict::DELIVERED, seconds(4));
  EXPECT_THAT(
      lines_.lines(),
      ElementsAre(LogLine{ANDROID_LOG_WARN, "TamsaOtlp",
                          "cannot deliver to http://host/: HTTP status 503 (busy)"},
                  LogLine{ANDROID_LOG_INFO, "TamsaOtlp", "delivering to http://host/ again"}));
}

TEST_F(ExportLogTest, SaysOnceAMinuteThatDeliveryFailsNowAndThen) {
  for (int second = 0; second < 120; second += 2) {
    answer(Verdict::RETRYABLE, seconds(second), "HTTP status 503");
    answer(Verdict::DELIVERED, seconds(second + 1));
  }
  EXPECT_THAT(texts(), ElementsAre("cannot deliver to http://host/: HTTP status 503",
                                   "delivering to http://host/ again",
                                   "cannot deliver to http://host/: HTTP status 503",
                                   "delivering to http://host/ again"));
}

TEST_F(ExportLogTest, ShowsAdviceOnceAMinute) {
  for (const int second : {0, 1, 59, 60}) {
    answer(Verdict::DELIVERED, seconds(second), "advice", std::to_string(second));
  }
  EXPECT_THAT(texts(), ElementsAre("http://host/ says: 0", "http://host/ says: 60"));
}

TEST_F(ExportLogTest, ShowsTheSizeOfARequestThatIsTooLarge) {
  answer(Verdict::TOO_LARGE, seconds(0), "HTTP status 413");
  EXPECT_THAT(texts(), ElementsAre("http://host/ refuses a request of 1000 bytes as too large: "
                                   "HTTP status 413"));
}

TEST_F(ExportLogLosses, AreLoggedOnceAMinuteWithTheNumberOfEachCause) {
  lose(1, 1, "full", seconds(0));
  lose(2, 20, "full", seconds(1));
  lose(3, 30, "HTTP status 400", seconds(59), "first");
  lose(4, 40, "HTTP status 400", seconds(60), "last");
  EXPECT_THAT(
      lines_.lines(),
      ElementsAre(
          LogLine{ANDROID_LOG_ERROR, "TamsaOtlp", "lost 1 events (1 reports), 1 in all: 1: full"},
          LogLine{ANDROID_LOG_ERROR, "TamsaOtlp",
                  "lost 9 events (90 reports), 10 in all: 7: HTTP status 400 (last); "
                  "2: full"}));
}

TEST_F(ExportLogLosses, AreLoggedWhenTheTimeHasComeAlsoWithoutAFurtherOne) {
  lose(1, 1, "full", seconds(0));
  lose(2, 20, "full", seconds(1));
  log_.lost({}, kStart + seconds(59));
  EXPECT_THAT(texts(), SizeIs(1));
  log_.lost({}, kStart + seconds(60));
  log_.lost({}, kStart + seconds(200));
  EXPECT_THAT(texts(), ElementsAre("lost 1 events (1 reports), 1 in all: 1: full",
                                   "lost 2 events (20 reports), 3 in all: 2: full"));
}

TEST_F(ExportLogLosses, AreOneLineForAWholeWindow) {
  for (int event = 0; event < 14'000; ++event) lose(1, 1, "full", seconds(0));
  EXPECT_THAT(texts(), SizeIs(1));
  log_.logPendingLosses();
  EXPECT_EQ(texts().back(), "lost 13999 events (13999 reports), 14000 in all: 13999: full");
}

TEST_F(ExportLogLosses, AreLoggedOnceIfTheRestIsDemanded) {
  lose(1, 1, "full", seconds(0));
  lose(2, 2, "full", seconds(0));
  log_.logPendingLosses();
  log_.logPendingLosses();
  EXPECT_THAT(texts(), ElementsAre("lost 1 events (1 reports), 1 in all: 1: full",
                                   "lost 2 events (2 reports), 3 in all: 2: full"));
}

}  // namespace
}  // namespace TAMSA::otlp
