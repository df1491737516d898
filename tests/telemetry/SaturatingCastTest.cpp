#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

#include "services/kiv/telemetry/vocabulary/SaturatingCast.h"

namespace android::kiv::internal {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(SaturatingCast, TruncatesTowardZero) {
  EXPECT_EQ(saturatingCast<long long>(1.9F), 1);
  EXPECT_EQ(saturatingCast<long long>(-1.9F), -1);
  EXPECT_EQ(saturatingCast<uint32_t>(44100.9F), 44100u);
}

TEST(SaturatingCast, ConvertsNaNToZero) {
  EXPECT_EQ(saturatingCast<long long>(kNaN), 0);
  EXPECT_EQ(saturatingCast<uint32_t>(kNaN), 0u);
}

TEST(SaturatingCast, ConvertsNegativesToZeroForUnsignedIntegers) {
  EXPECT_EQ(saturatingCast<uint32_t>(-5.0F), 0u);
  EXPECT_EQ(saturatingCast<uint32_t>(-0.5F), 0u);
  EXPECT_EQ(saturatingCast<uint32_t>(-kInfinity), 0u);
}

TEST(SaturatingCast, SaturatesAtTheLargest) {
  EXPECT_EQ(saturatingCast<uint32_t>(4294967296.0F), UINT32_MAX);
  EXPECT_EQ(saturatingCast<uint32_t>(kInfinity), UINT32_MAX);
  EXPECT_EQ(saturatingCast<long long>(9223372036854775808.0F), LLONG_MAX);
  EXPECT_EQ(saturatingCast<long long>(kInfinity), LLONG_MAX);
}

TEST(SaturatingCast, SaturatesAtTheSmallest) {
  EXPECT_EQ(saturatingCast<long long>(-9223372036854775808.0F), LLONG_MIN);
  EXPECT_EQ(saturatingCast<long long>(-1e20F), LLONG_MIN);
  EXPECT_EQ(saturatingCast<long long>(-kInfinity), LLONG_MIN);
}

TEST(SaturatingCast, KeepsTheLargestFloatsBelowTheEnd) {
  EXPECT_EQ(saturatingCast<uint32_t>(4294967040.0F), 4294967040u);
  EXPECT_EQ(saturatingCast<long long>(9223371487098961920.0F), 9223371487098961920LL);
  EXPECT_EQ(saturatingCast<long long>(-9223371487098961920.0F), -9223371487098961920LL);
}

}  // namespace
}  // namespace android::kiv::internal
