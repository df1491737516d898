// Lists of pairs in environment variables.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "modules/otlp/PairList.h"

namespace TAMSA::otlp {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

TEST(PairList, IsSplitAtItsCommas) {
  EXPECT_THAT(splitPairs("a=1,b=2"), ElementsAre(FieldsAre(1, "a", "1"), FieldsAre(2, "b", "2")));
}

TEST(PairList, DropsBlanksAroundKeysAndValues) {
  EXPECT_THAT(splitPairs(" a =\t1 , b= 2 "),
              ElementsAre(FieldsAre(1, "a", "1"), FieldsAre(2, "b", "2")));
}

TEST(PairList, KeepsBlanksAndEqualsSignsWithinAValue) {
  EXPECT_THAT(splitPairs("Authorization=Basic a b=="),
              ElementsAre(FieldsAre(1, "Authorization", "Basic a b==")));
}

TEST(PairList, SkipsEmptyEntriesButCountsThem) {
  EXPECT_THAT(splitPairs(",a=1, ,b=2,"),
              ElementsAre(FieldsAre(2, "a", "1"), FieldsAre(4, "b", "2")));
}

TEST(PairList, HasNoEntriesIfItIsEmpty) { EXPECT_THAT(splitPairs(""), IsEmpty()); }

TEST(PairList, GivesNoKeyToAnEntryWithoutEqualsSign) {
  EXPECT_THAT(splitPairs("lonely"), ElementsAre(FieldsAre(1, "", "lonely")));
}

TEST(PairList, MayHaveEmptyValues) {
  EXPECT_THAT(splitPairs("a="), ElementsAre(FieldsAre(1, "a", "")));
}

TEST(PercentDecoding, ReplacesHexadecimalPairsOfEitherCase) {
  EXPECT_EQ(decodePercent("a%2Cb%3dc%25"), "a,b=c%");
}

TEST(PercentDecoding, LeavesAPlusSignAlone) { EXPECT_EQ(decodePercent("a+b"), "a+b"); }

TEST(PercentDecoding, RefusesAPercentSignWithoutTwoDigits) {
  for (const char* text : {"%", "a%2", "%zz", "%2g", "%-1", "% 1"}) {
    EXPECT_EQ(decodePercent(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace TAMSA::otlp
