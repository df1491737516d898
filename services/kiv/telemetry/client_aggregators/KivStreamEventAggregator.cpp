#include "kiv/KivStreamEventAggregator.h"

#include "services/kiv/telemetry/aggregation/Reports.h"
#include "services/kiv/telemetry/client_aggregators/FieldStaging.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"
#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

namespace android::kiv {

template <>
const char KivStreamEventBaseAggregator::kKivStreamEvent[] = "wexo_kiv_stream_event";
template class KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
template class KivCountedAggregator<KivStreamEvent>;

bool KivStreamEvent::operator<(const KivStreamEvent& other) const {
  if (const int order = internal::compareStreams(*this, other); order != 0) return order < 0;
  return event < other.event;
}

KivStreamEventAggregator::KivStreamEventAggregator(NumericAggregationType aggregation_type)
    : KivCountedAggregator(aggregation_type) {}

KivStreamEventAggregator::~KivStreamEventAggregator() = default;

void KivStreamEventAggregator::populateMetricValuesForEntry(Entries::iterator entry) {
  internal::stageFields<KivStreamEventBaseAggregator>(
      *this, internal::kStreamEventSchema, internal::StreamEventReport::of(entry->first).key(),
      aggregation_type_, entry->second);
}

const char* KivStreamEventAggregator::getEventName() const { return kKivStreamEvent; }

}  // namespace android::kiv
