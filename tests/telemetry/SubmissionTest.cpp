// Submitting a window, by the public aggregators and by the library's own.
#include <gmock/gmock.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "kiv/KivGenericEventAggregator.h"
#include "kiv/TelemetrySwitch.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {
namespace {

using ::kiv_test::kNoTag;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using ::kiv_test::timeAt;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

template <typename Aggregator>
class SubmissionTest : public ::kiv_test::RecorderTest {
 protected:
  static void addTo(Aggregator& to, const std::string& name) {
    to.add({{::kiv_test::session("s"), name, NumericAggregationType::SUM}, 1});
  }

  void add(std::initializer_list<const char*> names) {
    for (const char* const name : names) addTo(aggregator, name);
  }

  void flush() { aggregator.flush(timeAt(1'000'000), timeAt(6'000'000)); }

  std::vector<std::string> sent() const { return strings("kiv_event_name"); }
  std::vector<int64_t> counts() const { return ints("aggregated_count"); }

  /// Runs `work` inside the report of "b".
  void duringTheReportOfB(std::function<void()> work) {
    recorder.onReport([work = std::move(work)](const ::kiv_test::Event& event) {
      if (event.strings.at("kiv_event_name") == "b") work();
    });
  }

  static std::vector<std::string> callsOfOneEvent() {
    return {"createEvent(wexo_kiv_generic)", "reportEvent(wexo_kiv_generic, 1)",
            "destroyTelemetryEvent(7)"};
  }

  const LogLine kFailedReport{ANDROID_LOG_ERROR, kNoTag,
                              "submitEvents: Failed to report UnifiedTelemetry event: "
                              "wexo_kiv_generic"};
  Aggregator aggregator;
};

using Aggregators = testing::Types<KivGenericNumericEventAggregator<long long>,
                                   internal::TableAggregator<KivGenericEvent<long long>>>;
TYPED_TEST_SUITE(SubmissionTest, Aggregators, );

TYPED_TEST(SubmissionTest, OfAnEmptyTableCreatesNoHandler) {
  this->flush();
  EXPECT_THAT(this->recorder.calls(), IsEmpty());
}

TYPED_TEST(SubmissionTest, SendsOneEventPerKeyInKeyOrder) {
  this->add({"b", "a", "b"});
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("a", "b"));
  EXPECT_THAT(this->counts(), ElementsAre(1, 2));
}

TYPED_TEST(SubmissionTest, MakesExactlyTheNecessaryCalls) {
  {
    TypeParam local;
    this->addTo(local, "a");
    this->addTo(local, "b");
    local.flush(timeAt(0), timeAt(1));
  }
  std::vector<std::string> expected{"createTelemetryHandler(9)"};
  for (int i = 0; i < 2; ++i) {
    for (const std::string& call : this->callsOfOneEvent()) expected.push_back(call);
  }
  expected.emplace_back("destroyTelemetryHandler(9)");
  EXPECT_EQ(this->recorder.calls(), expected);
}

TYPED_TEST(SubmissionTest, KeepsTheHandlerFromWindowToWindow) {
  this->add({"n"});
  this->flush();
  this->add({"n"});
  this->flush();
  EXPECT_THAT(this->counts(), ElementsAre(1, 1));
  EXPECT_EQ(this->events()[0].handler, this->events()[1].handler);
}

TYPED_TEST(SubmissionTest, UsesASeparateHandlerForEachAggregator) {
  TypeParam other;
  this->addTo(other, "n");
  this->add({"n"});
  this->flush();
  other.flush(timeAt(0), timeAt(1));
  ASSERT_THAT(this->events(), SizeIs(2));
  EXPECT_NE(this->events()[0].handler, this->events()[1].handler);
}

TYPED_TEST(SubmissionTest, ResetForgetsWithoutSending) {
  this->add({"n"});
  this->aggregator.reset();
  this->flush();
  EXPECT_THAT(this->events(), IsEmpty());
}

