#include <gmock/gmock.h>

#include "kiv/KivErrorCodeAggregator.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/StagingAggregator.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {
namespace {

using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using ::kiv_test::StagingAggregator;
using ::kiv_test::timeAt;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

KivErrorCodeEvent error() {
  return {session("s"), "open", "Mixer", "kiv.MMAP_FAILED", KivErrorSeverity::ERROR};
}

class ErrorCodeProbe : public KivErrorCodeAggregator {
 public:
  using KivErrorCodeAggregator::aggregated_data_;
  using KivErrorCodeAggregator::KivErrorCodeAggregator;
};

class ErrorCodeAggregatorTest : public RecorderTest {
 protected:
  void flush() { aggregator.flush(timeAt(1'000'000), timeAt(6'000'000)); }

  ErrorCodeProbe aggregator{NumericAggregationType::COUNT};
};

TEST_F(ErrorCodeAggregatorTest, SendsExactlyItsFields) {
  aggregator.add({session("s", session("root")), "open", "Mixer", "code", KivErrorSeverity::FATAL});
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].name, "wexo_kiv_error_code");
  EXPECT_THAT(
      events()[0].ints,
      UnorderedElementsAre(Pair("start_time_since_epoch", 1000), Pair("end_time_since_epoch", 6000),
                           Pair("aggregated_count", 1), Pair("severity", 3)));
  EXPECT_THAT(events()[0].floats, testing::IsEmpty());
  EXPECT_THAT(events()[0].strings,
              UnorderedElementsAre(Pair("aggregation_method", "COUNT"),
                                   Pair("kiv_session_id", "root.s"), Pair("kiv_class", "Mixer"),
                                   Pair("kiv_api", "open"), Pair("kiv_error_code", "code")));
}

TEST_F(ErrorCodeAggregatorTest, StagesItsFieldsInOrderEachAsItsType) {
  StagingAggregator<KivErrorCodeAggregator> staging(NumericAggregationType::COUNT);
  staging.add(error());
  staging.flush(timeAt(1'000'000), timeAt(6'000'000));
  EXPECT_THAT(
      staging.staged,
      ElementsAre("long long start_time_since_epoch 1000", "long long end_time_since_epoch 6000",
                  "string aggregation_method COUNT", "unsigned int aggregated_count 1",
                  "string kiv_session_id s", "string kiv_class Mixer", "string kiv_api open",
                  "string kiv_error_code kiv.MMAP_FAILED", "long long severity 2"));
}

TEST_F(ErrorCodeAggregatorTest, CountsEqualReports) {
  for (int i = 0; i < 5; ++i) aggregator.add(error());
  flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(5));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("COUNT"));
}

TEST_F(ErrorCodeAggregatorTest, KeepsTheCountAsItsValueToo) {
  for (int i = 0; i < 3; ++i) aggregator.add(error());
  EXPECT_EQ(aggregator.aggregated_data_.at(error()).value, 3.0F);
  EXPECT_EQ(aggregator.aggregated_data_.at(error()).count, 3u);
}

TEST_F(ErrorCodeAggregatorTest, SeparatesSeveritiesAndSendsTheLowerFirst) {
  KivErrorCodeEvent info = error();
  info.severity = KivErrorSeverity::INFO;
  aggregator.add(error());
  aggregator.add(info);
  flush();
  EXPECT_THAT(ints("severity"), ElementsAre(0, 2));
}

TEST_F(ErrorCodeAggregatorTest, OrdersSeveritiesAsUnsignedBytes) {
  KivErrorCodeEvent high = error();
  high.severity = KivErrorSeverity(200);
  aggregator.add(high);
  aggregator.add(error());
  flush();
  EXPECT_THAT(ints("severity"), ElementsAre(2, 200));
}

TEST_F(ErrorCodeAggregatorTest, OrdersApisBytewise) {
  for (const char* api : {"open", "Open", "op", "\xC3\xB6"}) {
    KivErrorCodeEvent event = error();
    event.api = api;
    aggregator.add(event);
  }
  flush();
  EXPECT_THAT(strings("kiv_api"), ElementsAre("Open", "op", "open", "\xC3\xB6"));
}

TEST_F(ErrorCodeAggregatorTest, OrdersByApiThenClassThenCodeThenSeverity) {
  const auto make = [](const char* api, const char* kiv_class, const char* code, int severity) {
    return KivErrorCodeEvent{session("s"), api, kiv_class, code, KivErrorSeverity(severity)};
  };
  aggregator.add(make("b", "a", "a", 0));
  aggregator.add(make("a", "b", "a", 0));
  aggregator.add(make("a", "a", "b", 0));
  aggregator.add(make("a", "a", "a", 1));
  flush();
  EXPECT_THAT(ints("severity"), ElementsAre(1, 0, 0, 0));
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("a", "b", "a", "a"));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("a", "a", "b", "a"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre("a", "a", "a", "b"));
}

TEST_F(ErrorCodeAggregatorTest, NeverMergesSessions) {
  KivErrorCodeEvent other = error();
  other.session_id = session("t");
  aggregator.add(other);
  aggregator.add(error());
  flush();
  EXPECT_THAT(strings("kiv_session_id"), ElementsAre("s", "t"));
}

TEST_F(ErrorCodeAggregatorTest, SendsEmptyTextsAsTheyAre) {
  aggregator.add({session("s"), "", "", "", KivErrorSeverity::INFO});
  flush();
  EXPECT_THAT(strings("kiv_api"), ElementsAre(""));
  EXPECT_EQ(events()[0].strings.count("kiv_api"), 1u);
  EXPECT_EQ(events()[0].strings.count("kiv_class"), 1u);
  EXPECT_EQ(events()[0].strings.count("kiv_error_code"), 1u);
}

TEST_F(ErrorCodeAggregatorTest, NamesTheMethodThatItWasGiven) {
  KivErrorCodeAggregator summing(NumericAggregationType::SUM);
  EXPECT_EQ(summing.getAggregationType(error()), NumericAggregationType::SUM);
  summing.add(error());
  summing.flush(timeAt(0), timeAt(1));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("SUM"));
}

}  // namespace
}  // namespace android::kiv
