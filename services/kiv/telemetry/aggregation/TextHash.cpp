#include "services/kiv/telemetry/aggregation/TextHash.h"

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

}  // namespace

const HashSeed& processHashSeed() {
  // Session identifiers are as random as the platform can make them.
  static const HashSeed seed{condense(KivSessionId(nullptr).id()),
                             condense(KivSessionId(nullptr).id())};
  return seed;
}

}  // namespace android::kiv::internal
