/// The table behind the aggregators that the library makes for itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <set>
#include <vector>

#include "Arena.h"
#include "TableKey.h"
#include "kiv/KivBaseAggregator.h"

namespace android::kiv {

/// Aggregates by key, for one kind of report. A key's texts lie beside its aggregate in one piece
/// of memory, a hash index finds a known key without walking the order, and sessions are kept once.
class AggregateTable {
 public:
  using Aggregate = AggregationData<float>;

  /// An entry of the table. Its key's parts follow it in memory: first their lengths, then their
  /// bytes, each part with a NUL behind it.
  struct Entry {
    Aggregate aggregate;
    const KivSessionId* session;  ///< One object for all keys of a session.
  };

  /// A table of keys with `key_size` parts.
  explicit AggregateTable(size_t key_size) : order_(Less{key_size}) {}

  AggregateTable(const AggregateTable&) = delete;
  AggregateTable& operator=(const AggregateTable&) = delete;

  bool empty() const { return order_.empty(); }
  size_t size() const { return order_.size(); }

  /// The aggregate of `key`, which starts at zero. `hash` is that of the key.
  Aggregate& find(const TableKey& key, uint32_t hash);
  Aggregate& find(const TableKey& key) { return find(key, key.hash()); }

  /// Calls `visit(const TableKey&, const Aggregate&)` for every entry in key order. Equal sessions
  /// are one object.
  template <typename Visitor>
  void visitInOrder(const Visitor& visit) const {
    for (const Entry* const entry : order_) {
      visit(EntryKey(*entry, order_.key_comp().key_size), entry->aggregate);
    }
  }

  /// Whether it never held more than a few entries.
  bool isSmall() const;

  /// Forgets all entries. Memory is kept for as many.
  void clear();

 private:
  struct EntryKey : TableKey {
    EntryKey(const Entry& entry, size_t key_size);
  };

  struct Less {
    bool operator()(const Entry* left, const Entry* right) const;
    size_t key_size;
  };

  using Order = std::set<Entry*, Less>;

  struct Slot {
    Entry* entry;
    uint32_t hash;
  };

  Entry* makeEntry(const TableKey& key);
  void shareSession(Order::const_iterator place);
  void growIndex();

  Order order_;

  // Open addressing with linear probing; the size is a power of two.
  std::vector<Slot> index_;

  std::forward_list<KivSessionId> sessions_;
  Arena entries_;
};

}  // namespace android::kiv
