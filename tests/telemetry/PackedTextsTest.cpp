#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "PackedTexts.h"

namespace android::kiv {
namespace {

const std::string kLong(1000, 'x');

TEST(PackedTexts, AreTheTextsInTheirOrder) {
  const PackedTexts packed{"one", "three", "fifteen"};
  EXPECT_EQ(packed[0], "one");
  EXPECT_EQ(packed[1], "three");
  EXPECT_EQ(packed[2], "fifteen");
}

TEST(PackedTexts, AreCopies) {
  std::string text = "before";
  const PackedTexts packed{text};
  text = "after!";
  EXPECT_EQ(packed[0], "before");
}

TEST(PackedTexts, MayBeEmpty) {
  const PackedTexts packed{"", "middle", ""};
  EXPECT_EQ(packed[0], "");
  EXPECT_EQ(packed[1], "middle");
  EXPECT_EQ(packed[2], "");
}

TEST(PackedTexts, BeyondTheLastThereAreEmptyOnes) {
  const PackedTexts packed{"only"};
  EXPECT_EQ(packed[1], "");
  EXPECT_EQ(packed[2], "");
}

TEST(PackedTexts, KeepEveryByte) {
  const std::string text("a\0b\0", 4);
  EXPECT_EQ((PackedTexts{text, text}[1]), text);
}

TEST(PackedTexts, MayBeLong) {
  const PackedTexts packed{"short", kLong, "end"};
  EXPECT_EQ(packed[0], "short");
  EXPECT_EQ(packed[1], kLong);
  EXPECT_EQ(packed[2], "end");
}

TEST(PackedTexts, APrefixBecomesPartOfTheFirst) {
  const PackedTexts packed({"name", "value"}, "prefix.");
  EXPECT_EQ(packed[0], "prefix.name");
  EXPECT_EQ(packed[1], "value");
}

TEST(PackedTexts, HaveTheSizeOfAllTogether) {
  EXPECT_EQ(PackedTexts({"ab", "c"}, "def").size(), 6u);
  EXPECT_EQ(PackedTexts{""}.size(), 0u);
}

TEST(PackedTexts, SurviveAMove) {
  PackedTexts inside{"one", "two"};
  PackedTexts outside{"one", kLong};
  const PackedTexts moved_inside = std::move(inside);
  const PackedTexts moved_outside = std::move(outside);
  EXPECT_EQ(moved_inside[1], "two");
  EXPECT_EQ(moved_outside[1], kLong);
}

TEST(PackedTexts, CopiesShareNothing) {
  auto original = std::make_unique<PackedTexts>(PackedTexts{"one", kLong});
  const PackedTexts copy = *original;
  original.reset();
  EXPECT_EQ(copy[0], "one");
  EXPECT_EQ(copy[1], kLong);
}

TEST(UnpackedTexts, AreTheSameTexts) {
  const UnpackedTexts texts(PackedTexts{"one", kLong, ""});
  EXPECT_EQ(texts[0], "one");
  EXPECT_EQ(texts[1], kLong);
  EXPECT_EQ(texts[2], "");
}

TEST(UnpackedTexts, ThatAreUnpackedMeanwhileAreOthers) {
  const UnpackedTexts outer(PackedTexts{"outer"});
  const UnpackedTexts inner(PackedTexts{"inner"});
  EXPECT_EQ(outer[0], "outer");
  EXPECT_EQ(inner[0], "inner");
}

}  // namespace
}  // namespace android::kiv
