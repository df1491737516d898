// The positions of the aggregators' virtual operations. Derived aggregators on the device call
// them, and are called, by position.
#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <string>
#include <type_traits>

#include "tests/support/RecorderTest.h"
#include "tests/support/StagingAggregator.h"
#include "tests/support/VtableEntry.h"
#include "tests/telemetry/AggregatorKinds.h"

namespace android::kiv {
namespace {

using kinds::make;
using kinds::Type;
using ::kiv_test::callEntry;
using ::kiv_test::RecorderTest;
using ::kiv_test::StagingAggregator;
using ::kiv_test::timeAt;
using ::kiv_test::Watched;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using TimePoint = std::chrono::system_clock::time_point;

/// Calls an aggregator's virtual operations by position.
template <typename Kind>
class RawTable {
 public:
  using Event = decltype(Kind::event());
  using Key = decltype(Kind::key());
  using Value = std::remove_const_t<decltype(Kind::kValue)>;
  using Iterator = typename Kind::Aggregator::Entries::iterator;

  explicit RawTable(typename Kind::Aggregator* object) : object_(object) {}

  void destroy() { callEntry<void()>(object_, 1); }
  void destroyAndFree() { callEntry<void()>(object_, 2); }
  void add(const Event& event) { callEntry<void(const Event&)>(object_, 3, event); }
  void flush(TimePoint start, TimePoint end) {
    callEntry<void(TimePoint, TimePoint)>(object_, 4, start, end);
  }
  void reset() { callEntry<void()>(object_, 5); }
  Key getKey(const Event& event) { return callEntry<Key(const Event&)>(object_, 6, event); }
  Value getValue(const Event& event) { return callEntry<Value(const Event&)>(object_, 7, event); }
  Type getAggregationType(const Event& event) {
    return callEntry<Type(const Event&)>(object_, 8, event);
  }
  void populateMetricValuesForEntry(Iterator entry) {
    callEntry<void(Iterator)>(object_, 9, entry);
  }
  const char* getEventName() { return callEntry<const char*()>(object_, 10); }
  void populateInt(int value) { populate(11, value); }
  void populateUnsignedInt(unsigned int value) { populate(12, value); }
  void populateLongLong(long long value) { populate(13, value); }
  void populateFloat(float value) { populate(14, value); }
  void populateString(std::string value) { populate(15, std::move(value)); }
  void populateBool(bool value) { populate(16, value); }

 private:
  template <typename T>
  void populate(int position, T value) {
    callEntry<void(std::string, T)>(object_, position, "field", std::move(value));
  }

  void* object_;
};

template <typename Kind>
class AggregatorVtableTest : public RecorderTest {
 protected:
  using Aggregator = typename Kind::Aggregator;

  /// Gives access to protected members.
  struct Open : Aggregator {
    static auto& entries(Aggregator& aggregator) { return aggregator.*(&Open::aggregated_data_); }
    static auto& ints(Aggregator& aggregator) { return aggregator.*(&Open::int_fields_); }
    static auto& floats(Aggregator& aggregator) { return aggregator.*(&Open::float_fields_); }
    static auto& strings(Aggregator& aggregator) { return aggregator.*(&Open::string_fields_); }
  };

  auto& entries() { return Open::entries(aggregator); }
  auto& stagedInts() { return Open::ints(aggregator); }
  auto& stagedFloats() { return Open::floats(aggregator); }
  auto& stagedStrings() { return Open::strings(aggregator); }

