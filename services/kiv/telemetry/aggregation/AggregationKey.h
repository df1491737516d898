/// The key under which reports are aggregated, in one form for every kind.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "kiv/KivSessionId.h"

namespace android::kiv::internal {

/// A session, numbers and texts. Reports with equal keys share one aggregate. Borrows all of it.
struct AggregationKey {
  static constexpr size_t kMaxNumbers = 6;
  static constexpr size_t kMaxTexts = 3;

  const KivSessionId* session;
  std::array<uint32_t, kMaxNumbers> numbers;
  std::array<std::string_view, kMaxTexts> texts;
};

/// The number of fields in the keys of one kind of event, and the order of their comparison: by
/// session, then by the first `leading_texts` texts, by all numbers, and by the remaining texts.
/// Numbers are compared as unsigned, texts bytewise with a proper prefix first.
struct KeyLayout {
  size_t numbers;
  size_t texts;
  size_t leading_texts;
};

}  // namespace android::kiv::internal
