#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include "kiv/KivPcmInfo.h"

namespace {

const char* nameOf(uint32_t value) {
  return audio_format_to_string(static_cast<audio_format_t>(value));
}

/// Android's published constants by value.
std::map<uint32_t, std::string> publishedFormats() {
  std::ifstream file(KIV_TEST_DATA "/audio_formats.csv");
  std::map<uint32_t, std::string> formats;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    const size_t comma = line.find(',');
    const auto value = static_cast<uint32_t>(std::stoul(line.substr(0, comma), nullptr, 16));
    formats[value] = line.substr(comma + 1);
  }
  return formats;
}

TEST(AudioFormatNames, CoverEveryPublishedFormat) {
  const auto formats = publishedFormats();
  ASSERT_EQ(formats.size(), 86u);
  for (const auto& [value, name] : formats) EXPECT_EQ(nameOf(value), name);
}

TEST(AudioFormatNames, CoverNothingElse) {
  const auto formats = publishedFormats();
  for (uint32_t main = 0; main <= 0xFF; ++main) {
    for (uint32_t sub = 0; sub <= 0x400; ++sub) {
      const uint32_t value = main << 24 | sub;
      if (formats.count(value) != 0) continue;
      ASSERT_STREQ(nameOf(value), "") << std::hex << value;
    }
  }
}

TEST(AudioFormatNames, NameTheFirstAndTheLast) {
  EXPECT_STREQ(nameOf(0), "AUDIO_FORMAT_DEFAULT");
  EXPECT_STREQ(nameOf(0x1E000300), "AUDIO_FORMAT_AAC_ADTS_XHE");
  EXPECT_STREQ(nameOf(0x2D000000), "AUDIO_FORMAT_IEC60958");
}

TEST(AudioFormatNames, AreEmptyForUnknownValues) {
  EXPECT_STREQ(nameOf(0xFFFFFFFF), "");
  EXPECT_STREQ(nameOf(7), "");
  EXPECT_STREQ(nameOf(0x1E000003), "");
  EXPECT_STREQ(nameOf(0x04000003), "");
}

}  // namespace
