// The counts of lost events.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "modules/support/LossTable.h"

namespace TAMSA::support {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

class LossTableTest : public testing::Test {
 protected:
  uint64_t events(const std::string& cause) const {
    return table_.entries().at(cause).count.events;
  }

  LossTable table_;
};

TEST_F(LossTableTest, IsEmptyAtFirst) {
  EXPECT_TRUE(table_.isEmpty());
  EXPECT_THAT(table_.entries(), IsEmpty());
}

TEST_F(LossTableTest, CountsEventsAndReportsByCause) {
  table_.add({"one"}, {1, 10});
  table_.add({"two"}, {2, 20});
  table_.add({"one"}, {3, 30});
  EXPECT_EQ(events("one"), 4U);
  EXPECT_EQ(events("two"), 2U);
  EXPECT_EQ(table_.total().events, 6U);
  EXPECT_EQ(table_.total().reports, 60U);
}

TEST_F(LossTableTest, KeepsTheLatestDetail) {
  table_.add({"one", "first"}, {1, 1});
  table_.add({"one", "last"}, {1, 1});
  EXPECT_EQ(table_.entries().at("one").detail, "last");
}

TEST_F(LossTableTest, IsBounded) {
  for (int i = 0; i < 1'000; ++i) table_.add({std::to_string(i)}, {1, 2});
  EXPECT_THAT(table_.entries(), SizeIs(LossTable::kMaxCauses + 1));
  EXPECT_EQ(events(LossTable::kOther), 1'000 - LossTable::kMaxCauses);
  EXPECT_EQ(table_.total().reports, 2'000U);
}

TEST_F(LossTableTest, AddsAndSubtractsTables) {
  LossTable other;
  for (int i = 0; i < 20; ++i) other.add({std::to_string(i)}, {2, 2});
  table_.add({"0"}, {1, 1});
  table_.add(other);
  EXPECT_EQ(table_.total().events, 41U);
  table_.subtract(other);
  EXPECT_EQ(table_.total().events, 1U);
  EXPECT_THAT(table_.entries(), SizeIs(1));
  EXPECT_EQ(events("0"), 1U);
}

}  // namespace
}  // namespace TAMSA::support
