/// Conversion of floats to integers that is defined for every float.
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>

namespace android::kiv::internal {

/// `value` truncated toward zero; the nearest representable integer if it is out of range, and 0
/// for NaN.
template <typename Integer>
Integer saturatingCast(float value) {
  static_assert(std::is_integral_v<Integer> && sizeof(Integer) >= sizeof(int));
  using Limits = std::numeric_limits<Integer>;
  // A power of two, hence exact as a float, unlike the largest integer itself.
  const float end = std::ldexp(1.0F, Limits::digits);
  if (std::isnan(value)) return 0;
  if (value >= end) return Limits::max();
  if (std::is_signed_v<Integer> ? value < -end : value <= 0.0F) return Limits::min();
  return static_cast<Integer>(value);
}

}  // namespace android::kiv::internal
