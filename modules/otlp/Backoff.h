/// How long to wait before the next try.
#pragma once

#include <algorithm>
#include <chrono>

namespace TAMSA::otlp {

/// Doubles with every try that fails. The second half of each wait is left to chance, so that those
/// who failed together do not come back together.
class Backoff {
 public:
  static constexpr std::chrono::milliseconds kFirst{1'000};
  static constexpr std::chrono::milliseconds kLongest{16'000};

  /// `chance` is from 0 to 1.
  std::chrono::milliseconds next(double chance) {
    const auto wait =
        std::chrono::duration_cast<std::chrono::milliseconds>(next_ / 2 * (1 + chance));
    next_ = std::min(next_ * 2, kLongest);
    return wait;
  }

  void reset() { next_ = kFirst; }

 private:
  std::chrono::milliseconds next_ = kFirst;
};

}  // namespace TAMSA::otlp
