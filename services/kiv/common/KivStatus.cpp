#include "kiv/KivStatus.h"

#include <android/log.h>

namespace android::kiv {

std::string KivStatus::toString() const { return statusToString(code_); }

void internal::abortForMissingValue(const KivStatus& status) {
  __android_log_assert("!value_.has_value()", nullptr, "Value is not set. status=%s",
                       status.toString().c_str());
}

}  // namespace android::kiv
