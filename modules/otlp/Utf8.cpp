#include "modules/otlp/Utf8.h"

#include <cstdint>
#include <string_view>

namespace TAMSA::otlp {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";
constexpr std::string_view kEllipsis = "\u2026";

struct Sequence {
  size_t length;  ///< Bytes of the character, or of the longest beginning of one; 1 or more.
  bool is_valid;
};

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

/// The bytes that may follow the first byte of a character.
struct Continuation {
  size_t count;  ///< Bytes; none if there is no such first byte.
  unsigned char first_low = 0x80;
  unsigned char first_high = 0xBF;
};

/// By the table of well-formed byte sequences of the Unicode standard.
Continuation continuationOf(unsigned char lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return {1};
  if (lead == 0xE0) return {2, 0xA0, 0xBF};
  if (lead == 0xED) return {2, 0x80, 0x9F};
  if (lead >= 0xE1 && lead <= 0xEF) return {2};
  if (lead == 0xF0) return {3, 0x90, 0xBF};
  if (lead >= 0xF1 && lead <= 0xF3) return {3};
  if (lead == 0xF4) return {3, 0x80, 0x8F};
  return {0};
}

Sequence sequenceAt(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {1, true};
  const Continuation continuation = continuationOf(lead);
  for (size_t i = 1; i <= continuation.count; ++i) {
    if (i >= text.size() || !isContinuation(text[i])) return {i, false};
    const auto byte = static_cast<unsigned char>(text[i]);
    if (i == 1 && (byte < continuation.first_low || byte > continuation.first_high)) {
      return {1, false};
    }
  }
  return {continuation.count + 1, continuation.count > 0};
}

bool isValid(std::string_view text) {
  while (!text.empty()) {
    const Sequence sequence = sequenceAt(text);
    if (!sequence.is_valid) return false;
    text.remove_prefix(sequence.length);
  }
  return true;
}

}  // namespace

std::string toUtf8(std::string text) {
  if (isValid(text)) return text;
  std::string valid;
  for (std::string_view rest = text; !rest.empty();) {
    const Sequence sequence = sequenceAt(rest);
    valid += sequence.is_valid ? rest.substr(0, sequence.length) : kReplacement;
    rest.remove_prefix(sequence.length);
  }
  return valid;
}

std::string shorten(std::string text, size_t size) {
  if (text.size() <= size) return text;
  size_t end = size - kEllipsis.size();
  while (end > 0 && isContinuation(text[end])) --end;
  text.resize(end);
  return text += kEllipsis;
}

}  // namespace TAMSA::otlp
