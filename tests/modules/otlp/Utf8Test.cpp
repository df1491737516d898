// Valid UTF-8 from any bytes.
#include <gtest/gtest.h>

#include "modules/otlp/Utf8.h"

namespace TAMSA::otlp {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

TEST(Utf8, IsLeftAlone) {
  for (const char* text : {"", "text", "caf\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x8E\xB5",
                           "\xED\x9F\xBF\xEE\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(toUtf8(text), text);
  }
}

TEST(Utf8, ReplacesBytesThatBeginNoCharacter) {
  for (const char* byte : {"\x80", "\xBF", "\xC0", "\xC1", "\xF5", "\xFF"}) {
    EXPECT_EQ(toUtf8(std::string("a") + byte + "b"), std::string("a") + kReplacement + "b");
  }
}

TEST(Utf8, ReplacesTheBeginningOfACharacterOnce) {
  for (const char* part : {"\xC3", "\xE2\x82", "\xF0\x9F\x8E"}) {
    EXPECT_EQ(toUtf8(part), kReplacement);
    EXPECT_EQ(toUtf8(std::string(part) + "b"), std::string(kReplacement) + "b");
  }
}

TEST(Utf8, ReplacesEveryByteOfOverlongAndForbiddenForms) {
  const std::string thrice = std::string(kReplacement) + kReplacement + kReplacement;
  EXPECT_EQ(toUtf8("\xE0\x80\x80"), thrice);
  EXPECT_EQ(toUtf8("\xED\xA0\x80"), thrice);
  EXPECT_EQ(toUtf8("\xF0\x80\x80\x80"), thrice + kReplacement);
  EXPECT_EQ(toUtf8("\xF4\x90\x80\x80"), thrice + kReplacement);
}

TEST(ShortenedText, EndsInAnEllipsisAfterAWholeCharacter) {
  EXPECT_EQ(shorten("abcdef", 6), "abcdef");
  EXPECT_EQ(shorten("abcdefg", 6), "abc\u2026");
  EXPECT_EQ(shorten("ab\xC3\xA9\xC3\xA9", 5), "ab\u2026");
  EXPECT_EQ(shorten("a\xC3\xA9\xC3\xA9\xC3\xA9", 6), "a\xC3\xA9\u2026");
}

}  // namespace
}  // namespace TAMSA::otlp
