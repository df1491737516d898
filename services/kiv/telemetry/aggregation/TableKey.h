/// What reports of every kind are folded under, in one form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kiv/KivSessionId.h"

namespace android::kiv {

/// A session and up to four parts, each a string of bytes. Keys of one kind have equally many. They
/// are ordered by session and then by one part after the other, bytewise, a proper prefix first.
/// Numbers are parts too, written such that their bytes have the order of the numbers.
///
/// Owns none of it.
struct TableKey {
  static constexpr size_t kMaxParts = 4;

  TableKey(const KivSessionId& session_id, size_t part_count)
      : session(&session_id), size(part_count) {}

  // A kind's key refers to bytes of its own.
  TableKey(const TableKey&) = delete;
  TableKey& operator=(const TableKey&) = delete;

  uint32_t hash() const;

  const KivSessionId* session;
  size_t size;
  std::array<std::string_view, kMaxParts> parts;
};

}  // namespace android::kiv
