#include "modules/otlp/PairList.h"

#include <algorithm>
#include <charconv>

namespace TAMSA::otlp {

namespace {

std::string_view trim(std::string_view text) {
  constexpr char kBlanks[] = " \t";
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

RawPair splitPair(size_t position, std::string_view entry) {
  const size_t equals = entry.find('=');
  if (equals == std::string_view::npos) return {position, {}, entry};
  return {position, trim(entry.substr(0, equals)), trim(entry.substr(equals + 1))};
}

}  // namespace

std::vector<RawPair> splitPairs(std::string_view list) {
  std::vector<RawPair> pairs;
  for (size_t position = 1; !list.empty(); ++position) {
    const size_t length = std::min(list.find(','), list.size());
    const std::string_view entry = trim(list.substr(0, length));
    if (!entry.empty()) pairs.push_back(splitPair(position, entry));
    list.remove_prefix(std::min(length + 1, list.size()));
  }
  return pairs;
}

std::optional<std::string> decodePercent(std::string_view text) {
  constexpr int kHexadecimal = 16;
  constexpr size_t kDigits = 2;
  std::string decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded.push_back(text[i]);
      continue;
    }
    const std::string_view digits = text.substr(i + 1, kDigits);
    unsigned char byte = 0;
    const char* const end = digits.data() + digits.size();
    if (digits.size() != kDigits ||
        std::from_chars(digits.data(), end, byte, kHexadecimal).ptr != end) {
      return std::nullopt;
    }
    decoded.push_back(static_cast<char>(byte));
    i += kDigits;
  }
  return decoded;
}

}  // namespace TAMSA::otlp
