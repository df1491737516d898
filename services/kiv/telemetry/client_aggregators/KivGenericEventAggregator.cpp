#include "kiv/KivGenericEventAggregator.h"

#include <type_traits>

#include "services/kiv/telemetry/aggregation/EventTraits.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"
#include "services/kiv/telemetry/vocabulary/SaturatingCast.h"

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

namespace {

/// The one layout that all three kinds share.
void describeGeneric(const AggregateView& aggregate, NumericAggregationType method,
                     long long value_int, float value_float, std::string_view value_string,
                     EventFields& fields) {
  beginFields(aggregate, method, fields);
  fields.add("kiv_event_name", aggregate.key.parts[GenericKey::NAME]);
  fields.add("value_int", value_int);
  fields.add("value_float", value_float);
  fields.add("value_string", value_string);
}

template <typename T>
void describeNumber(const AggregateView& aggregate, EventFields& fields) {
  constexpr bool kIsFloat = std::is_same_v<T, float>;
  const auto method =
      static_cast<NumericAggregationType>(numberAt(aggregate.key.parts[GenericKey::METHOD], 0));
  describeGeneric(aggregate, method, kIsFloat ? 0 : saturatingCast<long long>(aggregate.value),
                  kIsFloat ? aggregate.value : 0.0F, "", fields);
}

void describeString(const AggregateView& aggregate, EventFields& fields) {
  describeGeneric(aggregate, aggregate.method, 0, 0.0F, aggregate.key.parts[GenericKey::VALUE],
                  fields);
}

}  // namespace

template <>
const EventSchema EventTraits<KivGenericEvent<long long>>::kEvents{
    KivGenericInt64BaseAggregator::kKivGenericEvent, NumericAggregationType::COUNT,
    describeNumber<long long>};
template <>
const EventSchema EventTraits<KivGenericEvent<float>>::kEvents{
    KivGenericFloatBaseAggregator::kKivGenericEvent, NumericAggregationType::COUNT,
    describeNumber<float>};
const EventSchema EventTraits<KivGenericEvent<std::string>>::kEvents{
    KivGenericStringBaseAggregator::kKivGenericEvent, NumericAggregationType::COUNT,
    describeString};

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
  stageFields<KivBaseAggregator<KivGenericEvent<T>, KivGenericEventKey, T>>(
      *this, describeNumber<T>, GenericKey(entry->first), entry->first.aggregationType,
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
  stageFields<KivGenericStringBaseAggregator>(*this, describeString, GenericStringKey(entry->first),
                                              aggregation_type_, entry->second);
}

const char* KivGenericStringEventAggregator::getEventName() const { return kKivGenericEvent; }

}  // namespace android::kiv
