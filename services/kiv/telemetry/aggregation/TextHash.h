/// A keyed hash, for tables in memory whose keys an attacker may choose.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace android::kiv::internal {

/// The secret of a process's hashes. Without it, inputs that collide cannot be made on purpose.
struct HashSeed {
  size_t multiplier;
  size_t state;
};

/// Drawn at random on first use. May be called by any thread.
HashSeed processHashSeed();

/// Multiplies two machine words of input at a time with each other: the standard library's hashes
/// take several times as many dependent steps.
class TextHash {
 public:
  explicit TextHash(const HashSeed& seed) : multiplier_(seed.multiplier), state_(seed.state) {}

  void add(std::string_view text) {
    const char* next = text.data();
    const char* const end = next + text.size();
    for (; end - next > static_cast<std::ptrdiff_t>(2 * kWord); next += 2 * kWord) {
      mix(load<size_t>(next), load<size_t>(next + kWord));
    }
    mixLast(next, static_cast<size_t>(end - next));
  }

  void add(uint32_t first, uint32_t second) { mix(first, second); }

  /// The low bits of the last product may have too few values, depending on the seed.
  uint32_t get() const {
    const size_t spread = state_ * kFactor;
    return static_cast<uint32_t>(spread ^ (spread >> (kBits / 2)));
  }

 private:
  static constexpr size_t kWord = sizeof(size_t);
  static constexpr int kBits = kWord * CHAR_BIT;
  static constexpr auto kFactor = static_cast<size_t>(0x9E3779B97F4A7C15);
#ifdef __SIZEOF_INT128__
  __extension__ using DoubleWord = unsigned __int128;
#else
  using DoubleWord = uint64_t;
#endif
  static_assert(sizeof(DoubleWord) == 2 * kWord);

  template <typename Word>
  static Word load(const char* text) {
    Word word;
    std::memcpy(&word, text, sizeof word);
    return word;
  }

  /// Up to two words, by loads that may overlap.
  void mixLast(const char* text, size_t size) {
    size_t low = size;
    size_t high = 0;
    if (size >= kWord) {
      low += load<size_t>(text);
      high = load<size_t>(text + size - kWord);
    } else if (size >= kWord / 2) {
      using HalfWord = std::conditional_t<kWord == sizeof(uint32_t), uint16_t, uint32_t>;
      low += load<HalfWord>(text);
      high = load<HalfWord>(text + size - kWord / 2);
    } else {
      for (size_t i = 0; i < size; ++i)
        high = high << CHAR_BIT | static_cast<unsigned char>(text[i]);
    }
    mix(low, high);
  }

  void mix(size_t low, size_t high) {
    const DoubleWord product = DoubleWord{low ^ multiplier_} * (high ^ state_);
    state_ = static_cast<size_t>(product) ^ static_cast<size_t>(product >> kBits);
  }

  const size_t multiplier_;
  size_t state_;
};

}  // namespace android::kiv::internal
