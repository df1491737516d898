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

/// What happened to a stream of a certain configuration, and the key under which equal reports are
/// counted.
struct KIV_EXPORT KivStreamEvent {
  KivSessionId session;
  audio_format_t format;
  ::kiv::KivStreamType streamType;
  uint32_t sampleRate;  ///< Frames per second.
  uint32_t samples;
  uint32_t channels;
  bool interleaved;
  std::string event;

  /// Lexicographic over all fields, in their order; the stream type is a signed number.
  bool operator<(const KivStreamEvent& other) const;
};

/// Not synchronised; see `KivBaseAggregator`.
class KIV_EXPORT KivStreamEventAggregator : public KivCountedAggregator<KivStreamEvent> {
 public:
  explicit KivStreamEventAggregator(NumericAggregationType aggregation_type);
  ~KivStreamEventAggregator() override;

  void populateMetricValuesForEntry(Entries::iterator entry) override;
  const char* getEventName() const override;
};

using KivStreamEventBaseAggregator =
    KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
template <>
const char KivStreamEventBaseAggregator::kKivStreamEvent[];
extern template class KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
extern template class KivCountedAggregator<KivStreamEvent>;

}  // namespace android::kiv
