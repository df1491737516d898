/// The table in which the library's own loggers aggregate.
#pragma once

#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <string_view>

#include "kiv/KivBaseAggregator.h"
#include "services/kiv/telemetry/aggregation/AggregationKey.h"
#include "services/kiv/telemetry/aggregation/Arena.h"
#include "services/kiv/telemetry/aggregation/HashIndex.h"
#include "services/kiv/telemetry/aggregation/TextHash.h"

namespace android::kiv::internal {

/// Aggregates by key, for one kind of event. An entry is one piece of memory that holds the
/// aggregate and a copy of the key; equal sessions are stored once. Entries are found by hash, and
/// sorted only when a window is submitted.
class AggregateTable {
 public:
  using Aggregate = AggregationData<float>;

  explicit AggregateTable(const KeyLayout& layout);

  AggregateTable(const AggregateTable&) = delete;
  AggregateTable& operator=(const AggregateTable&) = delete;

  bool empty() const { return index_.empty(); }

  /// The aggregate of `key`; a new one is zero. `hash` is that of the key.
  Aggregate& findOrInsert(const AggregationKey& key, uint32_t hash);
  Aggregate& findOrInsert(const AggregationKey& key);

  /// Keyed by a secret of the process.
  uint32_t hashOf(const AggregationKey& key) const;

  /// Calls `visit(const AggregationKey&, const Aggregate&)` for every entry in key order. Equal
  /// sessions are one object there, and a NUL follows each text. Afterwards the table has to be
  /// cleared before anything else.
  template <typename Visitor>
  void visitInOrder(const Visitor& visit) {
    const size_t count = sortEntries();
    for (size_t i = 0; i < count; ++i) {
      const Entry& entry = *index_.slots()[i].item;
      visit(keyOf(entry), entry.aggregate);
    }
  }

  /// True while it has not held more than a few entries.
  bool isSmall() const { return index_.isSmall(); }

  /// Removes all entries. Keeps memory for a few.
  void clear();

 private:
  /// Followed in memory by the ends of the key's texts, its numbers, and the texts, each with a NUL
  /// behind it.
  struct Entry {
    Aggregate aggregate;
    const KivSessionId* session;
  };

  using Slot = HashIndex<Entry>::Slot;

  Entry* makeEntry(const AggregationKey& key);
  const KivSessionId* findOrInsertSession(const KivSessionId& session);

  static const size_t* endsOf(const Entry& entry);
  const uint32_t* numbersOf(const Entry& entry) const;
  const char* bytesOf(const Entry& entry) const;
  /// The texts from `first` to before `last`, with the NULs between them.
  std::string_view textsOf(const Entry& entry, size_t first, size_t last) const;
  AggregationKey keyOf(const Entry& entry) const;

  bool matches(const Entry& entry, const AggregationKey& key) const;
  bool isLess(const Entry& left, const Entry& right) const;
  int compareTexts(const Entry& left, const Entry& right, size_t first, size_t last) const;
  size_t sortEntries();
  void sortSlots(Slot* slots, size_t count);

  const KeyLayout layout_;
  const HashSeed seed_;
  Entry* last_found_ = nullptr;
  bool has_nul_ = false;  // a text contains a NUL
  HashIndex<Entry> index_;
  HashIndex<const KivSessionId> session_index_;
  std::forward_list<KivSessionId> sessions_;
  Arena entries_;
};

}  // namespace android::kiv::internal
