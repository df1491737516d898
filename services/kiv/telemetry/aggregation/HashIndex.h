/// Finds what is stored elsewhere by its hash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android::kiv {

/// Open addressing with linear probing. Refers to items, and owns none.
template <typename Item>
class HashIndex {
 public:
  /// The place of the item with this hash of which `matches` is true. If there is none, the place
  /// is empty, and is to be filled.
  template <typename Matches>
  Item*& find(uint32_t hash, const Matches& matches) {
    if (used_ >= slots_.size() / 4 * 3) grow();
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    for (; slots_[i].item != nullptr; i = (i + 1) & mask) {
      if (slots_[i].hash == hash && matches(*slots_[i].item)) return slots_[i].item;
    }
    slots_[i].hash = hash;
    ++used_;
    return slots_[i].item;
  }

  bool isSmall() const { return slots_.size() <= kFirstSize; }

  /// Empties it, and keeps its size.
  void clear() {
    slots_.assign(slots_.size(), Slot{});
    used_ = 0;
  }

 private:
  static constexpr size_t kFirstSize = 8;

  struct Slot {
    Item* item;
    uint32_t hash;
  };

  void grow() {
    // A power of two, so that a hash is cut to size by a mask.
    std::vector<Slot> grown(slots_.empty() ? kFirstSize : slots_.size() * 2);
    const size_t mask = grown.size() - 1;
    for (const Slot& slot : slots_) {
      if (slot.item == nullptr) continue;
      size_t i = slot.hash & mask;
      while (grown[i].item != nullptr) i = (i + 1) & mask;
      grown[i] = slot;
    }
    slots_.swap(grown);
  }

  std::vector<Slot> slots_;  // at most three quarters used, so that a search ends soon
  size_t used_ = 0;
};

}  // namespace android::kiv
