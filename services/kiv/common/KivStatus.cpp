#include "kiv/KivStatus.h"

#include <android/log.h>

#include <cstddef>

namespace android::kiv {

std::string KivStatus::toString() const { return statusToString(code_); }

void internal::abortForMissingValue(const KivStatus& status) {
  __android_log_assert("!value_.has_value()", nullptr, "Value is not set. status=%s",
                       status.toString().c_str());
}

// Clients were built against this layout.
struct KivStatusLayout {
  static_assert(sizeof(KivStatus) == 4);
  static_assert(offsetof(KivStatusOr<bool>, status_) == 0);
  static_assert(offsetof(KivStatusOr<bool>, value_) == 4);
  static_assert(sizeof(KivStatusOr<bool>) == 8);
};

}  // namespace android::kiv
