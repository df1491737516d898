/// What reports of every kind are folded under, in one form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kiv/KivSessionId.h"

namespace android::kiv {

/// A session and up to four parts, each a text. Keys of one kind have equally many. They are
/// ordered by session and then by one part after the other, bytewise, a proper prefix first.
///
/// Owns none of it.
struct AggregationKey {
  static constexpr size_t kMaxParts = 4;

  AggregationKey(const KivSessionId& session_id, size_t part_count)
      : session(&session_id), size(part_count) {}

  // A kind's key refers to numbers of its own.
  AggregationKey(const AggregationKey&) = delete;
  AggregationKey& operator=(const AggregationKey&) = delete;

  uint32_t hash() const;

  const KivSessionId* session;
  size_t size;
  std::array<std::string_view, kMaxParts> parts;
};

/// What is hashed of a session. Of a random identifier, so much is as good as all of it.
inline std::string_view hashedPart(const KivSessionId& session) {
  const std::string_view id = session.id();
  return id.substr(0, 16);
}

/// What one number takes in a part of numbers.
inline constexpr size_t kNumberSize = 5;

/// Writes it, and returns its end.
char* writeNumber(uint32_t number, char* text);

/// Numbers as a part of a key: texts of equal length, in the order of the numbers, and without the
/// NUL that would make comparing them more work.
template <size_t N>
class NumberPart {
 public:
  template <typename... Numbers>
  explicit NumberPart(Numbers... numbers) {
    static_assert(sizeof...(numbers) == N);
    char* end = text_;
    ((end = writeNumber(static_cast<uint32_t>(numbers), end)), ...);
  }

  std::string_view part() const { return {text_, sizeof text_}; }

 private:
  char text_[kNumberSize * N];
};

/// The number at a position of such a part.
uint32_t numberAt(std::string_view part, size_t position);

}  // namespace android::kiv
