#include "kiv/KivAudioLatencyAggregator.h"

#include "services/kiv/telemetry/aggregation/Reports.h"
#include "services/kiv/telemetry/client_aggregators/FieldStaging.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"
#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

namespace android::kiv {

template <>
const char KivAudioLatencyBaseAggregator::kKivAudioLatencyEvent[] = "";
template class KivBaseAggregator<KivAudioLatencyEvent, KivAudioLatencyEventKey, unsigned int>;

bool KivAudioLatencyEventKey::operator<(const KivAudioLatencyEventKey& other) const {
  return internal::compareStreams(*this, other) < 0;
}

KivAudioLatencyAggregator::KivAudioLatencyAggregator(NumericAggregationType aggregation_type)
    : aggregation_type_(aggregation_type) {}

KivAudioLatencyAggregator::~KivAudioLatencyAggregator() = default;

KivAudioLatencyEventKey KivAudioLatencyAggregator::getKey(const KivAudioLatencyEvent& event) {
  return {event.session, event.format,   event.streamType, event.sampleRate,
          event.samples, event.channels, event.interleaved};
}

unsigned int KivAudioLatencyAggregator::getValue(const KivAudioLatencyEvent& event) {
  return static_cast<unsigned int>(event.latency.count());
}

NumericAggregationType KivAudioLatencyAggregator::getAggregationType(
    const KivAudioLatencyEvent& /*event*/) {
  return aggregation_type_;
}

void KivAudioLatencyAggregator::populateMetricValuesForEntry(Entries::iterator entry) {
  internal::stageFields<KivAudioLatencyBaseAggregator>(
      *this, internal::kAudioLatencySchema, internal::ReportedStream::of(entry->first).key(),
      aggregation_type_, entry->second);
}

const char* KivAudioLatencyAggregator::getEventName() const { return kKivAudioLatencyEvent; }

}  // namespace android::kiv
