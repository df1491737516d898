/// The URL to which a collector takes log records.
#pragma once

#include <optional>
#include <string>

namespace TAMSA::otlp {

/// The URL of an endpoint for log records, which is used unchanged but for blanks around it, which
/// are removed, and a missing scheme, which becomes `http`. Nothing if it is not an HTTP URL.
std::optional<std::string> urlForLogs(const std::string& endpoint);

/// The URL for log records below an endpoint for all signals; otherwise like `urlForLogs`.
std::optional<std::string> urlBelow(const std::string& endpoint);

/// The URL without the parts that may be secret: user, password, query and fragment. Also for a
/// text that is not a URL.
std::string withoutSecrets(const std::string& url);

}  // namespace TAMSA::otlp
