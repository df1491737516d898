#include "kiv/KivGenericEventAggregator.h"

#include <type_traits>

#include "KivBaseAggregatorImpl.h"
#include "SaturatingCast.h"

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

/// Stages the fields of all three kinds, in the one layout that they share.
template <typename Aggregator>
void populateGenericFields(Aggregator& aggregator, const KivGenericEventKey& key, uint32_t count,
                           NumericAggregationType method, long long value_int, float value_float,
                           const std::string& value_string) {
  aggregator.populateTelemetryField("aggregation_method",
                                    std::string(aggregationMethodToString(method)));
  aggregator.populateTelemetryField("aggregated_count", static_cast<unsigned int>(count));
  aggregator.populateTelemetryField("kiv_session_id", key.session.toString());
  aggregator.populateTelemetryField("kiv_event_name", key.name);
  aggregator.populateTelemetryField("value_int", value_int);
  aggregator.populateTelemetryField("value_float", value_float);
  aggregator.populateTelemetryField("value_string", value_string);
}

}  // namespace

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
  const auto& [key, data] = *entry;
  constexpr bool kIsFloat = std::is_same_v<T, float>;
  populateGenericFields(*this, key, data.count, key.aggregationType,
                        kIsFloat ? 0 : saturatingCast<long long>(data.value),
                        kIsFloat ? data.value : 0.0F, "");
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
  const auto& [key, data] = *entry;
  populateGenericFields(*this, key, data.count, aggregation_type_, 0, 0.0F, key.value);
}

const char* KivGenericStringEventAggregator::getEventName() const { return kKivGenericEvent; }

}  // namespace android::kiv
