#include <gmock/gmock.h>

#include <vector>

#include "kiv/KivStreamEventAggregator.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/StagingAggregator.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {
namespace {

using ::kiv::KivStreamType;
using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using ::kiv_test::StagingAggregator;
using ::kiv_test::timeAt;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

KivStreamEvent streamEvent() {
  return {session("s"),
          AUDIO_FORMAT_PCM_16_BIT,
          KivStreamType::KIV_STREAM_TYPE_OBJECT,
          48000,
          960,
          2,
          true,
          "start"};
}

class StreamEventAggregatorTest : public RecorderTest {
 protected:
  void flush() { aggregator.flush(timeAt(1'000'000), timeAt(6'000'000)); }

  KivStreamEventAggregator aggregator{NumericAggregationType::COUNT};
};

TEST_F(StreamEventAggregatorTest, SendsExactlyItsFields) {
  aggregator.add(streamEvent());
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].name, "wexo_kiv_stream_event");
  EXPECT_THAT(
      events()[0].ints,
      UnorderedElementsAre(Pair("start_time_since_epoch", 1000), Pair("end_time_since_epoch", 6000),
                           Pair("aggregated_count", 1), Pair("sample_rate", 48000),
                           Pair("samples", 960), Pair("channels", 2), Pair("interleaved", 1)));
  EXPECT_THAT(events()[0].floats, testing::IsEmpty());
  EXPECT_THAT(events()[0].strings,
              UnorderedElementsAre(Pair("aggregation_method", "COUNT"), Pair("kiv_session_id", "s"),
                                   Pair("pcm_format", "AUDIO_FORMAT_PCM_16_BIT"),
                                   Pair("stream_type", "KIV_STREAM_TYPE_OBJECT"),
                                   Pair("kiv_event", "start")));
}

TEST_F(StreamEventAggregatorTest, StagesItsFieldsInOrderEachAsItsType) {
  StagingAggregator<KivStreamEventAggregator> staging(NumericAggregationType::COUNT);
  staging.add(streamEvent());
  staging.flush(timeAt(1'000'000), timeAt(6'000'000));
  EXPECT_THAT(
      staging.staged,
      ElementsAre("long long start_time_since_epoch 1000", "long long end_time_since_epoch 6000",
                  "string aggregation_method COUNT", "unsigned int aggregated_count 1",
                  "string kiv_session_id s", "string pcm_format AUDIO_FORMAT_PCM_16_BIT",
                  "string stream_type KIV_STREAM_TYPE_OBJECT", "unsigned int sample_rate 48000",
                  "unsigned int samples 960", "unsigned int channels 2", "bool interleaved 1",
                  "string kiv_event start"));
}

TEST_F(StreamEventAggregatorTest, NamesTheMethodThatItWasGiven) {
  KivStreamEventAggregator largest(NumericAggregationType::MAX);
  EXPECT_EQ(largest.getAggregationType(streamEvent()), NumericAggregationType::MAX);
  largest.add(streamEvent());
  largest.flush(timeAt(0), timeAt(1));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("MAX"));
}

TEST_F(StreamEventAggregatorTest, CountsByEventNameInOrder) {
  for (const char* name : {"start", "stop", "start"}) {
    KivStreamEvent event = streamEvent();
    event.event = name;
    aggregator.add(event);
  }
  flush();
  EXPECT_THAT(strings("kiv_event"), ElementsAre("start", "stop"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 1));
}

TEST_F(StreamEventAggregatorTest, SeparatesInterleavingFalseFirst) {
  KivStreamEvent planar = streamEvent();
  planar.interleaved = false;
  aggregator.add(streamEvent());
  aggregator.add(planar);
  flush();
  EXPECT_THAT(ints("interleaved"), ElementsAre(0, 1));
}

TEST_F(StreamEventAggregatorTest, SendsUnknownTypesAndFormatsAsSuch) {
  KivStreamEvent event = streamEvent();
  event.streamType = KivStreamType(7);
  event.format = audio_format_t(0x7FFFFFFF);
  aggregator.add(event);
  flush();
  EXPECT_THAT(strings("stream_type"), ElementsAre("7"));
  EXPECT_THAT(strings("pcm_format"), ElementsAre(""));
}

TEST_F(StreamEventAggregatorTest, SendsNumbersFromTheUpperHalfAsNegative) {
  KivStreamEvent event = streamEvent();
  event.sampleRate = 2147483648U;
  event.samples = 4294967295U;
  event.channels = 4294967294U;
  aggregator.add(event);
  flush();
  EXPECT_THAT(ints("sample_rate"), ElementsAre(INT32_MIN));
  EXPECT_THAT(ints("samples"), ElementsAre(-1));
  EXPECT_THAT(ints("channels"), ElementsAre(-2));
}

/// Of two records that differ in every field from the first named one on, the smaller in that field
/// is the smaller record: so each field outranks those after it.
TEST(StreamEventOrder, IsLexicographicInFieldOrder) {
  const KivStreamEvent low = {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 2, false,
                              "b"};
  std::vector<KivStreamEvent> higher(8, low);
  higher[0] = {session("c"), audio_format_t(1), KivStreamType(1), 1, 1, 1, false, "a"};
  higher[1] = {session("b"), audio_format_t(3), KivStreamType(1), 1, 1, 1, false, "a"};
  higher[2] = {session("b"), audio_format_t(2), KivStreamType(3), 1, 1, 1, false, "a"};
  higher[3] = {session("b"), audio_format_t(2), KivStreamType(2), 3, 1, 1, false, "a"};
  higher[4] = {session("b"), audio_format_t(2), KivStreamType(2), 2, 3, 1, false, "a"};
  higher[5] = {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 3, false, "a"};
  higher[6] = {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 2, true, "a"};
  higher[7] = {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 2, false, "ba"};
  for (size_t i = 0; i < higher.size(); ++i) {
    EXPECT_TRUE(low < higher[i]) << "field " << i;
    EXPECT_FALSE(higher[i] < low) << "field " << i;
  }
}

TEST(StreamEventOrder, EqualRecordsAreEqual) { EXPECT_FALSE(streamEvent() < streamEvent()); }

TEST(StreamEventOrder, ComparesFormatsAsUnsigned) {
  KivStreamEvent invalid = streamEvent();
  invalid.format = AUDIO_FORMAT_INVALID;
  EXPECT_TRUE(streamEvent() < invalid);
  EXPECT_FALSE(invalid < streamEvent());
}

TEST(StreamEventOrder, ComparesStreamTypesAsSigned) {
  KivStreamEvent negative = streamEvent();
  negative.streamType = KivStreamType(-1);
  EXPECT_TRUE(negative < streamEvent());
  EXPECT_FALSE(streamEvent() < negative);
}

TEST(StreamEventName, IsThatOfStreamEvents) {
  EXPECT_STREQ(KivStreamEventBaseAggregator::kKivStreamEvent, "wexo_kiv_stream_event");
}

}  // namespace
}  // namespace android::kiv
