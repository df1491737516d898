#include "kiv/KivErrorCodeAggregator.h"

#include "services/kiv/telemetry/aggregation/Reports.h"
#include "services/kiv/telemetry/client_aggregators/FieldStaging.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"

namespace android::kiv {

template <>
const char KivErrorCodeBaseAggregator::kKivErrorCodeEvent[] = "wexo_kiv_error_code";
template class KivBaseAggregator<KivErrorCodeEvent, KivErrorCodeEvent, unsigned int>;
template class KivCountedAggregator<KivErrorCodeEvent>;

bool KivErrorCodeEvent::operator<(const KivErrorCodeEvent& other) const {
  if (const int order = session_id.compare(other.session_id); order != 0) return order < 0;
  if (const int order = api.compare(other.api); order != 0) return order < 0;
  if (const int order = kiv_class.compare(other.kiv_class); order != 0) return order < 0;
  if (const int order = error_code.compare(other.error_code); order != 0) return order < 0;
  return severity < other.severity;
}

KivErrorCodeAggregator::KivErrorCodeAggregator(NumericAggregationType aggregation_type)
    : KivCountedAggregator(aggregation_type) {}

KivErrorCodeAggregator::~KivErrorCodeAggregator() = default;

void KivErrorCodeAggregator::populateMetricValuesForEntry(Entries::iterator entry) {
  internal::stageFields<KivErrorCodeBaseAggregator>(
      *this, internal::kErrorCodeSchema, internal::ErrorCodeReport::of(entry->first).key(),
      aggregation_type_, entry->second);
}

const char* KivErrorCodeAggregator::getEventName() const { return kKivErrorCodeEvent; }

}  // namespace android::kiv
