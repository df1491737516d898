/// Where a collector takes log records.
#pragma once

#include <optional>
#include <string>

namespace TAMSA::otlp {

/// The URL as it is given for log records alone: used as it stands. Nothing if it is no HTTP URL.
std::optional<std::string> urlForLogs(const std::string& url);

/// The URL for log records below the one that is given for all signals. Nothing if that is no HTTP
/// URL.
std::optional<std::string> urlBelow(const std::string& base);

/// The URL without what may be secret in it: user, password, query and fragment.
std::string withoutSecrets(const std::string& url);

}  // namespace TAMSA::otlp
