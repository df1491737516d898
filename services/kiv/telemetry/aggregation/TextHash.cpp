#include "services/kiv/telemetry/aggregation/TextHash.h"

#include <atomic>

#include "kiv/KivSessionId.h"

namespace android::kiv::internal {

namespace {

/// Condenses a random text, by fixed factors, to one word.
size_t condense(std::string_view random_text) {
  auto word = static_cast<size_t>(0xD1B54A32D192ED03);
  for (const char byte : random_text) {
    word = (word ^ static_cast<unsigned char>(byte)) * static_cast<size_t>(0x9E3779B97F4A7C15);
  }
  return word;
}

/// A word that is drawn at random on first use. Threads that draw it at the same time may get
/// different ones: a table keeps the seed that it was made with. A static variable with an
/// initializer would have a lock, which a forked child may inherit locked.
size_t drawOnce(std::atomic<size_t>& drawn) {
  size_t word = drawn.load(std::memory_order_relaxed);
  if (word == 0) {
    // Session identifiers are as random as the platform can make them.
    word = condense(KivSessionId(nullptr).id());
    drawn.store(word, std::memory_order_relaxed);
  }
  return word;
}

std::atomic<size_t> multiplier{0};
std::atomic<size_t> state{0};

}  // namespace

HashSeed processHashSeed() { return {drawOnce(multiplier), drawOnce(state)}; }

}  // namespace android::kiv::internal
