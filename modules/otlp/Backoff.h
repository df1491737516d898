/// Exponential back-off with jitter.
#pragma once

#include <algorithm>
#include <chrono>

namespace TAMSA::otlp {

/// The delay doubles with every failure. Its second half is random, so that clients that failed
/// together do not retry together.
class Backoff {
 public:
  static constexpr std::chrono::milliseconds kFirst{1'000};
  static constexpr std::chrono::milliseconds kLongest{16'000};

  /// The delay before the next attempt. `jitter` is from 0 to 1.
  std::chrono::milliseconds next(double jitter) {
    const auto delay =
        std::chrono::duration_cast<std::chrono::milliseconds>(next_ / 2 * (1 + jitter));
    next_ = std::min(next_ * 2, kLongest);
    return delay;
  }

 private:
  std::chrono::milliseconds next_ = kFirst;
};

}  // namespace TAMSA::otlp
