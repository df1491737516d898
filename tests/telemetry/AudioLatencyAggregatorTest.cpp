#include <gmock/gmock.h>

#include <vector>

#include "kiv/KivAudioLatencyAggregator.h"
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
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

KivAudioLatencyEvent sample(long long latency, KivStreamType type = KivStreamType(2)) {
  return {session("s"), AUDIO_FORMAT_PCM_16_BIT, type, 48000, 960, 2, true, milliseconds(latency)};
}

class AudioLatencyProbe : public KivAudioLatencyAggregator {
 public:
  using KivAudioLatencyAggregator::aggregated_data_;
  using KivAudioLatencyAggregator::KivAudioLatencyAggregator;
};

class AudioLatencyAggregatorTest : public RecorderTest {
 protected:
  void flush() { aggregator.flush(timeAt(1'000'000), timeAt(6'000'000)); }
  float onlyValue() const { return aggregator.aggregated_data_.begin()->second.value; }

  AudioLatencyProbe aggregator{NumericAggregationType::AVG};
};

TEST_F(AudioLatencyAggregatorTest, SendsOnlyTheCommonFieldsUnderAnEmptyName) {
  aggregator.add(sample(10));
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].name, "");
  EXPECT_THAT(events()[0].ints, UnorderedElementsAre(Pair("start_time_since_epoch", 1000),
                                                     Pair("end_time_since_epoch", 6000),
                                                     Pair("aggregated_count", 1)));
  EXPECT_THAT(events()[0].floats, testing::IsEmpty());
  EXPECT_THAT(events()[0].strings,
              UnorderedElementsAre(Pair("aggregation_method", "AVG"), Pair("kiv_session_id", "s")));
}

TEST_F(AudioLatencyAggregatorTest, StagesItsFieldsInOrderEachAsItsType) {
  StagingAggregator<KivAudioLatencyAggregator> staging(NumericAggregationType::AVG);
  staging.add(sample(10));
  staging.flush(timeAt(1'000'000), timeAt(6'000'000));
  EXPECT_THAT(staging.staged,
              ElementsAre("long long start_time_since_epoch 1000",
                          "long long end_time_since_epoch 6000", "string aggregation_method AVG",
                          "unsigned int aggregated_count 1", "string kiv_session_id s"));
}

TEST_F(AudioLatencyAggregatorTest, FoldsByTheMethodThatItWasGivenAndNamesIt) {
  AudioLatencyProbe largest(NumericAggregationType::MAX);
  for (const long long latency : {10, 60, 20}) largest.add(sample(latency));
  EXPECT_EQ(largest.aggregated_data_.begin()->second.value, 60.0F);
  largest.flush(timeAt(0), timeAt(1));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("MAX"));
}

TEST_F(AudioLatencyAggregatorTest, AveragesTheSamplesOfOneConfiguration) {
  for (const long long latency : {10, 20, 60}) aggregator.add(sample(latency));
  EXPECT_EQ(onlyValue(), 30.0F);
  flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(3));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("AVG"));
}

TEST_F(AudioLatencyAggregatorTest, SeparatesStreamTypesInOrder) {
  aggregator.add(sample(10, KivStreamType(3)));
  aggregator.add(sample(20, KivStreamType(1)));
  aggregator.add(sample(60, KivStreamType(1)));
  flush();
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 1));
}

TEST_F(AudioLatencyAggregatorTest, LatencyIsNoPartOfTheKey) {
  for (long long latency = 0; latency < 10; ++latency) aggregator.add(sample(latency));
  EXPECT_EQ(aggregator.aggregated_data_.size(), 1u);
}

TEST_F(AudioLatencyAggregatorTest, FoldsTheLow32BitsOfALatency) {
  EXPECT_EQ(aggregator.getValue(sample(5'000'000'000)), 705032704u);
  aggregator.add(sample(5'000'000'000));
  EXPECT_EQ(onlyValue(), 705032704.0F);
}

TEST_F(AudioLatencyAggregatorTest, FoldsANegativeLatencyAsALargeOne) {
  EXPECT_EQ(aggregator.getValue(sample(-1)), 4294967295u);
}

TEST_F(AudioLatencyAggregatorTest, HasTheEmptyEventName) {
  EXPECT_STREQ(aggregator.getEventName(), "");
  EXPECT_STREQ(KivAudioLatencyBaseAggregator::kKivAudioLatencyEvent, "");
}

TEST_F(AudioLatencyAggregatorTest, TheKeyIsTheConfiguration) {
  const KivAudioLatencyEventKey key = aggregator.getKey(sample(10));
  EXPECT_EQ(key.session.toString(), "s");
  EXPECT_EQ(key.format, AUDIO_FORMAT_PCM_16_BIT);
  EXPECT_EQ(key.streamType, KivStreamType(2));
  EXPECT_EQ(key.sampleRate, 48000u);
  EXPECT_EQ(key.samples, 960u);
  EXPECT_EQ(key.channels, 2u);
  EXPECT_TRUE(key.interleaved);
}

TEST(AudioLatencyKeyOrder, IsLexicographicInFieldOrder) {
  using Key = KivAudioLatencyEventKey;
  const Key low = {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 2, false};
  const std::vector<Key> higher = {
      {session("c"), audio_format_t(1), KivStreamType(1), 1, 1, 1, false},
      {session("b"), audio_format_t(3), KivStreamType(1), 1, 1, 1, false},
      {session("b"), audio_format_t(2), KivStreamType(3), 1, 1, 1, false},
      {session("b"), audio_format_t(2), KivStreamType(2), 3, 1, 1, false},
      {session("b"), audio_format_t(2), KivStreamType(2), 2, 3, 1, false},
      {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 3, false},
      {session("b"), audio_format_t(2), KivStreamType(2), 2, 2, 2, true},
  };
  for (size_t i = 0; i < higher.size(); ++i) {
    EXPECT_TRUE(low < higher[i]) << "field " << i;
    EXPECT_FALSE(higher[i] < low) << "field " << i;
  }
  EXPECT_FALSE(low < low);
}

}  // namespace
}  // namespace android::kiv
