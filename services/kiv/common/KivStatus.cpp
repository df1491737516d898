#include "kiv/KivStatus.h"

#include <cstddef>

namespace android::kiv {

// Clients were built against this layout.
struct KivStatusLayout {
  static_assert(sizeof(KivStatus) == 4);
  static_assert(offsetof(KivStatusOr<bool>, status_) == 0);
  static_assert(offsetof(KivStatusOr<bool>, value_) == 4);
  static_assert(sizeof(KivStatusOr<bool>) == 8);
};

}  // namespace android::kiv
