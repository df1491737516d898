#include <gtest/gtest.h>

#include "tests/support/JsonEvents.h"
#include "tests/support/RunProgram.h"

namespace {

TEST(ReadmeClient, ItsReportsBecomeTheEventsThatTheReadmeShows) {
  const kiv_test::TemporaryDirectory directory;
  const std::string events_file = directory.file("events.jsonl");
  const auto result = kiv_test::runProgram(
      {README_CLIENT}, {{"LD_LIBRARY_PATH", JSONL_MODULE_DIR}, {"TAMSA_JSONL_PATH", events_file}});
  ASSERT_EQ(result.exit_code, 0) << result.err;

  const auto events = kiv_test::readEvents(events_file);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["event"], "wexo_kiv_generic");
  EXPECT_EQ(events[0]["kiv_event_name"], "api_latency_us.render");
  EXPECT_EQ(events[1]["event"], "wexo_kiv_error_code");
  EXPECT_EQ(events[1]["kiv_error_code"], "kiv.MMAP_FAILED=-12");
  EXPECT_EQ(events[1]["aggregated_count"], 3);
}

}  // namespace
