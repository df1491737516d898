#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "services/kiv/telemetry/TaskStrings.h"

namespace android::kiv::internal {
namespace {

const std::string kLong(1000, 'x');

TEST(TaskStrings, AreTheTextsInTheirOrder) {
  const TaskStrings packed{"one", "three", "fifteen"};
  EXPECT_EQ(packed[0], "one");
  EXPECT_EQ(packed[1], "three");
  EXPECT_EQ(packed[2], "fifteen");
}

TEST(TaskStrings, AreCopies) {
  std::string text = "before";
  const TaskStrings packed{text};
  text = "after!";
  EXPECT_EQ(packed[0], "before");
}

TEST(TaskStrings, MayBeEmpty) {
  const TaskStrings packed{"", "middle", ""};
  EXPECT_EQ(packed[0], "");
  EXPECT_EQ(packed[1], "middle");
  EXPECT_EQ(packed[2], "");
}

TEST(TaskStrings, BeyondTheLastThereAreEmptyOnes) {
  const TaskStrings packed{"only"};
  EXPECT_EQ(packed[1], "");
  EXPECT_EQ(packed[2], "");
}

TEST(TaskStrings, KeepEveryByte) {
  const std::string text("a\0b\0", 4);
  EXPECT_EQ((TaskStrings{text, text}[1]), text);
}

TEST(TaskStrings, MayBeLong) {
  const TaskStrings packed{"short", kLong, "end"};
  EXPECT_EQ(packed[0], "short");
  EXPECT_EQ(packed[1], kLong);
  EXPECT_EQ(packed[2], "end");
}

TEST(TaskStrings, APrefixBecomesPartOfTheFirst) {
  const TaskStrings packed({"name", "value"}, "prefix.");
  EXPECT_EQ(packed[0], "prefix.name");
  EXPECT_EQ(packed[1], "value");
}

TEST(TaskStrings, HaveTheSizeOfAllTogether) {
  EXPECT_EQ(TaskStrings({"ab", "c"}, "def").size(), 6u);
  EXPECT_EQ(TaskStrings{""}.size(), 0u);
}

TEST(TaskStrings, SurviveAMove) {
  TaskStrings inside{"one", "two"};
  TaskStrings outside{"one", kLong};
  const TaskStrings moved_inside = std::move(inside);
  const TaskStrings moved_outside = std::move(outside);
  EXPECT_EQ(moved_inside[1], "two");
  EXPECT_EQ(moved_outside[1], kLong);
}

TEST(TaskStrings, CopiesShareNothing) {
  auto original = std::make_unique<TaskStrings>(TaskStrings{"one", kLong});
  const TaskStrings copy = *original;
  original.reset();
  EXPECT_EQ(copy[0], "one");
  EXPECT_EQ(copy[1], kLong);
}

TEST(ScratchStrings, AreTheSameTexts) {
  const ScratchStrings texts(TaskStrings{"one", kLong, ""});
  EXPECT_EQ(texts[0], "one");
  EXPECT_EQ(texts[1], kLong);
  EXPECT_EQ(texts[2], "");
}

TEST(ScratchStrings, ThatAreUnpackedMeanwhileAreOthers) {
  const ScratchStrings outer(TaskStrings{"outer"});
  const ScratchStrings inner(TaskStrings{"inner"});
  EXPECT_EQ(outer[0], "outer");
  EXPECT_EQ(inner[0], "inner");
}

}  // namespace
}  // namespace android::kiv::internal
