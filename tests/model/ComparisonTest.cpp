// Tests that the comparison finds every difference.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/model/Comparison.h"

namespace kiv_test::model {
namespace {

using TAMSA::recording::Event;
using testing::HasSubstr;
using testing::Optional;

class ComparisonTest : public testing::Test {
 protected:
  ComparisonTest() {
    expected.fields.ints = {{"count", 2}, {"severity", 1}};
    expected.fields.floats = {{"value", 0.0F}};
    expected.fields.strings = {{"api", "open"}};
    expected.aggregation = 7;
    actual.ints = expected.fields.ints;
    actual.floats = expected.fields.floats;
    actual.strings = expected.fields.strings;
    // Integers first, in any order.
    actual.set = {"severity", "count", "value", "api"};
    actual.handler = 3;
    actual.flag = 1;
  }

  std::optional<std::string> difference() const {
    return firstDifference({expected}, {actual}, handlers);
  }

  ExpectedEvent expected{"name", {}, 0, {}, true, 12};
  Event actual{"name", {}, {}, {}, {}, 0, 0, true, {}};
  std::map<int, int> handlers;
};

TEST_F(ComparisonTest, FindsNothingInEqualEvents) { EXPECT_EQ(difference(), std::nullopt); }

TEST_F(ComparisonTest, NamesTheCallAndTheFieldThatDiffer) {
  actual.ints["count"] = 3;
  EXPECT_THAT(difference(), Optional(HasSubstr("call 12")));
  EXPECT_THAT(difference(), Optional(HasSubstr("count is 3, not 2")));
}

TEST_F(ComparisonTest, FindsMissingAndUnexpectedFields) {
  actual.strings = {{"class", "Mixer"}};
  EXPECT_THAT(difference(), Optional(HasSubstr("api is missing, not \"open\"")));
  EXPECT_THAT(difference(), Optional(HasSubstr("class is unexpected")));
}

TEST_F(ComparisonTest, FindsMissingAndUnexpectedEvents) {
  EXPECT_THAT(firstDifference({expected}, {}, handlers), Optional(HasSubstr("is missing")));
  EXPECT_THAT(firstDifference({}, {actual}, handlers), Optional(HasSubstr("is unexpected")));
}

TEST_F(ComparisonTest, FindsFieldsSetInTheWrongGroupOrTwice) {
  actual.set = {"count", "value", "severity", "api"};
  EXPECT_THAT(difference(), Optional(HasSubstr("not set as integers, floats, strings")));
  actual.set = {"count", "severity", "value", "api", "api"};
  EXPECT_THAT(difference(), Optional(HasSubstr("each once")));
}

TEST_F(ComparisonTest, DistinguishesZerosButNotNaNs) {
  actual.floats["value"] = -0.0F;
  EXPECT_THAT(difference(), Optional(HasSubstr("value is -0x0p+0, not 0x0p+0")));
  actual.floats["value"] = std::nanf("1");
  expected.fields.floats["value"] = -std::nanf("2");
  EXPECT_EQ(difference(), std::nullopt);
}

TEST_F(ComparisonTest, FindsADifferentNameResultFlagOrThread) {
  actual.name = "";
  actual.accepted = false;
  actual.flag = 0;
  actual.thread = std::this_thread::get_id();
  EXPECT_THAT(difference(), Optional(HasSubstr("the name is \"\", not \"name\"")));
  EXPECT_THAT(difference(), Optional(HasSubstr("accepted: 0")));
  EXPECT_THAT(difference(), Optional(HasSubstr("the flag is 0")));
  EXPECT_THAT(difference(), Optional(HasSubstr("on another thread")));
}

TEST_F(ComparisonTest, FindsAHandlerThatChangesOrIsShared) {
  handlers = {{7, 4}};
  EXPECT_THAT(difference(), Optional(HasSubstr("had another handler before")));
  handlers = {{8, 3}};
  EXPECT_THAT(difference(), Optional(HasSubstr("belongs to another aggregation")));
}

TEST(LineComparison, FindsTheFirstLineThatDiffersOrIsMissing) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(firstDifference("line", Lines{"a"}, Lines{"a"}), std::nullopt);
  EXPECT_THAT(firstDifference("line", Lines{"a", "b"}, Lines{"a", "c"}),
              Optional(HasSubstr("line 1 is \"c\", expected \"b\"")));
  EXPECT_THAT(firstDifference("line", Lines{"a"}, Lines{}), Optional(HasSubstr("is missing")));
  EXPECT_THAT(firstDifference("line", Lines{}, Lines{"a"}), Optional(HasSubstr("expected none")));
}

}  // namespace
}  // namespace kiv_test::model
