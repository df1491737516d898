#include "services/kiv/telemetry/aggregation/HashIndex.h"

#include <algorithm>

namespace android::kiv {

void HashIndex::clear() {
  std::fill(slots_.begin(), slots_.end(), Slot{});
  used_ = 0;
}

void HashIndex::grow() {
  std::vector<Slot> grown(std::max(kFirstSize, slots_.size() * 2));
  const size_t mask = grown.size() - 1;
  for (const Slot& slot : slots_) {
    if (slot.item == nullptr) continue;
    size_t i = slot.hash & mask;
    while (grown[i].item != nullptr) i = (i + 1) & mask;
    grown[i] = slot;
  }
  slots_.swap(grown);
}

}  // namespace android::kiv
