/// Counts audio stream events: one "wexo_kiv_stream_event" event per distinct report.
#pragma once

#include <system/audio.h>

#include <cstdint>
#include <string>

#include "kiv/Export.h"
#include "kiv/KivBaseAggregator.h"
#include "kiv/KivPcmInfo.h"
#include "kiv/KivSessionId.h"

namespace android::kiv {

/// A reported event of a stream, and the key under which equal reports are counted.
struct KIV_EXPORT KivStreamEvent {
  KivSessionId session;             ///< The reporting logger's session.
  audio_format_t format;            ///< Format of a sample.
  ::kiv::KivStreamType streamType;  ///< Kind of content.
  uint32_t sampleRate;              ///< Frames per second.
  uint32_t samples;                 ///< Size of the stream's buffer, in samples.
  uint32_t channels;                ///< Number of channels.
  bool interleaved;                 ///< True if the samples of a frame are adjacent.
  std::string event;                ///< Name of the event, chosen by the client.

  /// Lexicographic over all fields, in their order; the stream type is a signed number.
  bool operator<(const KivStreamEvent& other) const;
};

/// Counts equal stream events. Not synchronized; see `KivBaseAggregator`.
class KIV_EXPORT KivStreamEventAggregator : public KivCountedAggregator<KivStreamEvent> {
 public:
  /// Combines reports, each of which counts 1, by `aggregation_type`.
  explicit KivStreamEventAggregator(NumericAggregationType aggregation_type);
  ~KivStreamEventAggregator() override;

  void populateMetricValuesForEntry(Entries::iterator entry) override;
  const char* getEventName() const override;
};

/// The framework base of `KivStreamEventAggregator`.
using KivStreamEventBaseAggregator =
    KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
template <>
const char KivStreamEventBaseAggregator::kKivStreamEvent[];
extern template class KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
extern template class KivCountedAggregator<KivStreamEvent>;

}  // namespace android::kiv
