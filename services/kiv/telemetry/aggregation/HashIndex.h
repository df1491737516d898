/// Finds what is stored elsewhere by its hash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android::kiv {

/// Open addressing with linear probing. Refers to items, and owns none.
class HashIndex {
 public:
  /// The place of the item with this hash of which `matches(item)` is true. If there is none, the
  /// place is empty, and is to be filled.
  template <typename Matches>
  const void*& find(uint32_t hash, const Matches& matches) {
    if (used_ >= slots_.size() / 4 * 3) grow();
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    for (; slots_[i].item != nullptr; i = (i + 1) & mask) {
      if (slots_[i].hash == hash && matches(slots_[i].item)) return slots_[i].item;
    }
    slots_[i].hash = hash;
    ++used_;
    return slots_[i].item;
  }

  /// Whether it never grew beyond its first size.
  bool isSmall() const { return slots_.size() <= kFirstSize; }

  /// Empties it, and keeps its size.
  void clear();

 private:
  static constexpr size_t kFirstSize = 8;

  struct Slot {
    const void* item;
    uint32_t hash;
  };

  void grow();

  // A power of two of slots, at most three quarters used, so that a search ends soon.
  std::vector<Slot> slots_;
  size_t used_ = 0;
};

}  // namespace android::kiv
