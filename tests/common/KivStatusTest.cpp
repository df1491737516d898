#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kiv/KivStatus.h"

namespace android::kiv {
namespace {

TEST(KivStatus, IsOkForCodeZeroOnly) {
  EXPECT_TRUE(KivStatus().ok());
  EXPECT_TRUE(KivStatus(0).ok());
  EXPECT_FALSE(KivStatus(1).ok());
  EXPECT_FALSE(KivStatus(-1).ok());
  EXPECT_FALSE(KivStatus(android::UNKNOWN_ERROR).ok());
}

TEST(KivStatus, KeepsItsCode) { EXPECT_EQ(KivStatus(-EPIPE).code(), android::DEAD_OBJECT); }

TEST(KivStatus, IsNamedByThePlatform) {
  EXPECT_EQ(KivStatus().toString(), "OK");
  EXPECT_EQ(KivStatus(android::TIMED_OUT).toString(), "TIMED_OUT");
  EXPECT_EQ(KivStatus(android::DEAD_OBJECT).toString(), android::statusToString(-EPIPE));
}

TEST(PlatformStatusText, NamesEveryConstant) {
  EXPECT_EQ(statusToString(UNKNOWN_ERROR), "UNKNOWN_ERROR");
  EXPECT_EQ(statusToString(NO_MEMORY), "NO_MEMORY");
  EXPECT_EQ(statusToString(INVALID_OPERATION), "INVALID_OPERATION");
  EXPECT_EQ(statusToString(BAD_VALUE), "BAD_VALUE");
  EXPECT_EQ(statusToString(BAD_TYPE), "BAD_TYPE");
  EXPECT_EQ(statusToString(NAME_NOT_FOUND), "NAME_NOT_FOUND");
  EXPECT_EQ(statusToString(PERMISSION_DENIED), "PERMISSION_DENIED");
  EXPECT_EQ(statusToString(NO_INIT), "NO_INIT");
  EXPECT_EQ(statusToString(ALREADY_EXISTS), "ALREADY_EXISTS");
  EXPECT_EQ(statusToString(FAILED_TRANSACTION), "FAILED_TRANSACTION");
  EXPECT_EQ(statusToString(BAD_INDEX), "BAD_INDEX");
  EXPECT_EQ(statusToString(NOT_ENOUGH_DATA), "NOT_ENOUGH_DATA");
  EXPECT_EQ(statusToString(WOULD_BLOCK), "WOULD_BLOCK");
  EXPECT_EQ(statusToString(UNKNOWN_TRANSACTION), "UNKNOWN_TRANSACTION");
  EXPECT_EQ(statusToString(FDS_NOT_ALLOWED), "FDS_NOT_ALLOWED");
  EXPECT_EQ(statusToString(UNEXPECTED_NULL), "UNEXPECTED_NULL");
}

TEST(PlatformStatusText, DescribesOtherErrnoValues) {
  EXPECT_EQ(statusToString(-EACCES), "-13 (Permission denied)");
}

TEST(PlatformStatusText, SaysThatAnErrorIsUnknown) {
  EXPECT_EQ(statusToString(5), "5 (Unknown error -5)");
  EXPECT_EQ(statusToString(-99999), "-99999 (Unknown error 99999)");
}

TEST(KivStatusOr, HoldsTheValueOfASuccess) {
  const KivStatusOr<int> result(KivStatus(), 42);
  EXPECT_TRUE(result.ok());
  EXPECT_EQ(result.status().code(), 0);
  EXPECT_EQ(result.value(), 42);
}

TEST(KivStatusOr, CarriesAFailureWithoutValue) {
  const KivStatusOr<int> result{KivStatus(android::DEAD_OBJECT)};
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), android::DEAD_OBJECT);
}

TEST(KivStatusOrDeathTest, AbortsWhenAskedForTheValueOfAFailure) {
  const KivStatusOr<int> result{KivStatus(android::TIMED_OUT)};
  EXPECT_EXIT(static_cast<void>(result.value()), testing::KilledBySignal(SIGABRT),
              "Value is not set\\. status=TIMED_OUT");
}

TEST(KivStatusOrDeathTest, AbortsUnderTheConditionThatThereIsNoValueAndNoTag) {
  const KivStatusOr<int> result{KivStatus(android::TIMED_OUT)};
  EXPECT_EXIT(static_cast<void>(result.value()), testing::KilledBySignal(SIGABRT),
              "assert\\(!value_\\.has_value\\(\\), null, Value is not set\\. status=%s\\)");
}

}  // namespace
}  // namespace android::kiv
