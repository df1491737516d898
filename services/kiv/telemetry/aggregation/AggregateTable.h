/// The table behind the aggregators that the library makes for itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <set>

#include "kiv/KivBaseAggregator.h"
#include "services/kiv/telemetry/aggregation/AggregationKey.h"
#include "services/kiv/telemetry/aggregation/Arena.h"
#include "services/kiv/telemetry/aggregation/HashIndex.h"

namespace android::kiv {

/// Aggregates by key, for one kind of report. A key's parts lie beside its aggregate in one piece
/// of memory, a hash index finds a known key without walking the order, and a session is kept once
/// for all of its keys.
class AggregateTable {
 public:
  using Aggregate = AggregationData<float>;

  /// A table of keys with `key_size` parts.
  explicit AggregateTable(size_t key_size) : key_size_(key_size), order_(Less{this}) {}

  AggregateTable(const AggregateTable&) = delete;
  AggregateTable& operator=(const AggregateTable&) = delete;

  bool empty() const { return order_.empty(); }

  /// The aggregate of `key`, which starts at zero. `hash` is that of the key.
  Aggregate& find(const AggregationKey& key, uint32_t hash) {
    return findEntry(key, hash).aggregate;
  }
  Aggregate& find(const AggregationKey& key);

  /// Calls `visit(const AggregationKey&, const Aggregate&)` for every entry in key order. Equal
  /// sessions are one object there, and parts have a NUL behind them.
  template <typename Visitor>
  void visitInOrder(const Visitor& visit) const {
    for (const Entry* const entry : order_) visit(EntryKey(*entry, key_size_), entry->aggregate);
  }

  /// Whether it never held more than a few entries.
  bool isSmall() const { return index_.isSmall(); }

  /// Forgets all entries. Memory is kept for a few.
  void clear();

 private:
  /// Followed in memory by the key's parts, one behind the other, each with a NUL behind it; before
  /// them stand the offsets of their ends.
  struct Entry {
    const size_t* ends() const { return reinterpret_cast<const size_t*>(this + 1); }
    const char* text(size_t key_size) const {
      return reinterpret_cast<const char*>(ends() + key_size);
    }

    Aggregate aggregate;
    const KivSessionId* session;
  };

  struct EntryKey : AggregationKey {
    EntryKey(const Entry& entry, size_t key_size);
  };

  struct Less {
    bool operator()(const Entry* left, const Entry* right) const;
    const AggregateTable* table;
  };

  Entry& findEntry(const AggregationKey& key, uint32_t hash);
  static bool isOf(const Entry& entry, const AggregationKey& key);
  Entry* makeEntry(const AggregationKey& key);
  const KivSessionId* findSession(const KivSessionId& session);

  const size_t key_size_;
  Entry* last_found_ = nullptr;
  bool has_nul_ = false;  ///< Whether a part contains a NUL.
  std::set<Entry*, Less> order_;
  HashIndex index_;
  HashIndex session_index_;
  std::forward_list<KivSessionId> sessions_;
  Arena entries_;
};

}  // namespace android::kiv
