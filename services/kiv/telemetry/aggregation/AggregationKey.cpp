#include "services/kiv/telemetry/aggregation/AggregationKey.h"

#include "services/kiv/telemetry/aggregation/TextHash.h"

namespace android::kiv {

namespace {

// Seven bits of the number a byte, the highest first, and one that keeps it from being NUL.
constexpr int kDigitBits = 7;
constexpr uint32_t kDigitMask = 0x7F;
constexpr uint32_t kNotNul = 0x80;

}  // namespace

uint32_t AggregationKey::hash() const {
  TextHash hash;
  hash.add(hashedPart(*session));
  for (size_t i = 0; i < size; ++i) hash.add(parts[i]);
  return hash.get();
}

char* writeNumber(uint32_t number, char* text) {
  for (size_t i = kNumberSize; i-- > 0; number >>= kDigitBits) {
    text[i] = static_cast<char>(kNotNul | (number & kDigitMask));
  }
  return text + kNumberSize;
}

uint32_t numberAt(std::string_view part, size_t position) {
  const char* const text = part.data() + kNumberSize * position;
  uint32_t number = 0;
  for (size_t i = 0; i < kNumberSize; ++i) {
    number = number << kDigitBits | (static_cast<unsigned char>(text[i]) & kDigitMask);
  }
  return number;
}

}  // namespace android::kiv
