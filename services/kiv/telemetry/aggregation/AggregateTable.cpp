#include "AggregateTable.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>

namespace android::kiv {

namespace {

using Entry = AggregateTable::Entry;

constexpr size_t kFirstIndex = 16;

const size_t* lengthsOf(const Entry& entry) { return reinterpret_cast<const size_t*>(&entry + 1); }

const char* bytesOf(const Entry& entry, size_t key_size) {
  return reinterpret_cast<const char*>(lengthsOf(entry) + key_size);
}

bool isOf(const Entry& entry, const TableKey& key) {
  const size_t* const lengths = lengthsOf(entry);
  for (size_t i = 0; i < key.size; ++i) {
    if (lengths[i] != key.parts[i].size()) return false;
  }
  const char* bytes = bytesOf(entry, key.size);
  for (size_t i = 0; i < key.size; ++i) {
    if (std::memcmp(bytes, key.parts[i].data(), lengths[i]) != 0) return false;
    bytes += lengths[i] + 1;
  }
  return entry.session->compare(*key.session) == 0;
}

}  // namespace

uint32_t TableKey::hash() const {
  size_t hash = session->hash();
  for (size_t i = 0; i < size; ++i) {
    hash = (hash ^ std::hash<std::string_view>()(parts[i])) * 0x9E3779B1U;
    hash ^= hash >> 15;
  }
  return static_cast<uint32_t>(hash);
}

AggregateTable::EntryKey::EntryKey(const Entry& entry, size_t key_size)
    : TableKey(*entry.session, key_size) {
  const size_t* const lengths = lengthsOf(entry);
  const char* bytes = bytesOf(entry, key_size);
  for (size_t i = 0; i < key_size; ++i) {
    parts[i] = std::string_view(bytes, lengths[i]);
    bytes += lengths[i] + 1;
  }
}

bool AggregateTable::Less::operator()(const Entry* left, const Entry* right) const {
  if (left->session != right->session) {
    if (const int order = left->session->compare(*right->session); order != 0) return order < 0;
  }
  const size_t* const left_lengths = lengthsOf(*left);
  const size_t* const right_lengths = lengthsOf(*right);
  const char* left_bytes = bytesOf(*left, key_size);
  const char* right_bytes = bytesOf(*right, key_size);
  for (size_t i = 0; i < key_size; ++i) {
    const std::string_view left_part(left_bytes, left_lengths[i]);
    const std::string_view right_part(right_bytes, right_lengths[i]);
    if (const int order = left_part.compare(right_part); order != 0) return order < 0;
    left_bytes += left_part.size() + 1;
    right_bytes += right_part.size() + 1;
  }
  return false;
}

AggregateTable::Aggregate& AggregateTable::find(const TableKey& key, uint32_t hash) {
  // At most three quarters full, so that a search meets a free slot soon.
  if (size() >= index_.size() / 4 * 3) growIndex();
  const size_t mask = index_.size() - 1;
  size_t i = hash & mask;
  for (; index_[i].entry != nullptr; i = (i + 1) & mask) {
    if (index_[i].hash == hash && isOf(*index_[i].entry, key)) return index_[i].entry->aggregate;
  }
  Entry* const entry = makeEntry(key);
  index_[i] = {entry, hash};
  shareSession(order_.insert(entry).first);
  return entry->aggregate;
}

bool AggregateTable::isSmall() const { return index_.size() == kFirstIndex; }

void AggregateTable::clear() {
  order_.clear();
  sessions_.clear();
  entries_.clear();
  std::fill(index_.begin(), index_.end(), Slot{});
}

AggregateTable::Entry* AggregateTable::makeEntry(const TableKey& key) {
  size_t bytes = sizeof(Entry);
  for (size_t i = 0; i < key.size; ++i) bytes += sizeof(size_t) + key.parts[i].size() + 1;
  auto* const entry = new (entries_.allocate(bytes)) Entry{{}, key.session};
  auto* const lengths = reinterpret_cast<size_t*>(entry + 1);
  auto* text = reinterpret_cast<char*>(lengths + key.size);
  for (size_t i = 0; i < key.size; ++i) {
    lengths[i] = key.parts[i].size();
    text = std::copy(key.parts[i].begin(), key.parts[i].end(), text);
    *text++ = '\0';
  }
  return entry;
}

// Equal sessions are neighbours in the order, so this finds the object that a session has already.
void AggregateTable::shareSession(Order::const_iterator place) {
  const KivSessionId*& session = (*place)->session;
  if (place != order_.begin()) {
    const KivSessionId* const before = (*std::prev(place))->session;
    if (before->compare(*session) == 0) {
      session = before;
      return;
    }
  }
  if (const auto after = std::next(place);
      after != order_.end() && (*after)->session->compare(*session) == 0) {
    session = (*after)->session;
    return;
  }
  session = &sessions_.emplace_front(*session);
}

void AggregateTable::growIndex() {
  std::vector<Slot> grown(std::max(kFirstIndex, index_.size() * 2));
  const size_t mask = grown.size() - 1;
  for (const Slot& slot : index_) {
    if (slot.entry == nullptr) continue;
    size_t i = slot.hash & mask;
    while (grown[i].entry != nullptr) i = (i + 1) & mask;
    grown[i] = slot;
  }
  index_.swap(grown);
}

}  // namespace android::kiv
