#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>

#include "kiv/EventNames.h"
#include "services/kiv/telemetry/aggregation/AggregationMethod.h"

namespace android::kiv::internal {
namespace {

using Type = NumericAggregationType;

TEST(AggregationMethod, IsOneByteOfFixedNumbers) {
  static_assert(sizeof(Type) == 1);
  EXPECT_EQ(static_cast<int>(Type::AVG), 0);
  EXPECT_EQ(static_cast<int>(Type::SUM), 1);
  EXPECT_EQ(static_cast<int>(Type::MAX), 2);
  EXPECT_EQ(static_cast<int>(Type::MIN), 3);
  EXPECT_EQ(static_cast<int>(Type::COUNT), 4);
}

TEST(AggregationMethod, HasAName) {
  EXPECT_STREQ(event_names::aggregationMethod(Type::AVG), "AVG");
  EXPECT_STREQ(event_names::aggregationMethod(Type::SUM), "SUM");
  EXPECT_STREQ(event_names::aggregationMethod(Type::MAX), "MAX");
  EXPECT_STREQ(event_names::aggregationMethod(Type::MIN), "MIN");
  EXPECT_STREQ(event_names::aggregationMethod(Type::COUNT), "COUNT");
}

TEST(AggregationMethod, IsUnknownForAnyOtherByte) {
  EXPECT_STREQ(event_names::aggregationMethod(Type(5)), "UNKNOWN");
  EXPECT_STREQ(event_names::aggregationMethod(Type(255)), "UNKNOWN");
}

float combineAll(Type type, std::initializer_list<float> samples) {
  float aggregate = 0.0F;
  uint32_t count = 0;
  for (const float sample : samples) aggregate = combine(type, aggregate, count++, sample);
  return aggregate;
}

TEST(AggregationMethod, AverageIsTheRunningMean) {
  EXPECT_EQ(combineAll(Type::AVG, {1, 2, 6}), 3.0F);
}

TEST(AggregationMethod, AverageWeighsTheMeanByItsCount) {
  EXPECT_EQ(combine(Type::AVG, 10.0F, 9, 20.0F), 11.0F);
}

TEST(AggregationMethod, AverageIsTheWeightedSumOverTheCountInFloats) {
  // Other ways to the mean, and other precisions, are rounded otherwise.
  EXPECT_EQ(combine(Type::AVG, 0.7F, 2, 2.3F), 1.23333323F);
}

TEST(AggregationMethod, SumAddsUp) { EXPECT_EQ(combineAll(Type::SUM, {1.5F, 2.5F}), 4.0F); }

TEST(AggregationMethod, MaximumIsTheLargest) { EXPECT_EQ(combineAll(Type::MAX, {5, 9, 2}), 9.0F); }

TEST(AggregationMethod, CountStaysAtTheLargestIntegerUpToWhichFloatsHaveAll) {
  EXPECT_EQ(combine(Type::COUNT, 16777215.0F, 16777215, 0), 16777216.0F);
  EXPECT_EQ(combine(Type::COUNT, 16777216.0F, 16777216, 0), 16777216.0F);
}

TEST(AggregationMethod, MinimumIsTheSmallest) { EXPECT_EQ(combineAll(Type::MIN, {5, 9, 2}), 2.0F); }

TEST(AggregationMethod, TheFirstSampleIsTakenAsItIs) {
  EXPECT_EQ(combineAll(Type::MAX, {-7}), -7.0F);
  EXPECT_EQ(combineAll(Type::MIN, {7}), 7.0F);
  EXPECT_EQ(combineAll(Type::MAX, {-7, -9}), -7.0F);
}

TEST(AggregationMethod, OfEqualExtremesTheLastIsTaken) {
  EXPECT_TRUE(std::signbit(combineAll(Type::MAX, {0.0F, -0.0F})));
  EXPECT_FALSE(std::signbit(combineAll(Type::MAX, {-0.0F, 0.0F})));
  EXPECT_TRUE(std::signbit(combineAll(Type::MIN, {0.0F, -0.0F})));
  EXPECT_FALSE(std::signbit(combineAll(Type::MIN, {-0.0F, 0.0F})));
}

TEST(AggregationMethod, ASampleThatIsNoNumberIsTakenAndThenReplaced) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(combineAll(Type::MAX, {5, kNaN})));
  EXPECT_TRUE(std::isnan(combineAll(Type::MIN, {5, kNaN})));
  EXPECT_EQ(combineAll(Type::MAX, {9, kNaN, 2}), 2.0F);
  EXPECT_EQ(combineAll(Type::MIN, {2, kNaN, 9}), 9.0F);
}

TEST(AggregationMethod, ASampleThatIsNoNumberSpoilsSumsAndAverages) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(combineAll(Type::SUM, {5, kNaN, 2})));
  EXPECT_TRUE(std::isnan(combineAll(Type::AVG, {5, kNaN, 2})));
}

TEST(AggregationMethod, CountIgnoresTheSamples) {
  EXPECT_EQ(combineAll(Type::COUNT, {5, 9, 2}), 3.0F);
}

TEST(AggregationMethod, AnUnknownOneChangesNothing) {
  EXPECT_EQ(combine(Type(5), 2.5F, 3, 9.0F), 2.5F);
}

}  // namespace
}  // namespace android::kiv::internal
