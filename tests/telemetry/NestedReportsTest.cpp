// Reports made by the telemetry module while it is handed a window.
#include <gmock/gmock.h>

#include <string>

#include "LoggerRig.h"

namespace android::kiv {
namespace {

using testing::Each;
using testing::ElementsAre;
using Model = TelemetrySubmissionModel;

class NestedReportsTest : public LoggerRig, public testing::WithParamInterface<Model> {
 protected:
  void report(const std::string& code) {
    logger->logErrorCode(code, "api", KivErrorSeverity::INFO, "class");
  }

  const std::shared_ptr<TelemetryLogger> logger = makeLogger(GetParam());
};

INSTANTIATE_TEST_SUITE_P(Models, NestedReportsTest,
                         testing::Values(Model::NON_BLOCKING, Model::BLOCKING,
                                         Model::LOCKING_IMMEDIATE));

TEST_P(NestedReportsTest, AreSentOnceAndLoseNothing) {
  recorder.onReport([this](const kiv_test::Event& event) {
    const std::string code = event.strings.at("kiv_error_code");
    // Before, at and behind what is being submitted.
    if (code == "b") {
      for (const char* nested : {"nested a", "nested b", "zz nested"}) report(nested);
    }
  });
  for (const char* code : {"a", "b", "c"}) report(code);
  logger->flush();
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"),
              testing::UnorderedElementsAre("a", "b", "c", "nested a", "nested b", "zz nested"));
  EXPECT_THAT(ints("aggregated_count"), Each(1));
}

TEST_P(NestedReportsTest, OfTheKeyBeingSubmittedAreCountedForThemselves) {
  int nested = 0;
  recorder.onReport([&](const kiv_test::Event& /*event*/) {
    if (++nested <= 3) report("same");
  });
  report("same");
  for (int i = 0; i < 4; ++i) logger->flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1, 1, 1, 1));
}

TEST_P(NestedReportsTest, MayFlushTheLogger) {
  recorder.onReport([this](const kiv_test::Event& event) {
    if (event.strings.at("kiv_error_code") != "b") return;
    report("nested");
    logger->flush();
  });
  for (const char* code : {"a", "b", "c"}) report(code);
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), testing::UnorderedElementsAre("a", "b", "nested", "c"));
  EXPECT_THAT(ints("aggregated_count"), Each(1));
}

}  // namespace
}  // namespace android::kiv
