#include "services/kiv/telemetry/aggregation/AggregateTable.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "services/kiv/telemetry/aggregation/TextHash.h"

namespace android::kiv {

AggregateTable::Aggregate& AggregateTable::find(const AggregationKey& key) {
  // What goes wrong goes wrong many times in a row.
  if (last_found_ == nullptr || !isOf(*last_found_, key)) last_found_ = &findEntry(key, key.hash());
  return last_found_->aggregate;
}

AggregateTable::Entry& AggregateTable::findEntry(const AggregationKey& key, uint32_t hash) {
  const void*& known = index_.find(
      hash, [&key](const void* item) { return isOf(*static_cast<const Entry*>(item), key); });
  if (known != nullptr) return *const_cast<Entry*>(static_cast<const Entry*>(known));
  Entry* const entry = makeEntry(key);
  known = entry;
  order_.insert(entry);
  return *entry;
}

void AggregateTable::clear() {
  order_.clear();
  index_.clear();
  session_index_.clear();
  sessions_.clear();
  entries_.clear();
  has_nul_ = false;
  last_found_ = nullptr;
}

AggregateTable::EntryKey::EntryKey(const Entry& entry, size_t key_size)
    : AggregationKey(*entry.session, key_size) {
  size_t start = 0;
  for (size_t i = 0; i < key_size; ++i) {
    const size_t end = entry.ends()[i];
    parts[i] = std::string_view(entry.text(key_size) + start, end - start);
    start = end + 1;
  }
}

bool AggregateTable::Less::operator()(const Entry* left, const Entry* right) const {
  if (left->session != right->session) return *left->session < *right->session;
  const size_t key_size = table->key_size_;
  if (table->has_nul_) return EntryKey(*left, key_size).parts < EntryKey(*right, key_size).parts;
  // The NUL behind each part is less than any byte in them, so all are compared at once.
  return std::string_view(left->text(key_size), left->ends()[key_size - 1]) <
         std::string_view(right->text(key_size), right->ends()[key_size - 1]);
}

bool AggregateTable::isOf(const Entry& entry, const AggregationKey& key) {
  const char* const text = entry.text(key.size);
  size_t start = 0;
  for (size_t i = 0; i < key.size; ++i) {
    const std::string_view part = key.parts[i];
    const size_t end = entry.ends()[i];
    if (end - start != part.size()) return false;
    if (std::memcmp(text + start, part.data(), part.size()) != 0) return false;
    start = end + 1;
  }
  return entry.session->compare(*key.session) == 0;
}

AggregateTable::Entry* AggregateTable::makeEntry(const AggregationKey& key) {
  size_t bytes = sizeof(Entry);
  for (size_t i = 0; i < key_size_; ++i) bytes += sizeof(size_t) + key.parts[i].size() + 1;
  auto* const entry = new (entries_.allocate(bytes)) Entry{{}, findSession(*key.session)};
  auto* end = reinterpret_cast<size_t*>(entry + 1);
  auto* const text = reinterpret_cast<char*>(end + key_size_);
  auto* next = text;
  for (size_t i = 0; i < key_size_; ++i) {
    const std::string_view part = key.parts[i];
    has_nul_ = has_nul_ || part.find('\0') != std::string_view::npos;
    next = std::copy(part.begin(), part.end(), next);
    *end++ = static_cast<size_t>(next - text);
    *next++ = '\0';
  }
  return entry;
}

const KivSessionId* AggregateTable::findSession(const KivSessionId& session) {
  TextHash hash;
  hash.add(hashedPart(session));
  const void*& known = session_index_.find(hash.get(), [&session](const void* item) {
    return static_cast<const KivSessionId*>(item)->compare(session) == 0;
  });
  if (known == nullptr) known = &sessions_.emplace_front(session);
  return static_cast<const KivSessionId*>(known);
}

}  // namespace android::kiv