TYPED_TEST(SubmissionTest, SendsTheIntervalInMillisecondsTruncatedFromMicroseconds) {
  this->add({"n"});
  this->aggregator.flush(timeAt(1'700'000'000'123'999), timeAt(1'700'000'005'000'001));
  EXPECT_THAT(this->ints("start_time_since_epoch"), ElementsAre(1'700'000'000'123));
  EXPECT_THAT(this->ints("end_time_since_epoch"), ElementsAre(1'700'000'005'000));
}

TYPED_TEST(SubmissionTest, TruncatesTimesBeforeTheEpochTowardZero) {
  this->add({"n"});
  this->aggregator.flush(timeAt(-1'999), timeAt(-999));
  EXPECT_THAT(this->ints("start_time_since_epoch"), ElementsAre(-1));
  EXPECT_THAT(this->ints("end_time_since_epoch"), ElementsAre(0));
}

TYPED_TEST(SubmissionTest, ARefusedReportIsLoggedAndTheOthersAreStillSent) {
  this->recorder.refuseReport(2);
  this->add({"a", "b", "c"});
  const LogCapture log;
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(log.lines(), ElementsAre(this->kFailedReport));
}

TYPED_TEST(SubmissionTest, ARefusedReportIsNotRetried) {
  const LogCapture quiet;
  this->recorder.refuseReport(1);
  this->add({"a"});
  this->flush();
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("a"));
}

TYPED_TEST(SubmissionTest, ARefusedEventIsStillDestroyed) {
  const LogCapture quiet;
  this->add({"warm up"});
  this->flush();
  this->recorder.reset();
  this->recorder.refuseReport(1);
  this->add({"a"});
  this->flush();
  EXPECT_EQ(this->recorder.calls(), this->callsOfOneEvent());
}

TYPED_TEST(SubmissionTest, AnEventThatIsNotCreatedCountsAsAFailedReport) {
  this->recorder.withholdEvents(1);
  this->add({"a", "b"});
  const LogCapture log;
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("b"));
  EXPECT_THAT(log.lines(), ElementsAre(this->kFailedReport));
}

TYPED_TEST(SubmissionTest, WithoutAHandlerTheWindowIsDroppedWithoutALogLineAndTheNextTriesAgain) {
  this->recorder.withholdHandlers(1);
  this->add({"lost", "lost too"});
  const LogCapture log;
  this->flush();
  EXPECT_THAT(this->recorder.calls(), ElementsAre("createTelemetryHandler(9)"));
  this->add({"sent"});
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("sent"));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TYPED_TEST(SubmissionTest, IsCompletedWhenTelemetryIsSwitchedOffMeanwhile) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    this->recorder.onReport(
        [](const ::kiv_test::Event& /*event*/) { disableTelemetryForTesting(); });
    this->add({"a", "b"});
    this->flush();
    EXPECT_THAT(this->sent(), ElementsAre("a", "b"));
    this->add({"c"});
    this->flush();
    EXPECT_THAT(this->sent(), SizeIs(2));
  });
}

TYPED_TEST(SubmissionTest, LeavesReportsMadeMeanwhileToTheNextWindow) {
  // Before, equal to and after the key that is being submitted.
  this->duringTheReportOfB([this] { this->add({"a", "b", "c", "d"}); });
  this->add({"a", "b", "c"});
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(this->counts(), Each(1));
  this->recorder.reset();
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(this->counts(), Each(1));
}

TYPED_TEST(SubmissionTest, NestedInAnotherSendsOnlyReportsMadeMeanwhile) {
  this->duringTheReportOfB([this] {
    this->add({"nested"});
    this->flush();
  });
  this->add({"a", "b", "c"});
  this->flush();
  this->flush();
  EXPECT_THAT(this->sent(), ElementsAre("a", "nested", "b", "c"));
}

}  // namespace
}  // namespace android::kiv
