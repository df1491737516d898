/// Parses lists of pairs in OpenTelemetry's environment variables: "key=value,key=value".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TAMSA::otlp {

/// An entry of a list, not decoded, without the blanks around key and value.
struct RawPair {
  size_t position;  ///< The number of the entry in the list, from 1.
  std::string_view key;
  std::string_view value;
};

/// The entries of a list in their order, without empty ones. One without "=" has no key.
std::vector<RawPair> splitPairs(std::string_view list);

/// Replaces every "%XX" by the byte of that hexadecimal number. Nothing if "%" comes without two
/// digits.
std::optional<std::string> decodePercent(std::string_view text);

}  // namespace TAMSA::otlp
