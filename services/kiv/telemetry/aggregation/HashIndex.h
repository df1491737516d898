/// Finds items that are stored elsewhere by their hashes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace android::kiv::internal {

/// Open addressing with linear probing. Refers to items, and owns none.
template <typename Item>
class HashIndex {
 public:
  struct Slot {
    Item* item;  ///< Null in an empty slot.
    uint32_t hash;
  };

  bool empty() const { return used_ == 0; }

  size_t size() const { return used_; }

  /// The number of slots that are not in use: at least a third as many as those in use.
  size_t spare() const { return slots_.size() - used_; }

  /// The slot of the item with this hash for which `matches(item)` is true. If there is none, the
  /// slot is empty, and the caller has to fill it.
  template <typename Matches>
  Item*& find(uint32_t hash, const Matches& matches) {
    if (slots_.empty()) grow();
    const auto isMatch = [&](const Slot& slot) { return slot.hash == hash && matches(*slot.item); };
    Slot* slot = &probe(hash, isMatch);
    if (slot->item == nullptr) {
      if (used_ >= slots_.size() / 4 * 3) {
        grow();
        slot = &probe(hash, [](const Slot& /*slot*/) { return false; });
      }
      slot->hash = hash;
      ++used_;
    }
    return slot->item;
  }

  /// True while it has not grown beyond its first size.
  bool isSmall() const { return slots_.size() <= kFirstSize; }

  /// Empties the index and keeps its size.
  void clear() {
    std::fill(slots_.begin(), slots_.end(), Slot{});
    used_ = 0;
  }

  /// Moves the slots that are in use to the front and returns how many they are. Until it is
  /// cleared, the index then serves as an array of them, with the spare ones behind, and finds
  /// nothing.
  size_t compact() {
    std::partition(slots_.begin(), slots_.end(),
                   [](const Slot& slot) { return slot.item != nullptr; });
    return used_;
  }

  Slot* slots() { return slots_.data(); }

 private:
  static constexpr size_t kFirstSize = 8;

  /// The first slot from the hash's own on that matches or is empty.
  template <typename IsMatch>
  Slot& probe(uint32_t hash, const IsMatch& is_match) {
    const size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    while (slots_[i].item != nullptr && !is_match(slots_[i])) i = (i + 1) & mask;
    return slots_[i];
  }

  void grow() {
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

  // A power of two of slots, at most three quarters used, so that a search ends soon.
  std::vector<Slot> slots_;
  size_t used_ = 0;
};

}  // namespace android::kiv::internal
