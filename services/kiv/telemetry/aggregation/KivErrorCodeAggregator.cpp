#include "kiv/KivErrorCodeAggregator.h"

#include "KivBaseAggregatorImpl.h"

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
  const auto& [key, data] = *entry;
  populateTelemetryField("aggregation_method",
                         std::string(aggregationMethodToString(aggregation_type_)));
  populateTelemetryField("aggregated_count", data.count);
  populateTelemetryField("kiv_session_id", key.session_id.toString());
  populateTelemetryField("kiv_class", key.kiv_class);
  populateTelemetryField("kiv_api", key.api);
  populateTelemetryField("kiv_error_code", key.error_code);
  populateTelemetryField("severity", static_cast<long long>(key.severity));
}

const char* KivErrorCodeAggregator::getEventName() const { return kKivErrorCodeEvent; }

}  // namespace android::kiv
