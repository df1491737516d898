#include <gtest/gtest.h>

#include <cstddef>

#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

namespace android::kiv::internal {
namespace {

using ::kiv::KivPcmInfo;
using ::kiv::KivSampleFormat;
using ::kiv::KivStreamType;

KivPcmInfo pcmInfo() {
  return {0xDEADBEEF, KivSampleFormat::SAMPLE_FORMAT_PCM_16, 48000, 2, 960, true};
}

TEST(StreamDescription, MapsEverySampleFormat) {
  const uint32_t expected[] = {5, 1, 6, 3, 2, 4};
  for (size_t i = 0; i < std::size(expected); ++i) {
    KivPcmInfo info = pcmInfo();
    info.format = static_cast<KivSampleFormat>(i);
    EXPECT_EQ(static_cast<uint32_t>(toExtended(info).format), expected[i]) << i;
  }
}

TEST(StreamDescription, SampleFormatsHaveTheirNumbers) {
  EXPECT_EQ(static_cast<int>(KivSampleFormat::SAMPLE_FORMAT_FLOAT), 0);
  EXPECT_EQ(static_cast<int>(KivSampleFormat::SAMPLE_FORMAT_PCM_16), 1);
  EXPECT_EQ(static_cast<int>(KivSampleFormat::SAMPLE_FORMAT_PCM_24_PACKED), 2);
  EXPECT_EQ(static_cast<int>(KivSampleFormat::SAMPLE_FORMAT_PCM_32), 3);
  EXPECT_EQ(static_cast<int>(KivSampleFormat::SAMPLE_FORMAT_PCM_8), 4);
  EXPECT_EQ(static_cast<int>(KivSampleFormat::SAMPLE_FORMAT_PCM_8_24), 5);
}

TEST(StreamDescription, CopiesSamplesAndChannelsByName) {
  const KivPcmInfoExt extended = toExtended(pcmInfo());
  EXPECT_EQ(extended.samples, 960u);
  EXPECT_EQ(extended.channels, 2u);
}

TEST(StreamDescription, ConvertsTheSampleRate) {
  EXPECT_EQ(toExtended(pcmInfo()).sampleRate, 48000.0F);
  KivPcmInfo info = pcmInfo();
  info.sampleRate = -1;
  EXPECT_EQ(toExtended(info).sampleRate, -1.0F);
}

TEST(StreamDescription, CopiesInterleaving) {
  KivPcmInfo info = pcmInfo();
  EXPECT_TRUE(toExtended(info).interleaved);
  info.interleaved = false;
  EXPECT_FALSE(toExtended(info).interleaved);
}

TEST(StreamDescription, CompactDescriptorHasItsFieldsInOrder) {
  EXPECT_EQ(offsetof(KivPcmInfo, format), 4u);
  EXPECT_EQ(offsetof(KivPcmInfo, sampleRate), 8u);
  EXPECT_EQ(offsetof(KivPcmInfo, channels), 12u);
  EXPECT_EQ(offsetof(KivPcmInfo, samples), 16u);
  EXPECT_EQ(offsetof(KivPcmInfo, interleaved), 20u);
}

TEST(StreamDescription, ExtendedDescriptorHasItsFieldsInOrder) {
  EXPECT_EQ(offsetof(KivPcmInfoExt, sampleRate), 0u);
  EXPECT_EQ(offsetof(KivPcmInfoExt, samples), 4u);
  EXPECT_EQ(offsetof(KivPcmInfoExt, channels), 8u);
  EXPECT_EQ(offsetof(KivPcmInfoExt, interleaved), 12u);
  EXPECT_EQ(offsetof(KivPcmInfoExt, format), 16u);
}

TEST(StreamTypeText, NamesEveryType) {
  EXPECT_EQ(streamTypeToString(KivStreamType(0)), "KIV_STREAM_TYPE_UNKNOWN");
  EXPECT_EQ(streamTypeToString(KivStreamType(1)), "KIV_STREAM_TYPE_AMBISONIC");
  EXPECT_EQ(streamTypeToString(KivStreamType(2)), "KIV_STREAM_TYPE_OBJECT");
  EXPECT_EQ(streamTypeToString(KivStreamType(3)), "KIV_STREAM_TYPE_PASSTHROUGH");
  EXPECT_EQ(streamTypeToString(KivStreamType(4)), "KIV_STREAM_TYPE_2D_WINDOW");
  EXPECT_EQ(streamTypeToString(KivStreamType(5)), "KIV_STREAM_TYPE_BUNDLE");
}

TEST(StreamTypeText, GivesTheNumberOfAnUnknownType) {
  EXPECT_EQ(streamTypeToString(KivStreamType(6)), "6");
  EXPECT_EQ(streamTypeToString(KivStreamType(9)), "9");
  EXPECT_EQ(streamTypeToString(KivStreamType(-1)), "-1");
}

}  // namespace
}  // namespace android::kiv::internal
