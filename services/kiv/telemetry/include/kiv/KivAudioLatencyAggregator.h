/// Averages latency samples: one event with an empty name per stream configuration.
#pragma once

#include <system/audio.h>

#include <chrono>
#include <cstdint>

#include "kiv/Export.h"
#include "kiv/KivBaseAggregator.h"
#include "kiv/KivPcmInfo.h"
#include "kiv/KivSessionId.h"

namespace android::kiv {

/// One latency sample of a stream.
struct KIV_EXPORT KivAudioLatencyEvent {
  KivSessionId session;               ///< The reporting logger's session.
  audio_format_t format;              ///< Format of a sample.
  ::kiv::KivStreamType streamType;    ///< Kind of content.
  uint32_t sampleRate;                ///< Frames per second.
  uint32_t samples;                   ///< Size of the stream's buffer, in samples.
  uint32_t channels;                  ///< Number of channels.
  bool interleaved;                   ///< True if the samples of a frame are adjacent.
  std::chrono::milliseconds latency;  ///< The sample.
};

/// The stream configuration whose samples are averaged together.
struct KIV_EXPORT KivAudioLatencyEventKey {
  KivSessionId session;             ///< The reporting logger's session.
  audio_format_t format;            ///< Format of a sample.
  ::kiv::KivStreamType streamType;  ///< Kind of content.
  uint32_t sampleRate;              ///< Frames per second.
  uint32_t samples;                 ///< Size of the stream's buffer, in samples.
  uint32_t channels;                ///< Number of channels.
  bool interleaved;                 ///< True if the samples of a frame are adjacent.

  /// Lexicographic over all fields, in their order; the stream type is a signed number.
  bool operator<(const KivAudioLatencyEventKey& other) const;
};

/// Averages the samples of each stream. The key is finer than what is reported: an event carries
/// neither the average nor the stream's configuration, only its session and how many samples there
/// were. Not synchronized; see `KivBaseAggregator`.
class KIV_EXPORT KivAudioLatencyAggregator
    : public KivBaseAggregator<KivAudioLatencyEvent, KivAudioLatencyEventKey, unsigned int> {
 public:
  /// Combines samples by `aggregation_type`.
  explicit KivAudioLatencyAggregator(NumericAggregationType aggregation_type);
  ~KivAudioLatencyAggregator() override;

  /// The event without its latency.
  KivAudioLatencyEventKey getKey(const KivAudioLatencyEvent& event) override;

  /// The low 32 bits of the latency, so a negative one comes out as a large positive one.
  unsigned int getValue(const KivAudioLatencyEvent& event) override;

  /// The aggregator's own method, for every event.
  NumericAggregationType getAggregationType(const KivAudioLatencyEvent& event) override;
  void populateMetricValuesForEntry(Entries::iterator entry) override;
  const char* getEventName() const override;

 private:
  friend struct internal::DeviceLayout;

  const NumericAggregationType aggregation_type_;
};

/// The framework base of `KivAudioLatencyAggregator`.
using KivAudioLatencyBaseAggregator =
    KivBaseAggregator<KivAudioLatencyEvent, KivAudioLatencyEventKey, unsigned int>;
template <>
const char KivAudioLatencyBaseAggregator::kKivAudioLatencyEvent[];
extern template class KivBaseAggregator<KivAudioLatencyEvent, KivAudioLatencyEventKey,
                                        unsigned int>;

}  // namespace android::kiv