  Aggregator aggregator = make<Kind>();
  RawTable<Kind> raw{&aggregator};
};

TYPED_TEST_SUITE(AggregatorVtableTest, kinds::All, kinds::Names);

TYPED_TEST(AggregatorVtableTest, TheFirstEntryDestroys) {
  using Object = Watched<typename TypeParam::Aggregator>;
  RawTable<TypeParam>(new Object(make<TypeParam, Object>())).destroy();
  EXPECT_EQ(Object::destroyed, 1);
  EXPECT_EQ(Object::freed, 0);
}

TYPED_TEST(AggregatorVtableTest, TheSecondEntryDestroysAndFrees) {
  using Object = Watched<typename TypeParam::Aggregator>;
  RawTable<TypeParam>(new Object(make<TypeParam, Object>())).destroyAndFree();
  EXPECT_EQ(Object::destroyed, 1);
  EXPECT_EQ(Object::freed, 1);
}

TYPED_TEST(AggregatorVtableTest, AddFoldsAReport) {
  this->raw.add(TypeParam::event());
  ASSERT_EQ(this->entries().size(), 1u);
  EXPECT_EQ(this->entries().begin()->second.value, static_cast<float>(TypeParam::kValue));
  EXPECT_EQ(this->entries().begin()->second.count, 1u);
}

TYPED_TEST(AggregatorVtableTest, FlushSubmitsTheIntervalItIsGiven) {
  this->aggregator.add(TypeParam::event());
  this->raw.flush(timeAt(1'700'000'000'123'999), timeAt(1'700'000'005'123'999));
  EXPECT_THAT(this->ints("start_time_since_epoch"), ElementsAre(1'700'000'000'123));
  EXPECT_THAT(this->ints("end_time_since_epoch"), ElementsAre(1'700'000'005'123));
}

TYPED_TEST(AggregatorVtableTest, ResetForgetsWithoutSubmitting) {
  this->aggregator.add(TypeParam::event());
  this->raw.reset();
  EXPECT_THAT(this->entries(), IsEmpty());
  EXPECT_THAT(this->events(), IsEmpty());
}

TYPED_TEST(AggregatorVtableTest, GetKeyReturnsTheKey) {
  const auto key = this->raw.getKey(TypeParam::event());
  const auto expected = TypeParam::key();
  const std::less<std::remove_const_t<decltype(key)>> less;
  EXPECT_FALSE(less(key, expected));
  EXPECT_FALSE(less(expected, key));
}

TYPED_TEST(AggregatorVtableTest, GetValueReturnsTheSample) {
  EXPECT_EQ(this->raw.getValue(TypeParam::event()), TypeParam::kValue);
}

TYPED_TEST(AggregatorVtableTest, GetAggregationTypeReturnsTheMethod) {
  EXPECT_EQ(this->raw.getAggregationType(TypeParam::event()), TypeParam::kType);
}

TYPED_TEST(AggregatorVtableTest, PopulateMetricValuesForEntryStagesItsFields) {
  this->aggregator.add(TypeParam::event());
  this->aggregator.add(TypeParam::event());
  this->raw.populateMetricValuesForEntry(this->entries().begin());
  EXPECT_EQ(this->stagedInts()["aggregated_count"], 2);
  EXPECT_EQ(this->stagedStrings()["kiv_session_id"], "s");
}

TYPED_TEST(AggregatorVtableTest, GetEventNameReturnsTheName) {
  EXPECT_STREQ(this->raw.getEventName(), TypeParam::kName);
}

TYPED_TEST(AggregatorVtableTest, PopulateTelemetryFieldStagesEveryType) {
  this->raw.populateInt(-5);
  EXPECT_THAT(this->stagedInts(), ElementsAre(Pair("field", -5)));
  this->raw.populateUnsignedInt(UINT_MAX);
  EXPECT_THAT(this->stagedInts(), ElementsAre(Pair("field", -1)));
  this->raw.populateLongLong(LLONG_MIN);
  EXPECT_THAT(this->stagedInts(), ElementsAre(Pair("field", LLONG_MIN)));
  this->raw.populateBool(true);
  EXPECT_THAT(this->stagedInts(), ElementsAre(Pair("field", 1)));
  this->raw.populateBool(false);
  EXPECT_THAT(this->stagedInts(), ElementsAre(Pair("field", 0)));
  this->raw.populateFloat(1.5F);
  EXPECT_THAT(this->stagedFloats(), ElementsAre(Pair("field", 1.5F)));
  this->raw.populateString("text");
  EXPECT_THAT(this->stagedStrings(), ElementsAre(Pair("field", "text")));
}

TYPED_TEST(AggregatorVtableTest, EachPopulateTelemetryFieldCanBeOverridden) {
  using Staging = StagingAggregator<typename TypeParam::Aggregator>;
  Staging staging = make<TypeParam, Staging>();
  RawTable<TypeParam> table(&staging);
  table.populateInt(-5);
  table.populateUnsignedInt(UINT_MAX);
  table.populateLongLong(LLONG_MIN);
  table.populateFloat(1.5F);
  table.populateString("text");
  table.populateBool(true);
  EXPECT_THAT(staging.staged, ElementsAre("int field -5", "unsigned int field 4294967295",
                                          "long long field -9223372036854775808", "float field 1.5",
                                          "string field text", "bool field 1"));
}

}  // namespace
}  // namespace android::kiv
