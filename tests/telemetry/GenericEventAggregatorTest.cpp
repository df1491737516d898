#include <gmock/gmock.h>

#include <climits>
#include <limits>

#include "kiv/KivGenericEventAggregator.h"
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
using Type = NumericAggregationType;

class GenericEventAggregatorTest : public RecorderTest {
 protected:
  void add(const std::string& name, long long value, Type type) {
    integers.add({{session("s"), name, type}, value});
  }
  void add(const std::string& name, float value, Type type) {
    floats.add({{session("s"), name, type}, value});
  }
  void add(const std::string& name, const std::string& value, Type type = Type::COUNT) {
    texts.add({{session("s"), name, type}, value});
  }

  void flush() {
    integers.flush(timeAt(1'000'000), timeAt(6'000'000));
    floats.flush(timeAt(1'000'000), timeAt(6'000'000));
    texts.flush(timeAt(1'000'000), timeAt(6'000'000));
  }

  KivGenericNumericEventAggregator<long long> integers;
  KivGenericNumericEventAggregator<float> floats;
  KivGenericStringEventAggregator texts{Type::COUNT};
};

TEST_F(GenericEventAggregatorTest, IntegersSendExactlyTheirFields) {
  add("n", 1LL, Type::SUM);
  add("n", 2LL, Type::SUM);
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].name, "wexo_kiv_generic");
  EXPECT_THAT(
      events()[0].ints,
      UnorderedElementsAre(Pair("start_time_since_epoch", 1000), Pair("end_time_since_epoch", 6000),
                           Pair("aggregated_count", 2), Pair("value_int", 3)));
  EXPECT_THAT(events()[0].floats, UnorderedElementsAre(Pair("value_float", 0.0F)));
  EXPECT_THAT(events()[0].strings,
              UnorderedElementsAre(Pair("aggregation_method", "SUM"), Pair("kiv_session_id", "s"),
                                   Pair("kiv_event_name", "n"), Pair("value_string", "")));
}

TEST_F(GenericEventAggregatorTest, FloatsSendExactlyTheirFields) {
  add("n", 0.5F, Type::MIN);
  add("n", 0.25F, Type::MIN);
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].name, "wexo_kiv_generic");
  EXPECT_THAT(
      events()[0].ints,
      UnorderedElementsAre(Pair("start_time_since_epoch", 1000), Pair("end_time_since_epoch", 6000),
                           Pair("aggregated_count", 2), Pair("value_int", 0)));
  EXPECT_THAT(events()[0].floats, UnorderedElementsAre(Pair("value_float", 0.25F)));
  EXPECT_THAT(events()[0].strings,
              UnorderedElementsAre(Pair("aggregation_method", "MIN"), Pair("kiv_session_id", "s"),
                                   Pair("kiv_event_name", "n"), Pair("value_string", "")));
}

TEST_F(GenericEventAggregatorTest, TextsSendExactlyTheirFields) {
  add("n", "text");
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].name, "wexo_kiv_generic");
  EXPECT_THAT(
      events()[0].ints,
      UnorderedElementsAre(Pair("start_time_since_epoch", 1000), Pair("end_time_since_epoch", 6000),
                           Pair("aggregated_count", 1), Pair("value_int", 0)));
  EXPECT_THAT(events()[0].floats, UnorderedElementsAre(Pair("value_float", 0.0F)));
  EXPECT_THAT(events()[0].strings,
              UnorderedElementsAre(Pair("aggregation_method", "COUNT"), Pair("kiv_session_id", "s"),
                                   Pair("kiv_event_name", "n"), Pair("value_string", "text")));
}

/// What is staged for one report, with its method and its values as they are to be.
auto stagedFields(const std::string& method, const std::string& value_int,
                  const std::string& value_float, const std::string& value_string) {
  return ElementsAre("long long start_time_since_epoch 1000", "long long end_time_since_epoch 6000",
                     "string aggregation_method " + method, "unsigned int aggregated_count 1",
                     "string kiv_session_id s", "string kiv_event_name n",
                     "long long value_int " + value_int, "float value_float " + value_float,
                     "string value_string " + value_string);
}

TEST_F(GenericEventAggregatorTest, IntegersStageTheirFieldsInOrderEachAsItsType) {
  StagingAggregator<KivGenericNumericEventAggregator<long long>> staging;
  staging.add({{session("s"), "n", Type::SUM}, -7});
  staging.flush(timeAt(1'000'000), timeAt(6'000'000));
  EXPECT_THAT(staging.staged, stagedFields("SUM", "-7", "0", ""));
}

TEST_F(GenericEventAggregatorTest, FloatsStageTheirFieldsInOrderEachAsItsType) {
  StagingAggregator<KivGenericNumericEventAggregator<float>> staging;
  staging.add({{session("s"), "n", Type::SUM}, 1.5F});
  staging.flush(timeAt(1'000'000), timeAt(6'000'000));
  EXPECT_THAT(staging.staged, stagedFields("SUM", "0", "1.5", ""));
}

