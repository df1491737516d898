#include <kiv/testing/TelemetryTest.h>

#include "Mixer.h"

namespace {

using namespace android::kiv::telemetry_testing;
using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::KivSessionId;
using testing::IsEmpty;
using testing::Not;

::kiv::KivPcmInfo stereoAt(int32_t sample_rate) {
  ::kiv::KivPcmInfo pcm{};
  pcm.format = ::kiv::KivSampleFormat::SAMPLE_FORMAT_FLOAT;
  pcm.sampleRate = sample_rate;
  pcm.channels = 2;
  pcm.samples = 960;
  pcm.interleaved = true;
  return pcm;
}

class MixerTest : public TelemetryTest {
 protected:
  const KivSessionId session{nullptr};
  Mixer mixer{session};
  std::vector<float> output = std::vector<float>(960);
};

TEST_F(MixerTest, ReportsAnOpenedStream) {
  mixer.open(stereoAt(48000));
  EXPECT_THAT(events(), Contains(StreamEvent("open").atRate(48000).onChannels(2).once()));
}

TEST_F(MixerTest, ReportsARefusedStream) {
  mixer.open(stereoAt(4000));
  EXPECT_THAT(events(), Contains(ErrorCode(KivError::USER_INVALID_SAMPLE_RATE)
                                     .fromApi("open")
                                     .ofClass("Mixer")
                                     .ofSeverity(KivErrorSeverity::ERROR)
                                     .once()));
  EXPECT_THAT(events(), Not(Contains(StreamEvent("open"))));
}

TEST_F(MixerTest, CountsBlocksWithoutAStreamAndTracesEveryBlock) {
  for (int i = 0; i < 3; ++i) mixer.mix(std::vector<float>(960), output);
  EXPECT_THAT(events(), ContainsOnly(ErrorCode(KivError::USER_STREAM_NOT_OPEN).counted(3),
                                     TraceLatency("mix").averaging(testing::Ge(0)).counted(3)));
}

TEST_F(MixerTest, ReportsInAChildOfItsSession) {
  mixer.open(stereoAt(48000));
  EXPECT_THAT(events(), Contains(StreamEvent("open").inChildOf(session)));
}

TEST_F(MixerTest, ReportsAStreamOnlyWhenItIsOpened) {
  mixer.open(stereoAt(48000));
  clearEvents();
  mixer.mix(std::vector<float>(960), output);
  EXPECT_THAT(events(), ContainsOnly(TraceLatency("mix").once()));
}

TEST_F(MixerTest, CountsBlocksOfTheWrongSizeInEveryWindow) {
  mixer.open(stereoAt(48000));
  const auto too_short = ErrorCode(KivError::USER_INVALID_NUMBER_OF_SAMPLES).fromApi("mix");
  mixer.mix(std::vector<float>(1), output);
  flush();
  mixer.mix(std::vector<float>(1), output);
  mixer.mix(std::vector<float>(1), output);
  EXPECT_THAT(events(), Contains(too_short.once()));
  EXPECT_THAT(events(), Contains(too_short.counted(2)));
  EXPECT_THAT(events(), Contains(too_short).Times(2));
  EXPECT_THAT(events(), TotalCount(too_short, 3));
}

TEST_F(MixerTest, ReportsNothingUntilItIsUsed) { EXPECT_THAT(events(), IsEmpty()); }

}  // namespace
