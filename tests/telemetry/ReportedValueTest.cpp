// The C++ types of named values, and what each is reported as.
#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <string_view>

#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using testing::SizeIs;
using Type = NumericAggregationType;

constexpr long long kLargest = std::numeric_limits<long long>::max();

// Aggregates are floats: the integers of these tests are some that a float can hold.
class ReportedValueTest : public LoggerRig {
 protected:
  template <typename T>
  void report(const T& value) {
    logger->logKivEvent("n", value, Type::MAX);
  }

  /// The only event of the values that have been reported since the last call.
  ::kiv_test::Event event() {
    logger->flush();
    const auto recorded = events();
    recorder.reset();
    EXPECT_THAT(recorded, SizeIs(1));
    return recorded.at(0);
  }

  int64_t integer() { return event().ints.at("value_int"); }
  float number() { return event().floats.at("value_float"); }
  std::string text() { return event().strings.at("value_string"); }

  std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::BLOCKING);
};

TEST_F(ReportedValueTest, ABoolIsOneOrZero) {
  report(true);
  EXPECT_EQ(integer(), 1);
  report(false);
  EXPECT_EQ(integer(), 0);
}

TEST_F(ReportedValueTest, UnsignedIntegersOf32BitsAndLessAreReportedAsTheyAre) {
  report(uint8_t{200});
  EXPECT_EQ(integer(), 200);
  report(uint16_t{60000});
  EXPECT_EQ(integer(), 60000);
  report(uint32_t{0x80000000});
  EXPECT_EQ(integer(), 0x80000000LL);
}

TEST_F(ReportedValueTest, SignedIntegersOfEveryWidthAreReportedAsTheyAre) {
  report(int8_t{-100});
  EXPECT_EQ(integer(), -100);
  report(int16_t{-30000});
  EXPECT_EQ(integer(), -30000);
  report(long{-3});
  EXPECT_EQ(integer(), -3);
}

TEST_F(ReportedValueTest, SizesAreIntegers) {
  report(sizeof(int64_t));
  EXPECT_EQ(integer(), 8);
  report(5UL);
  EXPECT_EQ(integer(), 5);
  report(1ULL << 40);
  EXPECT_EQ(integer(), 1LL << 40);
}

TEST_F(ReportedValueTest, AnUnsignedValueBeyondTheLargestIntegerIsTheLargest) {
  report(std::numeric_limits<unsigned long long>::max());
  EXPECT_EQ(integer(), kLargest);
  report(1ULL << 63);
  EXPECT_EQ(integer(), kLargest);
}

TEST_F(ReportedValueTest, TheLargestSizeIsNotNegative) {
  report(std::numeric_limits<size_t>::max());
  EXPECT_GT(integer(), 0);
  report(std::numeric_limits<unsigned long>::max());
  EXPECT_GT(integer(), 0);
}

TEST_F(ReportedValueTest, ADoubleIsTheNearestFloat) {
  report(0.1);
  EXPECT_EQ(number(), 0.1F);
  report(0.5L);
  EXPECT_EQ(number(), 0.5F);
}

TEST_F(ReportedValueTest, ADoubleBeyondTheRangeOfFloatsIsInfinite) {
  report(1e300);
  EXPECT_EQ(number(), std::numeric_limits<float>::infinity());
  report(-1e300);
  EXPECT_EQ(number(), -std::numeric_limits<float>::infinity());
}

TEST_F(ReportedValueTest, ALiteralIsAText) {
  report("headphones");
  EXPECT_EQ(text(), "headphones");
}

TEST_F(ReportedValueTest, PointersToCharactersAreTexts) {
  char changeable[] = "changeable";
  const char* constant = "constant";
  report(constant);
  EXPECT_EQ(text(), "constant");
  report(&changeable[0]);
  EXPECT_EQ(text(), "changeable");
}

TEST_F(ReportedValueTest, ANullPointerIsAnEmptyText) {
  const char* const none = nullptr;
  report(none);
  EXPECT_EQ(text(), "");
}

TEST_F(ReportedValueTest, AnArrayIsATextUpToItsFirstNul) {
  const char buffer[16] = "short";
  report(buffer);
  report(std::string("short"));
  EXPECT_EQ(event().ints.at("aggregated_count"), 2);
}

extern const char array_of_unknown_size[];

TEST_F(ReportedValueTest, AnArrayOfUnknownSizeIsATextUpToItsFirstNul) {
  report(array_of_unknown_size);
  EXPECT_EQ(text(), "declared elsewhere");
}

const char array_of_unknown_size[] = "declared elsewhere";

TEST_F(ReportedValueTest, AnArrayWithoutANulIsATextOfItsLength) {
  struct {
    char code[4];
    char behind[4];
  } const record{{'R', 'I', 'F', 'F'}, {'x', 'x', 'x', '\0'}};
  report(record.code);
  EXPECT_EQ(text(), "RIFF");
}

TEST_F(ReportedValueTest, AViewIsATextOfItsLength) {
  report(std::string_view("headphones").substr(0, 4));
  EXPECT_EQ(text(), "head");
}

struct Named {
  operator std::string_view() const { return "named"; }  // NOLINT(google-explicit-constructor)
};

TEST_F(ReportedValueTest, WhatConvertsToAViewIsAText) {
  report(Named{});
  EXPECT_EQ(text(), "named");
}

TEST_F(ReportedValueTest, EveryTypeOfAValueHasTheSameKey) {
  report(1);
  report(2U);
  report(sizeof(char));
  report(true);
  EXPECT_EQ(event().ints.at("aggregated_count"), 4);
  report("v");
  report(std::string("v"));
  report(std::string_view("v"));
  EXPECT_EQ(event().ints.at("aggregated_count"), 3);
  report(0.5);
  report(0.5F);
  EXPECT_EQ(event().ints.at("aggregated_count"), 2);
}

TEST_F(ReportedValueTest, ATypeCanBeNamed) {
  logger->logKivEvent<size_t>("n", 3, Type::MAX);
  EXPECT_EQ(integer(), 3);
  logger->logKivEvent<double>("n", 3, Type::MAX);
  EXPECT_EQ(number(), 3.0F);
  logger->logKivEvent<const char*>("n", "v", Type::MAX);
  EXPECT_EQ(text(), "v");
  logger->logKivEvent<const std::string>("n", "v", Type::MAX);
  EXPECT_EQ(text(), "v");
}

TEST_F(ReportedValueTest, AVolatileValueIsReported) {
  volatile int level = 7;
  report(level);
  EXPECT_EQ(integer(), 7);
}

class OwnLogger : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  void logSize(size_t size) { logKivEvent("size", size, Type::MAX); }
};

TEST_F(ReportedValueTest, ADerivedLoggerTakesTheSameTypes) {
  makeLoggerOf<OwnLogger>(Model::BLOCKING)->logSize(12);
  EXPECT_EQ(integer(), 12);
}

}  // namespace
}  // namespace android::kiv
