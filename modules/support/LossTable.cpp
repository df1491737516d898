#include "modules/support/LossTable.h"

#include <algorithm>
#include <exception>

namespace TAMSA::support {

LossCount& LossCount::operator+=(const LossCount& other) {
  events += other.events;
  reports += other.reports;
  return *this;
}

LossCount& LossCount::operator-=(const LossCount& other) {
  events -= std::min(events, other.events);
  reports -= std::min(reports, other.reports);
  return *this;
}

std::string LossCause::text() const { return detail.empty() ? name : name + " (" + detail + ")"; }

void LossTable::add(const LossCause& cause, const LossCount& count) noexcept {
  try {
    if (const auto known = entries_.find(cause.name); known != entries_.end()) {
      known->second.count += count;
      known->second.detail = cause.detail;
      return;
    }
    if (entries_.size() < kMaxCauses) {
      entries_.emplace(cause.name, Entry{count, cause.detail});
      return;
    }
  } catch (const std::exception&) {
    // A known entry has been counted when its detail finds no memory.
    if (entries_.count(cause.name) != 0) return;
  }
  other_ += count;
}

void LossTable::add(const LossTable& other) noexcept {
  for (const auto& [name, entry] : other.entries_) {
    try {
      add(LossCause{name, entry.detail}, entry.count);
    } catch (const std::exception&) {
      other_ += entry.count;
    }
  }
  other_ += other.other_;
}

void LossTable::subtract(const LossTable& other) noexcept {
  for (const auto& [name, entry] : other.entries_) {
    const auto known = entries_.find(name);
    if (known == entries_.end()) continue;
    known->second.count -= entry.count;
    if (known->second.count.events == 0) entries_.erase(known);
  }
  other_ -= other.other_;
}

LossCount LossTable::total() const {
  LossCount total = other_;
  for (const auto& [name, entry] : entries_) total += entry.count;
  return total;
}

std::map<std::string, LossTable::Entry> LossTable::entries() const {
  auto entries = entries_;
  if (other_.events > 0) entries.emplace(kOther, Entry{other_, {}});
  return entries;
}

}  // namespace TAMSA::support
