#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/JsonEvents.h"
#include "tests/support/RunProgram.h"

namespace {

using testing::HasSubstr;

class ReadmeTest : public testing::Test {
 protected:
  /// Runs a program that must succeed. Its events go to a file.
  kiv_test::ProgramResult run(const std::string& program) {
    auto result = kiv_test::runProgram(
        {program}, {{"LD_LIBRARY_PATH", JSONL_MODULE_DIR}, {"TAMSA_JSONL_PATH", events_file}});
    EXPECT_EQ(result.exit_code, 0) << result.err;
    return result;
  }

  const kiv_test::TemporaryDirectory directory;
  const std::string events_file = directory.file("events.jsonl");
};

TEST_F(ReadmeTest, TheSmallestClientsReportsBecomeTheEventsThatAreShown) {
  run(README_CLIENT);
  const auto events = kiv_test::readEvents(events_file);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]["event"], "wexo_kiv_generic");
  EXPECT_EQ(events[0]["kiv_event_name"], "api_latency_us.render");
  EXPECT_EQ(events[1]["event"], "wexo_kiv_error_code");
  EXPECT_EQ(events[1]["kiv_error_code"], "kiv.MMAP_FAILED=-12");
  EXPECT_EQ(events[1]["aggregated_count"], 3);
}

TEST_F(ReadmeTest, EachLoggerThatIsShownReports) {
  run(README_FRAGMENTS);
  std::vector<std::string> reported;
  for (const auto& event : kiv_test::readEvents(events_file)) {
    for (const char* field : {"kiv_error_code", "kiv_event_name", "kiv_event"}) {
      if (event.contains(field)) reported.push_back(event[field]);
    }
  }
  EXPECT_THAT(reported, testing::UnorderedElementsAre("free_buffers", "config.unreadable",
                                                      "schema.too_old", "kiv.MMAP_FAILED",
                                                      "stream_opened", "api_latency_us.render"));
}

TEST_F(ReadmeTest, ALogThatIsRedirectedGoesWhereThatIsShown) {
  const auto result = run(README_LOG);
  EXPECT_THAT(result.out, HasSubstr("priority 6, Mixer: open - kiv.MMAP_FAILED\n"));
  EXPECT_THAT(result.out, HasSubstr("priority 3, TamsaLoader: TAMSA loading module"));
  EXPECT_EQ(result.err, "");
}

}  // namespace
