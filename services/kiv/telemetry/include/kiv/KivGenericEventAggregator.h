/// Aggregates named values: one "wexo_kiv_generic" event per session, name and
/// method, and for texts per value too. All three value types share one layout of fields; the slots
/// that do not apply are 0, 0.0 or "".
///
/// There is one 64-bit integer type here, `long long`, on every platform.
#pragma once

#include <functional>
#include <string>

#include "kiv/Export.h"
#include "kiv/KivBaseAggregator.h"
#include "kiv/KivSessionId.h"
#include "kiv/NumericAggregationType.h"

namespace android::kiv {

/// The key under which samples are combined.
struct KIV_EXPORT KivGenericEventKey {
  KivSessionId session;                    ///< The reporting logger's session.
  std::string name;                        ///< Names the value; chosen by the client.
  NumericAggregationType aggregationType;  ///< Combines the samples.

  /// Lexicographic over all fields, in their order; the name bytewise.
  bool operator<(const KivGenericEventKey& other) const;
};

/// A named value.
template <typename T>
struct KIV_EXPORT KivGenericEvent : KivGenericEventKey {
  T value;  ///< One sample, or one text.
};

}  // namespace android::kiv

/// The order of text events in their aggregator: by key, then by value, bytewise.
template <>
struct KIV_EXPORT std::less<android::kiv::KivGenericEvent<std::string>> {
  /// True if `left` comes before `right`.
  bool operator()(const android::kiv::KivGenericEvent<std::string>& left,
                  const android::kiv::KivGenericEvent<std::string>& right) const;
};

namespace android::kiv {

/// Combines `long long` or `float` samples by the method that each report names. Not synchronized;
/// see `KivBaseAggregator`.
template <typename T>
class KIV_EXPORT KivGenericNumericEventAggregator
    : public KivBaseAggregator<KivGenericEvent<T>, KivGenericEventKey, T> {
 public:
  using typename KivBaseAggregator<KivGenericEvent<T>, KivGenericEventKey, T>::Entries;

  KivGenericNumericEventAggregator();
  ~KivGenericNumericEventAggregator() override;

  /// The event without its value.
  KivGenericEventKey getKey(const KivGenericEvent<T>& event) override;
  /// The event's value.
  T getValue(const KivGenericEvent<T>& event) override;
  /// The method that the event names.
  NumericAggregationType getAggregationType(const KivGenericEvent<T>& event) override;
  void populateMetricValuesForEntry(typename Entries::iterator entry) override;
  const char* getEventName() const override;
};

/// Counts equal texts. The method that a report names is part of its key only; events have the
/// aggregator's own method. Not synchronized; see `KivBaseAggregator`.
class KIV_EXPORT KivGenericStringEventAggregator
    : public KivCountedAggregator<KivGenericEvent<std::string>> {
 public:
  /// Combines reports, each of which counts 1, by `aggregation_type`.
  explicit KivGenericStringEventAggregator(NumericAggregationType aggregation_type);
  ~KivGenericStringEventAggregator() override;

  void populateMetricValuesForEntry(Entries::iterator entry) override;
  const char* getEventName() const override;
};

/// The framework base of `KivGenericNumericEventAggregator<long long>`.
using KivGenericInt64BaseAggregator =
    KivBaseAggregator<KivGenericEvent<long long>, KivGenericEventKey, long long>;
/// The framework base of `KivGenericNumericEventAggregator<float>`.
using KivGenericFloatBaseAggregator =
    KivBaseAggregator<KivGenericEvent<float>, KivGenericEventKey, float>;
/// The framework base of `KivGenericStringEventAggregator`.
using KivGenericStringBaseAggregator =
    KivBaseAggregator<KivGenericEvent<std::string>, KivGenericEvent<std::string>, unsigned int>;
template <>
const char KivGenericInt64BaseAggregator::kKivGenericEvent[];
template <>
const char KivGenericFloatBaseAggregator::kKivGenericEvent[];
template <>
const char KivGenericStringBaseAggregator::kKivGenericEvent[];
extern template class KivBaseAggregator<KivGenericEvent<long long>, KivGenericEventKey, long long>;
extern template class KivBaseAggregator<KivGenericEvent<float>, KivGenericEventKey, float>;
extern template class KivBaseAggregator<KivGenericEvent<std::string>, KivGenericEvent<std::string>,
                                        unsigned int>;
extern template class KivCountedAggregator<KivGenericEvent<std::string>>;
extern template class KivGenericNumericEventAggregator<long long>;
extern template class KivGenericNumericEventAggregator<float>;

}  // namespace android::kiv