TEST_F(GenericEventAggregatorTest, TextsStageTheirFieldsInOrderEachAsItsType) {
  StagingAggregator<KivGenericStringEventAggregator> staging(Type::COUNT);
  staging.add({{session("s"), "n", Type::SUM}, "text"});
  staging.flush(timeAt(1'000'000), timeAt(6'000'000));
  EXPECT_THAT(staging.staged, stagedFields("COUNT", "0", "0", "text"));
}

TEST_F(GenericEventAggregatorTest, TextsNameTheMethodThatTheirAggregatorWasGiven) {
  KivGenericStringEventAggregator largest(Type::MAX);
  EXPECT_EQ(largest.getAggregationType({{session("s"), "n", Type::SUM}, "text"}), Type::MAX);
  largest.add({{session("s"), "n", Type::SUM}, "text"});
  largest.flush(timeAt(0), timeAt(1));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("MAX"));
}

TEST_F(GenericEventAggregatorTest, AnAverageOfIntegersIsTruncatedTowardZero) {
  add("down", 1LL, Type::AVG);
  add("down", 2LL, Type::AVG);
  add("up", -1LL, Type::AVG);
  add("up", -2LL, Type::AVG);
  flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(1, -1));
}

TEST_F(GenericEventAggregatorTest, LargeIntegersLosePrecision) {
  add("n", 9007199254740993LL, Type::SUM);
  flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(9007199254740992));
}

TEST_F(GenericEventAggregatorTest, SumsThatLeaveTheIntegersSaturate) {
  add("high", LLONG_MAX, Type::SUM);
  add("high", LLONG_MAX, Type::SUM);
  add("low", LLONG_MIN, Type::SUM);
  add("low", LLONG_MIN, Type::SUM);
  flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(LLONG_MAX, LLONG_MIN));
}

TEST_F(GenericEventAggregatorTest, CountsIntegersWhateverTheyAre) {
  for (const long long value : {5, 9, 2}) add("n", value, Type::COUNT);
  flush();
  EXPECT_THAT(ints("value_int"), ElementsAre(3));
}

TEST_F(GenericEventAggregatorTest, FindsTheExtremes) {
  for (const long long value : {5, 9, 2}) {
    add("n", value, Type::MAX);
    add("n", value, Type::MIN);
  }
  flush();
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("MAX", "MIN"));
  EXPECT_THAT(ints("value_int"), ElementsAre(9, 2));
}

TEST_F(GenericEventAggregatorTest, SendsAFloatThatIsNoNumberAsItIs) {
  add("n", std::numeric_limits<float>::infinity(), Type::SUM);
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].floats.at("value_float"), std::numeric_limits<float>::infinity());
}

TEST_F(GenericEventAggregatorTest, TwoMethodsUnderOneNameAreTwoEventsInOrderOfTheMethods) {
  add("n", 1LL, Type::MAX);
  add("n", 1LL, Type::AVG);
  flush();
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("AVG", "MAX"));
}

TEST_F(GenericEventAggregatorTest, AnUnknownMethodIsNamedSo) {
  add("n", 1LL, Type(77));
  flush();
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("UNKNOWN"));
  EXPECT_THAT(ints("value_int"), ElementsAre(0));
}

TEST_F(GenericEventAggregatorTest, CountsEqualTexts) {
  add("n", "b");
  add("n", "a");
  add("n", "a");
  flush();
  EXPECT_THAT(strings("value_string"), ElementsAre("a", "b"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 1));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("COUNT", "COUNT"));
}

TEST_F(GenericEventAggregatorTest, TextsOfTwoMethodsStayApartUnderOneReportedMethod) {
  add("n", "a", Type::SUM);
  add("n", "a", Type::AVG);
  add("n", "a", Type::AVG);
  flush();
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("COUNT", "COUNT"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 1));
}

TEST_F(GenericEventAggregatorTest, NamesAreOrderedBytewise) {
  for (const char* name : {"b", "ab", "a", "B"}) add(name, 1LL, Type::SUM);
  flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("B", "a", "ab", "b"));
}

TEST(GenericEventKeyOrder, IsSessionThenNameThenMethod) {
  const KivGenericEventKey low{session("b"), "b", Type(2)};
  const KivGenericEventKey higher[] = {{session("c"), "a", Type(1)},
                                       {session("b"), "c", Type(1)},
                                       {session("b"), "b", Type(3)},
                                       {session("b"), "b", Type(200)}};
  for (const auto& key : higher) {
    EXPECT_TRUE(low < key);
    EXPECT_FALSE(key < low);
  }
  EXPECT_FALSE(low < low);
}

TEST(GenericTextOrder, IsKeyThenValue) {
  const std::less<KivGenericEvent<std::string>> less;
  const KivGenericEvent<std::string> low{{session("s"), "n", Type::SUM}, "b"};
  const KivGenericEvent<std::string> higher_value{{session("s"), "n", Type::SUM}, "ba"};
  const KivGenericEvent<std::string> higher_key{{session("s"), "o", Type::SUM}, "a"};
  EXPECT_TRUE(less(low, higher_value));
  EXPECT_FALSE(less(higher_value, low));
  EXPECT_TRUE(less(low, higher_key));
  EXPECT_FALSE(less(higher_key, low));
  EXPECT_FALSE(less(low, low));
}

}  // namespace
}  // namespace android::kiv
