#include "services/kiv/telemetry/aggregation/AggregateTable.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace android::kiv::internal {

namespace {

/// The part of a session that is hashed. Identifiers are random: half of one is enough.
std::string_view hashedText(const KivSessionId& session) {
  const std::string_view id = session.id();
  return id.substr(0, 16);
}

}  // namespace

AggregateTable::AggregateTable(const KeyLayout& layout)
    : layout_(layout), seed_(processHashSeed()) {}

AggregateTable::Aggregate& AggregateTable::findOrInsert(const AggregationKey& key) {
  // Fast path: consecutive reports often have the same key.
  if (last_found_ != nullptr && matches(*last_found_, key)) return last_found_->aggregate;
  return findOrInsert(key, hashOf(key));
}

AggregateTable::Aggregate& AggregateTable::findOrInsert(const AggregationKey& key, uint32_t hash) {
  Entry*& known =
      index_.find(hash, [this, &key](const Entry& entry) { return matches(entry, key); });
  if (known == nullptr) known = makeEntry(key);
  last_found_ = known;
  return known->aggregate;
}

void AggregateTable::clear() {
  index_.clear();
  session_index_.clear();
  sessions_.clear();
  entries_.clear();
  last_found_ = nullptr;
  has_nul_ = false;
}

uint32_t AggregateTable::hashOf(const AggregationKey& key) const {
  TextHash hash(seed_);
  hash.add(hashedText(*key.session));
  for (size_t i = 0; i < layout_.numbers; i += 2) {
    hash.add(key.numbers[i], i + 1 < layout_.numbers ? key.numbers[i + 1] : 0);
  }
  for (size_t i = 0; i < layout_.texts; ++i) hash.add(key.texts[i]);
  return hash.get();
}

AggregateTable::Entry* AggregateTable::makeEntry(const AggregationKey& key) {
  size_t bytes =
      sizeof(Entry) + layout_.texts * sizeof(size_t) + layout_.numbers * sizeof(uint32_t);
  for (size_t i = 0; i < layout_.texts; ++i) bytes += key.texts[i].size() + 1;
  auto* const entry = new (entries_.allocate(bytes)) Entry{{}, findOrInsertSession(*key.session)};
  auto* const ends = const_cast<size_t*>(endsOf(*entry));
  std::copy_n(key.numbers.begin(), layout_.numbers, const_cast<uint32_t*>(numbersOf(*entry)));
  auto* const first = const_cast<char*>(bytesOf(*entry));
  char* next = first;
  for (size_t i = 0; i < layout_.texts; ++i) {
    has_nul_ = has_nul_ || key.texts[i].find('\0') != std::string_view::npos;
    next = std::copy(key.texts[i].begin(), key.texts[i].end(), next);
    ends[i] = static_cast<size_t>(next - first);
    *next++ = '\0';
  }
  return entry;
}

const KivSessionId* AggregateTable::findOrInsertSession(const KivSessionId& session) {
  TextHash hash(seed_);
  hash.add(hashedText(session));
  const KivSessionId*& known = session_index_.find(
      hash.get(), [&session](const KivSessionId& other) { return other.compare(session) == 0; });
  if (known == nullptr) known = &sessions_.emplace_front(session);
  return known;
}

const size_t* AggregateTable::endsOf(const Entry& entry) {
  return reinterpret_cast<const size_t*>(&entry + 1);
}

const uint32_t* AggregateTable::numbersOf(const Entry& entry) const {
  return reinterpret_cast<const uint32_t*>(endsOf(entry) + layout_.texts);
}

const char* AggregateTable::bytesOf(const Entry& entry) const {
  return reinterpret_cast<const char*>(numbersOf(entry) + layout_.numbers);
}

std::string_view AggregateTable::textsOf(const Entry& entry, size_t first, size_t last) const {
  const size_t* const ends = endsOf(entry);
  const size_t start = first == 0 ? 0 : ends[first - 1] + 1;
  return {bytesOf(entry) + start, ends[last - 1] - start};
}

AggregationKey AggregateTable::keyOf(const Entry& entry) const {
  AggregationKey key;
  key.session = entry.session;
  std::copy_n(numbersOf(entry), layout_.numbers, key.numbers.begin());
  for (size_t i = 0; i < layout_.texts; ++i) key.texts[i] = textsOf(entry, i, i + 1);
  return key;
}

bool AggregateTable::matches(const Entry& entry, const AggregationKey& key) const {
  if (!std::equal(numbersOf(entry), numbersOf(entry) + layout_.numbers, key.numbers.begin())) {
    return false;
  }
  size_t start = 0;
  for (size_t i = 0; i < layout_.texts; ++i) {
    const std::string_view text = key.texts[i];
    const size_t end = endsOf(entry)[i];
    if (end - start != text.size()) return false;
    if (std::memcmp(bytesOf(entry) + start, text.data(), text.size()) != 0) return false;
    start = end + 1;
  }
  return entry.session->compare(*key.session) == 0;
}

bool AggregateTable::isLess(const Entry& left, const Entry& right) const {
  if (left.session != right.session) return *left.session < *right.session;
  if (const int order = compareTexts(left, right, 0, layout_.leading_texts); order != 0) {
    return order < 0;
  }
  for (size_t i = 0; i < layout_.numbers; ++i) {
    const uint32_t number = numbersOf(left)[i];
    const uint32_t other = numbersOf(right)[i];
    if (number != other) return number < other;
  }
  return compareTexts(left, right, layout_.leading_texts, layout_.texts) < 0;
}

int AggregateTable::compareTexts(const Entry& left, const Entry& right, size_t first,
                                 size_t last) const {
  if (first == last) return 0;
  // Where no text contains a NUL, the one behind each text is less than any byte of a text, and all
  // are compared at once.
  if (!has_nul_) return textsOf(left, first, last).compare(textsOf(right, first, last));
  int order = 0;
  for (size_t i = first; i < last && order == 0; ++i) {
    order = textsOf(left, i, i + 1).compare(textsOf(right, i, i + 1));
  }
  return order;
}

size_t AggregateTable::sortEntries() {
  const size_t count = index_.compact();
  sortSlots(index_.slots(), count);
  return count;
}

// Merge sort, with the slots behind those in use as its memory. std::sort takes four times the
// code.
void AggregateTable::sortSlots(Slot* slots, size_t count) {
  if (count < 2) return;
  const size_t half = std::min(count / 2, index_.spare());
  Slot* right = slots + half;
  Slot* const end = slots + count;
  sortSlots(slots, half);
  sortSlots(right, count - half);
  Slot* left = index_.slots() + index_.size();
  Slot* const left_end = std::copy_n(slots, half, left);
  for (; left != left_end; ++slots) {
    const bool takes_right = right != end && isLess(*right->item, *left->item);
    *slots = takes_right ? *right++ : *left++;
  }
}

}  // namespace android::kiv::internal
