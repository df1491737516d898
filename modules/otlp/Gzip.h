/// Compression by the gzip format.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace TAMSA::otlp {

/// Nothing if there is not enough memory.
std::optional<std::string> gzip(std::string_view data);

}  // namespace TAMSA::otlp
