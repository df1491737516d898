/// Counts reported errors: one "wexo_kiv_error_code" event per distinct report.
#pragma once

#include <string>

#include "kiv/Export.h"
#include "kiv/KivBaseAggregator.h"
#include "kiv/KivError.h"
#include "kiv/KivSessionId.h"

namespace android::kiv {

/// A reported error, and the key under which equal reports are counted.
struct KIV_EXPORT KivErrorCodeEvent {
  KivSessionId session_id;    ///< The reporting logger's session.
  std::string api;            ///< The operation in which the error happened.
  std::string kiv_class;      ///< The reporting class or component.
  std::string error_code;     ///< The error, in the form in which it is sent.
  KivErrorSeverity severity;  ///< As the reporter rates it.

  /// Lexicographic over all fields, in their order; texts bytewise.
  bool operator<(const KivErrorCodeEvent& other) const;
};

/// Counts equal errors. Not synchronized; see `KivBaseAggregator`.
class KIV_EXPORT KivErrorCodeAggregator : public KivCountedAggregator<KivErrorCodeEvent> {
 public:
  /// Combines reports, each of which counts 1, by `aggregation_type`.
  explicit KivErrorCodeAggregator(NumericAggregationType aggregation_type);
  ~KivErrorCodeAggregator() override;

  void populateMetricValuesForEntry(Entries::iterator entry) override;
  const char* getEventName() const override;
};

/// The framework base of `KivErrorCodeAggregator`.
using KivErrorCodeBaseAggregator =
    KivBaseAggregator<KivErrorCodeEvent, KivErrorCodeEvent, unsigned int>;
template <>
const char KivErrorCodeBaseAggregator::kKivErrorCodeEvent[];
extern template class KivBaseAggregator<KivErrorCodeEvent, KivErrorCodeEvent, unsigned int>;
extern template class KivCountedAggregator<KivErrorCodeEvent>;

}  // namespace android::kiv
