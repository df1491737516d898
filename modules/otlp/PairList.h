/// Lists of pairs as OpenTelemetry's environment variables hold them: "key=value,key=value".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TAMSA::otlp {

/// An entry of a list, as it stands there but for the blanks around key and value.
struct RawPair {
  size_t position;  ///< Of the entry in the list, counted from 1.
  std::string_view key;
  std::string_view value;
};

/// The entries of a list in their order. Empty ones are passed over; one without "=" has no key.
std::vector<RawPair> splitPairs(std::string_view list);

/// The text with every "%XX" replaced by the byte it stands for; nothing if a "%" stands alone.
std::optional<std::string> decodePercent(std::string_view text);

}  // namespace TAMSA::otlp
