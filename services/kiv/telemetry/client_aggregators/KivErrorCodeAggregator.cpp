#include "kiv/KivErrorCodeAggregator.h"

#include "services/kiv/telemetry/aggregation/EventTraits.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"

namespace android::kiv {

namespace {

void describe(const AggregateView& aggregate, EventFields& fields) {
  const auto& parts = aggregate.key.parts;
  beginFields(aggregate, aggregate.method, fields);
  fields.add("kiv_class", parts[ErrorCodeKey::CLASS]);
  fields.add("kiv_api", parts[ErrorCodeKey::API]);
  fields.add("kiv_error_code", parts[ErrorCodeKey::CODE]);
  fields.add("severity", static_cast<long long>(numberAt(parts[ErrorCodeKey::SEVERITY], 0)));
}

}  // namespace

const EventSchema EventTraits<KivErrorCodeEvent>::kEvents{
    KivErrorCodeBaseAggregator::kKivErrorCodeEvent, NumericAggregationType::COUNT, describe};

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
  stageFields<KivErrorCodeBaseAggregator>(*this, describe, ErrorCodeKey(entry->first),
                                          aggregation_type_, entry->second);
}

const char* KivErrorCodeAggregator::getEventName() const { return kKivErrorCodeEvent; }

}  // namespace android::kiv
