#include "kiv/KivStreamEventAggregator.h"

#include "AudioFormatNames.h"
#include "KivBaseAggregatorImpl.h"
#include "StreamDescription.h"

namespace android::kiv {

template <>
const char KivStreamEventBaseAggregator::kKivStreamEvent[] = "wexo_kiv_stream_event";
template class KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
template class KivCountedAggregator<KivStreamEvent>;

bool KivStreamEvent::operator<(const KivStreamEvent& other) const {
  if (const int order = compareStreams(*this, other); order != 0) return order < 0;
  return event < other.event;
}

KivStreamEventAggregator::KivStreamEventAggregator(NumericAggregationType aggregation_type)
    : KivCountedAggregator(aggregation_type) {}

KivStreamEventAggregator::~KivStreamEventAggregator() = default;

void KivStreamEventAggregator::populateMetricValuesForEntry(Entries::iterator entry) {
  const auto& [key, data] = *entry;
  populateTelemetryField("aggregation_method",
                         std::string(aggregationMethodToString(aggregation_type_)));
  populateTelemetryField("aggregated_count", data.count);
  populateTelemetryField("kiv_session_id", key.session.toString());
  populateTelemetryField("pcm_format", std::string(audioFormatName(key.format)));
  populateTelemetryField("stream_type", streamTypeToString(key.streamType));
  populateTelemetryField("sample_rate", key.sampleRate);
  populateTelemetryField("samples", key.samples);
  populateTelemetryField("channels", key.channels);
  populateTelemetryField("interleaved", key.interleaved);
  populateTelemetryField("kiv_event", key.event);
}

const char* KivStreamEventAggregator::getEventName() const { return kKivStreamEvent; }

}  // namespace android::kiv
