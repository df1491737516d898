#include "kiv/KivGenericEventAggregator.h"

#include "services/kiv/telemetry/aggregation/Reports.h"
#include "services/kiv/telemetry/client_aggregators/FieldStaging.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"

namespace {

using android::kiv::KivGenericEventKey;

int compareKeys(const KivGenericEventKey& left, const KivGenericEventKey& right) {
  if (const int order = left.session.compare(right.session); order != 0) return order;
  if (const int order = left.name.compare(right.name); order != 0) return order;
  return static_cast<int>(left.aggregationType) - static_cast<int>(right.aggregationType);
}

}  // namespace

bool std::less<android::kiv::KivGenericEvent<std::string>>::operator()(
    const android::kiv::KivGenericEvent<std::string>& left,
    const android::kiv::KivGenericEvent<std::string>& right) const {
  if (const int order = compareKeys(left, right); order != 0) return order < 0;
  return left.value < right.value;
}

namespace android::kiv {

template <>
const char KivGenericInt64BaseAggregator::kKivGenericEvent[] = "wexo_kiv_generic";
template <>
const char KivGenericFloatBaseAggregator::kKivGenericEvent[] = "wexo_kiv_generic";
template <>
const char KivGenericStringBaseAggregator::kKivGenericEvent[] = "wexo_kiv_generic";
template class KivBaseAggregator<KivGenericEvent<long long>, KivGenericEventKey, long long>;
template class KivBaseAggregator<KivGenericEvent<float>, KivGenericEventKey, float>;
template class KivBaseAggregator<KivGenericEvent<std::string>, KivGenericEvent<std::string>,
                                 unsigned int>;
template class KivCountedAggregator<KivGenericEvent<std::string>>;

bool KivGenericEventKey::operator<(const KivGenericEventKey& other) const {
  return compareKeys(*this, other) < 0;
}

template <typename T>
KivGenericNumericEventAggregator<T>::KivGenericNumericEventAggregator() = default;

template <typename T>
KivGenericNumericEventAggregator<T>::~KivGenericNumericEventAggregator() = default;

template <typename T>
KivGenericEventKey KivGenericNumericEventAggregator<T>::getKey(const KivGenericEvent<T>& event) {
  return event;
}

template <typename T>
T KivGenericNumericEventAggregator<T>::getValue(const KivGenericEvent<T>& event) {
  return event.value;
}

template <typename T>
NumericAggregationType KivGenericNumericEventAggregator<T>::getAggregationType(
    const KivGenericEvent<T>& event) {
  return event.aggregationType;
}

template <typename T>
void KivGenericNumericEventAggregator<T>::populateMetricValuesForEntry(
    typename Entries::iterator entry) {
  const KivGenericEventKey& key = entry->first;
  internal::stageFields<KivBaseAggregator<KivGenericEvent<T>, KivGenericEventKey, T>>(
      *this, internal::ValueReport<T>::kSchema,
      internal::valueKey(key.session, key.name, key.aggregationType), key.aggregationType,
      entry->second);
}

template <typename T>
const char* KivGenericNumericEventAggregator<T>::getEventName() const {
  return this->kKivGenericEvent;
}

template class KivGenericNumericEventAggregator<long long>;
template class KivGenericNumericEventAggregator<float>;

KivGenericStringEventAggregator::KivGenericStringEventAggregator(
    NumericAggregationType aggregation_type)
    : KivCountedAggregator(aggregation_type) {}

KivGenericStringEventAggregator::~KivGenericStringEventAggregator() = default;

void KivGenericStringEventAggregator::populateMetricValuesForEntry(Entries::iterator entry) {
  internal::stageFields<KivGenericStringBaseAggregator>(
      *this, internal::kTextValueSchema, internal::ValueReport<std::string>::of(entry->first).key(),
      aggregation_type_, entry->second);
}

const char* KivGenericStringEventAggregator::getEventName() const { return kKivGenericEvent; }

}  // namespace android::kiv
